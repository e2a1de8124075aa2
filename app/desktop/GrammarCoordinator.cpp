#include "app/desktop/GrammarCoordinator.h"

#include "app/common/Logging.h"
#include "app/desktop/AppRouter.h"
#include "app/services/CorrectionEnvironment.h"
#include "app/services/AppSettings.h"

#include <QLoggingCategory>
#include <QPointer>

namespace vesk::app {

struct GrammarCoordinator::Current
{
    std::unique_ptr<CorrectionSession> session;
    SelectionCapture capture;
    Subscription finished; // review off: accepts on the run's own finish
};

GrammarCoordinator::GrammarCoordinator(Platform& platform, CorrectionEnvironment& environment, Panel panel,
                                       AppRouter& router, QObject* parent)
    : QObject(parent), m_platform(platform), m_environment(environment), m_panel(std::move(panel)), m_router(router),
      m_selection(platform)
{
}

GrammarCoordinator::~GrammarCoordinator() = default;

CorrectionSession* GrammarCoordinator::currentSession() const
{
    return m_current ? m_current->session.get() : nullptr;
}

void GrammarCoordinator::correctSelection()
{
    if (!m_platform.input->canPostInput()) {
        qCInfo(lcCoordinator) << "Input can't be posted to other apps; opening onboarding to guide the user.";
        m_router.openOnboarding();
        return;
    }
    // The panel of the last press goes before the copy stroke, which waits until the keyboard has left it:
    // while the panel has the keyboard the stroke would reach it, and a compositor that lets no app hand the
    // focus over (KWin) gives it back to the source app only when it closes. Shown anew, it also takes the
    // focus back as on a first press.
    SelectionAccess::StrokeGate panelClosed;
    if (m_current) {
        m_current->session->cancel();
        panelClosed = m_panel.hide;
    }
    qCDebug(lcCoordinator) << "Correction asked for";
    SelectionCapture capture = m_selection.start(panelClosed);
    std::optional<std::string> sourceApp;
    if (capture.source && !capture.source->appName.isEmpty()) {
        sourceApp = capture.source->appName.toStdString();
    }
    m_current = std::make_unique<Current>(Current{
        m_environment.makeSession(CorrectionSession::Reading{}, std::string(), std::move(sourceApp)), capture, {}});
    Current* started = m_current.get();

    const QPointer<GrammarCoordinator> self(this);
    PanelActions actions{[self] {
                             if (self) {
                                 self->accept();
                             }
                         },
                         [self] {
                             if (self) {
                                 self->close();
                             }
                         },
                         [self] {
                             if (self) {
                                 self->openSettings();
                             }
                         }};
    m_panel.show(*started->session, std::move(actions));
    m_selection.awaitCopiedText(capture, [self, started](std::optional<QString> text) {
        if (self) {
            self->textCaptured(started, std::move(text));
        }
    });
}

void GrammarCoordinator::textCaptured(Current* expected, std::optional<QString> text)
{
    // A newer press or a close replaced this correction while the copy was on its way.
    if (m_current.get() != expected) {
        return;
    }
    if (!text) {
        endCurrent();
        if (m_platform.input->canPostInput()) {
            qCInfo(lcCoordinator) << "No selection captured; opening the Composer.";
            m_router.openComposer(ComposerDraft{});
        } else {
            qCInfo(lcCoordinator) << "No selection captured (input can't be posted); opening onboarding.";
            m_router.openOnboarding();
        }
        return;
    }
    CorrectionSession& session = *expected->session;
    session.setOriginal(text->toStdString());
    session.start();
    qCDebug(lcCoordinator) << "Correction requested";
    if (m_panel.focus) {
        m_panel.focus();
    }
    if (m_environment.settings().reviewBeforeReplacing()) {
        return;
    }
    // Review is off: accept on the session's own finish, if it is still the current correction then.
    const QPointer<GrammarCoordinator> self(this);
    expected->finished = session.observeFinish([self, expected] {
        if (!self || self->m_current.get() != expected) {
            return;
        }
        const auto* result = std::get_if<CorrectionSession::Result>(&expected->session->state());
        if (result != nullptr && result->diff.changeCount() > 0) {
            self->accept();
        }
    });
}

void GrammarCoordinator::accept()
{
    if (!m_current) {
        return;
    }
    const std::optional<std::string> text = m_current->session->accept();
    if (!text) {
        return;
    }
    const std::optional<WindowRef> target = m_current->capture.source;
    const QPointer<GrammarCoordinator> self(this);
    // The paste stroke goes once the keyboard has left the panel; until then it would reach the panel.
    endCurrent([self, corrected = QString::fromStdString(*text), target] {
        if (self) {
            self->m_selection.paste(corrected, target, [self] {
                if (self) {
                    emit self->pasted();
                }
            });
        }
    });
}

void GrammarCoordinator::close()
{
    if (!m_current) {
        return;
    }
    const std::optional<WindowRef> source = m_current->capture.source;
    m_current->session->cancel();
    endCurrent();
    if (source) {
        m_platform.windows->activate(*source, [](bool) {});
    }
}

void GrammarCoordinator::openSettings()
{
    if (m_current) {
        m_current->session->cancel();
    }
    endCurrent();
    m_router.openHome(HomeSection::settings);
}

void GrammarCoordinator::endCurrent(std::function<void()> keyboardLeft)
{
    m_panel.hide(std::move(keyboardLeft));
    if (!m_current) {
        return;
    }
    // The call may have come from inside the session (its finish hook) or from a panel button bound to
    // it: the session goes once the current event has been handled, not under its caller's feet.
    std::shared_ptr<CorrectionSession> retired(std::move(m_current->session));
    m_current.reset(); // and with it the coordinator's subscription
    QMetaObject::invokeMethod(
        this, [retired] {}, Qt::QueuedConnection);
}

} // namespace vesk::app
