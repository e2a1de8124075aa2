// The transport over real HTTP on loopback: one case per way a server or the network can behave. What the
// body's lines mean is the provider client's, tested line by line in ProviderClientTest.

#include "core/CurlTransport.h"

#include "support/Process.h"
#include "support/ScriptedProviderServer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vesk {
namespace {

using namespace std::chrono_literals;
using test::ScriptedProviderServer;
using test::ScriptedResponse;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using Clock = std::chrono::steady_clock;
using Ending = ScriptedResponse::Ending;
using Framing = ScriptedResponse::Framing;

constexpr const char* secretKey = "sk-proj-SECRETKEY0123456789";

// Records what the transport reports, and whether anything was reported once a stop was requested. The
// counts are read while a transfer runs, the rest once it is over.
class Recorder : public ResponseHandler
{
public:
    void onHead(int headStatus) override
    {
        calledAfterStop = calledAfterStop || watched.stop_requested();
        status = headStatus;
        ++heads;
    }
    bool onLine(std::string_view line) override
    {
        calledAfterStop = calledAfterStop || watched.stop_requested();
        lineBeforeHead = lineBeforeHead || heads == 0;
        lines.emplace_back(line);
        ++lineCount;
        return !stopAfterLines || lines.size() < *stopAfterLines;
    }

    std::optional<std::size_t> stopAfterLines;
    std::stop_token watched;
    std::atomic<int> heads = 0;
    std::atomic<std::size_t> lineCount = 0;
    int status = -1;
    bool lineBeforeHead = false;
    bool calledAfterStop = false;
    std::vector<std::string> lines;
};

int unusedPort()
{
    return ScriptedProviderServer().port();
}

class CurlTransportTest : public ::testing::Test
{
protected:
    // The tests talk to 127.0.0.1 directly, whatever proxy the machine running them has configured.
    void SetUp() override { ::setenv("no_proxy", "127.0.0.1", 1); }

    HttpRequest request() const
    {
        HttpRequest built;
        built.url = server.url("/v1/chat/completions");
        built.headers = {{"Content-Type", "application/json"}, {"Authorization", std::string("Bearer ") + secretKey}};
        built.body = R"({"model":"gpt-4o-mini","stream":true})";
        return built;
    }

    ScriptedProviderServer server;
    CurlTransport transport;
};

// Also through a second transport, which draws on the same pool of connections.
TEST_F(CurlTransportTest, SendsTheRequestExactlyAsBuiltOverOnePooledConnection)
{
    server.respondWith([](const test::RecordedRequest&) { return ScriptedResponse::events({"ok\n"}); });
    HttpRequest post = request();
    post.headers.emplace_back("anthropic-version", "2023-06-01");
    post.headers.emplace_back("X-Empty", "");
    post.body = std::string(2 * 1024 * 1024, 'x'); // large enough that libcurl would want 100-continue
    HttpRequest get;
    get.method = "GET";
    get.url = server.url("/v1/models?limit=5");
    Recorder first;
    Recorder second;
    CurlTransport another;

    EXPECT_EQ(transport.send(post, first, {}), std::nullopt);
    EXPECT_EQ(another.send(get, second, {}), std::nullopt);

    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].target, "/v1/chat/completions");
    EXPECT_EQ(requests[0].body, post.body);
    EXPECT_EQ(requests[0].header("Authorization"), std::string("Bearer ") + secretKey);
    EXPECT_EQ(requests[0].header("Content-Length"), std::to_string(post.body.size()));
    std::vector<std::string> names;
    std::ranges::transform(requests[0].headers, std::back_inserter(names), [](const auto& h) { return h.first; });
    EXPECT_THAT(names, ElementsAre("Host", "Accept", "Content-Type", "Authorization", "anthropic-version", "X-Empty",
                                   "Content-Length"));
    EXPECT_EQ(requests[1].method, "GET");
    EXPECT_EQ(requests[1].target, "/v1/models?limit=5");
    EXPECT_EQ(requests[1].header("Content-Type"), "");
    EXPECT_THAT(second.lines, ElementsAre("ok"));
    EXPECT_EQ(server.connectionCount(), 1u);
}

