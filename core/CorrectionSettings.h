#pragma once

// How a piece of text is to be corrected: strength, tone, language and three switches.

#include "core/EnumCases.h"
#include "core/Json.h"

#include <string>
#include <string_view>

namespace vesk {

// Ordered from lightest to heaviest: the first two correct, the last two edit.
enum class CorrectionStrength { spellingPunctuation, grammarSpelling, clarityFlow, fullRewrite };
enum class Tone { preserve, natural, conversational, professional, friendly, concise };
enum class LanguageMode { automatic, englishUS, englishUK, spanish };

// A case with its raw value, display title and the sentence the prompt uses for it.
template <typename E> struct SettingCase
{
    E value;
    std::string_view rawValue;
    std::string_view title;
    std::string_view promptRule;
};

template <> struct CaseTable<CorrectionStrength>
{
    static constexpr std::array<SettingCase<CorrectionStrength>, 4> cases{{
        {CorrectionStrength::spellingPunctuation, "spellingPunctuation", "Spelling",
         "Fix only spelling and punctuation errors. Do not change word choice, grammar, or sentence structure."},
        {CorrectionStrength::grammarSpelling, "grammarSpelling", "Grammar",
         "Fix spelling, punctuation, and grammar errors. Keep the original wording and structure wherever possible."},
        {CorrectionStrength::clarityFlow, "clarityFlow", "Polish",
         "Fix grammar and spelling, and improve clarity and flow with light rephrasing where it helps readability."},
        {CorrectionStrength::fullRewrite, "fullRewrite", "Rewrite",
         "Rewrite the text to be clear, correct, and well-structured while keeping the original intent."},
    }};
};

template <> struct CaseTable<Tone>
{
    static constexpr std::array<SettingCase<Tone>, 6> cases{{
        {Tone::preserve, "preserve", "Preserve original",
         "Preserve the original tone and voice; do not make it more or less formal."},
        {Tone::natural, "natural", "Natural", "Use a natural, unforced tone."},
        {Tone::conversational, "conversational", "Conversational", "Use a relaxed, conversational tone."},
        {Tone::professional, "professional", "Professional", "Use a polished, professional tone."},
        {Tone::friendly, "friendly", "Friendly", "Use a warm, friendly tone."},
        {Tone::concise, "concise", "Concise", "Make it as concise as possible without losing meaning."},
    }};
};

template <> struct CaseTable<LanguageMode>
{
    static constexpr std::array<SettingCase<LanguageMode>, 4> cases{{
        {LanguageMode::automatic, "auto", "Auto-detect & keep language",
         "Respond in the same language as the input. Do not translate."},
        {LanguageMode::englishUS, "englishUS", "Force English (US)",
         "Respond in US English, translating if necessary."},
        {LanguageMode::englishUK, "englishUK", "Force English (UK)",
         "Respond in UK English, translating if necessary."},
        {LanguageMode::spanish, "spanish", "Force Spanish", "Respond in Spanish, translating if necessary."},
    }};
};

template <typename E> constexpr std::string_view title(E value)
{
    return caseInfo(value).title;
}

template <typename E> constexpr std::string_view promptRule(E value)
{
    return caseInfo(value).promptRule;
}

struct CorrectionSettings
{
    CorrectionStrength strength = CorrectionStrength::grammarSpelling;
    Tone tone = Tone::preserve;
    LanguageMode language = LanguageMode::automatic;
    bool meaningLock = true;
    bool preserveFormatting = true;
    std::string customInstructions;

    // The defaults, used at first launch and by any reset.
    static const CorrectionSettings& standard();

    bool operator==(const CorrectionSettings&) const = default;
};

// The keyed form: exactly the six keys, written in declaration order.
Json toJson(const CorrectionSettings& settings);

} // namespace vesk
