#include "app/windows/ReviewPanelController.h"

#include "app/models/Appearance.h"
#include "app/models/ReviewActions.h"
#include "app/models/SessionModel.h"
#include "app/platform/DesktopAppearance.h"
#include "app/windows/PanelGeometry.h"
#include "app/windows/QmlWindow.h"

#include <QCursor>
#include <QGuiApplication>
#include <QPainterPath>
#include <QPointer>
#include <QQuickItem>
#include <QQuickView>
#include <QRegion>
#include <QScreen>
#include <QSurfaceFormat>
#include <QTimer>
#include <cmath>

namespace vesk::app {

namespace {

const QSize initialSize(640, 240);
constexpr qreal cornerRadius = 12; // the body's corners in ReviewView.qml

std::optional<QRect> availableAreaUnderPointer()
{
    QList<PanelGeometry::ScreenArea> areas;
    // Qt lists the primary screen first, which is the fallback when the pointer is on no screen.
    for (const QScreen* screen : QGuiApplication::screens()) {
        areas.append({screen->geometry(), screen->availableGeometry()});
    }
    return PanelGeometry::availableAreaAt(QCursor::pos(), areas);
}

} // namespace

struct ReviewPanelController::Private
{
    Private(AppSettings& settings, DesktopAppearance& desktop, Showing when)
        : appearance(desktop), showing(when), desktopLink(desktop), model(&settings)
    {
    }

    void setUp(QQuickView& view);
    // The window with a fresh view of the session, placed and fitted, not shown yet; null when the view
    // did not load.
    QQuickView* open();
    void place();
    void fitContent();
    void updateMask();

