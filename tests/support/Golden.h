#pragma once

// Texts kept byte for byte in tests/core/golden/<name>.txt: whole prompts, the failure texts. After a
// deliberate change, run the tests with VESK_UPDATE_GOLDEN=1 to rewrite the files, and read the diff.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

namespace vesk::test {

inline std::filesystem::path goldenPath(const std::string& name)
{
    return std::filesystem::path(VESK_GOLDEN_DIR) / (name + ".txt");
}

inline std::string readGolden(const std::string& name)
{
    std::ostringstream golden;
    golden << std::ifstream(goldenPath(name), std::ios::binary).rdbuf();
    return golden.str();
}

inline void expectGolden(const std::string& name, const std::string& actual)
{
    if (std::getenv("VESK_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(goldenPath(name), std::ios::binary) << actual;
    }
    EXPECT_EQ(actual, readGolden(name)) << "differs from " << goldenPath(name);
}

} // namespace vesk::test
