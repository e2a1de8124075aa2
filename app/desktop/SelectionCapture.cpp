#include "app/desktop/SelectionCapture.h"

#include "app/common/Logging.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPointer>
#include <QTimer>

namespace vesk::app {

SelectionAccess::SelectionAccess(Platform& platform, QObject* parent) : QObject(parent), m_platform(platform) {}

SelectionCapture SelectionAccess::start(const StrokeGate& gate)
{
    SelectionCapture capture;
    // A press while one of our own windows has the keyboard (the panel of the previous press) is about the
    // same selection: the source stays the app the user was in.
    capture.source =
        QGuiApplication::focusWindow() != nullptr && m_lastSource ? m_lastSource : m_platform.windows->activeWindow();
    m_lastSource = capture.source;
    auto& state = *capture.state;
    if (m_inFlight && !m_inFlight->finished) {
        state.saved = m_inFlight->saved;
        m_inFlight->superseded = true;
    } else {
        state.saved = m_platform.clipboard->snapshot();
    }
    state.changeCount = m_platform.clipboard->changeCount();
    m_inFlight = capture.state;

    // While the shortcut's keys are down the keyboard belongs to our grab and a held Alt would turn the
    // copy stroke into Ctrl+Alt+C, so the stroke waits for a clean keyboard.
    auto copy = [this, source = capture.source, weak = std::weak_ptr(capture.state)] {
        const auto pending = weak.lock();
        if (!pending || pending->superseded) {
            return;
        }
        qCDebug(lcCapture) << "Keyboard free for the copy stroke";
        // The stroke goes to whatever has the keyboard: make sure it is the source again (the user may
        // have clicked elsewhere, or a window of ours took it while the keys were held).
        const auto active = m_platform.windows->activeWindow();
        if (source && (!active || active->id != source->id)) {
            m_platform.windows->activate(*source, [this, pending, source](bool) {
                if (!pending->superseded) {
                    postCopy(pending, source);
                }
            });
            return;
        }
        postCopy(pending, source);
    };
    // Both waits run side by side; the stroke goes when the last is over.
    auto waits = std::make_shared<int>(gate ? 2 : 1);
    auto arrive = [waits, copy = std::move(copy)] {
        if (--*waits == 0) {
            copy();
        }
    };
    m_platform.input->whenModifiersReleased(arrive);
    if (gate) {
        gate(arrive);
    }
    return capture;
}

void SelectionAccess::postCopy(const std::shared_ptr<SelectionCapture::State>& state,
                               const std::optional<WindowRef>& source)
{
    state->changeCount = m_platform.clipboard->changeCount();
    if (!m_platform.input->post(Keystroke::copy, source)) {
        qCWarning(lcCapture) << "Couldn't post the copy keystroke";
    }
    state->copyPosted = std::chrono::steady_clock::now();
}

void SelectionAccess::awaitCopiedText(const SelectionCapture& capture, std::function<void(std::optional<QString>)> done)
{
    // The clipboard says when another app takes it, and the text is read then (a turn of the event loop
    // later: the news comes in the middle of the clipboard's own event handling). The timer ends the copy
    // wait, and looks again for a clipboard that says nothing.
    auto* waiting = new QTimer(this);
    const auto check = [this, waiting, capture, pending = std::make_shared<CopyDone>(std::move(done))] {
        if (*pending && isCopyOver(*capture.state)) {
            waiting->deleteLater();
            finishCopy(*capture.state, std::exchange(*pending, nullptr));
        }
    };
    connect(m_platform.clipboard.get(), &Clipboard::changed, waiting, check, Qt::QueuedConnection);
    connect(waiting, &QTimer::timeout, waiting, check);
    waiting->start(pollInterval);
    check();
}

bool SelectionAccess::isCopyOver(const SelectionCapture::State& state) const
{
    // The copy wait counts from the stroke, not the press: the modifier wait before it is the user's, and
    // the input layer bounds it.
    return state.superseded ||
           (state.copyPosted && (m_platform.clipboard->changeCount() != state.changeCount ||
                                 std::chrono::steady_clock::now() >= *state.copyPosted + copyWait));
}

void SelectionAccess::finishCopy(SelectionCapture::State& state, const CopyDone& done)
{
    state.finished = true;
    if (state.superseded) {
        done(std::nullopt);
        return;
    }
    const bool changed = m_platform.clipboard->changeCount() != state.changeCount;
    std::optional<QString> text = changed ? m_platform.clipboard->text() : std::nullopt;
    qCDebug(lcCapture) << (changed ? "Selection read" : "Nothing copied");
    m_platform.clipboard->restore(state.saved);
    if (text && text->isEmpty()) {
        text.reset();
    }
    done(std::move(text));
}

void SelectionAccess::paste(const QString& text, const std::optional<WindowRef>& target, std::function<void()> done)
{
    auto pasteNow = [this, text, target, done = std::move(done)](bool) mutable {
        QTimer::singleShot(m_platform.focusSettle, this, [this, text, target, done = std::move(done)]() mutable {
            const ClipboardContents saved = m_platform.clipboard->snapshot();
            m_platform.clipboard->setTransientText(text);
            m_platform.input->whenModifiersReleased([this, saved, target, done = std::move(done)]() mutable {
                if (!m_platform.input->post(Keystroke::paste, target)) {
                    qCWarning(lcCapture) << "Couldn't post the paste keystroke";
                }
                // The target fetches the text a few milliseconds after the stroke; restoring sooner
                // would paste the old clipboard.
                QTimer::singleShot(holdBeforeRestore, this, [this, saved, done = std::move(done)] {
                    m_platform.clipboard->restore(saved);
                    if (done) {
                        done();
                    }
                });
            });
        });
    };
    if (target) {
        m_platform.windows->activate(*target, std::move(pasteNow));
    } else {
        pasteNow(true);
    }
}

} // namespace vesk::app
