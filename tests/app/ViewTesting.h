#pragma once

// Helpers for tests that load the app's QML: the software renderer, a record of every QML warning, and
// where screenshots go.

#include "app/windows/QmlWindow.h"

#include <QDir>
#include <QGuiApplication>
#include <QMutex>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QStringList>
#include <QTest>

namespace vesk::test {

// Collects the QML engine's warnings and errors (binding, type and load errors, which name the .qml file)
// while it lives; the platform's own complaints (the offscreen plugin cannot raise windows) do not count.
class WarningRecorder
{
public:
    WarningRecorder() : m_previous(qInstallMessageHandler(&WarningRecorder::handle)) { current() = this; }
    ~WarningRecorder()
    {
        qInstallMessageHandler(m_previous);
        current() = nullptr;
    }
    WarningRecorder(const WarningRecorder&) = delete;
    WarningRecorder& operator=(const WarningRecorder&) = delete;

    // One warning a line, empty when there were none.
    [[nodiscard]] std::string warnings() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_warnings.join(QLatin1Char('\n')).toStdString();
    }

private:
    static WarningRecorder*& current()
    {
        static WarningRecorder* recorder = nullptr;
        return recorder;
    }

    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        WarningRecorder* recorder = current();
        const QLatin1String category(context.category != nullptr ? context.category : "");
        const bool fromQml = category == QLatin1String("qml") || category == QLatin1String("js") ||
                             category.startsWith(QLatin1String("qt.qml")) || message.contains(QLatin1String(".qml"));
        if (recorder != nullptr && fromQml && type != QtDebugMsg && type != QtInfoMsg) {
            const QMutexLocker lock(&recorder->m_mutex);
            recorder->m_warnings << message;
        }
        if (recorder != nullptr && recorder->m_previous != nullptr) {
            recorder->m_previous(type, context, message);
        }
    }

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
    QString path = qEnvironmentVariable("VESK_ARTIFACTS_DIR");
    if (path.isEmpty()) {
        path = QCoreApplication::applicationDirPath() + QStringLiteral("/../artifacts");
    }
    QDir dir(path);
    dir.mkpath(QStringLiteral("."));
    return QDir(dir.absolutePath());
}

// Lets bindings, layout and a frame or two settle.
inline void settle(QQuickWindow* window)
{
    for (int i = 0; i < 5; ++i) {
        QCoreApplication::processEvents();
        QTest::qWait(20);
    }
    if (window != nullptr && window->isVisible()) {
        std::ignore = QTest::qWaitForWindowExposed(window, 1000);
    }
}

} // namespace vesk::test
