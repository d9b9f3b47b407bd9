#include "UI/Controls/SToolbarButton.h"

#include "UI/Common/Images.h"
#include "UI/Common/SFont.h"
#include "support/Clicks.h"

#include <QAccessible>
#include <QEnterEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <cmath>

namespace {

class SToolbarButtonLook : public testing::Test {
protected:
  void SetUp() override {
    m_window.setAutoFillBackground(true);
    QPalette palette;
    palette.setColor(QPalette::Window, Qt::white);
    m_window.setPalette(palette);
    m_window.resize(300, 100);
    m_button.setText("Phone");
    m_button.setFocusPolicy(Qt::NoFocus);
    m_button.setGeometry(QRect(QPoint(10, 10), m_button.sizeHint()));
    m_window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_window));
  }
  QImage look() { return m_window.grab(m_button.geometry()).toImage(); }
  void enter() {
    QEnterEvent event(QPointF(5, 5), QPointF(5, 5), QPointF(5, 5));
    QCoreApplication::sendEvent(&m_button, &event);
  }
  void leave() {
    QEvent event(QEvent::Leave);
    QCoreApplication::sendEvent(&m_button, &event);
  }
  /// A pixel of the background beside the title.
  QColor background() { return look().pixelColor(2, m_button.height() / 2); }

  /// How many pixels of the title are near a colour.
  int pixelsLike(const QColor& color) {
    const QImage image = look();
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        const QColor pixel = image.pixelColor(x, y);
        const int distance = std::abs(pixel.red() - color.red()) + std::abs(pixel.green() - color.green()) +
                             std::abs(pixel.blue() - color.blue());
        count += distance < 24 ? 1 : 0;
      }
    }
    return count;
  }

  QWidget m_window;
  SToolbarButton m_button{&m_window};
};

const QColor kSelectedTitle(25, 177, 242);

} // namespace

TEST_F(SToolbarButtonLook, IsTheTitleAloneAtFirst) {
  EXPECT_EQ(background(), QColor(Qt::white));
  EXPECT_GT(pixelsLike(ui::namedColor("ItemText")), 10);
  EXPECT_EQ(pixelsLike(kSelectedTitle), 0);
}

TEST_F(SToolbarButtonLook, HasABackgroundWhileThePointerIsInside) {
  enter();
  EXPECT_TRUE(m_button.isOver());
  EXPECT_NE(background(), QColor(Qt::white));
  EXPECT_GT(pixelsLike(ui::namedColor("ItemText")), 10);
  leave();
  EXPECT_FALSE(m_button.isOver());
  EXPECT_EQ(background(), QColor(Qt::white));
}

TEST_F(SToolbarButtonLook, HasABackgroundAndABlueTitleWhileSelectedEvenWithoutThePointer) {
  m_button.setIsSelected(true);
  EXPECT_TRUE(m_button.isSelected());
  EXPECT_NE(background(), QColor(Qt::white));
  EXPECT_GT(pixelsLike(kSelectedTitle), 10);
  m_button.setIsSelected(false);
  EXPECT_EQ(background(), QColor(Qt::white));
  EXPECT_EQ(pixelsLike(kSelectedTitle), 0);
}

TEST_F(SToolbarButtonLook, DrawsTheThreePicturesAtFourFifthsAndStretchesTheMiddleOneOnly) {
  m_button.setText(QString());
  m_button.resize(120, 24);
  m_button.setIsSelected(true);
  const QIcon left = ui::namedImage("progress_left_bg");
  const QIcon middle = ui::namedImage("progress_middle_bg");
  const QIcon right = ui::namedImage("progress_right_bg");
  const int leftWidth = ui::imageSize(left).width();
  const int rightWidth = ui::imageSize(right).width();
  ASSERT_LT(leftWidth + rightWidth, 60);
  QImage expected(m_button.size(), QImage::Format_ARGB32_Premultiplied);
  expected.fill(Qt::white);
  QPainter painter(&expected);
  painter.setOpacity(0.8);
  ui::drawImage(painter, QRectF(0, 0, leftWidth, 24), left);
  ui::drawImage(painter, QRectF(leftWidth, 0, 120 - leftWidth - rightWidth, 24), middle);
  ui::drawImage(painter, QRectF(120 - rightWidth, 0, rightWidth, 24), right);
  painter.end();
  EXPECT_EQ(look().convertToFormat(QImage::Format_RGB32), expected.convertToFormat(QImage::Format_RGB32));
}

