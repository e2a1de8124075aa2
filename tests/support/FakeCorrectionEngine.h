#pragma once

// A correction engine whose streams the test plays by hand, for the shell's session-driven views.

#include "core/CorrectionEngine.h"
#include "core/CorrectionSession.h"
#include "support/ManualExecutor.h"

#include <memory>
#include <string>
#include <vector>

namespace vesk::test {

class FakeCorrectionEngine
{
public:
    struct Stream
    {
        CorrectionStreamCallbacks callbacks;
        std::string text;
        bool cancelled = false;
    };

    CorrectionEngine engine()
    {
        return {[this] {
                    return CorrectionRun{ProviderID::anthropic, "claude-haiku-4-5-20251001", settings, {}};
                },
                [this](const CorrectionRun&, std::string text, CorrectionStreamCallbacks callbacks) {
                    streams.push_back(std::make_shared<Stream>(Stream{std::move(callbacks), std::move(text)}));
                    struct Handle final : CorrectionStream
                    {
                        std::shared_ptr<Stream> stream;
                        void cancel() override { stream->cancelled = true; }
                    };
                    auto handle = std::make_unique<Handle>();
                    handle->stream = streams.back();
                    return handle;
                },
                [this](const AcceptedCorrection& accepted) { records.push_back(accepted); }};
    }

    Stream& last() { return *streams.back(); }

    // A session on this engine whose stream events wait in `mainThread` until the test plays them.
    std::unique_ptr<CorrectionSession> session(std::string original, std::optional<std::string> sourceApp = "Mousepad",
                                               CorrectionSession::State state = CorrectionSession::Reading{})
    {
        return std::make_unique<CorrectionSession>(std::move(state), std::move(original), "", std::move(sourceApp),
                                                   engine(), mainThread.executor());
    }

    // Plays the pieces of a reply on the last stream, then its normal end; then runs what reached
    // `mainThread`.
    void complete(const std::vector<std::string>& pieces, TokenUsage usage = {10, 3})
    {
        write(pieces);
        last().callbacks.onEvent(CorrectionEvent::makeDone(usage));
        last().callbacks.onFinish(std::nullopt);
        mainThread.drain();
    }

    void write(const std::vector<std::string>& pieces)
    {
        for (const auto& piece : pieces) {
            last().callbacks.onEvent(CorrectionEvent::makeDelta(piece));
        }
        mainThread.drain();
    }

    void fail(ProviderError error)
    {
        last().callbacks.onFinish(std::move(error));
        mainThread.drain();
    }

    CorrectionSettings settings;
    std::vector<std::shared_ptr<Stream>> streams;
    std::vector<AcceptedCorrection> records;
    ManualExecutor mainThread;
};

} // namespace vesk::test
