#include "app/common/AppIcon.h"

#include <QSize>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

// A tray asks for sizes the icon does not have (22 on many panels); it still gets a picture of that size.
TEST(AppIconTest, FillsAnInBetweenTraySize)
{
    const QPixmap pixmap = appIcon().pixmap(22);
    ASSERT_FALSE(pixmap.isNull());
    EXPECT_EQ(pixmap.size(), QSize(22, 22));
}

} // namespace
} // namespace vesk::app
