#include "core/CorrectionValidator.h"

#include "core/PromptBuilder.h"
#include "core/UnicodeText.h"

namespace vesk::CorrectionValidator {

namespace {

constexpr std::string_view emptyReason = "empty response";
constexpr std::string_view delimiterReason = "response included prompt delimiters";
constexpr std::string_view wrapperReason = "response included an explanatory wrapper";
constexpr std::string_view metaReason = "response discussed the instructions instead of editing the text";

enum class Where { atStart, anywhere };

// What a reply may not have unless the text it was sent has it too, matched folded. At the start: lead-ins
// that models put before the text despite being told not to, their colon part of each so that a sentence
// that merely starts with the same words is not mistaken for one, and a code fence; they name the wrapper
// reason. Anywhere: phrases of replies that talk about the prompt or refuse instead of editing, named the
// meta reason. Folding keeps ' and U+2019 apart, so the phrases models write both ways are listed twice.
struct Telltale
{
    std::string_view text;
    Where where;
};
constexpr Telltale telltales[] = {
    {"corrected text:", Where::atStart},
    {"corrected version:", Where::atStart},
    {"edited text:", Where::atStart},
    {"revised text:", Where::atStart},
    {"output:", Where::atStart},
    {"here is the corrected text:", Where::atStart},
    {"here's the corrected text:", Where::atStart},
    {"```", Where::atStart},
    {"i appreciate you testing my instructions", Where::anywhere},
    {"i notice the text between the delimiters", Where::anywhere},
    {"between the delimiters is itself an instruction", Where::anywhere},
    {"between the delimiters", Where::anywhere},
    {"between the text markers", Where::anywhere},
    {"text between the markers", Where::anywhere},
    {"text between the tags", Where::anywhere},
    {"there is no actual text", Where::anywhere},
    {"there's no actual text", Where::anywhere},
    {"no actual text to rewrite", Where::anywhere},
    {"no actual text to edit", Where::anywhere},
    {"nothing to output", Where::anywhere},
    {"nothing to edit", Where::anywhere},
    {"please provide the text", Where::anywhere},
    {"provide the text you would like me to", Where::anywhere},
    {"provide the text you'd like me to", Where::anywhere},
    {"if you'd like me to edit", Where::anywhere},
    {"if you would like me to edit", Where::anywhere},
    {"the text is itself an instruction", Where::anywhere},
    {"rather than content to edit", Where::anywhere},
    {"rather than text to edit", Where::anywhere},
    {"as an ai", Where::anywhere},
    {"i cannot follow instructions", Where::anywhere},
    {"i can't follow instructions", Where::anywhere},
    {"i can\u2019t follow instructions", Where::anywhere},
    {"i cannot comply", Where::anywhere},
    {"i can't comply", Where::anywhere},
    {"i can\u2019t comply", Where::anywhere},
    {"system prompt", Where::anywhere},
    {"developer instructions", Where::anywhere},
};

// Line breaks become plain line feeds before folding, so a lead-in or phrase split across a Windows line
// break is still found.
std::string normalised(std::string_view trimmedText, std::string_view localeId)
{
    std::string unified;
    unified.reserve(trimmedText.size());
    for (std::size_t i = 0; i < trimmedText.size(); ++i) {
        if (trimmedText[i] != '\r') {
            unified += trimmedText[i];
            continue;
        }
        unified += '\n';
        if (i + 1 < trimmedText.size() && trimmedText[i + 1] == '\n') {
            ++i;
        }
    }
    return std::string(unicode::trimmed(unicode::foldedForComparison(unified, localeId)));
}

bool contains(std::string_view text, std::string_view part)
{
    return text.find(part) != std::string_view::npos;
}

Unexpected<ProviderError> rejected(std::string_view reason)
{
    return Unexpected{ProviderError::invalidCorrectionOutput(std::string(reason))};
}

} // namespace

Expected<std::string, ProviderError> validate(std::string_view original, std::string_view candidate,
                                              std::string_view localeId)
{
    const std::string_view reply = unicode::trimmed(candidate);
    const std::string_view sent = unicode::trimmed(original);
    if (reply.empty()) {
        return rejected(emptyReason);
    }

    const std::string foldedReply = normalised(reply, localeId);
    const std::string foldedSent = normalised(sent, localeId);

    // The delimiters are exact markup, so they are looked for as sent, without folding.
    for (const std::string_view delimiter : {PromptBuilder::openDelimiter, PromptBuilder::closeDelimiter}) {
        if (contains(reply, delimiter) && !contains(sent, delimiter)) {
            return rejected(delimiterReason);
        }
    }

    const auto has = [](std::string_view text, const Telltale& telltale) {
        return telltale.where == Where::atStart ? text.starts_with(telltale.text) : contains(text, telltale.text);
    };
    for (const Telltale& telltale : telltales) {
        if (has(foldedReply, telltale) && !has(foldedSent, telltale)) {
            return rejected(telltale.where == Where::atStart ? wrapperReason : metaReason);
        }
    }

    return std::string(reply);
}

} // namespace vesk::CorrectionValidator
