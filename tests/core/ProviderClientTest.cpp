#include "core/ProviderClient.h"

#include "core/Json.h"
#include "core/Limits.h"
#include "support/ParamName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace vesk {

void PrintTo(const CorrectionEvent& event, std::ostream* out)
{
    if (event.kind == CorrectionEvent::Kind::delta) {
        *out << "delta \"" << event.text << '"';
    } else {
        *out << "done " << event.usage.promptTokens << '/' << event.usage.completionTokens;
    }
}

void PrintTo(const ProviderError& error, std::ostream* out)
{
    *out << error.description();
}

namespace {

using ::testing::ElementsAre;
using test::operator<<;

// Plays a scripted response to the handler, the way a transport does, and records what it was asked.
class ScriptedTransport final : public ProviderTransport
{
public:
    std::optional<int> status = 200; // nothing: the head never arrives
    std::vector<std::string> lines;
    std::optional<ProviderError> failure; // reported once the lines are played, or when stopped

    std::optional<HttpRequest> request;
    std::size_t linesRead = 0;

    std::optional<ProviderError> send(const HttpRequest& sent, ResponseHandler& handler, std::stop_token stop) override
    {
        request = sent;
        if (!status) {
            return failure;
        }
        handler.onHead(*status);
        for (const std::string& line : lines) {
            if (stop.stop_requested()) {
                return failure;
            }
            ++linesRead;
            if (!handler.onLine(line)) {
                return std::nullopt;
            }
        }
        return failure;
    }
};

std::string openAIText(std::string_view text)
{
    return "data: " + Json{{"choices", Json::array({{{"index", 0}, {"delta", {{"content", text}}}}})}}.dump();
}

std::string openAIUsage(std::int64_t prompt, std::int64_t completion)
{
    return "data: " +
           Json{{"choices", Json::array()}, {"usage", {{"prompt_tokens", prompt}, {"completion_tokens", completion}}}}
               .dump();
}

std::string anthropicText(std::string_view text)
{
    return "data: " + Json{{"type", "content_block_delta"}, {"delta", {{"type", "text_delta"}, {"text", text}}}}.dump();
}

const std::string userText = "Their going home.";

class ProviderClientTest : public ::testing::Test
{
protected:
    struct Outcome
    {
        std::vector<CorrectionEvent> events;
        std::optional<ProviderError> error;
    };

    Outcome run(ProviderID provider = ProviderID::openai, std::string_view key = "sk-secret",
                std::string_view text = userText)
    {
        const ProviderClient client(provider, m_transport);
        Outcome outcome;
        outcome.error = client.stream(
            "Fix it.", text, "model", key,
            [&](CorrectionEvent event) {
                if (m_onEvent) {
                    m_onEvent(event);
                }
                outcome.events.push_back(std::move(event));
            },
            m_stop.get_token());
        return outcome;
    }

