#include "UI/Common/PanelButton.h"

#include "UI/Common/Images.h"
#include "UI/Common/SFont.h"

#include <QKeyEvent>
#include <QPainter>

namespace ui {

namespace {

constexpr int kHeight = 30;
constexpr int kLeastWidth = 84;
constexpr int kTitleRoom = 28;
constexpr qreal kRadius = 5;

} // namespace

PanelButton::PanelButton(Kind kind, QWidget* parent)
    : QPushButton(parent)
    , m_kind(kind) {
  setFont(SFont::sharedInstance().fontWithPixelSize(13, kind == Kind::Primary));
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
  setAttribute(Qt::WA_Hover);
}

QSize PanelButton::sizeHint() const {
  return {qMax(kLeastWidth, fontMetrics().horizontalAdvance(text()) + kTitleRoom), kHeight};
}

void PanelButton::keyPressEvent(QKeyEvent* event) {
  const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (!isReturn) {
    QPushButton::keyPressEvent(event);
  } else if (!event->isAutoRepeat()) {
    click();
  }
}

void PanelButton::paintEvent(QPaintEvent*) {
  const bool isPrimary = m_kind == Kind::Primary;
  QColor fill = namedColor(isPrimary ? QStringLiteral("ButtonPrimary") : QStringLiteral("ButtonPlain"), palette());
  if (isDown())
    fill = fill.darker(118);
  else if (underMouse() && isEnabled())
    fill = isDarkPalette(palette()) || isPrimary ? fill.lighter(112) : fill.darker(104);
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setOpacity(isEnabled() ? 1 : 0.4);
  const QRectF plate = QRectF(rect()).adjusted(2.5, 2.5, -2.5, -2.5);
  painter.setBrush(fill);
  painter.setPen(QPen(isPrimary ? fill.darker(112) : namedColor(QStringLiteral("ButtonFrame"), palette()), 1));
  painter.drawRoundedRect(plate, kRadius, kRadius);
  if (hasFocus()) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(namedColor(QStringLiteral("FocusLine"), palette()), 2));
    painter.drawRoundedRect(plate.adjusted(-1.5, -1.5, 1.5, 1.5), kRadius + 1.5, kRadius + 1.5);
  }
  painter.setPen(isPrimary ? QColor(Qt::white) : namedColor(QStringLiteral("ItemText"), palette()));
  painter.drawText(rect(), int(Qt::AlignCenter | Qt::TextSingleLine | Qt::TextHideMnemonic), text());
}

} // namespace ui
