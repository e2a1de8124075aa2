#pragma once

#include "core/TokenUsage.h"

#include <string>

namespace vesk {

// What a correction stream delivers: pieces of the reply in order, then `done` once the whole reply has
// passed validation. A count the provider did not report is 0 in `usage`.
struct CorrectionEvent
{
    enum class Kind { delta, done };

    Kind kind = Kind::delta;
    std::string text; // delta only
    TokenUsage usage; // done only

    static CorrectionEvent makeDelta(std::string piece) { return {Kind::delta, std::move(piece), {}}; }
    static CorrectionEvent makeDone(TokenUsage usage) { return {Kind::done, {}, usage}; }

    bool operator==(const CorrectionEvent&) const = default;
};

} // namespace vesk
