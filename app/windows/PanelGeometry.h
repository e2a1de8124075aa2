#pragma once

// Where the review panel goes: centred on the screen under the pointer when it opens, and, as its content
// grows or shrinks, resized around a fixed top edge and horizontal centre. All rectangles are in global
// screen coordinates (y grows downward) and `available` is a screen's area without panels and docks.

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <optional>

namespace vesk::app::PanelGeometry {

struct ScreenArea
{
    QRect frame;     // the whole screen
    QRect available; // without panels and docks
};

// The available area of the first screen whose frame holds `pointer`, else of the first screen (the
// primary one, in Qt's order); nothing when there is no screen.
[[nodiscard]] std::optional<QRect> availableAreaAt(QPoint pointer, const QList<ScreenArea>& screens);

// At least 1 × 1 and at most the available area.
[[nodiscard]] QSize clamped(QSize requested, const QRect& available);

// The requested size, clamped, centred in the available area.
[[nodiscard]] QRect initial(QSize requested, const QRect& available);

// The new size, clamped, with the old top edge and horizontal centre, moved back inside the available
// area where needed. A size without area leaves the rectangle alone; an old rectangle without area is
// replaced by the initial placement.
[[nodiscard]] QRect resized(const QRect& old, QSize newSize, const QRect& available);

} // namespace vesk::app::PanelGeometry