TEST_F(CurlTransportTest, ReportsTheHeadBeforeADelayedBody)
{
    server.enqueue(ScriptedResponse::events({"data: late\n"}, 400ms));
    Recorder recorder;
    std::jthread sender([&] { EXPECT_EQ(transport.send(request(), recorder, {}), std::nullopt); });

    ASSERT_TRUE(test::waitUntil([&] { return recorder.heads > 0; }, 5s, 2ms));
    EXPECT_EQ(recorder.lineCount, 0u) << "the body was not sent yet";
    sender.join();
    EXPECT_THAT(recorder.lines, ElementsAre("data: late"));
}

// Lines and line ends do not depend on where the chunks fall nor on how the body is delimited (chunked, by
// length, by closing), bytes pass through undecoded (a character split between chunks, invalid UTF-8), and only
// the final head is reported, not a "100 Continue" before it. A body cut off by a dropped connection keeps its
// whole lines, not the unfinished one, and fails.
TEST_F(CurlTransportTest, SplitsLinesAcrossChunksWhateverTheFraming)
{
    const std::tuple<Framing, Ending, bool> framings[] = {{Framing::chunked, Ending::complete, false},
                                                          {Framing::contentLength, Ending::complete, false},
                                                          {Framing::closeDelimited, Ending::complete, false},
                                                          {Framing::chunked, Ending::complete, true},
                                                          {Framing::chunked, Ending::drop, false},
                                                          {Framing::contentLength, Ending::drop, false}};
    const std::string invalid("caf\xc3 \xff\xfe\x80 \xe2\x82", 11);
    for (const auto& [framing, ending, interimContinue] : framings) {
        SCOPED_TRACE(testing::Message() << "framing " << static_cast<int>(framing) << ", ending "
                                        << static_cast<int>(ending) << (interimContinue ? ", after 100" : ""));
        ScriptedResponse response = ScriptedResponse::events(
            {"data: one\r", "\ndata: tw", "o\r\rdata: thr", "ee\n\n\xf0\x9f", "\x98\x80 " + invalid + "\ntail"}, 5ms);
        response.status = 429;
        response.framing = framing;
        response.ending = ending;
        response.interimContinue = interimContinue;
        server.enqueue(response);
        Recorder recorder;

        const auto error = transport.send(request(), recorder, {});

        std::vector<std::string> expected{"data: one",   "data: two", "",
                                          "data: three", "",          "\xf0\x9f\x98\x80 " + invalid};
        if (ending == Ending::complete) {
            EXPECT_EQ(error, std::nullopt);
            expected.emplace_back("tail");
        } else {
            EXPECT_TRUE(error && error->kind() == ProviderError::Kind::transport && !error->text().empty());
        }
        EXPECT_EQ(recorder.status, 429);
        EXPECT_EQ(recorder.heads, 1);
        EXPECT_FALSE(recorder.lineBeforeHead);
        EXPECT_EQ(recorder.lines, expected);
    }
}

// What a server does wrong ends in its named failure within its limit; the limits are shortened to keep
// the suite quick. Silence ends a few idle limits after the last byte, the deadline soon after it passed; a
// slow drip that is never quiet for the idle limit is never cut.
constexpr auto shortIdle = 400ms;
constexpr auto shortDeadline = 1500ms;

struct FaultCase
{
    const char* name;
    ScriptedResponse response;
    std::optional<ProviderError> error;
    std::chrono::milliseconds atLeast{0}; // the failure must not come before this
};

