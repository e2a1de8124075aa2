#include "core/CorrectionSession.h"

#include <cassert>

namespace vesk {

CorrectionSession::CorrectionSession(State state, std::string original, std::string draft,
                                     std::optional<std::string> sourceApp, CorrectionEngine engine,
                                     MainThreadExecutor mainThread)
    : m_state(std::move(state)), m_original(std::move(original)), m_draft(std::move(draft)),
      m_sourceApp(std::move(sourceApp)), m_engine(std::move(engine)), m_mainThread(std::move(mainThread)),
      m_self(std::make_shared<CorrectionSession*>(this)), m_mainThreadId(std::this_thread::get_id())
{
}

CorrectionSession::~CorrectionSession()
{
    if (m_stream) {
        m_stream->cancel();
    }
}

void CorrectionSession::assertMainThread() const
{
    assert(std::this_thread::get_id() == m_mainThreadId && "CorrectionSession used off the main thread");
}

void CorrectionSession::changed()
{
    m_changeObservers.notify();
}

void CorrectionSession::setState(State state)
{
    if (m_state == state) {
        return;
    }
    m_state = std::move(state);
    changed();
}

void CorrectionSession::setOriginal(std::string original)
{
    assertMainThread();
    if (m_original != original) {
        m_original = std::move(original);
        changed();
    }
}

void CorrectionSession::setDraft(std::string draft)
{
    assertMainThread();
    if (m_draft != draft) {
        m_draft = std::move(draft);
        changed();
    }
}

void CorrectionSession::start()
{
    assertMainThread();
    if (m_stream) {
        m_stream->cancel();
        m_stream.reset();
    }
    const std::uint64_t generation = ++m_generation;
    m_run = m_engine.prepare();
    m_usage.reset();
    m_recorded = false;
    m_reply.clear();
    if (std::holds_alternative<Result>(m_state)) {
        m_overlaying = true;
        changed();
    } else {
        m_overlaying = false;
        m_state = Streaming{};
        changed();
    }

    // Every callback hops to the main thread and is applied only if this run is still the current one.
    const auto post = [self = std::weak_ptr(m_self), executor = m_mainThread,
                       generation](std::function<void(CorrectionSession&)> change) {
        executor([self, generation, change = std::move(change)] {
            if (const auto alive = self.lock()) {
                CorrectionSession& session = **alive;
                session.apply(generation, [&] { change(session); });
            }
        });
    };
    CorrectionStreamCallbacks callbacks{
        [post](CorrectionEvent event) {
            post([event = std::move(event)](CorrectionSession& session) {
                if (event.kind == CorrectionEvent::Kind::done) {
                    session.m_usage = event.usage;
                    return;
                }
                session.m_reply += event.text;
                if (session.m_overlaying) {
                    return;
                }
                // The shown text grows by the delta: a copy of the whole reply per event would make a long reply
                // cost its square.
                if (auto* streaming = std::get_if<Streaming>(&session.m_state); streaming == nullptr) {
                    session.setState(Streaming{session.m_reply});
                } else if (!event.text.empty()) {
                    streaming->text += event.text;
                    session.changed();
                }
            });
        },
        [post](std::optional<ProviderError> error) {
            post([error = std::move(error)](CorrectionSession& session) { session.finish(error); });
        },
    };
    m_stream = m_engine.stream(*m_run, m_original, std::move(callbacks));
}

void CorrectionSession::apply(std::uint64_t generation, const std::function<void()>& change)
{
    if (generation == m_generation && m_stream) {
        change();
    }
}

void CorrectionSession::finish(std::optional<ProviderError> error)
{
    m_stream.reset();
    m_overlaying = false;
    if (error) {
        m_state = Failed{ProviderFailure::from(*error, m_run->provider)};
    } else {
        m_state = Result{m_reply, CorrectionDiff::plan(m_original, m_reply)};
    }
    // A change observer may have ended the session; then no one is left to tell about the finish.
    const std::weak_ptr alive = m_self;
    changed();
    if (!alive.expired()) {
        m_finishObservers.notify();
    }
}

void CorrectionSession::cancel()
{
    assertMainThread();
    ++m_generation;
    if (m_stream) {
        m_stream->cancel();
        m_stream.reset();
    }
    m_overlaying = false;
    m_state = Editing{};
    changed();
}

std::optional<std::string> CorrectionSession::accept()
{
    assertMainThread();
    const auto* result = std::get_if<Result>(&m_state);
    if (result == nullptr || m_overlaying || !m_run) {
        return std::nullopt;
    }
    // An unchanged selection goes back byte for byte, even if the reply differs in white space only.
    std::string text = result->diff.changes.empty() ? m_original : result->corrected;
    if (!m_recorded) {
        m_recorded = true;
        if (m_engine.record) {
            m_engine.record(
                AcceptedCorrection{m_original, text, *m_run, m_usage, result->diff.changeCount(), m_sourceApp});
        }
    }
    return text;
}

} // namespace vesk
