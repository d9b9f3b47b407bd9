#include "UI/Controls/SMTPButton.h"

#include "Platform/MainThread.h"
#include "UI/Common/Images.h"

#include <QEvent>
#include <QFocusEvent>
#include <QPainter>

SMTPButton::SMTPButton(QWidget* parent)
    : QAbstractButton(parent) {
  platform::assertMainThread();
}

void SMTPButton::setButtonWithImageName(const QString& imageName, const QString& alternateImageName,
                                        const QString& overImgaeName) {
  platform::assertMainThread();
  if (!imageName.isEmpty()) {
    _normalImage = m_image = ui::namedImage(imageName);
  }
  if (!alternateImageName.isEmpty()) {
    _selectImage = m_alternateImage = ui::namedImage(alternateImageName);
  }
  if (!overImgaeName.isEmpty()) {
    _overImage = ui::namedImage(overImgaeName);
  }
  m_tracksMouse = true;
  updateGeometry();
  update();
}

QSize SMTPButton::sizeHint() const {
  return ui::imageSize(_normalImage).expandedTo(QSize(1, 1));
}

void SMTPButton::enterEvent(QEnterEvent* event) {
  if (m_tracksMouse && isEnabled() && isActiveWindow()) {
    m_image = _overImage.isNull() ? _normalImage : _overImage;
    update();
  }
  QAbstractButton::enterEvent(event);
}

void SMTPButton::leaveEvent(QEvent* event) {
  if (m_tracksMouse && isEnabled()) {
    m_image = _normalImage;
    update();
  }
  QAbstractButton::leaveEvent(event);
}

bool SMTPButton::event(QEvent* event) {
  const bool handled = QAbstractButton::event(event);
  const bool isActivation = event->type() == QEvent::WindowActivate || event->type() == QEvent::WindowDeactivate;
  if (isActivation && m_tracksMouse && isEnabled()) {
    m_image = isActiveWindow() && underMouse() && !_overImage.isNull() ? _overImage : _normalImage;
    update();
  }
  return handled;
}

void SMTPButton::changeEvent(QEvent* event) {
  // Disabled under the pointer, the button gets no leave event to take the hovered picture back.
  if (event->type() == QEvent::EnabledChange && !isEnabled()) {
    m_image = _normalImage;
  }
  QAbstractButton::changeEvent(event);
}

void SMTPButton::focusInEvent(QFocusEvent* event) {
  m_isMarked = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason ||
               event->reason() == Qt::ShortcutFocusReason;
  QAbstractButton::focusInEvent(event);
}

void SMTPButton::focusOutEvent(QFocusEvent* event) {
  m_isMarked = false;
  QAbstractButton::focusOutEvent(event);
}

void SMTPButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const bool isPressed = isDown() && !m_alternateImage.isNull();
  // No ring marks the keyboard focus: the button looks as it does below the pointer.
  const bool isMarked = m_isMarked && isEnabled() && !_overImage.isNull();
  ui::drawImage(painter, QRectF(rect()), isPressed ? m_alternateImage : isMarked ? _overImage : m_image);
}
