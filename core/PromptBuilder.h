#pragma once

// The system prompt for a correction and the delimited user message that carries the text.

#include "core/CorrectionSettings.h"

#include <string>
#include <string_view>

namespace vesk::PromptBuilder {

// The fences around the user's text; the validator rejects replies that leak them.
inline constexpr std::string_view openDelimiter = "\u27E6TEXT\u27E7";
inline constexpr std::string_view closeDelimiter = "\u27E6/TEXT\u27E7";

// The light strengths get the strict correction prompt, the heavy ones the editor prompt.
std::string systemPrompt(const CorrectionSettings& settings);

// The text exactly as given, between the delimiters on lines of their own; nothing is escaped.
std::string userMessage(std::string_view text);

} // namespace vesk::PromptBuilder
