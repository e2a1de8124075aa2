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

// Prints a row as its name instead of its bytes. Bring it into a test's namespace with
// `using test::operator<<;`.
template <typename Row>
requires requires(const Row& row)
{
    row.name;
}
std::ostream& operator<<(std::ostream& os, const Row& row)
{
    return os << row.name;
}

} // namespace vesk::test
