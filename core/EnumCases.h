#pragma once

// Enumerations whose cases carry a persisted raw text value and further texts beside each case.
// Each such enumeration specialises `CaseTable` with a `cases` array listing every case, in
// declaration order, as a struct whose first two members are `value` and `rawValue`.

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace vesk {

template <typename E> struct CaseTable;

template <typename E> constexpr const auto& caseInfo(E value)
{
    return CaseTable<E>::cases[static_cast<std::size_t>(value)];
}

template <typename E> constexpr std::string_view rawValue(E value)
{
    return caseInfo(value).rawValue;
}

// The case whose raw value is exactly `raw` (case-sensitive), or nothing.
template <typename E> constexpr std::optional<E> fromRawValue(std::string_view raw)
{
    for (const auto& c : CaseTable<E>::cases) {
        if (c.rawValue == raw) {
            return c.value;
        }
    }
    return std::nullopt;
}

// Every case in declaration order.
template <typename E> constexpr auto allCases()
{
    constexpr auto& table = CaseTable<E>::cases;
    std::array<E, table.size()> values{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        values[i] = table[i].value;
    }
    return values;
}

} // namespace vesk
