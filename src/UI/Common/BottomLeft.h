#pragma once
// Rectangles given from the bottom left, as the panels' and buttons' measures are, turned into Qt's from the top left.
#include <QRectF>

namespace ui {

/// The rectangle whose lower left corner stands `x` to the right of and `y` above the lower left corner of a surface
/// `surfaceHeight` high, in Qt's coordinates. It is its own inverse. Pure; any thread.
constexpr QRectF fromBottomLeft(qreal surfaceHeight, qreal x, qreal y, qreal width, qreal height) {
  return {x, surfaceHeight - y - height, width, height};
}

/// The same for a whole rectangle.
constexpr QRectF fromBottomLeft(qreal surfaceHeight, const QRectF& rectangle) {
  return fromBottomLeft(surfaceHeight, rectangle.x(), rectangle.y(), rectangle.width(), rectangle.height());
}

} // namespace ui
