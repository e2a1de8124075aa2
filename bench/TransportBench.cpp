// The production transport over loopback: how fast a stop ends a stalled stream, and how fast a long
// streamed body is read and split into lines.

#include "core/CurlTransport.h"
#include "support/ScriptedProviderServer.h"

#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <thread>
#include <vector>

namespace vesk {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using test::ScriptedProviderServer;
using test::ScriptedResponse;

class CountingHandler : public ResponseHandler
{
public:
    void onHead(int) override {}
    bool onLine(std::string_view line) override
    {
        bytes += line.size() + 1;
        lines.fetch_add(1, std::memory_order_release);
        return true;
    }
    std::size_t bytes = 0;
    std::atomic<std::size_t> lines{0};
};

HttpRequest streamRequest(const ScriptedProviderServer& server)
{
    HttpRequest request;
    request.url = server.url("/v1/chat/completions");
    request.headers = {{"Content-Type", "application/json"}};
    request.body = R"({"stream":true})";
    return request;
}

// From the stop request to send() returning, with the stream stalled after its first event.
void cancelLatency(benchmark::State& state)
{
    ScriptedProviderServer server;
    server.respondWith([](const test::RecordedRequest&) {
        ScriptedResponse stalled = ScriptedResponse::events({"data: {\"first\":true}\n\n"});
        stalled.ending = ScriptedResponse::Ending::stall;
        return stalled;
    });
    CurlTransport transport;
    const HttpRequest request = streamRequest(server);
    std::vector<double> micros;
    for (auto _ : state) {
        CountingHandler handler;
        std::stop_source stop;
        Clock::time_point returned;
        std::jthread sender([&] {
            benchmark::DoNotOptimize(transport.send(request, handler, stop.get_token()));
            returned = Clock::now();
        });
        while (handler.lines.load(std::memory_order_acquire) == 0) {
            std::this_thread::sleep_for(100us);
        }
        const auto stoppedAt = Clock::now();
        stop.request_stop();
        sender.join();
        const std::chrono::duration<double> latency = returned - stoppedAt;
        state.SetIterationTime(latency.count());
        micros.push_back(latency.count() * 1e6);
    }
    std::sort(micros.begin(), micros.end());
    state.counters["p50_us"] = micros[micros.size() / 2];
    state.counters["max_us"] = micros.back();
}
BENCHMARK(cancelLatency)->Iterations(50)->UseManualTime()->Unit(benchmark::kMicrosecond);

// A 16 MB event stream in 64 KB chunks, as a long reply would arrive, read to its end.
void streamThroughput(benchmark::State& state)
{
    const std::string event = "data: " + std::string(200, 'x') + "\n\n";
    std::string chunk;
    while (chunk.size() + event.size() <= 64 * 1024) {
        chunk += event;
    }
    ScriptedResponse body = ScriptedResponse::events({});
    while (body.body.size() * chunk.size() < 16u * 1024 * 1024) {
        body.body.push_back(chunk);
    }
    ScriptedProviderServer server;
    server.respondWith([&body](const test::RecordedRequest&) { return body; });
    CurlTransport transport;
    const HttpRequest request = streamRequest(server);
    std::size_t total = 0;
    for (auto _ : state) {
        CountingHandler handler;
        if (transport.send(request, handler, {})) {
            state.SkipWithError("the transfer failed");
            break;
        }
        total += handler.bytes;
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(total));
    state.counters["MB_per_s"] = benchmark::Counter(static_cast<double>(total) / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(streamThroughput)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace vesk
