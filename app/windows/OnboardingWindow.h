#pragma once

// The first-launch window: a short guide from choosing a provider to a first correction. Each show starts
// the guide afresh; finishing it closes the window and marks setup as done.

#include "app/models/Appearance.h"
#include "app/models/OnboardingModel.h"
#include "app/windows/QmlWindow.h"

#include <QObject>
#include <memory>

class QQuickWindow;

namespace vesk::app {

class DesktopAppearance;
class ProviderConnection;

class OnboardingWindow : public QObject
{
    Q_OBJECT

public:
    // Everything must outlive the window; `shortcuts` may be null.
    OnboardingWindow(AppSettings& settings, HistoryStore& history, ProviderConnection& connection,
                     const ShortcutSettings* shortcuts, OnboardingModel::Desktop desktop, DesktopAppearance& appearance,
                     QObject* parent = nullptr);
    ~OnboardingWindow() override;

    void show();
    void close();
    [[nodiscard]] bool isVisible() const;
    [[nodiscard]] QQuickWindow* window() const;
    // The guide of the window shown last; null before the first show.
    [[nodiscard]] OnboardingModel* model() const { return m_model.get(); }

signals:
    // The user finished the guide.
    void finished();

private:
    Appearance::DesktopLink m_desktopLink;
    AppSettings& m_settings;
    HistoryStore& m_history;
    ProviderConnection& m_connection;
    const ShortcutSettings* m_shortcuts;
    OnboardingModel::Desktop m_desktop;
    std::unique_ptr<OnboardingModel> m_model;
    QmlWindow m_window;
};

} // namespace vesk::app
