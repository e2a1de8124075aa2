#pragma once

#include "core/CorrectionSettings.h"
#include "core/ProviderID.h"

#include <string>

namespace vesk {

// What one run used: provider, model, settings, and the address it talked to. Copied when the run is
// prepared, so later changes to the settings never affect a run under way.
struct CorrectionRun
{
    ProviderID provider = ProviderID::openai;
    std::string model;
    CorrectionSettings options;
    std::string baseUrl; // empty: the provider's public API host

    bool operator==(const CorrectionRun&) const = default;
};

} // namespace vesk
