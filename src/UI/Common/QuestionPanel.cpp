#include "UI/Common/QuestionPanel.h"

#include "Platform/MainThread.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QHideEvent>

namespace ui {

QuestionPanel::QuestionPanel(QWidget* parent)
    : OverlayPanel(parent)
    , _waitingCondition(std::make_shared<ModalQuestion>())
    , m_content(new QWidget(this)) {
  m_content->hide();
  // The threads that wait are waited for when the program ends.
  connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] { _waitingCondition->close(); });
}

QuestionPanel::~QuestionPanel() {
  platform::assertMainThread();
  _waitingCondition->close();
}

void QuestionPanel::cancelQuestion() {
  _waitingCondition->cancel();
}

bool QuestionPanel::isAsking() const {
  return _waitingCondition->isOpen();
}

bool QuestionPanel::isReachable() const {
  return m_content->isVisible() && !m_isGoing;
}

void QuestionPanel::becomeReachable() {
  platform::assertMainThread();
  m_isGoing = false;
  show();
  raise(); // above the cover that keeps the rest of the window still
  m_content->show();
  if (!isVisible()) {
    cancelQuestion();
    return;
  }
  QAccessibleEvent opened(this, QAccessible::DialogStart);
  QAccessible::updateAccessibility(&opened);
}

void QuestionPanel::becomeUnreachable() {
  m_isGoing = true;
  QAccessibleEvent closed(this, QAccessible::DialogEnd);
  QAccessible::updateAccessibility(&closed);
}

void QuestionPanel::slideFinished() {
  if (m_isGoing)
    m_content->hide();
}

void QuestionPanel::hideEvent(QHideEvent* event) {
  OverlayPanel::hideEvent(event);
  if (!event->spontaneous())
    cancelQuestion();
}

void QuestionPanel::resizeEvent(QResizeEvent* event) {
  OverlayPanel::resizeEvent(event);
  m_content->setGeometry(rect());
}

} // namespace ui
