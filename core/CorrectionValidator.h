#pragma once

// Decides whether a model's reply is a usable correction of the user's text, or something else: a reply
// that leaked the prompt's delimiters, wrapped the text in a lead-in, or talked about the instructions.

#include "core/Expected.h"
#include "core/ProviderError.h"

#include <string>
#include <string_view>

namespace vesk::CorrectionValidator {

// Checks the complete reply against the text that was sent. Only what the reply has and the original has
// not counts against it, so a text that itself starts with "Output:" survives its own correction.
// Returns the reply trimmed at both ends, or ProviderError::invalidCorrectionOutput with the reason.
// Comparisons fold case and accents in the given locale; an empty id means the user's locale.
Expected<std::string, ProviderError> validate(std::string_view original, std::string_view candidate,
                                              std::string_view localeId = {});

} // namespace vesk::CorrectionValidator
