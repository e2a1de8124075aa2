#pragma once

// The model of one correction, from the moment the selected text is known until the user accepts it or
// closes the panel. Lives on the main thread: stream events arrive on a worker thread and are applied
// through the injected main-thread executor, and a cancelled or superseded run never changes what the
// session shows.

#include "core/AcceptedCorrection.h"
#include "core/CorrectionDiff.h"
#include "core/CorrectionEngine.h"
#include "core/Observers.h"
#include "core/ProviderFailure.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <variant>

namespace vesk {

// Runs a function on the main thread, later, in the order of posting.
using MainThreadExecutor = std::function<void(std::function<void()>)>;

class CorrectionSession
{
public:
    struct Streaming // a run is under way; the reply so far
    {
        std::string text;
        bool operator==(const Streaming&) const = default;
    };
    struct Result // the run completed
    {
        std::string corrected;
        CorrectionDiffPlan diff; // the original against `corrected`
        bool operator==(const Result&) const = default;
    };
    struct Failed
    {
        ProviderFailure failure;
        bool operator==(const Failed&) const = default;
    };
    struct Editing // back at the text; no run under way
    {
        bool operator==(const Editing&) const = default;
    };
    struct Reading // the selection is still being read from the other application
    {
        bool operator==(const Reading&) const = default;
    };
    using State = std::variant<Streaming, Result, Failed, Editing, Reading>;

    CorrectionSession(State state, std::string original, std::string draft, std::optional<std::string> sourceApp,
                      CorrectionEngine engine, MainThreadExecutor mainThread);
    ~CorrectionSession(); // cancels a run still under way
    CorrectionSession(const CorrectionSession&) = delete;
    CorrectionSession& operator=(const CorrectionSession&) = delete;

    [[nodiscard]] const State& state() const { return m_state; }
    [[nodiscard]] const std::string& original() const { return m_original; }
    [[nodiscard]] const std::string& draft() const { return m_draft; }
    // True while a re-run streams over a result that stays on screen.
    [[nodiscard]] bool overlaying() const { return m_overlaying; }
    [[nodiscard]] const std::optional<CorrectionRun>& run() const { return m_run; }
    [[nodiscard]] const std::optional<std::string>& sourceApp() const { return m_sourceApp; }
    [[nodiscard]] const std::optional<TokenUsage>& usage() const { return m_usage; }
    [[nodiscard]] bool isRunning() const { return m_stream != nullptr; }

    // Calls `onChanged` after any observed property (state, original, draft, overlaying, run) changed, for as
    // long as the subscription lives.
    Subscription observeChanges(std::function<void()> onChanged) { return m_changeObservers.add(std::move(onChanged)); }
    // Calls `onFinished` after a run ended on its own in a result or a failure (never for a cancelled run), for
    // as long as the subscription lives. Observers are told after the change observers.
    Subscription observeFinish(std::function<void()> onFinished)
    {
        return m_finishObservers.add(std::move(onFinished));
    }

    void setOriginal(std::string original);
    void setDraft(std::string draft);

    // Starts a run, or a re-run: a result on screen stays there while the new run works.
    void start();
    // Stops the run under way and goes back to editing.
    void cancel();
    // The text to put back, or nothing when there is no finished result (or a re-run is under way).
    // Records the correction at most once per run.
    std::optional<std::string> accept();

private:
    void apply(std::uint64_t generation, const std::function<void()>& change);
    void finish(std::optional<ProviderError> error);
    void setState(State state);
    void changed();
    void assertMainThread() const;

    State m_state;
    std::string m_original;
    std::string m_draft;
    bool m_overlaying = false;
    std::optional<CorrectionRun> m_run;
    std::optional<std::string> m_sourceApp;
    CorrectionEngine m_engine;
    MainThreadExecutor m_mainThread;
    std::optional<TokenUsage> m_usage;
    bool m_recorded = false;

    std::unique_ptr<CorrectionStream> m_stream;
    std::string m_reply;            // the current run's reply so far
    std::uint64_t m_generation = 0; // identifies the current run; events of any other run are dropped
    // Posted work holds this weakly, so a closed session is never kept alive or touched by its run.
    std::shared_ptr<CorrectionSession*> m_self;
    Observers m_changeObservers;
    Observers m_finishObservers;
    std::thread::id m_mainThreadId;
};

} // namespace vesk
