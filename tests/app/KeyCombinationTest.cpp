#include "app/platform/KeyCombination.h"

#include <QJsonDocument>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

QJsonObject parse(const char* json)
{
    return QJsonDocument::fromJson(json).object();
}

TEST(KeyCombinationTest, StoresPortableNamesAndReadsThemBack)
{
    const KeyCombination altG{Qt::Key_G, Qt::AltModifier};
    EXPECT_EQ(QJsonDocument(altG.toJson()).toJson(QJsonDocument::Compact), R"({"key":"G","modifiers":["alt"]})");

    const KeyCombination all{Qt::Key_F5, Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier};
    EXPECT_EQ(QJsonDocument(all.toJson()).toJson(QJsonDocument::Compact),
              R"({"key":"F5","modifiers":["control","alt","shift","meta"]})");
    for (const KeyCombination& combination : {altG, all, KeyCombination{Qt::Key_Space, Qt::ControlModifier},
                                              KeyCombination{Qt::Key_Semicolon, Qt::MetaModifier}}) {
        EXPECT_EQ(KeyCombination::fromJson(combination.toJson()), combination)
            << combination.displayText().toStdString();
    }
}

TEST(KeyCombinationTest, RefusesWhatIsNotOneKeyWithKnownModifiers)
{
    EXPECT_FALSE(KeyCombination::fromJson(parse(R"({"key":"","modifiers":["alt"]})"))) << "no key";
    EXPECT_FALSE(KeyCombination::fromJson(parse(R"({"key":"G"})"))) << "no modifier list";
    EXPECT_FALSE(KeyCombination::fromJson(parse(R"({"key":"G","modifiers":["hyper"]})"))) << "unknown modifier";
    EXPECT_FALSE(KeyCombination::fromJson(parse(R"({"key":"Ctrl+G","modifiers":[]})"))) << "modifier in the key";
    EXPECT_FALSE(KeyCombination::fromJson(parse(R"({"key":"G, H","modifiers":["alt"]})"))) << "two strokes";
    EXPECT_FALSE(KeyCombination::fromJson(parse(R"({"key":"NoSuchKey","modifiers":["alt"]})"))) << "unknown key";
    EXPECT_FALSE(KeyCombination::fromJson(parse(R"({"key":"Shift","modifiers":["alt"]})"))) << "bare modifier";
}

TEST(KeyCombinationTest, DisplaysModifiersInTheUsualOrder)
{
    EXPECT_EQ(KeyCombination({Qt::Key_G, Qt::AltModifier}).displayText(), "Alt+G");
    EXPECT_EQ(KeyCombination({Qt::Key_G, Qt::MetaModifier | Qt::ShiftModifier | Qt::ControlModifier}).displayText(),
              "Ctrl+Shift+Super+G");
    EXPECT_EQ(KeyCombination({Qt::Key_Space, Qt::AltModifier}).displayText(), "Alt+Space");
}

} // namespace
} // namespace vesk::app