    DesktopAppearance& appearance;
    Showing showing;
    Appearance::DesktopLink desktopLink;
    SessionModel model;
    ReviewActions actions;
    // A fresh view for every correction, so nothing of the last one (scroll position, hover, focus) carries
    // over, in a window kept while corrections follow each other: a press of the shortcut then does not wait
    // for a new QML engine, and no window is destroyed under the paste that follows an accept (that broke the
    // paste without review). The idle app lets it go.
    QmlWindow window{QStringLiteral("ReviewView"), [this](QQuickView& view) { setUp(view); },
                     QmlWindow::Lifetime::whileInUse};
    bool composited = true;
    bool waitsForFocus = false; // shown with the focus, once the text is in
    QQuickView* ready = nullptr; // built for the current show while it waits for the focus
};

void ReviewPanelController::Private::setUp(QQuickView& view)
{
    // A frameless tool window above everything: it stays out of the task bar, and the window manager
    // still gives it keyboard focus so Return, Escape and Ctrl+R reach it.
    view.setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    // Shown while the copy stroke is still on its way to the source app, the panel must not take the
    // keyboard when it maps: Qt then marks it with a zero user time, which window managers read as "don't
    // focus". It asks for the keyboard itself once the text is in.
    view.setProperty("_q_showWithoutActivating", true);
    // Transparent around the rounded body and its shadow; needs an alpha channel in the window itself.
    QSurfaceFormat format = view.format();
    format.setAlphaBufferSize(8);
    view.setFormat(format);
    view.setColor(Qt::transparent);
    view.setTitle(QStringLiteral("Vesk"));
    view.resize(initialSize);
    QObject::connect(&view, &QWindow::widthChanged, &view, [this] { updateMask(); });
    QObject::connect(&view, &QWindow::heightChanged, &view, [this] { updateMask(); });
}

void ReviewPanelController::Private::updateMask()
{
    QQuickView* view = window.window();
    if (composited) {
        view->setMask(QRegion());
        return;
    }
    QPainterPath outline;
    outline.addRoundedRect(QRectF(QPointF(0, 0), view->size()), cornerRadius, cornerRadius);
    view->setMask(QRegion(outline.toFillPolygon().toPolygon()));
}

void ReviewPanelController::Private::place()
{
    QQuickView* view = window.window();
    const std::optional<QRect> available = availableAreaUnderPointer();
    if (!available) {
        view->resize(initialSize);
        return;
    }
    view->setGeometry(PanelGeometry::initial(initialSize, *available));
}

void ReviewPanelController::Private::fitContent()
{
    QQuickView* view = window.window();
    const QQuickItem* root = view->rootObject();
    if (root == nullptr) {
        return;
    }
    const QSize content(static_cast<int>(std::ceil(root->implicitWidth())),
                        static_cast<int>(std::ceil(root->implicitHeight())));
    const QScreen* screen = view->screen();
    if (screen == nullptr) {
        if (content.width() > 0 && content.height() > 0) {
            view->resize(content);
        }
        return;
    }
    view->setGeometry(PanelGeometry::resized(view->geometry(), content, screen->availableGeometry()));
}

ReviewPanelController::ReviewPanelController(AppSettings& settings, DesktopAppearance& appearance, Showing showing,
                                             QObject* parent)
    : QObject(parent), d(std::make_unique<Private>(settings, appearance, showing))
{
}

ReviewPanelController::~ReviewPanelController()
{
    d->model.setSession(nullptr);
}

void ReviewPanelController::show(CorrectionSession& session, PanelActions actions)
{
    d->actions.set(std::move(actions));
    d->model.setSession(&session);
    d->ready = nullptr;
    d->waitsForFocus = d->showing == Showing::onceCopied;
    if (!d->waitsForFocus) {
        if (QQuickView* view = d->open()) {
            view->show();
            view->raise();
        }
        return;
    }
    // Shown once the text is in, the panel is built a turn of the event loop later, while the copy stroke
    // (posted from an earlier turn) is on its way.
    QTimer::singleShot(0, this, [this] {
        if (d->waitsForFocus && d->ready == nullptr) {
            d->ready = d->open();
        }
    });
}

QQuickView* ReviewPanelController::Private::open()
{
    // Without a compositor the see-through corners and shadow would come out black: the body fills the
    // window and a mask rounds its corners instead.
    composited = appearance.composites();
    QQuickView& view = window.open({{QStringLiteral("review"), QVariant::fromValue(&model)},
                                    {QStringLiteral("actions"), QVariant::fromValue(&actions)},
                                    {QStringLiteral("composited"), composited}});
    QQuickItem* root = view.rootObject();
    if (root == nullptr) {
        return nullptr;
    }
    QObject::connect(root, &QQuickItem::implicitWidthChanged, &view, [this] { fitContent(); });
    QObject::connect(root, &QQuickItem::implicitHeightChanged, &view, [this] { fitContent(); });

    place();
    fitContent();
    updateMask();
    return &view;
}

void ReviewPanelController::focus()
{
    QQuickView* built = std::exchange(d->ready, nullptr);
    if (std::exchange(d->waitsForFocus, false)) {
        if (built == nullptr) {
            built = d->open();
        }
        if (built != nullptr) {
            built->show();
        }
    }
    QQuickWindow* view = d->window.window();
    if (isVisible()) {
        view->raise();
        view->requestActivate();
    }
}

void ReviewPanelController::hide(std::function<void()> keyboardLeft)
{
    const QPointer<QWindow> view = d->window.window();
    // Only where the desktop gives windows the keyboard does the next stroke have to wait for it to leave;
    // elsewhere (X11) the source app is activated before the stroke.
    const bool hadKeyboard =
        d->showing == Showing::onceCopied && view != nullptr && QGuiApplication::focusWindow() == view;
    d->waitsForFocus = false;
    d->ready = nullptr;
    d->window.close();
    d->model.setSession(nullptr);
    d->actions.clear();
    if (!keyboardLeft) {
        return;
    }
    if (!hadKeyboard) {
        keyboardLeft();
        return;
    }
    // The desktop moves the keyboard to another window some time after the panel is gone; Qt tells.
    auto* watch = new QObject(this);
    auto once = [watch, left = std::make_shared<std::function<void()>>(std::move(keyboardLeft))] {
        if (*left) {
            watch->deleteLater();
            std::exchange(*left, {})();
        }
    };
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, watch, [view, once](const QWindow* focused) {
        if (focused != view) {
            once();
        }
    });
    QTimer::singleShot(keyboardLeaveLimit, watch, once);
}

bool ReviewPanelController::isVisible() const
{
    return d->window.isVisible();
}

QQuickWindow* ReviewPanelController::window() const
{
    return d->window.window();
}

} // namespace vesk::app
