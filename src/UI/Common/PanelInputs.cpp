#include "UI/Common/PanelInputs.h"

#include "UI/Common/Images.h"
#include "UI/Common/SFont.h"

#include <QPainter>
#include <QPainterPath>

namespace ui {

namespace {

constexpr qreal kRadius = 5;
constexpr int kBox = 16;
constexpr int kGap = 8;

QPen framePen(const QWidget& widget) {
  return widget.hasFocus() ? QPen(namedColor(QStringLiteral("FocusLine"), widget.palette()), 2)
                           : QPen(namedColor(QStringLiteral("ButtonFrame"), widget.palette()), 1);
}

} // namespace

PanelField::PanelField(QWidget* parent)
    : QLineEdit(parent) {
  setFont(SFont::sharedInstance().fontWithPixelSize(13, false));
  setFrame(false);
  setTextMargins(8, 6, 8, 6);
}

void PanelField::paintEvent(QPaintEvent* event) {
  QLineEdit::paintEvent(event);
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QPen pen = framePen(*this);
  const qreal inset = pen.widthF() / 2;
  const QRectF frame = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
  // What lies outside the rounded frame is the panel's.
  QPainterPath corners;
  corners.addRect(rect());
  QPainterPath inside;
  inside.addRoundedRect(frame, kRadius, kRadius);
  painter.fillPath(corners - inside, palette().color(QPalette::Window));
  painter.setPen(pen);
  painter.drawRoundedRect(frame, kRadius, kRadius);
}

PanelCheckBox::PanelCheckBox(QWidget* parent)
    : QCheckBox(parent) {
  setFont(SFont::sharedInstance().fontWithPixelSize(13, false));
}

QSize PanelCheckBox::sizeHint() const {
  return {kBox + kGap + fontMetrics().boundingRect(QRect(0, 0, 10'000, 100), 0, text()).width() + 2,
          qMax(kBox + 4, fontMetrics().height() + 4)};
}

bool PanelCheckBox::hitButton(const QPoint& point) const {
  return rect().contains(point);
}

void PanelCheckBox::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const bool isRTL = isRightToLeft();
  QRectF box(isRTL ? width() - kBox - 1 : 1, (height() - kBox) / 2.0, kBox, kBox);
  const QRectF frame = box.adjusted(0.5, 0.5, -0.5, -0.5);
  const QString fill = isChecked() ? QStringLiteral("ButtonPrimary") : QStringLiteral("ButtonPlain");
  painter.setBrush(namedColor(fill, palette()));
  painter.setPen(framePen(*this));
  painter.drawRoundedRect(frame, 3.5, 3.5);
  if (isChecked()) {
    QPainterPath mark(box.topLeft() + QPointF(4, 8.2));
    mark.lineTo(box.topLeft() + QPointF(7, 11.2));
    mark.lineTo(box.topLeft() + QPointF(12, 5));
    painter.strokePath(mark, QPen(Qt::white, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  }
  painter.setPen(namedColor(QStringLiteral("ItemText"), palette()));
  const QRect title = isRTL ? rect().adjusted(0, 0, -kBox - kGap, 0) : rect().adjusted(kBox + kGap, 0, 0, 0);
  painter.drawText(title, int(Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextHideMnemonic), text());
}

} // namespace ui
