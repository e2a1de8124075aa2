#pragma once

// The running desktop app: services started in order, the tray menu, the windows, and the one correction
// flow they all lead to.

#include "app/desktop/AppRouter.h"

#include <QObject>
#include <memory>

namespace vesk::app {

class DesktopApp : public QObject, private AppRouter
{
    Q_OBJECT

public:
    explicit DesktopApp(QObject* parent = nullptr);
    ~DesktopApp() override;

    // Starts everything; false when another instance is already running (it was asked to show itself).
    bool start();

    // What `vesk fix` and a second launch ask of the running instance.
    void handleMessage(const QString& message);

private:
    void openOnboarding() override;
    void openHome(HomeSection section) override;
    void openComposer(const ComposerDraft& draft) override;

    void buildTray();
    void registerShortcut();
    void refreshTrust();

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace vesk::app
