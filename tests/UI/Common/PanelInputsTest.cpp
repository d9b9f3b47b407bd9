#include "UI/Common/PanelInputs.h"

#include "UI/Common/DesktopColorScheme.h"
#include "UI/Common/Images.h"
#include "support/Clicks.h"

#include <QTest>

#include <gtest/gtest.h>

namespace {

QColor edgeOf(QWidget& widget) {
  const QImage image = widget.grab().toImage();
  return image.pixelColor(image.width() / 2, 0);
}

class PanelInput : public testing::Test {
protected:
  void SetUp() override {
    m_window.resize(300, 100);
    m_field.setGeometry(10, 10, 200, 32);
    m_box.setText("Tick me");
    m_box.move(10, 60);
    m_box.resize(m_box.sizeHint());
    m_window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_window));
  }
  QWidget m_window;
  ui::PanelField m_field{&m_window};
  ui::PanelCheckBox m_box{&m_window};
};

} // namespace

TEST_F(PanelInput, FieldsFrameShowsTheKeyboardFocus) {
  m_box.setFocus();
  EXPECT_EQ(edgeOf(m_field), ui::namedColor("ButtonFrame", m_field.palette()));
  m_field.setFocus();
  EXPECT_EQ(edgeOf(m_field), ui::namedColor("FocusLine", m_field.palette()));
}

TEST_F(PanelInput, FieldsFrameIsThatOfTheDarkSetInTheDark) {
  m_window.setPalette(ui::DesktopColorScheme::darkPalette());
  m_box.setFocus();
  EXPECT_EQ(edgeOf(m_field), ui::namedColor("ButtonFrame", ui::DesktopColorScheme::darkPalette()));
}

TEST_F(PanelInput, FieldHidesNothingOfItsTextBehindItsFrame) {
  m_field.setText("gjpq|");
  const int needed = m_field.fontMetrics().height() + m_field.textMargins().top() + m_field.textMargins().bottom();
  EXPECT_GE(m_field.sizeHint().height(), needed);
}

TEST_F(PanelInput, BoxIsTickedByAClickOnItsTitleAndBySpace) {
  QTest::mouseClick(&m_box, Qt::LeftButton, {}, QPoint(m_box.width() - 3, m_box.height() / 2));
  EXPECT_TRUE(m_box.isChecked());
  m_box.setFocus();
  QTest::keyClick(&m_box, Qt::Key_Space);
  EXPECT_FALSE(m_box.isChecked());
}

TEST_F(PanelInput, BoxShowsWhetherItIsTickedOnTheSideTheTextStartsFrom) {
  const auto boxPixel = [this](int x) { return m_box.grab().toImage().pixelColor(x, m_box.height() / 2 - 6); };
  const QColor ticked = ui::namedColor("ButtonPrimary", m_box.palette());
  EXPECT_NE(boxPixel(5), ticked);
  m_box.setChecked(true);
  EXPECT_EQ(boxPixel(5), ticked);
  m_box.setLayoutDirection(Qt::RightToLeft);
  EXPECT_EQ(boxPixel(m_box.width() - 6), ticked);
}

TEST_F(PanelInput, BoxIsTurnedByEveryClickHoweverFast) {
  for (int i = 1; i <= 4; ++i) {
    testsupport::click(m_box, QPoint(m_box.width() - 3, m_box.height() / 2), Qt::LeftButton, testsupport::kFast);
    EXPECT_EQ(m_box.isChecked(), i % 2 == 1);
  }
}
