#pragma once

// The core speaks UTF-8 std::string; Qt speaks QString. The crossing for views and models.

#include <QString>
#include <string_view>

namespace vesk::app {

inline QString fromUtf8(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace vesk::app
