// What real servers do wrong, over real HTTP on loopback: every fault ends in its named failure, within
// its limit, without a crash. The idle limit and the deadline are shortened to keep the suite quick.

#include "core/CurlTransport.h"
#include "core/ProviderClient.h"
#include "support/ParamName.h"
#include "support/ScriptedProviderServer.h"

#include <functional>
#include <gtest/gtest.h>

namespace vesk {
namespace {

using namespace std::chrono_literals;
using test::ScriptedResponse;
using test::operator<<;
namespace streams = test::streams;

constexpr auto shortIdle = 400ms;
constexpr auto shortDeadline = 1500ms;

// The production transport with shorter limits than the minute and the five minutes users get.
class ShortLimitsTransport final : public ProviderTransport
{
public:
    std::optional<ProviderError> send(const HttpRequest& request, ResponseHandler& handler,
                                      std::stop_token stop) override
    {
        HttpRequest shortened = request;
        shortened.idleTimeout = shortIdle;
        shortened.deadline = shortDeadline;
        return m_transport.send(shortened, handler, std::move(stop));
    }

private:
    CurlTransport m_transport{CurlTransport::makePool()};
};

struct Outcome
{
    std::string text;
    std::optional<ProviderError> error;
    bool done = false;
    std::chrono::steady_clock::duration elapsed{};
};

struct FaultRow
{
    const char* name;
    ProviderID provider;
    std::function<ScriptedResponse()> response;
    std::function<void(const Outcome&)> check;
};

class ProviderFaults : public ::testing::TestWithParam<FaultRow>
{
};

TEST_P(ProviderFaults, EndAsNamed)
{
    test::ScriptedProviderServer server;
    server.enqueue(GetParam().response());
    const ProviderClient client(GetParam().provider, std::make_shared<ShortLimitsTransport>(), server.url(""));
    Outcome outcome;
    const auto started = std::chrono::steady_clock::now();
    outcome.error = client.stream("Fix it.", "helo wrld", "m", "sk-live-secret", [&](CorrectionEvent event) {
        outcome.text += event.text;
        outcome.done = outcome.done || event.kind == CorrectionEvent::Kind::done;
    });
    outcome.elapsed = std::chrono::steady_clock::now() - started;
    EXPECT_LT(outcome.elapsed, 10s);
    GetParam().check(outcome);
}

std::function<void(const Outcome&)> corrected(std::string text)
{
    return [text](const Outcome& o) {
        EXPECT_EQ(o.error, std::nullopt) << o.error->description();
        EXPECT_EQ(o.text, text);
        EXPECT_TRUE(o.done);
    };
}

std::function<void(const Outcome&)> fails(ProviderError expected)
{
    return [expected](const Outcome& o) {
        ASSERT_TRUE(o.error.has_value());
        EXPECT_EQ(*o.error, expected) << o.error->description();
        EXPECT_FALSE(o.done);
    };
}

// Silence ends in a timeout a few idle limits after the last byte, not at some longer limit of its own.
std::function<void(const Outcome&)> timesOut()
{
    return [](const Outcome& o) {
        EXPECT_EQ(o.error, ProviderError::timeout());
        EXPECT_LT(o.elapsed, 3s);
        EXPECT_FALSE(o.done);
    };
}

std::function<void(const Outcome&)> failsAs(ProviderError::Kind kind)
{
    return [kind](const Outcome& o) {
        ASSERT_TRUE(o.error.has_value());
        EXPECT_EQ(o.error->kind(), kind) << o.error->description();
        EXPECT_EQ(o.error->description().find("sk-live-secret"), std::string::npos);
        EXPECT_FALSE(o.done);
    };
}

// The reply "Hello world" as the provider streams it, with `edit` applied to the list of events.
std::function<ScriptedResponse()> stream(ProviderID provider, std::function<void(std::vector<std::string>&)> edit)
{
    return [=] {
        auto events = provider == ProviderID::openai ? streams::openAI({"Hello", " world"})
                                                     : streams::anthropic({"Hello", " world"});
        edit(events);
        return ScriptedResponse::events(events);
    };
}

// Replaces the first `from` in the event that holds it.
std::function<void(std::vector<std::string>&)> replacing(std::string from, std::string to)
{
    return [=](std::vector<std::string>& events) {
        for (std::string& event : events) {
            if (const auto at = event.find(from); at != std::string::npos) {
                event.replace(at, from.size(), to);
                return;
            }
        }
        FAIL() << from << " is in no event";
    };
}

std::function<void(std::vector<std::string>&)> droppingLast(std::size_t count)
{
    return [=](std::vector<std::string>& events) { events.resize(events.size() - count); };
}

std::string bigReply(std::size_t bytes)
{
    std::string text;
    while (text.size() < bytes) {
        text += "The quick brown fox jumps over the lazy dog. ";
    }
    return text + "End.";
}

INSTANTIATE_TEST_SUITE_P(
    Servers, ProviderFaults,
    ::testing::Values(
        FaultRow{"GatewayHtml", ProviderID::openai,
                 [] { return ScriptedResponse::text(502, "text/html", streams::htmlErrorBody(502)); },
                 [](const Outcome& o) {
                     // The body's lines come back joined by line feeds and trimmed.
                     ASSERT_TRUE(o.error.has_value());
                     EXPECT_EQ(o.error->status(), 502);
                     EXPECT_TRUE(o.error->text().starts_with("<html>\n<head><title>502 Bad Gateway"));
                     EXPECT_TRUE(o.error->text().ends_with("</body>\n</html>"));
                 }},
        FaultRow{"StallsBeforeHead", ProviderID::openai, [] { return ScriptedResponse::stallBeforeHead(); },
                 timesOut()},
        FaultRow{"StallsMidStream", ProviderID::anthropic,
                 [] {
                     ScriptedResponse r = ScriptedResponse::events(streams::anthropic({"Hello", " world"}));
                     r.body.resize(4);
                     r.ending = ScriptedResponse::Ending::stall;
                     return r;
                 },
                 timesOut()},
        FaultRow{"DropsMidStream", ProviderID::openai,
                 [] {
                     ScriptedResponse r = ScriptedResponse::events(streams::openAI({"Hello", " world"}));
                     r.body.resize(2);
                     r.ending = ScriptedResponse::Ending::drop;
                     return r;
                 },
                 failsAs(ProviderError::Kind::transport)},
        // A reply counts only when the provider says it is finished.
        FaultRow{"OpenAIWithoutFinishOrDone", ProviderID::openai, stream(ProviderID::openai, droppingLast(3)),
                 fails(ProviderError::cutOff())},
        FaultRow{"OpenAIFinishedWithoutDone", ProviderID::openai, stream(ProviderID::openai, droppingLast(1)),
                 corrected("Hello world")},
        FaultRow{"OpenAILength", ProviderID::openai,
                 stream(ProviderID::openai, replacing(R"("finish_reason":"stop")", R"("finish_reason":"length")")),
                 fails(ProviderError::replyTooLong())},
        FaultRow{"OpenAIErrorMidStream", ProviderID::openai,
                 stream(ProviderID::openai,
                        replacing(R"("finish_reason":"stop")",
                                  R"("finish_reason":null}],"error":{"message":"The server experienced an error",)"
                                  R"("type":"server_error"},"x":[{)")),
                 fails(ProviderError::streamError("The server experienced an error"))},
        FaultRow{"OpenAIUnreadableChunk", ProviderID::openai, stream(ProviderID::openai, replacing(" world", "\xFF")),
                 fails(ProviderError::invalidResponse("a part of the reply could not be read"))},
        FaultRow{"AnthropicWithoutStop", ProviderID::anthropic, stream(ProviderID::anthropic, droppingLast(2)),
                 fails(ProviderError::cutOff())},
        FaultRow{"AnthropicFinishedWithoutMessageStop", ProviderID::anthropic,
                 stream(ProviderID::anthropic, droppingLast(1)), corrected("Hello world")},
        FaultRow{"AnthropicMaxTokens", ProviderID::anthropic,
                 stream(ProviderID::anthropic, replacing("end_turn", "max_tokens")),
                 fails(ProviderError::replyTooLong())},
        FaultRow{"AnthropicOverloaded", ProviderID::anthropic,
                 stream(ProviderID::anthropic,
                        [](std::vector<std::string>& events) {
                            events.resize(4); // message_start, content_block_start, ping, "Hello"
                            events.emplace_back("event: error\ndata: {\"type\": \"error\", \"error\": {\"type\": "
                                                "\"overloaded_error\", \"message\": \"Overloaded\"}}\n\n");
                        }),
                 fails(ProviderError::streamError("Overloaded"))},
        FaultRow{"ReplyNearTheCap", ProviderID::openai,
                 [] { return ScriptedResponse::events(streams::openAI(streams::split(bigReply(990'000), 4096))); },
                 corrected(bigReply(990'000))},
        FaultRow{"ReplyOverTheCap", ProviderID::openai,
                 [] { return ScriptedResponse::events(streams::openAI(streams::split(bigReply(3'000'000), 65536))); },
                 fails(ProviderError::replyTooLarge())},
        FaultRow{"HugeErrorBodyIsCut", ProviderID::openai,
                 [] { return ScriptedResponse::text(500, "text/plain", std::string(5'000'000, 'x')); },
                 [](const Outcome& o) {
                     ASSERT_TRUE(o.error.has_value());
                     EXPECT_EQ(o.error->text(), std::string(1000, 'x') + "\u2026");
                 }},
        // A keep-alive every 100 ms keeps the idle limit away but not the deadline.
        FaultRow{"TricklesPastTheDeadline", ProviderID::openai,
                 [] {
                     ScriptedResponse r = ScriptedResponse::events(std::vector<std::string>(100, ":\n"), 100ms);
                     return r;
                 },
                 [](const Outcome& o) {
                     EXPECT_EQ(o.error, ProviderError::deadlineExceeded());
                     EXPECT_GE(o.elapsed, shortDeadline);
                     EXPECT_LT(o.elapsed, shortDeadline + 1s);
                 }},
        // Different faults, different texts.
        FaultRow{"WebPageInsteadOfAStream", ProviderID::openai,
                 [] { return ScriptedResponse::text(200, "text/html", streams::htmlErrorBody(200)); },
                 fails(ProviderError::invalidResponse("a web page instead of a stream of events"))},
        FaultRow{"PlainJsonInsteadOfAStream", ProviderID::openai,
                 [] { return ScriptedResponse::text(200, "application/json", R"({"error":"stream is not supported"})"); },
                 fails(ProviderError::invalidResponse("plain JSON instead of a stream of events: stream is not supported"))},
        FaultRow{"Redirect", ProviderID::anthropic,
                 [] {
                     ScriptedResponse r = ScriptedResponse::text(301, "text/html", "<html>Moved</html>");
                     r.headers.emplace_back("Location", "https://api.example.com/v1/messages");
                     return r;
                 },
                 fails(ProviderError::redirect(301, "https://api.example.com/v1/messages"))},
        FaultRow{"OversizedHeader", ProviderID::openai,
                 [] {
                     ScriptedResponse r = ScriptedResponse::events(streams::openAI({"Hello"}));
                     r.headers.emplace_back("X-Padding", std::string(300'000, 'p'));
                     return r;
                 },
                 fails(ProviderError::invalidResponse("a response header longer than 100 KB"))},
        FaultRow{"NotHttp", ProviderID::openai, [] { return ScriptedResponse::garbage(); },
                 fails(ProviderError::invalidResponse())}),
    test::ParamName());

} // namespace
} // namespace vesk
