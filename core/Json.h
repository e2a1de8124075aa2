#pragma once

// The JSON type of the project: objects keep their keys in the order they were written.
#include <nlohmann/json.hpp>
#include <string>

namespace vesk {
using Json = nlohmann::ordered_json;

// The text of `value` for output that must never fail: bytes that are not valid UTF-8 (an error body a
// provider sent, a damaged history) become U+FFFD instead of throwing. `indent` as in Json::dump: -1 is
// one line. Request bodies are the exception: they must carry the user's text exactly or not at all.
inline std::string dumpReplacingInvalidUtf8(const Json& value, int indent = -1)
{
    return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

} // namespace vesk
