#include "app/windows/ReviewPanelController.h"
#include "app/common/Logging.h"

#include "app/windows/PanelGeometry.h"
#include "app/models/ReviewActions.h"
#include "app/models/SessionModel.h"
#include "app/platform/DesktopAppearance.h"

#include <QCursor>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPainterPath>
#include <QQmlContext>
#include <QQmlError>
#include <QQuickItem>
#include <QQuickView>
#include <QRegion>
#include <QScreen>
#include <QSurfaceFormat>
#include <cmath>


namespace vesk::app {

namespace {

const QSize initialSize(640, 240);
constexpr qreal cornerRadius = 12; // the body's corners in ReviewView.qml
const QUrl viewUrl(QStringLiteral("qrc:/vesk/views/ReviewView.qml"));

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
    Private(AppSettings& settings, DesktopAppearance& desktop) : appearance(desktop), model(&settings) {}

    void place();
    void fitContent();
    void updateMask();

    DesktopAppearance& appearance;
    SessionModel model;
    ReviewActions actions;
    std::unique_ptr<QQuickView> view;
    bool composited = true;
};

void ReviewPanelController::Private::updateMask()
{
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
    const std::optional<QRect> available = availableAreaUnderPointer();
    if (!available) {
        view->resize(initialSize);
        return;
    }
    view->setGeometry(PanelGeometry::initial(initialSize, *available));
}

void ReviewPanelController::Private::fitContent()
{
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

ReviewPanelController::ReviewPanelController(AppSettings& settings, DesktopAppearance& appearance, QObject* parent)
    : QObject(parent), d(std::make_unique<Private>(settings, appearance))
{
    d->view = std::make_unique<QQuickView>();
    // A frameless tool window above everything: it stays out of the task bar, and the window manager
    // still gives it keyboard focus so Return, Escape and Ctrl+R reach it.
    d->view->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    // Shown while the copy stroke is still on its way to the source app, the panel must not take the
    // keyboard when it maps: Qt then marks it with a zero user time, which window managers read as "don't
    // focus". It asks for the keyboard itself once the text is in.
    d->view->setProperty("_q_showWithoutActivating", true);
    // Transparent around the rounded body and its shadow; needs an alpha channel in the window itself.
    QSurfaceFormat format = d->view->format();
    format.setAlphaBufferSize(8);
    d->view->setFormat(format);
    d->view->setColor(Qt::transparent);
    d->view->setResizeMode(QQuickView::SizeRootObjectToView);
    d->view->setTitle(QStringLiteral("Vesk"));
    d->view->rootContext()->setContextProperty(QStringLiteral("review"), &d->model);
    d->view->rootContext()->setContextProperty(QStringLiteral("actions"), &d->actions);
    d->view->rootContext()->setContextProperty(QStringLiteral("reduceMotion"), false);
    d->view->resize(initialSize);
    d->view->rootContext()->setContextProperty(QStringLiteral("composited"), true);
    connect(d->view.get(), &QWindow::widthChanged, this, [this] { d->updateMask(); });
    connect(d->view.get(), &QWindow::heightChanged, this, [this] { d->updateMask(); });
}

ReviewPanelController::~ReviewPanelController()
{
    d->model.setSession(nullptr);
}

void ReviewPanelController::show(CorrectionSession& session, PanelActions actions)
{
    d->actions.set(std::move(actions));
    d->model.setSession(&session);
    d->view->rootContext()->setContextProperty(QStringLiteral("reduceMotion"), d->appearance.prefersReducedMotion());

    // A new view for every correction, so nothing of the last one (scroll position, hover, focus) carries
    // over.
    // Without a compositor the see-through corners and shadow would come out black: the body fills the
    // window and a mask rounds its corners instead.
    d->composited = d->appearance.composites();
    d->view->rootContext()->setContextProperty(QStringLiteral("composited"), d->composited);
    d->view->setSource(QUrl());
    d->view->setSource(viewUrl);
    if (d->view->status() == QQuickView::Error) {
        for (const QQmlError& error : d->view->errors()) {
            qCWarning(lcUi) << "review view:" << error.toString();
        }
        return;
    }
    QQuickItem* root = d->view->rootObject();
    connect(root, &QQuickItem::implicitWidthChanged, this, [this] { d->fitContent(); });
    connect(root, &QQuickItem::implicitHeightChanged, this, [this] { d->fitContent(); });

    d->place();
    d->fitContent();
    d->updateMask();
    d->view->show();
    d->view->raise();
}

void ReviewPanelController::focus()
{
    if (d->view->isVisible()) {
        d->view->raise();
        d->view->requestActivate();
    }
}

void ReviewPanelController::hide()
{
    d->view->hide();
    d->model.setSession(nullptr);
    d->actions.clear();
}

bool ReviewPanelController::isVisible() const
{
    return d->view->isVisible();
}

QQuickWindow* ReviewPanelController::window() const
{
    return d->view.get();
}

} // namespace vesk::app
