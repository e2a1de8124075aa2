#pragma once

// Turns one press of the shortcut into a finished correction in the focused application: capture, session,
// review panel, and paste-back. Owns at most one correction; the newest press always wins.

#include "app/desktop/SelectionCapture.h"
#include "app/models/PanelActions.h"
#include "core/CorrectionSession.h"

#include <QObject>
#include <functional>
#include <memory>

namespace vesk::app {

class AppRouter;
class CorrectionEnvironment;

class GrammarCoordinator : public QObject
{
    Q_OBJECT

public:
    // How the coordinator shows and hides the review panel.
    struct Panel
    {
        std::function<void(CorrectionSession&, PanelActions)> show; // without taking the keyboard
        // Calls its argument, when given, once the keyboard has left the panel (at once if it had none).
        std::function<void(std::function<void()>)> hide;
        std::function<void()> focus; // once the selection is copied
    };

    GrammarCoordinator(Platform& platform, CorrectionEnvironment& environment, Panel panel, AppRouter& router,
                       QObject* parent = nullptr);
    ~GrammarCoordinator() override;

    // The shortcut, the tray's "Fix Grammar" and `vesk fix` all come here.
    void correctSelection();

    // The correction in flight, if any (for the panel's owner and tests).
    [[nodiscard]] CorrectionSession* currentSession() const;
    [[nodiscard]] bool isBusy() const { return m_current != nullptr; }

signals:
    // A correction was written back (after the clipboard was restored).
    void pasted();

private:
    struct Current;
    void accept();
    void close();
    void openSettings();
    void textCaptured(Current* expected, std::optional<QString> text);
    // Hides the panel (calling `keyboardLeft` once the keyboard has left it) and drops the correction.
    void endCurrent(std::function<void()> keyboardLeft = {});

    Platform& m_platform;
    CorrectionEnvironment& m_environment;
    Panel m_panel;
    AppRouter& m_router;
    SelectionAccess m_selection;
    std::unique_ptr<Current> m_current;
};

} // namespace vesk::app
