#pragma once

// One view of the Vesk QML module in a window of its own, with a QML engine of its own. The window and its
// engine exist only while in use: `open` builds them, and hiding the window (closing it, or `close`) releases
// both once control is back in the event loop, or once it has stayed hidden a while.

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantMap>
#include <chrono>
#include <functional>

class QQmlEngine;
class QQuickView;

namespace vesk::app {

class QmlWindow : public QObject
{
    Q_OBJECT

public:
    // Sets up a freshly built window before its view loads: title, sizes, flags, format.
    using Setup = std::function<void(QQuickView& window)>;

    enum class Lifetime
    {
        // Built on open, released with its engine once hidden.
        whileOpen,
        // Built on open and kept while in use, every open loading a fresh view into it; released with its
        // engine once it has stayed hidden for `idleRelease`.
        whileInUse,
    };

    // How long a hidden `whileInUse` window waits for its next open: presses in quick succession reuse it.
    static constexpr std::chrono::seconds idleRelease{10};

    // `viewName` names a view in the module (e.g. "HomeView").
    QmlWindow(QString viewName, Setup setup, Lifetime lifetime = Lifetime::whileOpen, QObject* parent = nullptr);
    ~QmlWindow() override;

    // Builds the window with `properties` for the view's required properties and loads the view (load
    // errors are logged); an open window is returned as it is, a kept one with a fresh view. Not yet shown.
    QQuickView& open(const QVariantMap& properties);
    // Hides the window, which releases it.
    void close();
    [[nodiscard]] bool isVisible() const;
    // Null while closed.
    [[nodiscard]] QQuickView* window() const { return m_window; }

    // The clear colour of an opaque window, under the view's own background.
    [[nodiscard]] static QColor background();
    // Lets `engine` import the Vesk module built into the binary (done for every window's engine).
    static void useModule(QQmlEngine& engine);
    // Where the module's views are: `qrc:/qt/qml/Vesk/<viewName>.qml`.
    [[nodiscard]] static QUrl viewUrl(const QString& viewName);

signals:
    // A window was built and its view loaded: a new root object.
    void built(QQuickView& window);

private:
    // A hidden window goes at once (whileOpen) or after it has stayed hidden a while (whileInUse).
    void letGo();
    void releaseWhenHidden();

    QString m_viewName;
    Setup m_setup;
    Lifetime m_lifetime;
    QQuickView* m_window = nullptr;
    QTimer m_idle;
};

} // namespace vesk::app
