#pragma once

// A correction engine whose streams the test plays by hand, for the shell's session-driven views.

#include "core/CorrectionEngine.h"
#include "core/CorrectionSession.h"

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

    // Plays the pieces of a reply on the last stream, then its normal end.
    void complete(const std::vector<std::string>& pieces, TokenUsage usage = {10, 3})
    {
        for (const auto& piece : pieces) {
            last().callbacks.onEvent(CorrectionEvent::makeDelta(piece));
        }
        last().callbacks.onEvent(CorrectionEvent::makeDone(usage));
        last().callbacks.onFinish(std::nullopt);
    }

    CorrectionSettings settings;
    std::vector<std::shared_ptr<Stream>> streams;
    std::vector<AcceptedCorrection> records;
};

} // namespace vesk::test
