#pragma once

#include <gtest/gtest.h>
#include <string>

namespace vesk::test {

// Names parameterised cases after their `name` member, so a failure says which row broke.
struct ParamName
{
    template <typename P> std::string operator()(const ::testing::TestParamInfo<P>& row) const
    {
        return row.param.name;
    }
};

} // namespace vesk::test
