#include "UI/Common/ElidedLabel.h"

#include <QAccessible>

#include <gtest/gtest.h>

TEST(ElidedLabel, CutsALongTextOffAtItsEnd) {
  ui::ElidedLabel label;
  label.resize(100, label.sizeHint().height());
  label.setText("A name that is much too long for so little room");
  EXPECT_TRUE(label.shownText().startsWith("A name"));
  EXPECT_TRUE(label.shownText().endsWith(QChar(0x2026)));
  EXPECT_LE(label.fontMetrics().horizontalAdvance(label.shownText()), 100);
}

TEST(ElidedLabel, LeavesAShortTextAlone) {
  ui::ElidedLabel label;
  label.setText("Short");
  label.resize(label.sizeHint());
  EXPECT_EQ(label.shownText(), "Short");
}

TEST(ElidedLabel, ShowsTextsOfAnyContentOnOneLineAndKeepsThem) {
  ui::ElidedLabel label;
  label.resize(400, label.sizeHint().height());
  const QString hostile = QStringLiteral("<b>a</b>\nb\u202Ec") + QChar(0xD800);
  label.setText(hostile);
  EXPECT_EQ(label.text(), hostile);
  EXPECT_FALSE(label.shownText().contains('\n'));
  EXPECT_FALSE(label.shownText().contains(QChar(0x202E)));
  EXPECT_TRUE(label.shownText().contains("<b>a</b>"));
}

TEST(ElidedLabel, AsksForTheSameHeightWhateverTheScript) {
  ui::ElidedLabel label;
  label.setText("Latin");
  const int height = label.sizeHint().height();
  label.setText(QStringLiteral("写真 사진 รูปภาพ"));
  EXPECT_EQ(label.sizeHint().height(), height);
  EXPECT_EQ(label.minimumSizeHint().width(), 0);
}

TEST(ElidedLabel, TellsItsWholeTextToAScreenReader) {
  ui::ElidedLabel label;
  label.resize(20, 20);
  label.setText("A name that is much too long for so little room");
  EXPECT_EQ(QAccessible::queryAccessibleInterface(&label)->text(QAccessible::Name), label.text());
}
