#include "UI/ProgressView/SProgressViewIndicator.h"

#include "Platform/MainThread.h"
#include "UI/Common/BottomLeft.h"
#include "UI/Common/Images.h"

#include <QPainter>

namespace {

/// Draws the part of `image`, at its own size, that `part` (from its lower left corner) cuts out into `target`, a
/// rectangle of the same size; what lies beyond the image stays as it is.
void drawPart(QPainter& painter, const QRectF& target, const QIcon& image, const QRectF& part) {
  const QSize size = ui::imageSize(image);
  const QRectF inside = ui::fromBottomLeft(size.height(), part) & QRectF(QPointF(0, 0), QSizeF(size));
  if (inside.isEmpty())
    return;
  const QPointF offset = target.topLeft() - ui::fromBottomLeft(size.height(), part).topLeft();
  painter.save();
  painter.setClipRect(inside.translated(offset), Qt::IntersectClip);
  ui::drawImage(painter, QRectF(offset, QSizeF(size)), image);
  painter.restore();
}

} // namespace

SProgressViewIndicator::SProgressViewIndicator(QWidget* parent)
    : QProgressBar(parent) {
  awakeFromNib();
}

SProgressViewIndicator::SProgressViewIndicator(const QRect& frame, bool isRTL, QWidget* parent)
    : QProgressBar(parent)
    , _isRTL(isRTL) {
  setGeometry(frame);
  awakeFromNib();
}

void SProgressViewIndicator::awakeFromNib() {
  platform::assertMainThread();
  _bgImage = ui::namedImage(QStringLiteral("progress_bg"));
  _percentImage = ui::namedImage(QStringLiteral("progress_bar"));
  setRange(0, 100);
  setValue(0);
  setTextVisible(false);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SProgressViewIndicator::setIsRTL(bool isRTL) {
  platform::assertMainThread();
  _isRTL = isRTL;
  update();
}

void SProgressViewIndicator::setPercentage(std::int32_t percentage) {
  platform::assertMainThread();
  const std::int32_t limited = qBound(0, percentage, 100);
  if (limited == _percentage)
    return;
  _percentage = limited;
  setValue(limited); // what assistive technologies read
  update();
}

void SProgressViewIndicator::setHidden(bool hidden) {
  QProgressBar::setHidden(hidden);
}

QRectF SProgressViewIndicator::filledRect() const {
  if (_percentage < 1)
    return {};
  const qreal filled = float(qreal(width()) / 100 * _percentage);
  return ui::fromBottomLeft(height(), _isRTL ? width() - filled : 0, 0, filled, kBarHeight);
}

QSize SProgressViewIndicator::sizeHint() const {
  return {ui::imageSize(_bgImage).width(), kBarHeight};
}

QSize SProgressViewIndicator::minimumSizeHint() const {
  return {0, kBarHeight};
}

void SProgressViewIndicator::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  ui::drawImage(painter, ui::fromBottomLeft(height(), 0, 0, width(), kBarHeight), _bgImage);
  const QRectF filled = filledRect();
  if (filled.isEmpty())
    return;
  if (_isRTL)
    drawPart(painter, filled, _percentImage, ui::fromBottomLeft(height(), filled));
  else
    ui::drawImage(painter, filled, _percentImage);
}