    std::shared_ptr<ScriptedTransport> m_transport = std::make_shared<ScriptedTransport>();
    ScriptedTransport& transport() { return *m_transport; }
    std::function<void(const CorrectionEvent&)> m_onEvent;
    std::stop_source m_stop;
};

CorrectionEvent delta(std::string text)
{
    return CorrectionEvent::makeDelta(std::move(text));
}

CorrectionEvent done(std::int64_t prompt, std::int64_t completion)
{
    return CorrectionEvent::makeDone({prompt, completion});
}

// Replies as lines in, events and the verdict out. A reply counts only when the provider says it is finished.

struct ReplyRow
{
    const char* name;
    ProviderID provider;
    std::optional<int> status; // nothing: the head never arrives
    std::vector<std::string> lines;
    std::vector<CorrectionEvent> events;
    std::optional<ProviderError> error;
    std::optional<ProviderError> transportFailure = {}; // what the transport reports after the lines
};

class Replies : public ProviderClientTest, public ::testing::WithParamInterface<ReplyRow>
{
};

TEST_P(Replies, GiveTheirEventsAndVerdict)
{
    transport().status = GetParam().status;
    transport().lines = GetParam().lines;
    transport().failure = GetParam().transportFailure;

    const auto outcome = run(GetParam().provider);

    EXPECT_THAT(outcome.events, ::testing::ElementsAreArray(GetParam().events));
    EXPECT_EQ(outcome.error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    ProviderClient, Replies,
    ::testing::Values(
        // A leading blank means this is not a data line (" NOT").
        ReplyRow(
            "AnthropicEventByEvent", ProviderID::anthropic, 200,
            {"event: message_start",
             R"(data: {"type":"message_start","message":{"id":"m","usage":{"input_tokens":25,"output_tokens":1}}})", "",
             "event: content_block_delta",
             R"(data: {"type":"content_block_delta","index":0,"delta":{"type":"text_delta","text":"They're"}})",
             R"( data: {"type":"content_block_delta","index":0,"delta":{"type":"text_delta","text":" NOT"}})",
             R"(data: {"delta":{"type":"text_delta","text":" going home."}})", "", "event: message_delta",
             R"(data: {"type":"message_delta","delta":{"stop_reason":"end_turn"},"usage":{"output_tokens":6}})", "",
             "event: message_stop", R"(data: {"type":"message_stop"})"},
            {delta("They're"), delta(" going home."), done(25, 6)}, std::nullopt),
        // No space after "data:", comments and bare keep-alives, a stray carriage return, no sentinel.
        ReplyRow("OpenAICompatibleFraming", ProviderID::openai, 200,
                 {": OPENROUTER PROCESSING", "", R"(data:{"choices":[{"delta":{"role":"assistant","content":null}}]})",
                  ":",
                  R"(data:{"choices":[{"delta":{"content":"They're going"}}]})"
                  "\r",
                  ": ping",
                  "data:\t"
                  R"({"choices":[{"delta":{"content":" home."}}]})",
                  R"(data:{"choices":[{"delta":{},"finish_reason":"stop"}]})"},
                 {delta("They're going"), delta(" home."), done(0, 0)}, std::nullopt),
        // Nothing after the sentinel is read.
        ReplyRow("SentinelPaddedWithTabs", ProviderID::openai, 200,
                 {openAIText("They're going home."), "", openAIUsage(9, 4), "", "data:\t [DONE]\t ",
                  openAIText(" More.")},
                 {delta("They're going home."), done(9, 4)}, std::nullopt),
        ReplyRow("SentinelWithTrailingCharacterIsUnreadable", ProviderID::openai, 200,
                 {openAIText("They're"), "data: [DONE]x", openAIText(" going home."), "data: [DONE]"},
                 {delta("They're")}, ProviderError::invalidResponse("a part of the reply could not be read")),
        // vLLM can report usage on every chunk; an absent count leaves the held one alone.
        ReplyRow("LastReportedCountsWin", ProviderID::openai, 200,
                 {openAIText("They're"), openAIUsage(10, 1), openAIText(" going home."), openAIUsage(11, 2),
                  R"(data: {"choices":[{"delta":{}}],"usage":null})", "data: [DONE]"},
                 {delta("They're"), delta(" going home."), done(11, 2)}, std::nullopt),
        ReplyRow("AllEmptyDeltasLeaveTheVerdictToTheValidator", ProviderID::openai, 200,
                 {R"(data: {"choices":[{"delta":{"role":"assistant","content":""}}]})", openAIText(""),
                  openAIUsage(9, 0), "data: [DONE]"},
                 {}, ProviderError::invalidCorrectionOutput("empty response")),
        ReplyRow("RejectedReplyHasItsDeltasButNoDone", ProviderID::openai, 200,
                 {openAIText("Corrected text:"), openAIText(" They're going home."), openAIUsage(9, 6), "data: [DONE]"},
                 {delta("Corrected text:"), delta(" They're going home.")},
                 ProviderError::invalidCorrectionOutput("response included an explanatory wrapper")),
        ReplyRow("ErrorStatusReadsTheWholeBodyAndMasksTheKey", ProviderID::anthropic, 401,
                 {"{", R"(  "type": "error",)",
                  R"(  "error": {"type": "authentication_error", "message": "invalid x-api-key sk-secret"})", "}"},
                 {}, ProviderError::http(401, "invalid x-api-key [redacted]")),
        // Not JSON: the lines are joined and trimmed, and a sentinel among them does not end the body.
        ReplyRow("PlainTextErrorBodyIsTrimmed", ProviderID::openai, 500,
                 {"", "  Internal Server Error ", "data: [DONE]", "\t"}, {},
                 ProviderError::http(500, "Internal Server Error \ndata: [DONE]")),
        ReplyRow("HugeErrorBodyIsCut", ProviderID::openai, 500, {std::string(100'000, 'x')}, {},
                 ProviderError::http(500, std::string(1000, 'x') + "\u2026")),
        ReplyRow("OpenAIWithoutFinishIsCutOff", ProviderID::openai, 200, {openAIText("Hi.")}, {delta("Hi.")},
                 ProviderError::cutOff()),
        ReplyRow("OpenAILengthIsTooLong", ProviderID::openai, 200,
                 {openAIText("Hi."), R"(data: {"choices":[{"delta":{},"finish_reason":"length"}]})", "data: [DONE]"},
                 {delta("Hi.")}, ProviderError::replyTooLong()),
        ReplyRow("OpenAIErrorMidStreamIsMasked", ProviderID::openai, 200,
                 {openAIText("Hi."), R"(data: {"error":{"message":"bad sk-secret"}})", "data: [DONE]"}, {delta("Hi.")},
                 ProviderError::streamError("bad [redacted]")),
        // A count never reported is 0.
        ReplyRow("AnthropicEndTurnWithoutMessageStop", ProviderID::anthropic, 200,
                 {anthropicText("Hi."), R"(data: {"delta":{"stop_reason":"end_turn"},"usage":{"output_tokens":2}})"},
                 {delta("Hi."), done(0, 2)}, std::nullopt),
        ReplyRow("WebPageInsteadOfAStream", ProviderID::openai, 200, {"<html>", "<body>OK</body>", "</html>"}, {},
                 ProviderError::invalidResponse("a web page instead of a stream of events")),
        ReplyRow("PlainJsonInsteadOfAStream", ProviderID::openai, 200, {R"({"error":"stream is not supported"})"}, {},
                 ProviderError::invalidResponse("plain JSON instead of a stream of events: stream is not supported")),
        ReplyRow("TransportErrorIsPassedOnUnchanged", ProviderID::openai, 200, {openAIText("They're")},
                 {delta("They're")}, ProviderError::timeout(), ProviderError::timeout()),
        ReplyRow("TransferWithoutAHeadIsAnInvalidResponse", ProviderID::openai, std::nullopt, {}, {},
                 ProviderError::invalidResponse())),
    test::ParamName());

TEST_F(ProviderClientTest, TooLongOrUnencodableTextIsRefusedBeforeSending)
{
    EXPECT_EQ(run(ProviderID::openai, "k", std::string(100'001, 'a')).error, ProviderError::selectionTooLong());
    EXPECT_EQ(run(ProviderID::openai, "k", "bad \xFF text").error,
              ProviderError::transport("The text is not valid UTF-8."));
    EXPECT_FALSE(transport().request);
    // Characters, not bytes: an accented letter written with a combining mark is one.
    std::string accented;
    for (int i = 0; i < 100'000; ++i) {
        accented += "e\u0301";
    }
    run(ProviderID::openai, "k", accented);
    EXPECT_TRUE(transport().request);
}

// A consumer that keeps the reply so far pays for each event with a copy of it: a million tiny deltas
// must not become a million events.
TEST_F(ProviderClientTest, TinyDeltasAreDeliveredInFewEvents)
{
    std::string reply;
    for (int i = 0; i < 100'000; ++i) {
        transport().lines.push_back(openAIText(i % 2 == 0 ? "a" : " "));
        reply += i % 2 == 0 ? "a" : " ";
    }
    transport().lines.push_back("data: [DONE]");

    const auto outcome = run();

    EXPECT_EQ(outcome.error, std::nullopt);
    ASSERT_GE(outcome.events.size(), 2u);
    EXPECT_LT(outcome.events.size(), 400u);
    std::string joined;
    for (const CorrectionEvent& event : outcome.events) {
        joined += event.text;
    }
    EXPECT_EQ(joined, reply);
}

TEST_F(ProviderClientTest, ReplyOverTheCapIsRefused)
{
    for (const std::size_t size : {limits::replyBytes, limits::replyBytes + 1}) {
        transport().lines = {openAIText(std::string(size - 1, 'a')), openAIText("b"), "data: [DONE]"};
        const auto outcome = run();
        EXPECT_EQ(outcome.error,
                  size > limits::replyBytes ? std::optional(ProviderError::replyTooLarge()) : std::nullopt);
    }
}

TEST_F(ProviderClientTest, ThrowingConsumerEndsTheStreamWithAnError)
{
    transport().lines = {openAIText("They're"), openAIText(" going home.")};
    m_onEvent = [](const CorrectionEvent&) { throw std::runtime_error("model gone"); };

    const auto outcome = run();

    EXPECT_EQ(outcome.error, ProviderError::transport("model gone"));
    EXPECT_EQ(transport().linesRead, 1u);
}

// A transport stopped half-way may report an error of its own; a stop outweighs it.
TEST_F(ProviderClientTest, StopMidStreamEndsQuietly)
{
    transport().lines = {openAIText("They're"), openAIText(" going"), openAIText(" home."), openAIUsage(9, 3)};
    transport().failure = ProviderError::transport("aborted");
    m_onEvent = [this](const CorrectionEvent&) { m_stop.request_stop(); };

    const auto outcome = run();

    EXPECT_EQ(outcome.error, std::nullopt);
    EXPECT_THAT(outcome.events, ElementsAre(delta("They're")));
    EXPECT_EQ(transport().linesRead, 1u);
}

// The message comes from the error envelope, untrimmed, or else is the whole body trimmed; the key is masked
// wherever it occurs. A whole error reply read from its envelope is a reply above.
TEST(ProviderClient, ErrorMessagesComeFromTheEnvelopeOrTheBody)
{
    EXPECT_EQ(ProviderClient::errorMessage(R"({"error":{"message":" spaced "}})", ""), " spaced ");
    EXPECT_EQ(ProviderClient::errorMessage(" {\"object\":\"error\",\"message\":\"bad\",\"code\":400}\n", ""),
              R"({"object":"error","message":"bad","code":400})")
        << "an envelope without its wrapper is the body";
    EXPECT_EQ(ProviderClient::errorMessage(R"({"error":{"message":401}})", ""), R"({"error":{"message":401}})");
    EXPECT_EQ(ProviderClient::errorMessage(R"({"error":{"message":"key sk-1 is not sk-12 but sk-1"}})", "sk-1"),
              "key [redacted] is not [redacted]2 but [redacted]");
    EXPECT_EQ(ProviderClient::errorMessage("xxxx", "xx"), "[redacted][redacted]");
    EXPECT_EQ(ProviderClient::errorMessage(R"({"error":{"message":"no key given"}})", ""), "no key given")
        << "an empty key replaces nothing";
}

} // namespace
} // namespace vesk
