#include "core/ProviderClient.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

namespace vesk {

void PrintTo(const ProviderEvent& event, std::ostream* out)
{
    *out << "{delta: " << (event.delta ? '"' + *event.delta + '"' : "none")
         << ", prompt: " << (event.promptTokens ? std::to_string(*event.promptTokens) : "none")
         << ", completion: " << (event.completionTokens ? std::to_string(*event.completionTokens) : "none")
         << ", stop: " << (event.stopReason ? std::to_string(static_cast<int>(*event.stopReason)) : "none")
         << ", end: " << event.endOfMessage << ", error: " << event.error.value_or("none")
         << ", undecodable: " << event.undecodable << "}";
}

namespace {

using Headers = std::vector<std::pair<std::string, std::string>>;

constexpr std::string_view systemPrompt = "Fix the grammar.\nKeep the meaning.";
// Keys are sent exactly as stored, spaces and all.
constexpr std::string_view key = " sk-test key ";

nlohmann::json bodyOf(const HttpRequest& request)
{
    return nlohmann::json::parse(request.body);
}

HttpRequest requestOf(const ProviderDialect& dialect, std::string_view text)
{
    auto request = dialect.makeRequest(systemPrompt, text, "some-model", key);
    EXPECT_TRUE(request.hasValue());
    return request ? request.value() : HttpRequest{};
}

// Requests. The bodies are compared parsed: key order in the text carries no meaning, and no other key may
// be sent.

TEST(AnthropicRequest, IsTheStreamedMessagesCall)
{
    const HttpRequest request = requestOf(*makeDialect(ProviderID::anthropic), "Hello \"world\"");

    EXPECT_EQ(request.url, "https://api.anthropic.com/v1/messages");
    EXPECT_EQ(request.headers, (Headers{{"Content-Type", "application/json"},
                                        {"x-api-key", std::string(key)},
                                        {"anthropic-version", "2023-06-01"}}));
    EXPECT_EQ(bodyOf(request), nlohmann::json::parse(R"({"model":"some-model","max_tokens":256,"temperature":0.2,)"
                                                     R"("stream":true,"system":"Fix the grammar.\nKeep the meaning.",)"
                                                     R"("messages":[{"role":"user","content":)"
                                                     R"("\u27E6TEXT\u27E7\nHello \"world\"\n\u27E6/TEXT\u27E7"}]})"));
}

// No max_tokens for this provider.
TEST(OpenAIRequest, IsTheStreamedChatCompletionWithUsage)
{
    const HttpRequest request = requestOf(*makeDialect(ProviderID::openai), "Hello");

    EXPECT_EQ(request.url, "https://api.openai.com/v1/chat/completions");
    EXPECT_EQ(request.headers,
              (Headers{{"Content-Type", "application/json"}, {"Authorization", "Bearer " + std::string(key)}}));
    EXPECT_EQ(bodyOf(request),
              nlohmann::json::parse(R"({"model":"some-model","temperature":0.2,"stream":true,)"
                                    R"("stream_options":{"include_usage":true},"messages":[)"
                                    R"({"role":"system","content":"Fix the grammar.\nKeep the meaning."},)"
                                    R"({"role":"user","content":"\u27E6TEXT\u27E7\nHello\n\u27E6/TEXT\u27E7"}]})"));
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
        return bodyOf(requestOf(*makeDialect(ProviderID::anthropic), text))["max_tokens"];
    };
    EXPECT_EQ(maxTokens("a", 511), 256) << "the floor";
    EXPECT_EQ(maxTokens("\u00E9", 300), 300) << "bytes, not characters";
    EXPECT_EQ(maxTokens("a", 32767), 16383);
    EXPECT_EQ(maxTokens("a", 40000), 16384) << "the cap";
}

const ProviderEvent undecodable = ProviderEvent::undecodablePayload();

