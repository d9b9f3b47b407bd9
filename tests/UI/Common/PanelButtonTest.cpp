#include "UI/Common/PanelButton.h"

#include "UI/Common/Images.h"
#include "support/Clicks.h"

#include <QAccessible>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace {

class PanelButtonKeys : public testing::Test {
protected:
  void SetUp() override {
    m_button.setText("Cancel");
    m_button.resize(m_button.sizeHint());
    m_window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_window));
  }
  QWidget m_window;
  ui::PanelButton m_button{ui::PanelButton::Kind::Plain, &m_window};
  QSignalSpy m_clicked{&m_button, &QPushButton::clicked};
};

} // namespace

TEST_F(PanelButtonKeys, ClickItWithReturnEnterAndSpaceOnceEach) {
  m_button.setFocus();
  QTest::keyClick(&m_button, Qt::Key_Return);
  QTest::keyClick(&m_button, Qt::Key_Enter);
  QTest::keyClick(&m_button, Qt::Key_Space);
  EXPECT_EQ(m_clicked.size(), 3);
}

TEST_F(PanelButtonKeys, StillHeldDownDoNotClickIt) {
  QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r", true);
  QCoreApplication::sendEvent(&m_button, &held);
  EXPECT_EQ(m_clicked.size(), 0);
}

TEST_F(PanelButtonKeys, ShowWhereTheyGo) {
  m_button.clearFocus();
  const QImage without = m_button.grab().toImage();
  m_button.setFocus();
  const QImage with = m_button.grab().toImage();
  EXPECT_EQ(with.pixelColor(with.width() / 2, 1), ui::namedColor("FocusLine", m_button.palette()));
  EXPECT_NE(without.pixelColor(with.width() / 2, 1), ui::namedColor("FocusLine", m_button.palette()));
}

TEST(PanelButton, GrowsWithItsTitle) {
  ui::PanelButton button(ui::PanelButton::Kind::Primary);
  button.setText("OK");
  const int least = button.sizeHint().width();
  button.setText("A title that is rather long");
  EXPECT_GT(button.sizeHint().width(), least);
  EXPECT_GT(button.sizeHint().width(), button.fontMetrics().horizontalAdvance(button.text()));
}

TEST(PanelButton, IsAButtonWithItsTitleToAScreenReader) {
  ui::PanelButton button(ui::PanelButton::Kind::Primary);
  button.setText("OK");
  QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&button);
  EXPECT_EQ(accessible->role(), QAccessible::Button);
  EXPECT_EQ(accessible->text(QAccessible::Name), "OK");
}

TEST_F(PanelButtonKeys, AndEveryClickOfTheMouseHoweverFastClickIt) {
  for (int i = 1; i <= 4; ++i) {
    testsupport::click(m_button, m_button.rect().center(), Qt::LeftButton, testsupport::kFast);
    EXPECT_EQ(m_clicked.size(), i);
  }
}
