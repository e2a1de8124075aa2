#include "app/windows/PanelGeometry.h"

#include <gtest/gtest.h>

namespace vesk::app {
namespace {

// A 1920 × 1080 screen with a 32-point top bar, and a second one to its right.
const QRect mainFrame(0, 0, 1920, 1080);
const QRect mainAvailable(0, 32, 1920, 1048);
const QRect secondFrame(1920, 0, 1280, 1024);
const QRect secondAvailable(1920, 0, 1280, 984);
const QList<PanelGeometry::ScreenArea> twoScreens{{mainFrame, mainAvailable}, {secondFrame, secondAvailable}};

TEST(PanelGeometryTest, OpensCentredInTheAvailableAreaAndShrinksToFit)
{
    EXPECT_EQ(PanelGeometry::initial({640, 240}, mainAvailable), QRect(640, 436, 640, 240));
    EXPECT_EQ(PanelGeometry::initial({640, 240}, secondAvailable), QRect(2240, 372, 640, 240));
    const QRect tiny(10, 20, 600, 200);
    EXPECT_EQ(PanelGeometry::initial({640, 240}, tiny), tiny);
    EXPECT_EQ(PanelGeometry::initial({640, 100}, tiny), QRect(10, 70, 600, 100));
    EXPECT_EQ(PanelGeometry::clamped({0, -5}, mainAvailable), QSize(1, 1)) << "an empty size becomes one point";
}

TEST(PanelGeometryTest, PointerPicksTheScreen)
{
    EXPECT_EQ(PanelGeometry::availableAreaAt({2500, 500}, twoScreens), secondAvailable);
    EXPECT_EQ(PanelGeometry::availableAreaAt({100, 5}, twoScreens), mainAvailable) << "the top bar is on the screen";
    EXPECT_EQ(PanelGeometry::availableAreaAt({-400, 500}, twoScreens), mainAvailable) << "off every screen";
    EXPECT_EQ(PanelGeometry::availableAreaAt({0, 0}, {}), std::nullopt);
}

TEST(PanelGeometryTest, ResizingKeepsTheTopAndTheCentreInsideTheArea)
{
    const QRect centred(640, 436, 640, 240);
    const std::tuple<const char*, QRect, QSize, QRect, QRect> rows[] = {
        {"grows down", centred, {640, 420}, mainAvailable, QRect(640, 436, 640, 420)},
        {"shrinks to the centre", centred, {600, 180}, mainAvailable, QRect(660, 436, 600, 180)},
        {"moves up from the bottom", {640, 900, 640, 120}, {640, 400}, mainAvailable, {640, 680, 640, 400}},
        {"too tall", {640, 900, 640, 120}, {640, 5000}, mainAvailable, {640, 32, 640, 1048}},
        {"past the right", {1900, 100, 20, 100}, {640, 100}, mainAvailable, {1280, 100, 640, 100}},
        {"past the left", {0, 100, 20, 100}, {640, 100}, mainAvailable, {0, 100, 640, 100}},
        {"second screen", {2000, 10, 640, 240}, {640, 300}, secondAvailable, {2000, 10, 640, 300}},
        {"no width", centred, {0, 300}, mainAvailable, centred},
        {"negative height", centred, {640, -1}, mainAvailable, centred},
        {"no frame yet", QRect(), {640, 240}, mainAvailable, centred},
    };
    for (const auto& [name, old, size, area, expected] : rows) {
        EXPECT_EQ(PanelGeometry::resized(old, size, area), expected) << name;
    }
}

} // namespace
} // namespace vesk::app
