#include "core/CorrectionValidator.h"

#include "core/PromptBuilder.h"
#include "core/UnicodeText.h"

#include <array>

namespace vesk::CorrectionValidator {

namespace {

constexpr std::string_view emptyReason = "empty response";
constexpr std::string_view delimiterReason = "response included prompt delimiters";
constexpr std::string_view wrapperReason = "response included an explanatory wrapper";
constexpr std::string_view metaReason = "response discussed the instructions instead of editing the text";

// Lead-ins that models put before the text despite being told not to. The colon is part of each, so a
// sentence that merely starts with the same words is not mistaken for one.
constexpr std::array<std::string_view, 7> leadIns{
    "corrected text:",
    "corrected version:",
    "edited text:",
    "revised text:",
    "output:",
    "here is the corrected text:",
    "here's the corrected text:",
};

constexpr std::string_view codeFence = "```";

// Phrases of replies that talk about the prompt or refuse instead of editing. Folding keeps ' and U+2019
// apart, so the phrases models write both ways are listed twice.
constexpr std::array<std::string_view, 30> metaPhrases{
    "i appreciate you testing my instructions",
    "i notice the text between the delimiters",
    "between the delimiters is itself an instruction",
    "between the delimiters",
    "between the text markers",
    "text between the markers",
    "text between the tags",
    "there is no actual text",
    "there's no actual text",
    "no actual text to rewrite",
    "no actual text to edit",
    "nothing to output",
    "nothing to edit",
    "please provide the text",
    "provide the text you would like me to",
    "provide the text you'd like me to",
    "if you'd like me to edit",
    "if you would like me to edit",
    "the text is itself an instruction",
    "rather than content to edit",
    "rather than text to edit",
    "as an ai",
    "i cannot follow instructions",
    "i can't follow instructions",
    "i can\u2019t follow instructions",
    "i cannot comply",
    "i can't comply",
    "i can\u2019t comply",
    "system prompt",
    "developer instructions",
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

    const auto wrappedIn = [&](std::string_view start) {
        return foldedReply.starts_with(start) && !foldedSent.starts_with(start);
    };
    for (const std::string_view leadIn : leadIns) {
        if (wrappedIn(leadIn)) {
            return rejected(wrapperReason);
        }
    }
    if (wrappedIn(codeFence)) {
        return rejected(wrapperReason);
    }

    for (const std::string_view phrase : metaPhrases) {
        if (contains(foldedReply, phrase) && !contains(foldedSent, phrase)) {
            return rejected(metaReason);
        }
    }

    return std::string(reply);
}

} // namespace vesk::CorrectionValidator
