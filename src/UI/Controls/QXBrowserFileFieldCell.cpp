#include "UI/Controls/QXBrowserFileFieldCell.h"

#include "UI/Common/DisplayText.h"
#include "UI/Common/Images.h"
#include "UI/Common/LayoutDirection.h"
#include "UI/Common/SFont.h"
#include "UI/Controls/SOutlineHeaderView.h"
#include "UI/Controls/SOutlineView.h"

#include <QPainter>

#include <cmath>

namespace {

constexpr qreal kIconPlace = 25;
constexpr qreal kIconSide = 22;
constexpr qreal kIconOffset = 24;
constexpr qreal kTextInset = 3;
constexpr qreal kTextHeight = 18;
constexpr qreal kTextRoomRTL = 28;

QFont textFont() {
  return SFont::sharedInstance().fontWithPixelSize(12, false);
}

/// A cell's rectangle without the spacing that ends every column.
QRectF cellBounds(const QStyleOptionViewItem& option) {
  const bool endsLeft = option.direction == Qt::RightToLeft;
  const int spacing = SOutlineHeaderView::kColumnSpacing;
  return QRectF(option.rect).adjusted(endsLeft ? spacing : 0, 0, endsLeft ? 0 : -spacing, 0);
}

QSize textSize(const QString& text) {
  const qreal width = QFontMetricsF(textFont()).horizontalAdvance(ui::singleLineText(text));
  return {int(std::ceil(width + 2 * kTextInset)), SOutlineView::kRowHeight};
}

} // namespace

SOutlineTextCell::SOutlineTextCell(QObject* parent)
    : QStyledItemDelegate(parent)
    , isRTL(ui::isRTLLayout()) {}

void SOutlineTextCell::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  // A text may run on into the spacing: the largest size needs it.
  drawText(textRectForFrame(QRectF(option.rect)), index.data(Qt::DisplayRole).toString(), *painter, option.palette);
}

QSize SOutlineTextCell::sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const {
  return textSize(index.data(Qt::DisplayRole).toString());
}

QRectF SOutlineTextCell::textRectForFrame(const QRectF& frame) const {
  const qreal left = isRTL ? frame.left() : frame.left() + kTextInset;
  return {left, frame.top() + kTextInset, qMax<qreal>(0, frame.width() - kTextInset), kTextHeight};
}

void SOutlineTextCell::drawText(const QRectF& rect, const QString& title, QPainter& painter,
                                const QPalette& palette) const {
  if (rect.isEmpty()) {
    return;
  }
  const QFont font = textFont();
  const QString line = QFontMetricsF(font).elidedText(ui::singleLineText(title), Qt::ElideRight, rect.width());
  const Qt::Alignment side = isRTL ? Qt::AlignRight : Qt::AlignLeft;
  const int direction = isRTL ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight;
  painter.save();
  // Piled up accents would stand in the rows above and below.
  painter.setClipRect(rect.adjusted(0, -kTextInset, 0, SOutlineView::kRowHeight - kTextInset - kTextHeight),
                      Qt::IntersectClip);
  painter.setFont(font);
  painter.setPen(ui::namedColor(QStringLiteral("ItemText"), palette));
  painter.drawText(rect, int(side | Qt::AlignAbsolute | Qt::AlignTop) | direction | Qt::TextSingleLine, line);
  painter.restore();
}

QXBrowserFileFieldCell::QXBrowserFileFieldCell(QObject* parent)
    : SOutlineTextCell(parent) {}

QRectF QXBrowserFileFieldCell::titleRectForBounds(const QRectF& bounds) const {
  return bounds.adjusted(kIconPlace, 0, 0, 0);
}

QRectF QXBrowserFileFieldCell::imageRectForFrame(const QRectF& frame) const {
  return {(isRTL ? frame.right() : frame.left()) - kIconOffset, frame.top(), kIconSide, kIconSide};
}

QRectF QXBrowserFileFieldCell::textRectForFrame(const QRectF& frame) const {
  return {frame.left() + kTextInset, frame.top() + kTextInset,
          qMax<qreal>(0, frame.width() - (isRTL ? kTextRoomRTL : 0)), kTextHeight};
}

void QXBrowserFileFieldCell::drawWithFrame(const QRectF& frame, QPainter& painter, const QPalette& palette) const {
  if (!image.isNull()) {
    const QRectF target = imageRectForFrame(frame);
    if (drawsBackground) {
      painter.fillRect(target, Qt::red);
    }
    ui::drawImage(painter, target, image);
  }
  drawText(textRectForFrame(frame), title, painter, palette);
}

QSize QXBrowserFileFieldCell::cellSize() const {
  return textSize(title) + QSize(int(kTextInset) + (image.isNull() ? 0 : int(kIconSide)), 0);
}

bool QXBrowserFileFieldCell::hitTestForEvent(const QPointF& point, const QRectF& frame) const {
  if (!image.isNull() && imageRectForFrame(frame).contains(point)) {
    return true;
  }
  QRectF text = textRectForFrame(frame);
  const qreal unused = text.width() - QFontMetricsF(textFont()).horizontalAdvance(ui::singleLineText(title));
  if (unused > 0) {
    text.adjust(isRTL ? unused : 0, 0, isRTL ? 0 : -unused, 0);
  }
  return text.contains(point);
}

std::unique_ptr<QXBrowserFileFieldCell> QXBrowserFileFieldCell::copyWithZone() const {
  auto copy = std::make_unique<QXBrowserFileFieldCell>();
  copy->isRTL = isRTL;
  copy->image = image;
  copy->title = title;
  copy->drawsBackground = drawsBackground;
  return copy;
}

void QXBrowserFileFieldCell::setRow(const QModelIndex& index) const {
  image = index.data(Qt::DecorationRole).value<QIcon>();
  title = index.data(Qt::DisplayRole).toString();
}

void QXBrowserFileFieldCell::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
  setRow(index);
  const QRectF bounds = cellBounds(option);
  drawWithFrame(isRTL ? bounds : titleRectForBounds(bounds), *painter, option.palette);
}

QSize QXBrowserFileFieldCell::sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const {
  setRow(index);
  return cellSize();
}

void QXBrowserFileFieldCell::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                                  const QModelIndex&) const {
  editor->setGeometry(option.rect.adjusted(int(kIconPlace), 0, 0, 0));
}
