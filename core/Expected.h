#pragma once

// A small stand-in for C++23's std::expected: a value or the error that prevented it.
// Expected failures in the core are returned this way; nothing throws across the app's event loop.

#include <cassert>
#include <utility>
#include <variant>

namespace vesk {

template <typename E> struct Unexpected
{
    E error;
};

template <typename E> Unexpected(E) -> Unexpected<E>;

template <typename T, typename E> class Expected
{
public:
    Expected(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    template <typename G> Expected(Unexpected<G> failure) : m_state(std::in_place_index<1>, std::move(failure.error)) {}

    [[nodiscard]] bool hasValue() const { return m_state.index() == 0; }
    explicit operator bool() const { return hasValue(); }

    [[nodiscard]] const T& value() const&
    {
        assert(hasValue());
        return std::get<0>(m_state);
    }
    [[nodiscard]] T&& value() &&
    {
        assert(hasValue());
        return std::get<0>(std::move(m_state));
    }
    [[nodiscard]] const E& error() const
    {
        assert(!hasValue());
        return std::get<1>(m_state);
    }

    const T& operator*() const& { return value(); }
    const T* operator->() const { return &value(); }

private:
    std::variant<T, E> m_state;
};

} // namespace vesk
