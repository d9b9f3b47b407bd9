#pragma once
// The pictures of the loading animation, drawn instead of stored.
#include <QRectF>
#include <QString>

class QPainter;

namespace ui {

/// How many pictures one round of the animation has.
inline constexpr int kLoadingFrameCount = 186;

/// The name of picture `number` (from 1): "back_up_pop_up_dot_01" to "back_up_pop_up_dot_186".
QString loadingFrameName(int number);

/// Makes the pictures known under their names (see ui::namedImage()); cheap, nothing is drawn yet. Main thread.
void registerLoadingFrames();

/// Draws picture `number` (1 to kLoadingFrameCount) into `area`. Main thread.
void drawLoadingFrame(QPainter& painter, const QRectF& area, int number);

} // namespace ui
