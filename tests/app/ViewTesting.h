#pragma once

// Helpers for tests that load the app's QML: the software renderer, a record of every QML warning, and
// screenshots.

#include "app/windows/QmlWindow.h"

#include <QDir>
#include <QGuiApplication>
#include <QMutex>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QStringList>
#include <QTest>
#include <gtest/gtest.h>

namespace vesk::test {

// Collects the QML engine's warnings and errors (binding, type and load errors, which name the .qml file)
// while it lives; the platform's own complaints (the offscreen plugin cannot raise windows) do not count.
class WarningRecorder
{
public:
    WarningRecorder() : m_previous(qInstallMessageHandler(&WarningRecorder::handle)) { s_current = this; }
    ~WarningRecorder() { qInstallMessageHandler(m_previous), s_current = nullptr; }
    WarningRecorder(const WarningRecorder&) = delete;
    WarningRecorder& operator=(const WarningRecorder&) = delete;

    [[nodiscard]] std::string warnings() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_warnings.join(QLatin1Char('\n')).toStdString();
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        const QLatin1String category(context.category != nullptr ? context.category : "");
        if ((category == "qml" || category == "js" || category.startsWith(QLatin1String("qt.qml")) ||
             message.contains(QLatin1String(".qml"))) &&
            type != QtDebugMsg && type != QtInfoMsg) {
            const QMutexLocker lock(&s_current->m_mutex);
            s_current->m_warnings << message;
        }
        if (s_current->m_previous != nullptr) {
            s_current->m_previous(type, context, message);
        }
    }

    static inline WarningRecorder* s_current = nullptr;
    QtMessageHandler m_previous;
    mutable QMutex m_mutex;
    QStringList m_warnings;
};

// Views render in software so the tests run without a GPU; must run before the first window exists.
inline void useSoftwareRendering()
{
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

// Screenshots go to VESK_ARTIFACTS_DIR, or to artifacts/ beside the test binary's folder (the build dir).
inline QDir artifactsDir()
{
    QDir dir(qEnvironmentVariable("VESK_ARTIFACTS_DIR", QCoreApplication::applicationDirPath() + "/../artifacts"));
    dir.mkpath(QStringLiteral("."));
    return QDir(dir.absolutePath());
}

// Lets bindings, layout and a frame or two settle.
inline void settle(QQuickWindow* window)
{
    QTest::qWait(100);
    if (window != nullptr && window->isVisible()) {
        std::ignore = QTest::qWaitForWindowExposed(window, 1000);
    }
}

// Saves what `window` shows once it has settled, for a look by eye.
inline void screenshot(QQuickWindow* window, const QString& name)
{
    settle(window);
    EXPECT_TRUE(window->grabWindow().save(artifactsDir().filePath(name))) << name.toStdString();
}

} // namespace vesk::test
