#include "core/ProviderClient.h"

#include "core/Json.h"
#include "core/Limits.h"
#include "support/Golden.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace vesk {

void PrintTo(const ProviderError& error, std::ostream* out)
{
    *out << error.description();
}

namespace {

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

const std::string userText = "Their going home.";

class ProviderClientTest : public ::testing::Test
{
public:
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

protected:
    std::shared_ptr<ScriptedTransport> m_transport = std::make_shared<ScriptedTransport>();
    ScriptedTransport& transport() { return *m_transport; }
    std::function<void(const CorrectionEvent&)> m_onEvent;
    std::stop_source m_stop;
};

// The body's lines as the transcript writes them: \u2409 stands for a tab, \u240D for a carriage return, and
// \u2420 for a space, so that none is lost at the end of a line.
std::string unescaped(std::string_view written)
{
    std::string line;
    for (std::size_t at = 0; at < written.size();) {
        const std::pair<std::string_view, char> pictures[] = {{"\u2409", '\t'}, {"\u240D", '\r'}, {"\u2420", ' '}};
        const auto picture =
            std::ranges::find_if(pictures, [&](auto p) { return written.substr(at).starts_with(p.first); });
        line += picture != std::end(pictures) ? picture->second : written[at];
        at += picture != std::end(pictures) ? picture->first.size() : 1;
    }
    return line;
}

// Texts quoted as JSON strings, so that a line break or a space at the end shows.
std::string shown(const ProviderClientTest::Outcome& outcome)
{
    std::string text;
    for (const CorrectionEvent& event : outcome.events) {
        text += event.kind == CorrectionEvent::Kind::delta
                    ? "  delta " + dumpReplacingInvalidUtf8(event.text) + "\n"
                    : "  done " + std::to_string(event.usage.promptTokens) + "/" +
                          std::to_string(event.usage.completionTokens) + "\n";
    }
    return text + (outcome.error ? "  error " + dumpReplacingInvalidUtf8(outcome.error->description()) : "  ok") + "\n";
}

// Replies as lines in, events and the verdict out, in the transcript ProviderReplies.txt: each case is a
// "== <name>: <provider> <status>" line, comments about it, the body's lines as ">" lines, and what the
// client made of them, which the test writes. A reply counts only when the provider says it is finished.
TEST_F(ProviderClientTest, RepliesGiveTheEventsAndVerdictsOfTheirTranscript)
{
    std::istringstream golden(test::readGolden("ProviderReplies"));
    std::string transcript;
    std::optional<ProviderID> provider;
    const auto play = [&] {
        if (provider) {
            transcript += shown(run(*provider)) + "\n";
        }
        transport().lines.clear();
    };
    for (std::string line; std::getline(golden, line);) {
        if (line.starts_with("== ")) {
            play();
            provider = line.find(": anthropic ") != std::string::npos ? ProviderID::anthropic : ProviderID::openai;
            transport().status = std::stoi(line.substr(line.rfind(' ')));
        } else if (line.starts_with('>')) {
            transport().lines.push_back(
                unescaped(std::string_view(line).substr(std::min<std::size_t>(line.size(), 2))));
        } else if (!line.starts_with('#')) {
            continue;
        }
        transcript += line + "\n";
    }
    play();
    EXPECT_NE(transcript.find("== "), std::string::npos);
    test::expectGolden("ProviderReplies", transcript);
}

TEST_F(ProviderClientTest, TransportFailuresArePassedOnOrNamed)
{
    transport().lines = {openAIText("They're")};
    transport().failure = ProviderError::timeout();
    EXPECT_EQ(shown(run()), "  delta \"They're\"\n  error \"The provider didn't respond in time.\"\n")
        << "passed on unchanged";

    transport().status = std::nullopt;
    transport().failure = std::nullopt;
    EXPECT_EQ(run().error, ProviderError::invalidResponse()) << "a transfer without a head";
}

// Bounds

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

// The reply may reach the cap but not pass it.
TEST_F(ProviderClientTest, ReplyOverTheCapIsRefused)
{
    for (const std::size_t size : {limits::replyBytes, limits::replyBytes + 1}) {
        transport().lines = {openAIText(std::string(size - 1, 'a')), openAIText("b"), "data: [DONE]"};
        const auto outcome = run();
        EXPECT_EQ(outcome.error,
                  size > limits::replyBytes ? std::optional(ProviderError::replyTooLarge()) : std::nullopt);
    }
}

// Failures

TEST_F(ProviderClientTest, ThrowingConsumerEndsTheStreamWithAnError)
{
    transport().lines = {openAIText("They're"), openAIText(" going home.")};
    m_onEvent = [](const CorrectionEvent&) { throw std::runtime_error("model gone"); };

    const auto outcome = run();

    EXPECT_EQ(outcome.error, ProviderError::transport("model gone"));
    EXPECT_EQ(transport().linesRead, 1u);
}

// Stopping

// A transport stopped half-way may report an error of its own; a stop outweighs it.
TEST_F(ProviderClientTest, StopMidStreamEndsQuietly)
{
    transport().lines = {openAIText("They're"), openAIText(" going"), openAIText(" home."), openAIUsage(9, 3)};
    transport().failure = ProviderError::transport("aborted");
    m_onEvent = [this](const CorrectionEvent&) { m_stop.request_stop(); };

    EXPECT_EQ(shown(run()), "  delta \"They're\"\n  ok\n");
    EXPECT_EQ(transport().linesRead, 1u);
}

// Error messages

// The message comes from the error envelope, untrimmed, or else is the whole body trimmed; the key is masked
// wherever it occurs. A whole error reply read from its envelope is in the reply transcript.
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
    EXPECT_EQ(ProviderClient::errorMessage(std::string(100'000, 'x'), ""), std::string(1000, 'x') + "\u2026");
    EXPECT_EQ(ProviderClient::errorMessage(R"({"error":{"message":"no key given"}})", ""), "no key given")
        << "an empty key replaces nothing";
}

} // namespace
} // namespace vesk
