#include "core/LineSplitter.h"

#include "support/ParamName.h"

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

struct SplitCase
{
    std::string name;
    std::string body;
    std::vector<std::string> lines;
};

class LineSplitterCase : public ::testing::TestWithParam<SplitCase>
{
};

// However the body is cut into chunks, the lines are the same.
TEST_P(LineSplitterCase, GivesTheSameLinesForEveryChunking)
{
    const auto& row = GetParam();
    EXPECT_EQ(splitInChunks({row.body}), row.lines) << "whole body";

    std::vector<std::string> bytes;
    for (char c : row.body) {
        bytes.emplace_back(1, c);
    }
    EXPECT_EQ(splitInChunks(bytes), row.lines) << "byte by byte";

    for (std::size_t cut = 0; cut <= row.body.size(); ++cut) {
        EXPECT_EQ(splitInChunks({row.body.substr(0, cut), "", row.body.substr(cut)}), row.lines)
            << "cut after byte " << cut;
    }
}

INSTANTIATE_TEST_SUITE_P(Bodies, LineSplitterCase,
                         ::testing::Values(SplitCase("Empty", "", {}),
                                           SplitCase("BlankLinesWithEveryTerminator", "a\r\n\r\nb\n\nc\r\rd\n",
                                                     {"a", "", "b", "", "c", "", "d"}),
                                           SplitCase("LineFeedThenCarriageReturnIsTwoBreaks", "a\n\rb", {"a", "", "b"}),
                                           SplitCase("FinalLineWithoutTerminator", "data: x\n\ndata: [DONE]",
                                                     {"data: x", "", "data: [DONE]"}),
                                           SplitCase("InvalidUtf8AndNulKeptAsSent",
                                                     std::string("\xff\xfe caf\xc3\n\xe9\0z\r\n", 11),
                                                     {"\xff\xfe caf\xc3", std::string("\xe9\0z", 3)})),
                         test::ParamName());

} // namespace
} // namespace vesk
