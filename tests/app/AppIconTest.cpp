#include "app/common/AppIcon.h"

#include <QList>
#include <QSize>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

// Every size comes from its own compiled-in file, so small sizes stay crisp instead of scaled down from 256.
TEST(AppIconTest, OffersEveryRenderedSize)
{
    const QList<QSize> expected{{16, 16}, {24, 24}, {32, 32}, {48, 48}, {64, 64}, {128, 128}, {256, 256}};
    EXPECT_EQ(appIcon().availableSizes(), expected);
}

// A tray asks for sizes the icon does not have (22 on many panels); it still gets a picture of that size.
TEST(AppIconTest, FillsAnInBetweenTraySize)
{
    const QPixmap pixmap = appIcon().pixmap(22);
    ASSERT_FALSE(pixmap.isNull());
    EXPECT_EQ(pixmap.size(), QSize(22, 22));
}

} // namespace
} // namespace vesk::app
