#pragma once

// Texts kept byte for byte in tests/core/golden/<name>.txt: whole prompts, the failure texts. After a
// deliberate change, run the tests with VESK_UPDATE_GOLDEN=1 to rewrite the files, and read the diff.

#include "support/Process.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace vesk::test {

inline std::string readGolden(const std::string& name)
{
    return readFile(std::filesystem::path(VESK_GOLDEN_DIR) / (name + ".txt"));
}

inline void expectGolden(const std::string& name, const std::string& actual)
{
    if (std::getenv("VESK_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(std::filesystem::path(VESK_GOLDEN_DIR) / (name + ".txt"), std::ios::binary) << actual;
    }
    EXPECT_EQ(actual, readGolden(name)) << "differs from golden/" << name << ".txt";
}

} // namespace vesk::test
