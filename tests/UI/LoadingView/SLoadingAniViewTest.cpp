#include "UI/LoadingView/SLoadingAniView.h"

#include <QDragEnterEvent>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

class Below : public QWidget {
public:
  bool event(QEvent* event) override {
    const bool isInput = event->type() == QEvent::MouseButtonPress || event->type() == QEvent::KeyPress ||
                         event->type() == QEvent::Wheel || event->type() == QEvent::ContextMenu;
    inputs += isInput ? 1 : 0;
    return QWidget::event(event);
  }
  int inputs = 0;
};

class LoadingCover : public testing::Test {
protected:
  void SetUp() override {
    m_window.resize(300, 300);
    m_view.setGeometry(m_window.rect());
    m_window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_window));
  }

  Below m_window;
  SLoadingAniView m_view{&m_window};
};

} // namespace

TEST_F(LoadingCover, SwallowsMouseWheelAndKeys) {
  m_view.setFocus();
  ASSERT_TRUE(m_view.hasFocus());
  QTest::mouseClick(&m_view, Qt::LeftButton);
  QTest::mouseClick(&m_window, Qt::LeftButton, {}, QPoint(150, 150)); // on the picture in the middle
  m_window.inputs = 0;
  QTest::mouseDClick(&m_view, Qt::LeftButton);
  QTest::keyClick(&m_view, Qt::Key_Return);
  QTest::keyClick(&m_view, Qt::Key_Tab);
  QWheelEvent wheel(QPointF(5, 5), QPointF(5, 5), QPoint(0, 10), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                    Qt::NoScrollPhase, false);
  QCoreApplication::sendEvent(&m_view, &wheel);
  QContextMenuEvent menu(QContextMenuEvent::Mouse, QPoint(5, 5), QPoint(5, 5));
  QCoreApplication::sendEvent(&m_view, &menu);
  EXPECT_EQ(m_window.inputs, 0);
  EXPECT_TRUE(m_view.hasFocus());
}

TEST_F(LoadingCover, LetsNothingBeDropped) {
  ASSERT_TRUE(m_view.acceptDrops());
  QMimeData data;
  data.setUrls({QUrl("file:///tmp/x")});
  QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(&m_view, &enter);
  EXPECT_FALSE(enter.isAccepted());
}

TEST_F(LoadingCover, IsAGreyVeil) {
  QPalette black;
  black.setColor(QPalette::Window, Qt::black);
  m_window.setPalette(black);
  EXPECT_NEAR(m_window.grab().toImage().pixelColor(5, 5).red(), 0.7 * 0.5 * 255, 2);
}

TEST_F(LoadingCover, HoldsThePicturesInItsMiddle) {
  m_view.resize(500, 400);
  EXPECT_EQ(m_view.aniCircle()->geometry().center(), m_view.rect().center());
  EXPECT_EQ(m_view.circleBase()->geometry(), m_view.aniCircle()->geometry());
}

TEST_F(LoadingCover, TellsWhenItComesIntoSightAndGoes) {
  QSignalSpy changed(&m_view, &SLoadingAniView::visibilityChanged);
  m_view.hide();
  m_view.show();
  ASSERT_EQ(changed.size(), 2);
  EXPECT_FALSE(changed[0][0].toBool());
  EXPECT_TRUE(changed[1][0].toBool());
}
