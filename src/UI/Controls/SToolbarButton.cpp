#include "UI/Controls/SToolbarButton.h"

#include "Platform/MainThread.h"
#include "UI/Common/Accessibility.h"
#include "UI/Common/BottomLeft.h"
#include "UI/Common/Images.h"
#include "UI/Common/SFont.h"

#include <QAccessible>
#include <QPainter>

namespace {

constexpr qreal kTitleLeft = 6;
constexpr int kTitleRoom = 15;
constexpr qreal kBackgroundOpacity = 0.8;

/// Draws the end pictures in their own widths and the middle one stretched between them.
void drawThreePartImage(QPainter& painter, const QRectF& bounds, const QIcon& left, const QIcon& center,
                        const QIcon& right) {
  const qreal leftWidth = qMin<qreal>(ui::imageSize(left).width(), bounds.width() / 2);
  const qreal rightWidth = qMin<qreal>(ui::imageSize(right).width(), bounds.width() / 2);
  ui::drawImage(painter, QRectF(bounds.left(), bounds.top(), leftWidth, bounds.height()), left);
  ui::drawImage(painter, bounds.adjusted(leftWidth, 0, -rightWidth, 0), center);
  ui::drawImage(painter, QRectF(bounds.right() - rightWidth, bounds.top(), rightWidth, bounds.height()), right);
}

} // namespace

SToolbarButton::SToolbarButton(QWidget* parent)
    : QAbstractButton(parent) {
  platform::assertMainThread();
  ui::installAccessibility();
  _left = ui::namedImage(QStringLiteral("progress_left_bg"));
  _center = ui::namedImage(QStringLiteral("progress_middle_bg"));
  _right = ui::namedImage(QStringLiteral("progress_right_bg"));
  setFont(SFont::sharedInstance().fontWithPixelSize(13, true));
  setFocusPolicy(Qt::TabFocus);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void SToolbarButton::setIsSelected(bool isSelected) {
  platform::assertMainThread();
  if (_isSelected == isSelected) {
    return;
  }
  _isSelected = isSelected;
  update();
  QAccessible::State changed;
  changed.checked = true;
  QAccessibleStateChangeEvent event(this, changed);
  QAccessible::updateAccessibility(&event);
}

QSize SToolbarButton::sizeHint() const {
  const QFontMetrics metrics(font());
  return {metrics.horizontalAdvance(text()) + kTitleRoom, metrics.height() + 4};
}

void SToolbarButton::enterEvent(QEnterEvent* event) {
  _isOver = isActiveWindow();
  update();
  QAbstractButton::enterEvent(event);
}

void SToolbarButton::leaveEvent(QEvent* event) {
  _isOver = false;
  update();
  QAbstractButton::leaveEvent(event);
}

bool SToolbarButton::event(QEvent* event) {
  const bool handled = QAbstractButton::event(event);
  if (event->type() == QEvent::ParentChange || event->type() == QEvent::WindowActivate ||
      event->type() == QEvent::WindowDeactivate) {
    viewDidMoveToWindow();
  }
  return handled;
}

void SToolbarButton::viewDidMoveToWindow() {
  _isOver = isActiveWindow() && underMouse();
  update();
}

void SToolbarButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  if (_isOver || _isSelected) {
    painter.setOpacity(kBackgroundOpacity);
    drawThreePartImage(painter, QRectF(rect()), _left, _center, _right);
    painter.setOpacity(1);
  }
  drawTitle(painter);
  if (hasFocus()) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ui::namedColor(QStringLiteral("FocusLine"), palette()), 1.5));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
  }
}

void SToolbarButton::drawTitle(QPainter& painter) const {
  const QColor selectedColor(25, 177, 242);
  const QFontMetricsF metrics(font());
  const QSizeF measured = metrics.size(Qt::TextSingleLine, text());
  painter.setFont(font());
  painter.setPen(_isSelected ? selectedColor : ui::namedColor(QStringLiteral("ItemText"), palette()));
  painter.setOpacity(isEnabled() ? 1.0 : 0.4);
  painter.drawText(ui::fromBottomLeft(height(), kTitleLeft, 0, measured.width(), measured.height()),
                   int(Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextDontClip), text());
  painter.setOpacity(1);
}
