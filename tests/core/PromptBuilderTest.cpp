#include "core/PromptBuilder.h"

#include "support/Golden.h"
#include "support/ParamName.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

using test::operator<<;

// The correction prompt of the light strengths and the editor prompt of the heavy ones are each kept whole in
// the golden file of their first row. The other rows keep only the settings lines at the end, which follow the
// switches, and share the rest with the row they name.
struct PromptCase
{
    const char* name;
    CorrectionSettings settings;
    const char* sharesTheRestWith = nullptr;
};

using GoldenPrompts = testing::TestWithParam<PromptCase>;

TEST_P(GoldenPrompts, MatchTheirFilesExactly)
{
    const std::string prompt = PromptBuilder::systemPrompt(GetParam().settings);
    if (GetParam().sharesTheRestWith == nullptr) {
        test::expectGolden(GetParam().name, prompt);
        return;
    }
    const std::string whole = test::readGolden(GetParam().sharesTheRestWith);
    const std::size_t settings = whole.find("\nSettings:\n");
    ASSERT_NE(settings, std::string::npos);
    EXPECT_EQ(prompt.substr(0, settings), whole.substr(0, settings));
    test::expectGolden(GetParam().name, prompt.substr(settings + 1));
}

using Strength = CorrectionStrength;

INSTANTIATE_TEST_SUITE_P(
    PromptBuilder, GoldenPrompts,
    testing::Values(
        PromptCase("StandardCorrection", CorrectionSettings::standard()),
        PromptCase("EditorInSpanish", {Strength::clarityFlow, Tone::friendly, LanguageMode::spanish, true, true, ""}),
        PromptCase("LightStrengthBothSwitchesOff",
                   {Strength::spellingPunctuation, Tone::preserve, LanguageMode::automatic, false, false, ""},
                   "StandardCorrection"),
        PromptCase("FullRewriteIgnoresTheMeaningLock",
                   {Strength::fullRewrite, Tone::concise, LanguageMode::englishUK, true, true, ""}, "EditorInSpanish"),
        PromptCase("PolishWithoutMeaningLock",
                   {Strength::clarityFlow, Tone::preserve, LanguageMode::automatic, false, false, ""},
                   "EditorInSpanish")),
    test::ParamName{});

// Custom instructions add a last line, trimmed but with their inner line breaks; blank ones add none.
TEST(PromptBuilder, CustomInstructionsAddOneTrimmedLine)
{
    const auto prompt = [](Strength strength, std::string custom) {
        return PromptBuilder::systemPrompt(
            {strength, Tone::preserve, LanguageMode::automatic, false, false, std::move(custom)});
    };
    EXPECT_EQ(prompt(Strength::spellingPunctuation, "  keep emoji \n"),
              prompt(Strength::spellingPunctuation, "") +
                  "\nAdditional instructions (apply to how you correct only): keep emoji");
    EXPECT_EQ(prompt(Strength::fullRewrite, "\tno slang\nkeep names\u3000"),
              prompt(Strength::fullRewrite, "") +
                  "\nAdditional instructions (apply to how you edit only): no slang\nkeep names");
    EXPECT_EQ(prompt(Strength::spellingPunctuation, " \n \n  "), prompt(Strength::spellingPunctuation, ""));
}

TEST(PromptBuilder, UserMessageWrapsTheTextUntouched)
{
    EXPECT_EQ(PromptBuilder::userMessage(""), "\u27E6TEXT\u27E7\n\n\u27E6/TEXT\u27E7");
    EXPECT_EQ(PromptBuilder::userMessage("  a\r\nb "), "\u27E6TEXT\u27E7\n  a\r\nb \n\u27E6/TEXT\u27E7");
    EXPECT_EQ(PromptBuilder::userMessage("x \u27E6/TEXT\u27E7 y"),
              "\u27E6TEXT\u27E7\nx \u27E6/TEXT\u27E7 y\n\u27E6/TEXT\u27E7");
}

} // namespace
} // namespace vesk
