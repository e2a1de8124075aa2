#include "core/Json.h"
#include "core/ProviderClient.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <string>
#include <vector>

namespace vesk {
namespace {

// A reply streamed a word at a time, as both providers do for prose.
const std::vector<std::string> words{
    "We",    " moved",  " the", " meeting",    " to",    " Thursday",   " because", " half", " of",
    " the",  " team",   " is",  " travelling", " on",    " Wednesday,", " and",     " the",  " room",
    " we",   " booked", " was", " too",        " small", " anyway.",    " Please",  " let",  " me",
    " know", " if",     " the", " new",        " time",  " doesn't",    " work",    " for",  " you.\n",
};

struct Stream
{
    std::vector<std::string> lines;
    std::string text;       // what the deltas add up to
    std::int64_t bytes = 0; // the body on the wire, line feeds included
};

void addLine(Stream& stream, std::string line)
{
    stream.bytes += static_cast<std::int64_t>(line.size()) + 1;
    stream.lines.push_back(std::move(line));
}

// A recorded chat completion chunk with all of its metadata, as OpenAI sends it.
Stream openAIStream(std::int64_t targetBytes)
{
    Stream stream;
    for (std::size_t i = 0; stream.bytes < targetBytes; ++i) {
        const std::string& word = words[i % words.size()];
        const Json chunk = {
            {"id", "chatcmpl-B9MHDbslfkBeAs8l4bebGdFOJ6PeG"},
            {"object", "chat.completion.chunk"},
            {"created", 1741569952},
            {"model", "gpt-4o-mini-2024-07-18"},
            {"service_tier", "default"},
            {"system_fingerprint", "fp_06737a9306"},
            {"choices",
             Json::array(
                 {{{"index", 0}, {"delta", {{"content", word}}}, {"logprobs", nullptr}, {"finish_reason", nullptr}}})},
            {"usage", nullptr},
            {"obfuscation", "Xq3Tz"},
        };
        addLine(stream, "data: " + chunk.dump());
        addLine(stream, "");
        stream.text += word;
    }
    addLine(stream, R"(data: {"id":"chatcmpl-B9MHDbslfkBeAs8l4bebGdFOJ6PeG","choices":[],"usage":{"prompt_tokens":78,)"
                    R"("completion_tokens":9,"total_tokens":87}})");
    addLine(stream, "");
    addLine(stream, "data: [DONE]");
    addLine(stream, "");
    return stream;
}

Stream anthropicStream(std::int64_t targetBytes)
{
    Stream stream;
    addLine(stream, "event: message_start");
    addLine(stream, R"(data: {"type":"message_start","message":{"id":"msg_01XFDUDYJgAACzvnptvVoYEL","type":"message",)"
                    R"("role":"assistant","content":[],"model":"claude-haiku-4-5-20251001","stop_reason":null,)"
                    R"("stop_sequence":null,"usage":{"input_tokens":472,"output_tokens":2}}})");
    addLine(stream, "");
    for (std::size_t i = 0; stream.bytes < targetBytes; ++i) {
        const std::string& word = words[i % words.size()];
        const Json event = {
            {"type", "content_block_delta"}, {"index", 0}, {"delta", {{"type", "text_delta"}, {"text", word}}}};
        addLine(stream, "event: content_block_delta");
        addLine(stream, "data: " + event.dump());
        addLine(stream, "");
        stream.text += word;
    }
    addLine(stream, "event: message_delta");
    addLine(stream, R"(data: {"type":"message_delta","delta":{"stop_reason":"end_turn","stop_sequence":null},)"
                    R"("usage":{"output_tokens":15}})");
    addLine(stream, "");
    addLine(stream, "event: message_stop");
    addLine(stream, R"(data: {"type":"message_stop"})");
    return stream;
}

// Plays the recorded body from memory, so only the client's own work is measured.
class MemoryTransport final : public ProviderTransport
{
public:
    explicit MemoryTransport(const Stream& stream) : m_stream(stream) {}

    std::optional<ProviderError> send(const HttpRequest&, ResponseHandler& handler, std::stop_token) override
    {
        handler.onHead(200);
        for (const std::string& line : m_stream.lines) {
            if (!handler.onLine(line)) {
                break;
            }
        }
        return std::nullopt;
    }

private:
    const Stream& m_stream;
};

constexpr std::int64_t streamBytes = 10 * 1024 * 1024;

// The whole of stream(): framing, payload decoding, delta events and the validation of the collected text
// at the end, which is a fixed share per byte of reply.
void streamThroughClient(benchmark::State& state, ProviderID provider, const Stream& stream)
{
    const ProviderClient client(provider, std::make_shared<MemoryTransport>(stream));
    std::size_t deltas = 0;
    for (auto _ : state) {
        // The selection a reply of this size corrects would be at the cap.
        const auto error = client.stream("Fix it.", std::string_view(stream.text).substr(0, 100'000), "model",
                                         "sk-bench", [&](CorrectionEvent event) { deltas += event.text.size(); });
        if (error) {
            state.SkipWithError(error->description().c_str());
            return;
        }
    }
    benchmark::DoNotOptimize(deltas);
    state.SetBytesProcessed(state.iterations() * stream.bytes);
}

void openAIClientStream(benchmark::State& state)
{
    static const Stream stream = openAIStream(streamBytes);
    streamThroughClient(state, ProviderID::openai, stream);
}

void anthropicClientStream(benchmark::State& state)
{
    static const Stream stream = anthropicStream(streamBytes);
    streamThroughClient(state, ProviderID::anthropic, stream);
}

// A million one-byte deltas, read by a consumer that keeps the whole reply so far in view as the review
// panel and the session do (a copy of it per event): the work must stay linear in the reply's size.
void tinyDeltasToAViewOfTheWholeReply(benchmark::State& state)
{
    static const Stream stream = [] {
        Stream tiny;
        for (int i = 0; i < 1'000'000; ++i) {
            const std::string piece = i % 5 == 4 ? " " : "a";
            addLine(tiny, "data: " + Json{{"choices", Json::array({{{"delta", {{"content", piece}}}}})}}.dump());
            tiny.text += piece;
        }
        addLine(tiny, "data: [DONE]");
        return tiny;
    }();
    const ProviderClient client(ProviderID::openai, std::make_shared<MemoryTransport>(stream));
    std::size_t events = 0;
    for (auto _ : state) {
        std::string reply;
        std::string view;
        const auto error = client.stream("Fix it.", "a", "model", "sk-bench", [&](CorrectionEvent event) {
            reply += event.text;
            view = reply;
            ++events;
        });
        if (error) {
            state.SkipWithError(error->description().c_str());
            return;
        }
        benchmark::DoNotOptimize(view);
    }
    state.counters["events"] = static_cast<double>(events) / static_cast<double>(state.iterations());
    state.SetBytesProcessed(state.iterations() * stream.bytes);
}

BENCHMARK(openAIClientStream)->Unit(benchmark::kMillisecond);
BENCHMARK(tinyDeltasToAViewOfTheWholeReply)->Unit(benchmark::kMillisecond);
BENCHMARK(anthropicClientStream)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vesk
