#include "UI/Controls/SGhostView.h"

#include "Platform/MainThread.h"
#include "UI/Common/Accessibility.h"
#include "UI/Common/InputEvents.h"
#include "UI/Common/OverlayPanel.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>

namespace {

/// The events the cover keeps from what lies below it.
bool isInput(QEvent::Type type) {
  return ui::isPointerEvent(type) || ui::isKeyEvent(type);
}

} // namespace

SGhostView::SGhostView(QWidget* parent)
    : QWidget(parent) {
  platform::assertMainThread();
  ui::installAccessibility();
  setAcceptDrops(true);
  setMouseTracking(true);
  setFocusPolicy(Qt::NoFocus); // takes the keyboard when told to; a click on it must not take it from a panel above
}

void SGhostView::setOwnerDelegate(QObject* receiver) {
  platform::assertMainThread();
  _pEventReceiver = receiver;
}

int SGhostView::runViewModalWithParam(const QVariant&, QVariant*) {
  return 1;
}

bool SGhostView::event(QEvent* event) {
  if (isInput(event->type())) {
    if (auto* receiver = dynamic_cast<SGhostViewDelegate*>(_pEventReceiver.data())) {
      receiver->ghostViewEvent(*event);
    }
    event->accept();
    return true;
  }
  if (event->type() == QEvent::ContextMenu) {
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

void SGhostView::paintEvent(QPaintEvent* event) {
  QPainter(this).fillRect(event->rect(), QColor::fromRgbF(0.9F, 0.9F, 0.9F, 0.3F));
}