TEST_F(SToolbarButtonLook, DrawsTheTitleSixPointsFromTheLeftAtTheBottom) {
  const QImage image = look();
  QRect ink;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (image.pixelColor(x, y) != QColor(Qt::white)) {
        ink |= QRect(x, y, 1, 1);
      }
    }
  }
  const QFontMetrics metrics(m_button.font());
  EXPECT_NEAR(ink.left(), 6, 3);
  EXPECT_LE(ink.right(), 6 + metrics.horizontalAdvance("Phone"));
  // "Phone" has no descender: its foot is the descent above the bottom edge.
  EXPECT_NEAR(image.height() - 1 - ink.bottom(), metrics.descent(), 2);
}

TEST_F(SToolbarButtonLook, IsAsWideAsTheBoldTitleAndFifteenMore) {
  const QFontMetrics metrics(SFont::sharedInstance().fontWithPixelSize(13, true));
  EXPECT_EQ(m_button.sizeHint().width(), metrics.horizontalAdvance("Phone") + 15);
}

TEST_F(SToolbarButtonLook, ClicksByMouseAndKeyboard) {
  QSignalSpy clicked(&m_button, &SToolbarButton::clicked);
  QTest::mouseClick(&m_button, Qt::LeftButton);
  QTest::keyClick(&m_button, Qt::Key_Space);
  EXPECT_EQ(clicked.size(), 2);
}

TEST_F(SToolbarButtonLook, ShowsTheKeyboardFocus) {
  const QImage before = look();
  m_button.setFocusPolicy(Qt::TabFocus);
  m_button.setFocus();
  ASSERT_TRUE(m_button.hasFocus());
  EXPECT_NE(look(), before);
}

TEST_F(SToolbarButtonLook, IsDrawnAtAnySize) {
  m_button.setIsSelected(true);
  for (const QSize size : {QSize(0, 0), QSize(1, 1), QSize(3, 40), QSize(1000, 2)}) {
    m_button.resize(size);
    m_button.grab();
  }
  m_button.setText(QString(10000, u'x'));
  m_button.grab();
}

TEST_F(SToolbarButtonLook, IsAChosenOneOfSeveralToAScreenReader) {
  QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&m_button);
  ASSERT_NE(accessible, nullptr);
  EXPECT_EQ(accessible->role(), QAccessible::RadioButton);
  EXPECT_EQ(accessible->text(QAccessible::Name), m_button.text());
  EXPECT_FALSE(accessible->state().checked);
  m_button.setIsSelected(true);
  EXPECT_TRUE(accessible->state().checked);
  QSignalSpy clicked(&m_button, &SToolbarButton::clicked);
  ASSERT_NE(accessible->actionInterface(), nullptr);
  accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(clicked.size(), 1);
  m_button.setEnabled(false);
  EXPECT_TRUE(accessible->state().disabled);
  accessible->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(clicked.size(), 1);
}

TEST_F(SToolbarButtonLook, EveryClickCountsHoweverFast) {
  QSignalSpy clicked(&m_button, &QAbstractButton::clicked);
  for (int i = 1; i <= 4; ++i) {
    testsupport::click(m_button, m_button.rect().center(), Qt::LeftButton, testsupport::kFast);
    EXPECT_EQ(clicked.count(), i);
  }
}

TEST_F(SToolbarButtonLook, IsNotHoveredInAWindowThatHasCeasedToBeTheActiveOne) {
  enter();
  ASSERT_TRUE(m_button.isOver());
  QWidget other;
  other.show();
  other.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
  EXPECT_FALSE(m_button.isOver());
}

TEST_F(SToolbarButtonLook, IsNotHoveredInTheNextWindowItComesTo) {
  enter();
  ASSERT_TRUE(m_button.isOver());
  QWidget other;
  m_button.setParent(&other);
  EXPECT_FALSE(m_button.isOver());
  m_button.setParent(&m_window);
}
