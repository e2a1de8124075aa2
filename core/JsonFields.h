#pragma once

// Reading decoded wire payloads field by field. An optional field that is absent or null reads as absent;
// one that holds another type makes the caller give up on the whole payload.

#include "core/Json.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace vesk::JsonFields {

// The member `key` of `object`, or nullptr when it is absent or null.
inline const Json* member(const Json& object, const char* key)
{
    const auto found = object.find(key);
    return (found == object.end() || found->is_null()) ? nullptr : &*found;
}

// False when the member is present but not an integer that fits; `out` is left alone when it is absent.
inline bool readInteger(const Json& object, const char* key, std::optional<std::int64_t>& out)
{
    const Json* value = member(object, key);
    if (value == nullptr) {
        return true;
    }
    if (value->is_number_unsigned()) {
        const auto number = value->get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            return false;
        }
        out = static_cast<std::int64_t>(number);
        return true;
    }
    if (value->is_number_integer()) {
        out = value->get<std::int64_t>();
        return true;
    }
    return false;
}

// False when the member is present but not a string; `out` is left alone when it is absent.
inline bool readString(const Json& object, const char* key, std::optional<std::string>& out)
{
    const Json* value = member(object, key);
    if (value == nullptr) {
        return true;
    }
    if (!value->is_string()) {
        return false;
    }
    out = value->get<std::string>();
    return true;
}

// The message of an "error" member as both providers send one inside a stream or a body: an object's
// "message", or the member itself when it is a string. Nothing when there is no such message.
inline std::optional<std::string> errorMessage(const Json& payload)
{
    const Json* error = payload.is_object() ? member(payload, "error") : nullptr;
    if (error != nullptr && error->is_object()) {
        error = member(*error, "message");
    }
    return error != nullptr && error->is_string() ? std::optional(error->get<std::string>()) : std::nullopt;
}

// The error a stream payload reports: its message, or "Unknown error" for an "error" member without one.
inline std::optional<std::string> streamError(const Json& payload)
{
    if (member(payload, "error") == nullptr) {
        return std::nullopt;
    }
    return errorMessage(payload).value_or("Unknown error");
}

} // namespace vesk::JsonFields
