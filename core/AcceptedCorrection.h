#pragma once

#include "core/CorrectionRun.h"
#include "core/TokenUsage.h"

#include <optional>
#include <string>

namespace vesk {

// What is recorded when the user accepts a correction.
struct AcceptedCorrection
{
    std::string original;
    std::string corrected; // the text handed back
    CorrectionRun run;
    std::optional<TokenUsage> usage; // absent when the run never reported `done`
    int changeCount = 0;
    std::optional<std::string> sourceApp;

    bool operator==(const AcceptedCorrection&) const = default;
};

} // namespace vesk