TEST(AnthropicEvents, ReadTheirFields)
{
    const auto parse = [](std::string_view payload) { return makeDialect(ProviderID::anthropic)->parseEvent(payload); };
    EXPECT_EQ(parse(R"({"type":"message_start","message":{"id":"msg_01","type":"message","role":"assistant",)"
                    R"("content":[],"model":"claude-haiku-4-5-20251001","stop_reason":null,"stop_sequence":null,)"
                    R"("usage":{"input_tokens":25,"cache_creation_input_tokens":0,"output_tokens":1}}})"),
              ProviderEvent{.promptTokens = 25});
    EXPECT_EQ(parse(R"({"type":"message_delta","delta":{"stop_reason":"end_turn","stop_sequence":null},)"
                    R"("usage":{"input_tokens":40,"cache_read_input_tokens":0,"output_tokens":12}})"),
              (ProviderEvent{.completionTokens = 12, .stopReason = StopReason::finished}));
    EXPECT_EQ(parse(R"({"delta":{"stop_reason":"stop_sequence"}})"), ProviderEvent{.stopReason = StopReason::finished});
    EXPECT_EQ(parse(R"({"delta":{"stop_reason":"max_tokens"}})"), ProviderEvent{.stopReason = StopReason::tooLong});
    EXPECT_EQ(parse(R"({"delta":{"stop_reason":"refusal"}})"), ProviderEvent{.stopReason = StopReason::other});
    EXPECT_EQ(parse(R"({"type":"message_stop"})"), ProviderEvent{.endOfMessage = true});
    EXPECT_EQ(parse(R"(  {"delta":{"type":"text_delta","text":"ok"}      }  )"), ProviderEvent{.delta = "ok"});
    EXPECT_EQ(parse(R"({"type":"content_block_delta","index":0,"delta":{"type":"thinking_delta","thinking":"Hmm"}})"),
              ProviderEvent{});
    EXPECT_EQ(parse(R"({"type": "error", "error": {"type": "overloaded_error", "message": "Overloaded"}})"),
              ProviderEvent{.error = "Overloaded"});
    EXPECT_EQ(parse(R"({"delta":{"text":"Hi"},"usage":null,"message":null})"), ProviderEvent{.delta = "Hi"});
    EXPECT_EQ(parse(R"({"type":42,"delta":{"text":"Hi"}})"), ProviderEvent{.delta = "Hi"});
    EXPECT_EQ(parse("not json"), undecodable);
    EXPECT_EQ(parse(R"(["Hi"])"), undecodable);
    EXPECT_EQ(parse("{\"delta\":{\"text\":\"H\xC3\x28\"}}"), undecodable);
    EXPECT_EQ(parse(R"({"delta":{"text":5}})"), undecodable);
    EXPECT_EQ(parse(R"({"delta":{"stop_reason":1}})"), undecodable);
    EXPECT_EQ(parse(R"({"delta":"Hi"})"), undecodable);
    EXPECT_EQ(parse(R"({"message":[],"delta":{"text":"Hi"}})"), undecodable);
    EXPECT_EQ(parse(R"({"message":{"usage":{"input_tokens":2.5}}})"), undecodable);
    // The ignored counts are still part of the shape: a wrong type there spoils the whole payload.
    EXPECT_EQ(parse(R"({"delta":{"text":"Hi"},"usage":{"input_tokens":"7","output_tokens":3}})"), undecodable);
}

