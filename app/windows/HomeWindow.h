#pragma once

// The app's one ordinary window: a sidebar with Overview, Write, Activity and Settings beside the
// selected section.

#include "app/common/HomeSection.h"

#include <QObject>
#include <memory>

class QQuickWindow;

namespace vesk::app {

class CorrectionEnvironment;
class DesktopAppearance;
class HistoryStore;
class ProviderConnection;
class ShortcutSettings;

class HomeWindow : public QObject
{
    Q_OBJECT

public:
    // The history, the provider connection, the shortcut settings and the appearance must outlive the window.
    // The Settings section edits the key through `connection` and the shortcut through `shortcuts`.
    HomeWindow(CorrectionEnvironment& environment, HistoryStore& history, ProviderConnection& connection,
               ShortcutSettings& shortcuts, DesktopAppearance& appearance, QObject* parent = nullptr);
    ~HomeWindow() override;

    // Creates the window on first use, selects `section`, shows and raises it.
    void show(HomeSection section);
    // Selects the composer and loads the draft (starting a correction when the draft says so).
    void openComposer(const ComposerDraft& draft);
    [[nodiscard]] bool isVisible() const;
    [[nodiscard]] QQuickWindow* window() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace vesk::app
