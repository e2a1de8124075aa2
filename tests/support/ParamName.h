#pragma once

#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace vesk::test {

// Names parameterised cases after their `name` member, so a failure says which row broke.
struct ParamName
{
    template <typename P> std::string operator()(const ::testing::TestParamInfo<P>& row) const
    {
        return std::string(row.param.name);
    }
};

// Prints a row as its name instead of its bytes; bring it in with `using test::operator<<;`.
template <typename Row> auto operator<<(std::ostream& os, const Row& row) -> decltype(os << row.name)
{
    return os << row.name;
}

} // namespace vesk::test
