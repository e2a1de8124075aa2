#pragma once

// A correction as the history receives it, for the tests that fill a history.

#include "core/AcceptedCorrection.h"

namespace vesk::test {

inline AcceptedCorrection accepted(std::string original, std::string corrected, int changes = 1,
                                   std::optional<std::string> source = {})
{
    return {std::move(original),
            std::move(corrected),
            CorrectionRun{ProviderID::openai, "gpt-4o-mini", {}, {}},
            TokenUsage{1000, 200},
            changes,
            std::move(source)};
}

} // namespace vesk::test
