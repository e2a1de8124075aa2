#pragma once

// The JSON type of the project: objects keep their keys in the order they were written.
#include <nlohmann/json.hpp>

namespace vesk {
using Json = nlohmann::ordered_json;
} // namespace vesk
