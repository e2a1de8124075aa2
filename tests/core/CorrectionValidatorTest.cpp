#include "core/CorrectionValidator.h"

#include "core/Json.h"
#include "support/Golden.h"

#include <gtest/gtest.h>
#include <sstream>

namespace vesk {
namespace {

constexpr std::string_view metaReason = "response discussed the instructions instead of editing the text";

// The cases and their verdicts are the golden file ValidatorVerdicts.txt.
TEST(CorrectionValidator, RepliesGetTheVerdictsOfTheirTranscript)
{
    std::istringstream golden(test::readGolden("ValidatorVerdicts"));
    std::string transcript;
    for (std::string line; std::getline(golden, line);) {
        if (line.starts_with("> ")) {
            const Json texts = Json::parse("[" + line.substr(2) + "]");
            const auto result =
                CorrectionValidator::validate(texts.at(0).get<std::string>(), texts.at(1).get<std::string>(), "en_US");
            const bool refused = !result && result.error().kind() == ProviderError::Kind::invalidCorrectionOutput;
            transcript +=
                line + "\n  " +
                (result ? Json(*result).dump() : (refused ? "refused: " : "error: ") + result.error().text()) + "\n";
        } else if (line.starts_with('#')) {
            transcript += line + "\n";
        }
    }
    EXPECT_NE(transcript.find("> "), std::string::npos);
    test::expectGolden("ValidatorVerdicts", transcript);
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
