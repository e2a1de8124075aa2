#include "core/LineSplitter.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vesk {
namespace {

std::vector<std::string> splitInChunks(const std::vector<std::string>& chunks)
{
    std::vector<std::string> lines;
    LineSplitter splitter([&](std::string_view line) {
        lines.emplace_back(line);
        return true;
    });
    for (const auto& chunk : chunks) {
        EXPECT_TRUE(splitter.feed(chunk));
    }
    EXPECT_TRUE(splitter.finish());
    return lines;
}

// Every line terminator, blank lines, a last line without one, bytes as sent: the same lines whole and byte by
// byte (a CR and its LF in two chunks). That any other chunking gives the same lines is the fuzz target's check.
TEST(LineSplitter, GivesTheSameLinesWholeAndByteByByte)
{
    const auto expectLines = [](const std::string& body, const std::vector<std::string>& lines) {
        EXPECT_EQ(splitInChunks({body}), lines) << "whole body";
        std::vector<std::string> bytes{""};
        for (char c : body) {
            bytes.emplace_back(1, c);
        }
        EXPECT_EQ(splitInChunks(bytes), lines) << "byte by byte";
    };
    expectLines("", {});
    expectLines("a\r\n\r\nb\n\nc\r\rd\n", {"a", "", "b", "", "c", "", "d"});
    expectLines("a\n\rb", {"a", "", "b"});
    expectLines("data: x\n\ndata: [DONE]", {"data: x", "", "data: [DONE]"});
    expectLines(std::string("\xff\xfe caf\xc3\n\xe9\0z\r\n", 11), {"\xff\xfe caf\xc3", std::string("\xe9\0z", 3)});
}

} // namespace
} // namespace vesk
