#pragma once

// Texts kept byte for byte in tests/core/golden/<name>.txt: whole prompts, requests, failure texts, decoded
// payloads. After a deliberate change, run the tests with VESK_UPDATE_GOLDEN=1 to rewrite the files, and read
// the diff.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <string_view>

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

// A golden file of cases: each "> " line an input, with what `answer` makes of it on the line below, indented;
// "#" lines are comments. Only those two kinds of line are read, the answers are rewritten.
inline void expectTranscript(const std::string& name, const std::function<std::string(std::string_view)>& answer)
{
    std::istringstream golden(readGolden(name));
    std::string transcript;
    for (std::string line; std::getline(golden, line);) {
        if (line.starts_with("> ")) {
            transcript += line + "\n  " + answer(std::string_view(line).substr(2)) + "\n";
        } else if (line.starts_with('#')) {
            transcript += line + "\n";
        }
    }
    EXPECT_NE(transcript.find("> "), std::string::npos) << "no cases in " << goldenPath(name);
    expectGolden(name, transcript);
}

} // namespace vesk::test
