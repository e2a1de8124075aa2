#include "core/CorrectionValidator.h"

#include "core/Json.h"
#include "support/Golden.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

constexpr std::string_view metaReason = "response discussed the instructions instead of editing the text";

// The cases and their verdicts are the golden file ValidatorVerdicts.txt.
TEST(CorrectionValidator, RepliesGetTheVerdictsOfTheirTranscript)
{
    test::expectTranscript("ValidatorVerdicts", [](std::string_view line) {
        const Json texts = Json::parse("[" + std::string(line) + "]");
        const auto result =
            CorrectionValidator::validate(texts.at(0).get<std::string>(), texts.at(1).get<std::string>(), "en_US");
        if (result) {
            return Json(*result).dump();
        }
        const bool refused = result.error().kind() == ProviderError::Kind::invalidCorrectionOutput;
        return (refused ? "refused: " : "error: ") + result.error().text();
    });
}

TEST(CorrectionValidator, FoldsInTheGivenLocale)
{
    // In Turkish the capital I lower-cases to dotless ı, so the refusal no longer reads "as an ai".
    const std::string_view reply = "AS AN AI, I WILL NOT.";
    const auto english = CorrectionValidator::validate("hi", reply, "en_US");
    ASSERT_FALSE(english);
    EXPECT_EQ(english.error().text(), metaReason);

    const auto turkish = CorrectionValidator::validate("hi", reply, "tr_TR");
    ASSERT_TRUE(turkish) << turkish.error().text();
    EXPECT_EQ(*turkish, reply);
}

} // namespace
} // namespace vesk
