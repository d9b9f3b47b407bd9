#include "UI/Controls/SGhostView.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QShortcut>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

class Receiver : public QObject, public SGhostViewDelegate {
public:
  bool ghostViewEvent(QEvent& event) override {
    events.push_back(event.type());
    return handles;
  }
  int count(QEvent::Type type) const { return int(std::count(events.begin(), events.end(), type)); }

  bool handles = true;
  std::vector<QEvent::Type> events;
};

/// What lies below the cover; counts the events that get through.
class Below : public QWidget {
public:
  using QWidget::QWidget;
  bool event(QEvent* event) override {
    const bool isInput = event->type() == QEvent::MouseButtonPress || event->type() == QEvent::KeyPress ||
                         event->type() == QEvent::Wheel || event->type() == QEvent::ContextMenu;
    inputs += isInput ? 1 : 0;
    return QWidget::event(event);
  }
  int inputs = 0;
};

class SGhostViewCover : public testing::Test {
protected:
  void SetUp() override {
    m_window.resize(200, 100);
    m_ghost.setGeometry(m_window.rect());
    m_window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_window));
  }
  void sendWheel() {
    QWheelEvent wheel(QPointF(5, 5), QPointF(5, 5), QPoint(0, 10), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&m_ghost, &wheel);
  }

  Below m_window;
  Receiver m_receiver;
  SGhostView m_ghost{&m_window};
};

} // namespace

TEST_F(SGhostViewCover, PassesMouseWheelAndKeyEventsToTheReceiver) {
  m_ghost.setOwnerDelegate(&m_receiver);
  QTest::mouseMove(&m_ghost, QPoint(3, 3));
  QTest::mouseMove(&m_ghost, QPoint(9, 9));
  for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton}) {
    QTest::mouseClick(&m_ghost, button);
  }
  sendWheel();
  m_ghost.setFocus();
  QTest::keyClick(&m_ghost, Qt::Key_Escape);
  QTest::keyClick(&m_ghost, Qt::Key_Return);
  EXPECT_EQ(m_receiver.count(QEvent::MouseButtonPress), 3);
  EXPECT_EQ(m_receiver.count(QEvent::MouseButtonRelease), 3);
  EXPECT_GE(m_receiver.count(QEvent::MouseMove), 1);
  EXPECT_EQ(m_receiver.count(QEvent::Wheel), 1);
  EXPECT_EQ(m_receiver.count(QEvent::KeyPress), 2);
  EXPECT_EQ(m_receiver.count(QEvent::KeyRelease), 2);
  EXPECT_EQ(m_window.inputs, 0);
}

TEST_F(SGhostViewCover, PassesEnteringAndLeavingToTheReceiver) {
  m_ghost.setOwnerDelegate(&m_receiver);
  QEnterEvent enter(QPointF(5, 5), QPointF(5, 5), QPointF(5, 5));
  QCoreApplication::sendEvent(&m_ghost, &enter);
  QEvent leave(QEvent::Leave);
  QCoreApplication::sendEvent(&m_ghost, &leave);
  EXPECT_EQ(m_receiver.count(QEvent::Enter), 1);
  EXPECT_EQ(m_receiver.count(QEvent::Leave), 1);
}

TEST_F(SGhostViewCover, DropsEventsTheReceiverDoesNotHandle) {
  m_receiver.handles = false;
  m_ghost.setOwnerDelegate(&m_receiver);
  QTest::mouseClick(&m_ghost, Qt::LeftButton);
  QTest::keyClick(&m_ghost, Qt::Key_A);
  EXPECT_EQ(m_window.inputs, 0);
}

TEST_F(SGhostViewCover, DropsEventsWithoutAReceiver) {
  QTest::mouseClick(&m_ghost, Qt::LeftButton);
  QTest::keyClick(&m_ghost, Qt::Key_A);
  sendWheel();
  QContextMenuEvent menu(QContextMenuEvent::Mouse, QPoint(5, 5), QPoint(5, 5));
  QCoreApplication::sendEvent(&m_ghost, &menu);
  EXPECT_EQ(m_window.inputs, 0);
}

TEST_F(SGhostViewCover, ForgetsAReceiverThatIsDestroyedOrTakenAway) {
  {
    Receiver gone;
    m_ghost.setOwnerDelegate(&gone);
  }
  QTest::mouseClick(&m_ghost, Qt::LeftButton);
  m_ghost.setOwnerDelegate(&m_receiver);
  m_ghost.setOwnerDelegate(nullptr);
  QTest::mouseClick(&m_ghost, Qt::LeftButton);
  EXPECT_TRUE(m_receiver.events.empty());
}

TEST_F(SGhostViewCover, TakesAnObjectThatIsNoReceiverForNobody) {
  QObject stranger;
  m_ghost.setOwnerDelegate(&stranger);
  QTest::mouseClick(&m_ghost, Qt::LeftButton);
  EXPECT_EQ(m_window.inputs, 0);
}

TEST_F(SGhostViewCover, RefusesEveryDrag) {
  ASSERT_TRUE(m_ghost.acceptDrops());
  QMimeData data;
  data.setUrls({QUrl("file:///tmp/x")});
  data.setText("x");
  QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(&m_ghost, &enter);
  EXPECT_FALSE(enter.isAccepted());
  QDragMoveEvent move(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(&m_ghost, &move);
  EXPECT_FALSE(move.isAccepted());
  QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(&m_ghost, &drop);
  EXPECT_FALSE(drop.isAccepted());
}

TEST_F(SGhostViewCover, TakesTheKeyboardFocus) {
  m_ghost.setFocus();
  EXPECT_TRUE(m_ghost.hasFocus());
  QTest::keyClick(&m_ghost, Qt::Key_Tab);
  EXPECT_TRUE(m_ghost.hasFocus());
}

TEST_F(SGhostViewCover, IsALightVeil) {
  m_ghost.hide();
  QPalette black;
  black.setColor(QPalette::Window, Qt::black);
  m_window.setPalette(black);
  m_ghost.show();
  // White 0.9 at 0.3 over black.
  EXPECT_NEAR(m_window.grab().toImage().pixelColor(50, 50).red(), 0.9 * 0.3 * 255, 2);
}

TEST_F(SGhostViewCover, AsksNothing) {
  QVariant result = 7;
  int answer = 0;
  std::thread([&] { answer = m_ghost.runViewModalWithParam({}, &result); }).join();
  EXPECT_EQ(answer, 1);
  EXPECT_EQ(result, 7);
  m_ghost.animationHidden(true, {});
  EXPECT_TRUE(m_ghost.isVisible());
}

TEST_F(SGhostViewCover, DoesNotTakeTheKeyboardFromAPanelWhenItIsClicked) {
  QWidget panel(&m_window);
  panel.show();
  panel.setFocus();
  QTest::mouseClick(&m_ghost, Qt::LeftButton);
  EXPECT_TRUE(panel.hasFocus());
}

TEST_F(SGhostViewCover, KeepsPlainKeysFromTheWindowsShortcuts) {
  QShortcut rename(QKeySequence(Qt::Key_F2), &m_window);
  QShortcut quit(QKeySequence(Qt::CTRL | Qt::Key_Q), &m_window);
  QSignalSpy renamed(&rename, &QShortcut::activated);
  QSignalSpy left(&quit, &QShortcut::activated);
  m_ghost.setFocus();
  QTest::keyClick(&m_ghost, Qt::Key_F2);
  QTest::keyClick(&m_ghost, Qt::Key_Q, Qt::ControlModifier);
  EXPECT_EQ(renamed.size(), 0);
  EXPECT_EQ(left.size(), 1);
}
