#include "core/AppSettingsSnapshot.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

const char* const correctionJson = R"({"strength":"grammarSpelling","tone":"preserve","language":"auto",)"
                                   R"("meaningLock":true,"preserveFormatting":true,"customInstructions":""})";

Expected<AppSettingsSnapshot, std::string> decode(const std::string& text)
{
    return appSettingsFromJson(Json::parse(text));
}

TEST(AppSettingsSnapshot, EncodesEveryFieldAndEndpointsOnlyWhenSet)
{
    AppSettingsSnapshot s;
    s.selectedProvider = ProviderID::anthropic;
    s.models[ProviderID::anthropic] = "claude-sonnet-4-6";
    EXPECT_EQ(toJson(s).dump(), std::string(R"({"selectedProvider":"anthropic","models":{"anthropic":)") +
                                    R"("claude-sonnet-4-6"},"correction":)" + correctionJson +
                                    R"(,"hasOnboarded":false,"reviewBeforeReplacing":true})");
    s.endpoints[ProviderID::openai] = "http://localhost:11434";
    const auto back = appSettingsFromJson(toJson(s));
    ASSERT_TRUE(back) << back.error();
    EXPECT_EQ(*back, s);
}

TEST(AppSettingsSnapshot, OptionalSwitchesTakeTheirDefaults)
{
    const auto s =
        decode(std::string(R"({"selectedProvider":"anthropic","models":{},"correction":)") + correctionJson + "}");
    ASSERT_TRUE(s) << s.error();
    EXPECT_FALSE(s->hasOnboarded);
    EXPECT_TRUE(s->reviewBeforeReplacing);
    EXPECT_EQ(s->currentModel(), "claude-haiku-4-5-20251001");
}

TEST(AppSettingsSnapshot, UnknownProviderEntriesAreDropped)
{
    const auto s = decode(std::string(R"({"selectedProvider":"openai","models":{"mistral":"large",)") +
                          R"("openai":"gpt-4.1"},"correction":)" + correctionJson +
                          R"(,"endpoints":{"gemini":"x","openai":"http://127.0.0.1:8080"}})");
    ASSERT_TRUE(s) << s.error();
    EXPECT_EQ(s->models.size(), 1U);
    EXPECT_EQ(s->currentModel(), "gpt-4.1");
    EXPECT_EQ(s->endpoint(ProviderID::openai), "http://127.0.0.1:8080");
    EXPECT_EQ(s->endpoints.size(), 1U);
}

TEST(AppSettingsSnapshot, FlawedDocumentsFailAsAWhole)
{
    const std::string good = std::string(R"("models":{},"correction":)") + correctionJson;
    EXPECT_FALSE(decode("{" + good + "}")) << "no provider";
    EXPECT_FALSE(decode(R"({"selectedProvider":"Anthropic",)" + good + "}")) << "wrong case";
    EXPECT_FALSE(decode(std::string(R"({"selectedProvider":"openai","correction":)") + correctionJson + "}"))
        << "no models";
    EXPECT_FALSE(decode(R"({"selectedProvider":"openai","models":{},"correction":{"strength":"grammarSpelling"}})"))
        << "correction incomplete";
    EXPECT_FALSE(decode(R"({"selectedProvider":"openai",)" + good + R"(,"hasOnboarded":"yes"})"));
    EXPECT_FALSE(decode(R"({"selectedProvider":"openai",)" + good + R"(,"endpoints":[]})"));
    EXPECT_FALSE(appSettingsFromJson(Json::parse("[]")));
}

} // namespace
} // namespace vesk
