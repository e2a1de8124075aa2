#include "core/ProviderClient.h"
#include "support/Golden.h"

#include <gtest/gtest.h>
#include <string>

namespace vesk {
namespace {

constexpr std::string_view systemPrompt = "Fix the grammar.\nKeep the meaning.";
// Keys are sent exactly as stored, spaces and all.
constexpr std::string_view key = " sk-test key ";

HttpRequest requestOf(const ProviderDialect& dialect, std::string_view text)
{
    auto request = dialect.makeRequest(systemPrompt, text, "some-model", key);
    EXPECT_TRUE(request.hasValue());
    return request ? request.value() : HttpRequest{};
}

// Each provider's streamed call, whole, in its golden file: the headers in the order they are sent, the body
// parsed with its keys sorted (their order in the text carries no meaning, and no other key may be sent).
std::string shown(const HttpRequest& request)
{
    std::string text = request.method + " " + request.url + "\nidle " + std::to_string(request.idleTimeout.count()) +
                       " ms, deadline " + std::to_string(request.deadline.count()) + " ms\n";
    for (const auto& [name, value] : request.headers) {
        text += name + ": \"" + value + "\"\n";
    }
    return text + "\n" + nlohmann::json::parse(request.body).dump(2) + "\n";
}

TEST(AnthropicRequest, IsTheStreamedMessagesCall)
{
    test::expectGolden("AnthropicRequest", shown(requestOf(*makeDialect(ProviderID::anthropic), "Hello \"world\"")));
}

// No max_tokens for this provider; usage is asked for.
TEST(OpenAIRequest, IsTheStreamedChatCompletionWithUsage)
{
    test::expectGolden("OpenAIRequest", shown(requestOf(*makeDialect(ProviderID::openai), "Hello")));
}

// A base address, with or without the version and slashes, gets the provider's fixed path.
TEST(ProviderRequest, EndpointsAppendTheFixedPathToTheBase)
{
    const auto url = [](ProviderID provider, std::string base) {
        return requestOf(*makeDialect(provider, std::move(base)), "x").url;
    };
    EXPECT_EQ(url(ProviderID::openai, "http://localhost:11434"), "http://localhost:11434/v1/chat/completions");
    EXPECT_EQ(url(ProviderID::openai, "http://localhost:11434/v1/"), "http://localhost:11434/v1/chat/completions");
    EXPECT_EQ(url(ProviderID::openai, "http://gw.example.com/openai-v1"),
              "http://gw.example.com/openai-v1/v1/chat/completions");
    EXPECT_EQ(url(ProviderID::anthropic, "https://gateway.example.com//"), "https://gateway.example.com/v1/messages");
}

// Half the UTF-8 bytes of the text alone, not of the wrapped message, between a floor and a cap.
TEST(AnthropicRequest, MaxTokensFollowTheTextsByteCount)
{
    const auto maxTokens = [](std::string_view piece, std::size_t copies) {
        std::string text;
        for (std::size_t i = 0; i < copies; ++i) {
            text += piece;
        }
        return Json::parse(requestOf(*makeDialect(ProviderID::anthropic), text).body)["max_tokens"];
    };
    EXPECT_EQ(maxTokens("a", 511), 256) << "the floor";
    EXPECT_EQ(maxTokens("\u00E9", 300), 300) << "bytes, not characters";
    EXPECT_EQ(maxTokens("a", 32767), 16383);
    EXPECT_EQ(maxTokens("a", 40000), 16384) << "the cap";
}

// Stream payloads: each "> " line of the golden file is one payload, followed by what the dialect read from it.

std::string shown(const ProviderEvent& event)
{
    static constexpr const char* reasons[] = {"finished", "too long", "other"};
    std::string text;
    const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
    if (event.delta) {
        add("delta \"" + *event.delta + '"');
    }
    if (event.promptTokens) {
        add("prompt " + std::to_string(*event.promptTokens));
    }
    if (event.completionTokens) {
        add("completion " + std::to_string(*event.completionTokens));
    }
    if (event.stopReason) {
        add(std::string("stop: ") + reasons[static_cast<int>(*event.stopReason)]);
    }
    if (event.endOfMessage) {
        add("end of message");
    }
    if (event.error) {
        add("error \"" + *event.error + '"');
    }
    if (event.undecodable) {
        add("undecodable");
    }
    return text.empty() ? "nothing" : text;
}

TEST(AnthropicEvents, ReadTheirFields)
{
    test::expectTranscript("AnthropicEvents", [](std::string_view payload) {
        return shown(makeDialect(ProviderID::anthropic)->parseEvent(payload));
    });
}

TEST(OpenAIEvents, ReadTheirFields)
{
    test::expectTranscript("OpenAIEvents", [](std::string_view payload) {
        return shown(makeDialect(ProviderID::openai)->parseEvent(payload));
    });
}

} // namespace
} // namespace vesk
