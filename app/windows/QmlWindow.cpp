#include "app/windows/QmlWindow.h"
#include "app/common/Logging.h"

#include "app/models/Appearance.h"

#include <QColor>
#include <QLoggingCategory>
#include <QQmlEngine>
#include <QQmlError>
#include <QQuickView>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

// Generated with the module's type registration; a static library would otherwise drop it unseen.
void qml_register_types_Vesk();

namespace vesk::app {

namespace {

void releaseFreedMemory()
{
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

} // namespace

void QmlWindow::useModule(QQmlEngine& engine)
{
    static const bool registered = [] {
        qml_register_types_Vesk();
        return true;
    }();
    std::ignore = registered;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
}

QUrl QmlWindow::viewUrl(const QString& viewName)
{
    return QUrl(QStringLiteral("qrc:/qt/qml/Vesk/%1.qml").arg(viewName));
}

QmlWindow::QmlWindow(QString viewName, Setup setup, Lifetime lifetime, QObject* parent)
    : QObject(parent), m_viewName(std::move(viewName)), m_setup(std::move(setup)), m_lifetime(lifetime)
{
    m_idle.setSingleShot(true);
    m_idle.setInterval(idleRelease);
    connect(&m_idle, &QTimer::timeout, this, [this] {
        if (m_window != nullptr && !m_window->isVisible()) {
            releaseWhenHidden();
        }
    });
}

QmlWindow::~QmlWindow()
{
    delete m_window;
}

QQuickView& QmlWindow::open(const QVariantMap& properties)
{
    if (m_window != nullptr && m_lifetime == Lifetime::whileOpen) {
        return *m_window;
    }
    m_idle.stop();
    if (m_window != nullptr) {
        // A kept window gets a fresh view: nothing of the last one carries over.
        m_window->setSource(QUrl());
    } else {
        // A window hidden a moment ago goes first, before its owner replaces the models it shows.
        qDeleteAll(findChildren<QQuickView*>(Qt::FindDirectChildrenOnly));
        m_window = new QQuickView();
        m_window->setResizeMode(QQuickView::SizeRootObjectToView);
        m_window->setColor(background());
        if (m_setup) {
            m_setup(*m_window);
        }
        connect(m_window, &QWindow::visibleChanged, this, [this](bool visible) {
            if (!visible) {
                letGo();
            }
        });
        useModule(*m_window->engine());
    }
    m_window->setInitialProperties(properties);
    m_window->setSource(viewUrl(m_viewName));
    for (const QQmlError& error : m_window->errors()) {
        qCWarning(lcUi) << m_viewName << error.toString();
    }
    emit built(*m_window);
    return *m_window;
}

void QmlWindow::close()
{
    if (m_window == nullptr) {
        return;
    }
    if (m_window->isVisible()) {
        m_window->hide(); // and the visibility change lets go of it
    } else {
        letGo(); // built but never shown: no visibility change will come
    }
}

void QmlWindow::letGo()
{
    if (m_lifetime == Lifetime::whileOpen) {
        releaseWhenHidden();
    } else {
        m_idle.start();
    }
}

bool QmlWindow::isVisible() const
{
    return m_window != nullptr && m_window->isVisible();
}

QColor QmlWindow::background()
{
    return Appearance::instance().isDark() ? QColor(0x1c, 0x1c, 0x1e) : QColor(0xf5, 0xf5, 0xf7);
}

void QmlWindow::releaseWhenHidden()
{
    // Later, not now: the hide may come from a signal of the view itself. The window is then unhooked at
    // once, so a new open builds a fresh one.
    // Held as a child meanwhile, so it goes no later than its owner and the models it shows.
    QQuickView* hidden = m_window;
    m_window = nullptr;
    static_cast<QObject*>(hidden)->setParent(this);
    // Once it is gone (after its destructor, hence queued), the allocator hands the engine's pages back, so the
    // idle app shrinks instead of keeping them for the next window.
    connect(hidden, &QObject::destroyed, this, [] { releaseFreedMemory(); }, Qt::QueuedConnection);
    hidden->deleteLater();
}

} // namespace vesk::app
