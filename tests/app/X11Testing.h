#pragma once

// Helpers for the tests that run on a real X display (QT_QPA_PLATFORM=xcb, under with-desktop.sh).

#include <QByteArray>
#include <QGuiApplication>
#include <QProcess>
#include <QStringList>
#include <QTest>
#include <gtest/gtest.h>

namespace vesk::test {

struct Finished
{
    int exitCode = -1; // -1: did not finish in time, or crashed
    QByteArray out;
};

// Runs a desktop tool (xclip, xdotool) while our event loop keeps running: when Vesk owns the clipboard, a
// reading tool waits for this very process to answer.
inline Finished runTool(const QString& program, const QStringList& args, const QByteArray& input = {},
                        int timeoutMs = 5000)
{
    QProcess process;
    process.start(program, args);
    if (!process.waitForStarted(timeoutMs)) {
        return {};
    }
    process.write(input);
    process.closeWriteChannel();
    if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, timeoutMs)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    const int code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return {code, process.readAllStandardOutput()};
}

// xdotool sends through XTest, as a person's keyboard would arrive; never with --window (XSendEvent).
inline void keys(const QStringList& args)
{
    ASSERT_EQ(runTool("xdotool", args).exitCode, 0) << args.join(' ').toStdString();
}

class X11Test : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (QGuiApplication::platformName() != QLatin1String("xcb")) {
            GTEST_SKIP() << "needs an X display (run through with-desktop.sh with QT_QPA_PLATFORM=xcb)";
        }
    }
};

} // namespace vesk::test
