#include "UI/Controls/SMTPButton.h"

#include "UI/Common/Images.h"
#include "support/Clicks.h"

#include <QPixmap>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace {

QIcon plain(Qt::GlobalColor color) {
  QPixmap pixmap(8, 8);
  pixmap.fill(color);
  return QIcon(pixmap);
}

class SMTPButtonPictures : public testing::Test {
protected:
  void SetUp() override {
    ui::registerNamedImage("button_normal", plain(Qt::green));
    ui::registerNamedImage("button_pressed", plain(Qt::red));
    ui::registerNamedImage("button_over", plain(Qt::cyan));
    m_window.resize(200, 100);
    m_button.setGeometry(20, 20, 60, 30);
    m_window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_window));
  }
  void enter() {
    QEnterEvent event(QPointF(5, 5), QPointF(5, 5), QPointF(5, 5));
    QCoreApplication::sendEvent(&m_button, &event);
  }
  void leave() {
    QEvent event(QEvent::Leave);
    QCoreApplication::sendEvent(&m_button, &event);
  }
  QColor shown(int x = 30, int y = 15) { return m_button.grab().toImage().pixelColor(x, y); }

  QWidget m_window;
  SMTPButton m_button{&m_window};
};

} // namespace

TEST_F(SMTPButtonPictures, ThatAreOnlyNamedImagesStillLoad) {
  m_button.setButtonWithImageName("button_normal", "button_pressed", "button_over");
  EXPECT_FALSE(m_button.normalImage().isNull());
  EXPECT_FALSE(m_button.selectImage().isNull());
  EXPECT_FALSE(m_button.overImage().isNull());
  EXPECT_EQ(m_button.image().cacheKey(), m_button.normalImage().cacheKey());
  EXPECT_EQ(m_button.alternateImage().cacheKey(), m_button.selectImage().cacheKey());
}

TEST_F(SMTPButtonPictures, StayAsTheyAreWhereNoNameIsGiven) {
  m_button.setButtonWithImageName("button_normal", "button_pressed", "button_over");
  const qint64 pressed = m_button.selectImage().cacheKey();
  m_button.setButtonWithImageName("button_over", {}, {});
  EXPECT_EQ(m_button.selectImage().cacheKey(), pressed);
  EXPECT_EQ(shown(), QColor(Qt::cyan));
}

TEST_F(SMTPButtonPictures, AreStretchedOverTheWholeButton) {
  m_button.setButtonWithImageName("button_normal", {}, {});
  EXPECT_EQ(shown(0, 0), QColor(Qt::green));
  EXPECT_EQ(shown(59, 29), QColor(Qt::green));
}

TEST_F(SMTPButtonPictures, ChangeWhileThePointerIsInside) {
  m_button.setButtonWithImageName("button_normal", "button_pressed", "button_over");
  EXPECT_EQ(shown(), QColor(Qt::green));
  enter();
  EXPECT_EQ(shown(), QColor(Qt::cyan));
  leave();
  EXPECT_EQ(shown(), QColor(Qt::green));
}

TEST_F(SMTPButtonPictures, ChangeWhilePressed) {
  m_button.setButtonWithImageName("button_normal", "button_pressed", "button_over");
  QSignalSpy clicked(&m_button, &SMTPButton::clicked);
  QTest::mousePress(&m_button, Qt::LeftButton);
  EXPECT_EQ(shown(), QColor(Qt::red));
  QTest::mouseRelease(&m_button, Qt::LeftButton);
  EXPECT_EQ(shown(), QColor(Qt::green));
  EXPECT_EQ(clicked.size(), 1);
}

TEST_F(SMTPButtonPictures, StayNormalUnderThePointerWhileDisabled) {
  m_button.setButtonWithImageName("button_normal", "button_pressed", "button_over");
  m_button.setEnabled(false);
  enter();
  EXPECT_EQ(shown(), QColor(Qt::green));
  leave();
  EXPECT_EQ(shown(), QColor(Qt::green));
}

TEST_F(SMTPButtonPictures, GoBackToNormalWhenDisabledUnderThePointer) {
  m_button.setButtonWithImageName("button_normal", "button_pressed", "button_over");
  enter();
  m_button.setEnabled(false);
  EXPECT_EQ(shown(), QColor(Qt::green));
}

TEST_F(SMTPButtonPictures, DoNotChangeInAWindowThatIsNotTheActiveOne) {
  m_button.setButtonWithImageName("button_normal", "button_pressed", "button_over");
  QWidget other;
  other.show();
  other.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
  enter();
  EXPECT_EQ(shown(), QColor(Qt::green));
}

TEST_F(SMTPButtonPictures, ForTheDimmedStatesAreKeptButNotDrawn) {
  m_button.setButtonWithImageName("button_normal", {}, {});
  m_button.setDimImage(plain(Qt::yellow));
  m_button.setDimImagealternate(plain(Qt::blue));
  m_button.setEnabled(false);
  EXPECT_EQ(shown(), QColor(Qt::green));
  EXPECT_FALSE(m_button.dimImage().isNull());
  EXPECT_FALSE(m_button.dimImagealternate().isNull());
}

TEST(SMTPButton, WithoutPicturesDrawsNothingAndHasASize) {
  SMTPButton button;
  EXPECT_FALSE(button.sizeHint().isEmpty());
  button.resize(10, 10);
  button.grab();
}

TEST_F(SMTPButtonPictures, StaysVisibleUnderThePointerWithoutAHoveredPicture) {
  m_button.setButtonWithImageName("button_normal", {}, {});
  enter();
  EXPECT_EQ(shown(), QColor(Qt::green));
}

TEST_F(SMTPButtonPictures, ShowTheKeyboardFocus) {
  m_button.setButtonWithImageName("button_normal", "button_pressed", "button_over");
  m_button.clearFocus();
  m_button.setFocus(Qt::TabFocusReason);
  EXPECT_EQ(shown(), QColor(Qt::cyan));
  m_button.clearFocus();
  EXPECT_EQ(shown(), QColor(Qt::green));
}

TEST_F(SMTPButtonPictures, EveryClickCountsHoweverFast) {
  m_button.setButtonWithImageName("button_normal", "button_pressed", "button_over");
  QSignalSpy clicked(&m_button, &QAbstractButton::clicked);
  for (int i = 1; i <= 4; ++i) {
    testsupport::click(m_button, m_button.rect().center(), Qt::LeftButton, testsupport::kFast);
    EXPECT_EQ(clicked.count(), i);
  }
}

TEST_F(SMTPButtonPictures, TheHoveredOneGoesWhenTheWindowCeasesToBeTheActiveOne) {
  m_button.setButtonWithImageName("button_normal", "button_pressed", "button_over");
  enter();
  ASSERT_EQ(m_button.image().cacheKey(), m_button.overImage().cacheKey());
  QWidget other;
  other.show();
  other.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
  EXPECT_EQ(m_button.image().cacheKey(), m_button.normalImage().cacheKey());
}
