// The shell's tests need an application object: signals, settings and the keyring expect one, and the
// clipboard and the X11 tests need a GUI one. Without a chosen Qt platform they run offscreen, so listing
// and running them needs no display; the X11 tests are run with QT_QPA_PLATFORM=xcb on a throwaway display.

#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
