#include "UI/Common/ElidedLabel.h"

#include "UI/Common/DisplayText.h"
#include "UI/Common/Images.h"

#include <QFontInfo>
#include <QPainter>

namespace ui {

ElidedLabel::ElidedLabel(QWidget* parent)
    : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QString ElidedLabel::shownText() const {
  return fontMetrics().elidedText(singleLineText(text()), Qt::ElideRight, contentsRect().width());
}

QSize ElidedLabel::sizeHint() const {
  return {fontMetrics().horizontalAdvance(singleLineText(text())), minimumSizeHint().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
  // The same for every text: names come in any script, and the fonts that stand in for it are higher than this one.
  constexpr double linesHeight = 1.6;
  return {0, qMax(fontMetrics().height(), qRound(linesHeight * QFontInfo(font()).pixelSize()))};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setPen(namedColor(QStringLiteral("ItemText"), palette()));
  const int direction = isRightToLeft() ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight;
  const Qt::Alignment side = isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
  painter.drawText(contentsRect(), int(side | Qt::AlignAbsolute | Qt::AlignVCenter) | direction | Qt::TextSingleLine,
                   shownText());
}

} // namespace ui
