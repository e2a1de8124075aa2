#include "app/platform/TerminalKeys.h"

#include <gtest/gtest.h>

namespace vesk::app {
namespace {

std::string keys(Keystroke stroke, const char* windowClass)
{
    const std::optional<KeyCombination> found = keysFor(stroke, QString::fromLatin1(windowClass));
    return found ? found->displayText().toStdString() : "none";
}

TEST(TerminalKeysTest, OrdinaryApplicationsGetTheCtrlKeys)
{
    EXPECT_EQ(keys(Keystroke::selectAll, "Mousepad"), "Ctrl+A");
    EXPECT_EQ(keys(Keystroke::copy, "Mousepad"), "Ctrl+C");
    EXPECT_EQ(keys(Keystroke::paste, ""), "Ctrl+V") << "an unknown window";
}

TEST(TerminalKeysTest, TerminalsGetTheirOwnKeysAndNeverCtrlC)
{
    EXPECT_EQ(keys(Keystroke::copy, "Xfce4-terminal"), "Ctrl+Shift+C");
    EXPECT_EQ(keys(Keystroke::copy, "XTerm"), "none") << "Ctrl+Shift+C is an interrupt in xterm";
    EXPECT_EQ(keys(Keystroke::paste, "XTerm"), "Shift+Ins");
    EXPECT_EQ(keys(Keystroke::selectAll, "konsole"), "none");
}

TEST(TerminalKeysTest, MatchesWholeClassNamesOnly)
{
    EXPECT_TRUE(isTerminalClass("st"));
    EXPECT_TRUE(isTerminalClass("St-256color"));
    EXPECT_FALSE(isTerminalClass("Postman")) << "contains \"st\"";
    EXPECT_FALSE(isTerminalClass("firefox-xterm-helper"));
    EXPECT_FALSE(isTerminalClass(""));
}

} // namespace
} // namespace vesk::app
