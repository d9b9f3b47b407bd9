#include "SBrowser/NavigationButton.h"

#include "Platform/MainThread.h"
#include "UI/Common/Images.h"

#include <QEvent>
#include <QPainter>

namespace {

constexpr int kSide = 30;
constexpr int kImageSide = 22;

QColor plateColor(const QPalette& palette, bool pressed) {
  if (ui::isDarkPalette(palette))
    return pressed ? QColor(90, 96, 104) : QColor(70, 75, 82);
  return pressed ? QColor(180, 180, 180) : QColor(200, 200, 200);
}

} // namespace

NavigationButton::NavigationButton(const QString& imageName, QWidget* parent)
    : QToolButton(parent)
    , m_image(ui::namedImage(imageName)) {
  platform::assertMainThread();
  setFocusPolicy(Qt::TabFocus);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize NavigationButton::sizeHint() const {
  return {kSide, kSide};
}

bool NavigationButton::event(QEvent* event) {
  if (event->type() == QEvent::Enter || event->type() == QEvent::Leave) {
    m_isHighlighted = event->type() == QEvent::Enter;
    update();
    Q_EMIT hovered(m_isHighlighted);
  } else if (event->type() == QEvent::EnabledChange) {
    update();
  }
  return QToolButton::event(event);
}

void NavigationButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF plate = QRectF(rect()).adjusted(1, 1, -1, -1);
  if (isEnabled() && (m_isHighlighted || isDown())) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(plateColor(palette(), isDown()));
    painter.drawRoundedRect(plate, 6, 6);
  }
  if (hasFocus()) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ui::namedColor(QStringLiteral("FocusLine"), palette()), 1));
    painter.drawRoundedRect(plate.adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
  }
  QRect image(0, 0, kImageSide, kImageSide);
  image.moveCenter(rect().center());
  if (!isEnabled())
    painter.setOpacity(0.35);
  m_image.paint(&painter, image);
}
