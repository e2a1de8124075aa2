#include "core/CorrectionSettings.h"

#include "support/ParamName.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

const char* const standardJson = R"({"strength":"grammarSpelling","tone":"preserve","language":"auto",)"
                                 R"("meaningLock":true,"preserveFormatting":true,"customInstructions":""})";

TEST(CorrectionSettings, StandardEncodesItsKeysInDeclarationOrder)
{
    EXPECT_EQ(toJson(CorrectionSettings::standard()).dump(), standardJson);
}

TEST(CorrectionSettings, RoundTripsEveryValue)
{
    const CorrectionSettings s{
        CorrectionStrength::fullRewrite, Tone::concise, LanguageMode::englishUK, false, false, "  keep names\n"};
    const auto decoded = correctionSettingsFromJson(Json::parse(toJson(s).dump()));
    ASSERT_TRUE(decoded) << decoded.error();
    EXPECT_EQ(*decoded, s);
}

TEST(CorrectionSettings, DecodingIgnoresUnknownKeysAndKeyOrder)
{
    const auto decoded = correctionSettingsFromJson(
        Json::parse(R"({"customInstructions":"x","extra":1,"preserveFormatting":false,"meaningLock":true,)"
                    R"("language":"spanish","tone":"professional","strength":"clarityFlow"})"));
    ASSERT_TRUE(decoded) << decoded.error();
    EXPECT_EQ(*decoded, (CorrectionSettings{CorrectionStrength::clarityFlow, Tone::professional, LanguageMode::spanish,
                                            true, false, "x"}));
}

struct BadDocument
{
    const char* name;
    const char* key;
    Json value; // replaces the key's value; a null Json removes the key
    const char* error;
};

using StrictDecoding = ::testing::TestWithParam<BadDocument>;

TEST_P(StrictDecoding, FailsAsAWhole)
{
    Json json = Json::parse(standardJson);
    if (GetParam().value.is_null()) {
        json.erase(GetParam().key);
    } else {
        json[GetParam().key] = GetParam().value;
    }
    const auto decoded = correctionSettingsFromJson(json);
    ASSERT_FALSE(decoded);
    EXPECT_EQ(decoded.error(), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, StrictDecoding,
    ::testing::Values(
        BadDocument{"MissingInstructions", "customInstructions", nullptr, "missing key \"customInstructions\""},
        BadDocument{"MissingStrength", "strength", nullptr, "missing key \"strength\""},
        BadDocument{"CapitalisedTone", "tone", "Professional", "\"tone\" has an unknown value"},
        BadDocument{"NumberForSwitch", "meaningLock", 1, "\"meaningLock\" is not a Boolean"},
        BadDocument{"NumberForInstructions", "customInstructions", 3, "\"customInstructions\" is not a string"},
        BadDocument{"WrongCaseLanguage", "language", "Auto", "\"language\" has an unknown value"}),
    test::ParamName{});

TEST(CorrectionSettings, KeysMatchExactlyInAnObject)
{
    Json json = Json::parse(standardJson);
    json["MeaningLock"] = json["meaningLock"];
    json.erase("meaningLock");
    EXPECT_FALSE(correctionSettingsFromJson(json));
    EXPECT_FALSE(correctionSettingsFromJson(Json::array()));
}

} // namespace
} // namespace vesk