TEST_F(CurlTransportTest, FaultsEndAsNamed)
{
    const FaultCase faults[] = {
        FaultCase("StallsBeforeHead", ScriptedResponse::stallBeforeHead(), ProviderError::timeout(), shortIdle),
        FaultCase("StallsMidStream", {.body = {"data: {}\n\n"}, .ending = Ending::stall}, ProviderError::timeout(),
                  shortIdle),
        // A keep-alive every 100 ms keeps the idle limit away but not the deadline.
        FaultCase("TricklesPastTheDeadline", ScriptedResponse::events(std::vector<std::string>(100, ":\n"), 100ms),
                  ProviderError::deadlineExceeded(), shortDeadline),
        FaultCase("Redirect",
                  {.status = 301, .headers = {{"Location", "https://api.example.com/v1/messages"}}, .body = {"Moved"}},
                  ProviderError::redirect(301, "https://api.example.com/v1/messages")),
        FaultCase("OversizedHeader", {.headers = {{"X-Padding", std::string(300'000, 'p')}}, .body = {"data: {}\n\n"}},
                  ProviderError::invalidResponse("a response header longer than 100 KB")),
        FaultCase("NotHttp", ScriptedResponse::garbage(), ProviderError::invalidResponse()),
        FaultCase("SlowDrip", {.body = std::vector<std::string>(10, "data\n"), .gap = 100ms, .headDelay = 150ms},
                  std::nullopt, 1s)};
    for (const FaultCase& fault : faults) {
        SCOPED_TRACE(fault.name);
        server.enqueue(fault.response);
        HttpRequest shortened = request();
        shortened.idleTimeout = shortIdle;
        shortened.deadline = shortDeadline;
        Recorder recorder;
        const auto started = Clock::now();

        const auto error = transport.send(shortened, recorder, {});

        EXPECT_EQ(error, fault.error) << (error ? error->description() : "no error");
        EXPECT_GE(Clock::now() - started, fault.atLeast);
        EXPECT_LT(Clock::now() - started, shortDeadline + 1s);
    }
}

// Stopped before the head, mid-body in silence, during a steady drip or before sending: the transport
// returns at once without an error, and never calls the handler after the stop.
TEST_F(CurlTransportTest, StopsPromptlyWhenCancelled)
{
    server.enqueue(ScriptedResponse::stallBeforeHead());
    server.enqueue({.body = {"data: first\n"}, .ending = Ending::stall});
    server.enqueue(ScriptedResponse::events(std::vector<std::string>(2000, "data: drip\n"), 1ms));
    const std::function<bool(std::size_t)> stopWhen[] = {
        [&](std::size_t) { return server.requests().size() == 1u; },
        [](std::size_t lines) { return lines == 1; },
        [](std::size_t lines) { return lines >= 20; },
    };
    for (const auto& ready : stopWhen) {
        std::stop_source stop;
        Recorder recorder;
        recorder.watched = stop.get_token();
        std::optional<std::optional<ProviderError>> result;
        Clock::time_point returned;
        std::jthread sender([&] {
            result = transport.send(request(), recorder, stop.get_token());
            returned = Clock::now();
        });
        ASSERT_TRUE(test::waitUntil([&] { return ready(recorder.lineCount); }, 5s, 2ms));
        const auto stoppedAt = Clock::now();
        stop.request_stop();
        sender.join();

        ASSERT_TRUE(result.has_value());
        EXPECT_EQ(*result, std::nullopt);
        EXPECT_LT(returned - stoppedAt, 1s);
        EXPECT_FALSE(recorder.calledAfterStop);
        EXPECT_LT(recorder.lines.size(), 2000u);
    }

    const std::size_t connections = server.connectionCount();
    std::stop_source stopped;
    stopped.request_stop();
    Recorder recorder;
    EXPECT_EQ(transport.send(request(), recorder, stopped.get_token()), std::nullopt);
    EXPECT_EQ(recorder.heads, 0);
    EXPECT_EQ(server.connectionCount(), connections) << "nothing sent when stopped before sending";
}

TEST_F(CurlTransportTest, StopsReadingWhenTheHandlerSaysSo)
{
    server.enqueue(ScriptedResponse::events({"one\ntwo\nthree\n", "four\n"}));
    server.enqueue(ScriptedResponse::events({"next\n"}));
    Recorder stopping;
    stopping.stopAfterLines = 2;
    Recorder next;

    EXPECT_EQ(transport.send(request(), stopping, {}), std::nullopt);
    EXPECT_EQ(transport.send(request(), next, {}), std::nullopt);

    EXPECT_THAT(stopping.lines, ElementsAre("one", "two"));
    EXPECT_THAT(next.lines, ElementsAre("next")) << "the next request is not disturbed";
}

// A TLS server whose certificate no authority vouches for: not a network fault but a named one, and nothing
// of the request is sent.
TEST_F(CurlTransportTest, ReportsAnUntrustedCertificate)
{
    const std::string dir = ::testing::TempDir() + "vesk-tls-" + std::to_string(::getpid());
    const std::string make = "mkdir -p " + dir + " && openssl req -x509 -newkey rsa:2048 -nodes -days 1 -subj " +
                             "/CN=127.0.0.1 -keyout " + dir + "/key.pem -out " + dir + "/cert.pem 2>/dev/null";
    ASSERT_EQ(std::system(make.c_str()), 0) << "openssl is needed";
    const std::string accept = "127.0.0.1:" + std::to_string(unusedPort());
    const std::string cert = dir + "/cert.pem";
    test::BackgroundProcess opensslServer(
        "openssl", {"s_server", "-quiet", "-www", "-accept", accept, "-cert", cert, "-key", dir + "/key.pem"},
        dir + "/s_server.log");
    HttpRequest tls = request();
    tls.url = "https://" + accept + "/v1/chat/completions";
    std::optional<ProviderError> error;
    Recorder recorder;
    ASSERT_TRUE(test::waitUntil(
        [&] {
            error = transport.send(tls, recorder, {});
            return error && error->kind() != ProviderError::Kind::transport; // refused until openssl listens
        },
        5s, 2ms));
    opensslServer.stop();

    EXPECT_EQ(error->kind(), ProviderError::Kind::certificate) << error->description();
    EXPECT_THAT(error->description(), Not(HasSubstr(secretKey)));
    EXPECT_EQ(recorder.heads, 0);
}

// A refused connection, a scheme other than HTTP and a header that would inject another: each a transport
// failure that quotes no key.
TEST_F(CurlTransportTest, ReportsWhatCannotBeSentWithoutTheKey)
{
    HttpRequest refused = request();
    refused.url = "http://127.0.0.1:" + std::to_string(unusedPort()) + "/v1/chat?key=" + secretKey;
    HttpRequest ftp = request();
    ftp.url = "ftp://127.0.0.1/file";
    HttpRequest injected = request();
    injected.headers.emplace_back("x-api-key", std::string(secretKey) + "\r\nX-Injected: yes");
    for (const auto& [unsendable, says] : {std::pair(refused, "onnect"), std::pair(ftp, ""), std::pair(injected, "")}) {
        Recorder recorder;
        const auto error = transport.send(unsendable, recorder, {});
        ASSERT_TRUE(error.has_value()) << unsendable.url;
        EXPECT_EQ(error->kind(), ProviderError::Kind::transport);
        EXPECT_THAT(error->text(), HasSubstr(says));
        EXPECT_THAT(error->description(), Not(HasSubstr(secretKey)));
        EXPECT_EQ(recorder.heads, 0);
    }
    EXPECT_EQ(server.connectionCount(), 0u);
}

TEST_F(CurlTransportTest, HonoursTheHttpProxyVariable)
{
    server.enqueue(ScriptedResponse::events({"via proxy\n"}));
    const std::string saved = std::getenv("http_proxy") ? std::getenv("http_proxy") : "";
    ::setenv("http_proxy", server.url("").c_str(), 1);
    HttpRequest proxied = request();
    proxied.url = "http://api.vesk.invalid/v1/chat/completions";
    Recorder recorder;

    EXPECT_EQ(transport.send(proxied, recorder, {}), std::nullopt);
    saved.empty() ? ::unsetenv("http_proxy") : ::setenv("http_proxy", saved.c_str(), 1);

    EXPECT_THAT(recorder.lines, ElementsAre("via proxy"));
    ASSERT_EQ(server.requests().size(), 1u);
    EXPECT_EQ(server.requests()[0].target, "http://api.vesk.invalid/v1/chat/completions");
    EXPECT_EQ(server.requests()[0].header("Host"), "api.vesk.invalid");
}

} // namespace
} // namespace vesk
