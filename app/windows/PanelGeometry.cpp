#include "app/windows/PanelGeometry.h"

#include <algorithm>
#include <cmath>

namespace vesk::app::PanelGeometry {

std::optional<QRect> availableAreaAt(QPoint pointer, const QList<ScreenArea>& screens)
{
    for (const ScreenArea& screen : screens) {
        if (screen.frame.contains(pointer)) {
            return screen.available;
        }
    }
    if (screens.isEmpty()) {
        return std::nullopt;
    }
    return screens.front().available;
}

QSize clamped(QSize requested, const QRect& available)
{
    return {std::min(std::max(requested.width(), 1), std::max(available.width(), 1)),
            std::min(std::max(requested.height(), 1), std::max(available.height(), 1))};
}

QRect initial(QSize requested, const QRect& available)
{
    const QSize size = clamped(requested, available);
    // Centre on the exact middle (QRect::center() rounds towards the top left twice over).
    const double midX = available.x() + available.width() / 2.0;
    const double midY = available.y() + available.height() / 2.0;
    return {static_cast<int>(std::lround(midX - size.width() / 2.0)),
            static_cast<int>(std::lround(midY - size.height() / 2.0)), size.width(), size.height()};
}

QRect resized(const QRect& old, QSize newSize, const QRect& available)
{
    if (newSize.width() <= 0 || newSize.height() <= 0) {
        return old;
    }
    if (old.width() <= 0 || old.height() <= 0) {
        return initial(newSize, available);
    }
    const QSize size = clamped(newSize, available);
    const double midX = old.x() + old.width() / 2.0;
    const int maxX = available.x() + available.width() - size.width();
    const int maxY = available.y() + available.height() - size.height();
    const int x = std::clamp(static_cast<int>(std::lround(midX - size.width() / 2.0)), available.x(),
                             std::max(available.x(), maxX));
    const int y = std::clamp(old.y(), available.y(), std::max(available.y(), maxY));
    return {x, y, size.width(), size.height()};
}

} // namespace vesk::app::PanelGeometry
