#pragma once

// The small floating review panel that follows one correction session through its phases. One controller
// lives for the whole app and is reused for every correction.

#include "app/models/PanelActions.h"
#include "core/CorrectionSession.h"

#include <QObject>
#include <chrono>
#include <functional>
#include <memory>

class QQuickWindow;

namespace vesk::app {

class AppSettings;
class DesktopAppearance;
class SessionModel;

class ReviewPanelController : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds keyboardLeaveLimit{500};

    // When the panel appears: at the press, beside the app that keeps the keyboard while the selection is
    // copied; or once the text is in, where the desktop gives every new window the keyboard.
    enum class Showing { atThePress, onceCopied };

    // The settings and the appearance must outlive the controller.
    ReviewPanelController(AppSettings& settings, DesktopAppearance& appearance, Showing showing = Showing::atThePress,
                          QObject* parent = nullptr);
    ~ReviewPanelController() override;

    // Shows `session` (which must outlive the show, until hide() or the next show) centred on the screen
    // under the pointer, without taking the keyboard: the selection is still being copied from the app
    // that has it. Shown once copied, it only gets ready here and appears in focus().
    void show(CorrectionSession& session, PanelActions actions);
    // Takes keyboard focus so Return, Escape and Ctrl+R reach the panel.
    void focus();
    // Hides the panel; `keyboardLeft`, when given, runs once the desktop has taken the keyboard from it (at
    // once when it had none, at the latest after `keyboardLeaveLimit`). Where the panel shows at the press,
    // Vesk hands the keyboard back to the source app itself, and `keyboardLeft` runs at once.
    void hide(std::function<void()> keyboardLeft = {});
    [[nodiscard]] bool isVisible() const;
    // The panel's window, for placement checks and screenshots.
    [[nodiscard]] QQuickWindow* window() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace vesk::app
