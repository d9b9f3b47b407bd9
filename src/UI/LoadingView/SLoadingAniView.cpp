#include "UI/LoadingView/SLoadingAniView.h"

#include "Platform/MainThread.h"
#include "UI/Common/Images.h"
#include "UI/Common/InputEvents.h"
#include "UI/Common/OverlayPanel.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>

namespace {

constexpr int kImageSide = 120;

bool isSwallowed(QEvent::Type type) {
  return ui::isPointerEvent(type) || ui::isKeyEvent(type) || type == QEvent::ContextMenu;
}

} // namespace

SImageView::SImageView(QWidget* parent)
    : QWidget(parent) {
  setAttribute(Qt::WA_TransparentForMouseEvents);
}

void SImageView::setImage(const QIcon& image) {
  m_image = image;
  update();
}

void SImageView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  m_image.paint(&painter, rect());
}

SLoadingAniView::SLoadingAniView(QWidget* parent)
    : QWidget(parent)
    , m_circleBase(new SImageView(this))
    , m_aniCircle(new SImageView(this)) {
  platform::assertMainThread();
  setAcceptDrops(true);
  setMouseTracking(true);
  setFocusPolicy(Qt::NoFocus); // takes the keyboard when told to; a click on it must not take it from a panel above
}

bool SLoadingAniView::event(QEvent* event) {
  if (isSwallowed(event->type())) {
    event->accept();
    return true;
  }
  if (event->type() == QEvent::ShortcutOverride && ui::keepsShortcut(*event)) {
    return true;
  }
  if (ui::isDragEvent(event->type())) {
    event->ignore();
    return true;
  }
  return QWidget::event(event);
}

void SLoadingAniView::paintEvent(QPaintEvent* event) {
  QPainter(this).fillRect(event->rect(), QColor::fromRgbF(0.7F, 0.7F, 0.7F, 0.5F));
}

void SLoadingAniView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  QRect middle(0, 0, kImageSide, kImageSide);
  middle.moveCenter(rect().center());
  m_circleBase->setGeometry(middle);
  m_aniCircle->setGeometry(middle);
}

void SLoadingAniView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  Q_EMIT visibilityChanged(true);
}

void SLoadingAniView::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  Q_EMIT visibilityChanged(false);
}
