#include "UI/Controls/QXBrowserTableHeaderCell.h"

#include "UI/Common/Images.h"
#include "UI/Common/LayoutDirection.h"
#include "UI/Common/SFont.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPolygonF>

namespace {

constexpr qreal kTitleInset = 5;
constexpr qreal kTitleTop = 3;
constexpr qreal kIndicatorWidth = 9;
constexpr qreal kIndicatorHeight = 8;

} // namespace

BrowserHeaderCell::BrowserHeaderCell()
    : font(SFont::sharedInstance().fontWithPixelSize(12, false))
    , isRTL(ui::isRTLLayout()) {}

void BrowserHeaderCell::drawWithFrame(const QRectF& frame, QPainter& painter, const QPalette& palette) const {
  painter.save();
  painter.fillRect(frame, ui::namedColor(QStringLiteral("ViewBackground"), palette));
  // White at both ends: nearly opaque over a light background, a mere gleam over a dark one.
  const bool isDark = ui::isDarkPalette(palette);
  QLinearGradient gradient(frame.topLeft(), frame.bottomLeft());
  gradient.setColorAt(0, QColor(255, 255, 255, isDark ? 20 : 235));
  gradient.setColorAt(1, QColor(255, 255, 255, isDark ? 0 : 90));
  painter.fillRect(frame, gradient);

  const QRectF titleRect = titleRectForBounds(frame);
  const Qt::Alignment side = isRTL ? Qt::AlignRight : Qt::AlignLeft;
  const int direction = isRTL ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight;
  const QFont titleFont = SFont::sharedInstance().fontWithPixelSize(12, true);
  painter.setFont(titleFont);
  painter.setPen(ui::namedColor(QStringLiteral("ItemText"), palette));
  const QString line = QFontMetricsF(titleFont).elidedText(title, lineBreakMode, titleRect.width());
  painter.drawText(titleRect, int(side | Qt::AlignAbsolute | Qt::AlignTop) | direction | Qt::TextSingleLine, line);

  if (!image.isNull()) {
    QRectF target(QPointF(0, 0), QSizeF(ui::imageSize(image)));
    target.moveCenter(titleRect.center() - QPointF(0, 3));
    ui::drawImage(painter, target, image);
  }
  if (columnPriority == 0) {
    const QRectF mark = sortIndicatorRectForBounds(frame).adjusted(0, 1, 0, -1);
    const qreal apex = isAscending ? mark.top() : mark.bottom();
    const qreal base = isAscending ? mark.bottom() : mark.top();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::gray);
    painter.drawPolygon(
        QPolygonF({QPointF(mark.left(), base), QPointF(mark.center().x(), apex), QPointF(mark.right(), base)}));
  }
  painter.restore();
}

void BrowserHeaderCell::drawSortIndicatorWithFrame(bool ascending, qint64 priority) {
  isAscending = ascending;
  columnPriority = priority;
}

QRectF BrowserHeaderCell::sortIndicatorRectForBounds(const QRectF& frame) const {
  return {frame.right() - kTitleInset - kIndicatorWidth, frame.center().y() - kIndicatorHeight / 2, kIndicatorWidth,
          kIndicatorHeight};
}

QRectF BrowserHeaderCell::titleRectForBounds(const QRectF& frame) const {
  const qreal mark = columnPriority == 0 ? kIndicatorWidth + kTitleInset : 0;
  return {frame.left() + kTitleInset + indent, frame.top() + kTitleTop,
          qMax<qreal>(0, frame.width() - 2 * kTitleInset - mark), qMax<qreal>(0, frame.height() - kTitleTop)};
}
