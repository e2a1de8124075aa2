#include "app/platform/ColorScheme.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

using Scheme = ColorScheme::Scheme;

TEST(ColorSchemeTest, ReadsEachDesktopsWayOfSayingIt)
{
    EXPECT_EQ(ColorScheme::fromPortal(1U), Scheme::dark);
    EXPECT_EQ(ColorScheme::fromPortal(2U), Scheme::light);
    EXPECT_EQ(ColorScheme::fromPortal(0U), std::nullopt) << "no preference";
    EXPECT_EQ(ColorScheme::fromPortal(QStringLiteral("dark")), std::nullopt);

    EXPECT_EQ(ColorScheme::fromGnome("'prefer-dark'\n"), Scheme::dark);
    EXPECT_EQ(ColorScheme::fromGnome("'prefer-light'"), Scheme::light);
    EXPECT_EQ(ColorScheme::fromGnome("'default'"), std::nullopt);

    EXPECT_EQ(ColorScheme::fromOverride("light"), Scheme::light);
    EXPECT_EQ(ColorScheme::fromOverride("Dark"), std::nullopt);
}

TEST(ColorSchemeTest, KdeSchemeByNameElseByWindowBackground)
{
    const QTemporaryDir dir;
    const auto globals = [&dir](const char* text) {
        const QString path = dir.filePath(QStringLiteral("kdeglobals"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
        return path;
    };
    EXPECT_EQ(ColorScheme::fromKdeGlobals(globals("[General]\nColorScheme=BreezeDark\n")), Scheme::dark);
    EXPECT_EQ(ColorScheme::fromKdeGlobals(globals("[General]\nColorScheme=BreezeLight\n")), Scheme::light);
    EXPECT_EQ(ColorScheme::fromKdeGlobals(globals("[Colors:Window]\nBackgroundNormal=32,35,38\n")), Scheme::dark);
    EXPECT_EQ(ColorScheme::fromKdeGlobals(globals("[Colors:Window]\nBackgroundNormal=239,240,241\n")), Scheme::light);
    EXPECT_EQ(ColorScheme::fromKdeGlobals(globals("[General]\nColorScheme=Oxygen\n")), std::nullopt);
}

} // namespace
} // namespace vesk::app
