#pragma once

// Which provider a correction talks to. The raw value is what settings, history and the keyring store.

#include "core/EnumCases.h"

#include <span>
#include <string_view>

namespace vesk {

enum class ProviderID { openai, anthropic };

struct ProviderCase
{
    ProviderID value;
    std::string_view rawValue;
    std::string_view displayName;
    std::span<const std::string_view> models; // offered for selection; the first is the default
};

namespace detail {
inline constexpr std::array<std::string_view, 4> openAIModels{"gpt-4o-mini", "gpt-4o", "gpt-4.1-mini", "gpt-4.1"};
inline constexpr std::array<std::string_view, 3> anthropicModels{"claude-haiku-4-5-20251001", "claude-sonnet-4-6",
                                                                 "claude-opus-4-8"};
} // namespace detail

template <> struct CaseTable<ProviderID>
{
    static constexpr std::array<ProviderCase, 2> cases{{
        {ProviderID::openai, "openai", "OpenAI", detail::openAIModels},
        {ProviderID::anthropic, "anthropic", "Anthropic", detail::anthropicModels},
    }};
};

constexpr std::string_view displayName(ProviderID provider)
{
    return caseInfo(provider).displayName;
}
constexpr std::span<const std::string_view> models(ProviderID provider)
{
    return caseInfo(provider).models;
}
constexpr std::string_view defaultModel(ProviderID provider)
{
    return models(provider).front();
}

} // namespace vesk