TEST(OpenAIEvents, ReadTheirFields)
{
    const auto parse = [](std::string_view payload) { return makeDialect(ProviderID::openai)->parseEvent(payload); };
    EXPECT_EQ(parse(R"({"id":"chatcmpl-B1","object":"chat.completion.chunk","created":1731000000,)"
                    R"("model":"gpt-4o-mini-2024-07-18","service_tier":"default","system_fingerprint":"fp_0ba0d124f1",)"
                    R"("choices":[{"index":0,"delta":{"content":"Hel"},"logprobs":null,"finish_reason":null}],)"
                    R"("usage":null,"obfuscation":"kx2"})"),
              ProviderEvent{.delta = "Hel"});
    EXPECT_EQ(parse(R"({"choices":[{"index":0,"delta":{"role":"assistant","content":"","refusal":null},)"
                    R"("logprobs":null,"finish_reason":null}],"usage":null})"),
              ProviderEvent{.delta = ""});
    EXPECT_EQ(parse(R"({"choices":[{"index":0,"delta":{"role":"assistant","content":null}}]})"), ProviderEvent{});
    EXPECT_EQ(parse(R"({"choices":[{"delta":{},"finish_reason":"content_filter"}]})"),
              ProviderEvent{.stopReason = StopReason::other});
    EXPECT_EQ(parse(R"({"id":"chatcmpl-B1","choices":[],"usage":{"prompt_tokens":40,"completion_tokens":9,)"
                    R"("total_tokens":49,"prompt_tokens_details":{"cached_tokens":0},)"
                    R"("completion_tokens_details":{"reasoning_tokens":0}}})"),
              (ProviderEvent{.promptTokens = 40, .completionTokens = 9}));
    EXPECT_EQ(
        parse(R"({"choices":[{"index":0,"delta":{"content":"."},"finish_reason":"stop"}],)"
              R"("usage":{"prompt_tokens":3,"completion_tokens":4}})"),
        (ProviderEvent{.delta = ".", .promptTokens = 3, .completionTokens = 4, .stopReason = StopReason::finished}));
    EXPECT_EQ(parse(R"({"id":"","model":"","choices":[],"prompt_filter_results":[]})"), ProviderEvent{});
    EXPECT_EQ(parse(R"({"choices":[{"delta":{"content":"a"}},{"delta":{"content":"b"}}]})"),
              ProviderEvent{.delta = "a"});
    EXPECT_EQ(parse(R"(  {"choices":[{"delta":{"content":"x"}}]    }  )"), ProviderEvent{.delta = "x"});
    EXPECT_EQ(parse(R"({"error":{"message":"The server experienced an error","type":"server_error"}})"),
              ProviderEvent{.error = "The server experienced an error"});
    EXPECT_EQ(parse(R"({"error":"Model not loaded"})"), ProviderEvent{.error = "Model not loaded"});
    EXPECT_EQ(parse(R"({"error":{"code":500}})"), ProviderEvent{.error = "Unknown error"});
    EXPECT_EQ(parse("[DONE]x"), undecodable);
    EXPECT_EQ(parse("{\"choices\":[{\"delta\":{\"content\":\"H\xC3\x28\"}}]}"), undecodable);
    // A chunk decodes as a whole or not at all, so the text in these is lost.
    EXPECT_EQ(parse(R"({"choices":[{"delta":{"content":"Hel"}}],"usage":{"prompt_tokens":40}})"), undecodable);
    EXPECT_EQ(parse(R"({"choices":[],"usage":{"prompt_tokens":null,"completion_tokens":9}})"), undecodable);
    EXPECT_EQ(parse(R"({"choices":[],"usage":{"prompt_tokens":"40","completion_tokens":9}})"), undecodable);
    // Some servers' finish chunk has no delta.
    EXPECT_EQ(
        parse(R"({"choices":[{"index":0,"finish_reason":"stop"}],"usage":{"prompt_tokens":1,"completion_tokens":2}})"),
        (ProviderEvent{.promptTokens = 1, .completionTokens = 2, .stopReason = StopReason::finished}));
    EXPECT_EQ(parse(R"({"choices":[{"delta":{},"finish_reason":1}]})"), undecodable);
    EXPECT_EQ(parse(R"({"choices":[{"delta":"Hel"}]})"), undecodable);
    EXPECT_EQ(parse(R"({"choices":[{"delta":{"content":["Hel"]}}]})"), undecodable);
    EXPECT_EQ(parse(R"({"choices":{"delta":{"content":"Hel"}}})"), undecodable);
}

} // namespace
} // namespace vesk
