#include "core/PromptBuilder.h"

#include "support/Golden.h"
#include "support/ParamName.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

using test::operator<<;

// Each row's whole system prompt is kept in its golden file.
struct PromptCase
{
    const char* name;
    CorrectionSettings settings;
};

using GoldenPrompts = testing::TestWithParam<PromptCase>;

TEST_P(GoldenPrompts, MatchTheirFilesExactly)
{
    test::expectGolden(GetParam().name, PromptBuilder::systemPrompt(GetParam().settings));
}

using Strength = CorrectionStrength;

// The light strengths get the correction prompt, the heavy ones the editor prompt; the settings lines at the
// end follow the switches.
INSTANTIATE_TEST_SUITE_P(
    PromptBuilder, GoldenPrompts,
    testing::Values(PromptCase("StandardCorrection", CorrectionSettings::standard()),
                    PromptCase("EditorInSpanish",
                               {Strength::clarityFlow, Tone::friendly, LanguageMode::spanish, true, true, ""}),
                    PromptCase("LightStrengthBothSwitchesOff", {Strength::spellingPunctuation, Tone::preserve,
                                                                LanguageMode::automatic, false, false, ""}),
                    PromptCase("FullRewriteIgnoresTheMeaningLock",
                               {Strength::fullRewrite, Tone::concise, LanguageMode::englishUK, true, true, ""}),
                    PromptCase("PolishWithoutMeaningLock",
                               {Strength::clarityFlow, Tone::preserve, LanguageMode::automatic, false, false, ""})),
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
