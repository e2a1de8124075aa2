#include "app/services/LaunchAtLogin.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

struct LaunchAtLoginTest : ::testing::Test
{
    QTemporaryDir m_config;
};

TEST_F(LaunchAtLoginTest, WritesAnEntryForTheBinaryAndRemovesIt)
{
    LaunchAtLogin launch(m_config.path(), "/opt/My Apps/$vesk%/vesk");
    EXPECT_FALSE(launch.isEnabled());
    EXPECT_EQ(launch.entryPath(), m_config.filePath("autostart/dev.vesk.Vesk.desktop"));

    launch.setEnabled(true);
    EXPECT_TRUE(launch.isEnabled());
    QFile entry(launch.entryPath());
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    const QByteArray text = entry.readAll();
    EXPECT_TRUE(text.startsWith("[Desktop Entry]\n"));
    // Quoted for the space, "$" escaped inside the quotes, "%" doubled, then the backslash doubled again.
    EXPECT_TRUE(text.contains("\nExec=\"/opt/My Apps/\\\\$vesk%%/vesk\"\n")) << text.toStdString();
    EXPECT_TRUE(LaunchAtLogin(m_config.path(), "/usr/bin/vesk").isEnabled()) << "read back by a new instance";

    launch.setEnabled(false);
    EXPECT_FALSE(launch.isEnabled());
    EXPECT_FALSE(QFile::exists(launch.entryPath()));
}

TEST_F(LaunchAtLoginTest, RefusedWriteLeavesTheSwitchOff)
{
    QFile blocker(m_config.filePath("autostart")); // a file where the folder should be
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    LaunchAtLogin launch(m_config.path(), "/usr/bin/vesk");
    QSignalSpy changed(&launch, &LaunchAtLogin::enabledChanged);

    launch.setEnabled(true);
    EXPECT_FALSE(launch.isEnabled());
    EXPECT_EQ(changed.count(), 1) << "a switch the user flipped on must hear that it is off";
}

TEST_F(LaunchAtLoginTest, HiddenEntryCountsAsOff)
{
    const QString path = m_config.filePath("hidden.desktop");
    QFile entry(path);
    ASSERT_TRUE(entry.open(QIODevice::WriteOnly));
    entry.write("[Desktop Entry]\nType=Application\nExec=vesk\nHidden=true\n");
    entry.close();
    EXPECT_FALSE(LaunchAtLogin::isActiveEntry(path));
}

} // namespace
} // namespace vesk::app
