#include "UI/Controls/QXBrowserFileFieldCell.h"

#include "Platform/UserDefaults.h"
#include "UI/Common/Images.h"
#include "UI/Common/SFont.h"
#include "UI/Common/SizeText.h"
#include "UI/Controls/SOutlineHeaderView.h"

#include <QFontMetrics>
#include <QLineEdit>
#include <QPainter>
#include <QPixmap>
#include <QStandardItemModel>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <limits>

namespace {

QIcon plain(const QColor& color) {
  QPixmap pixmap(22, 22);
  pixmap.fill(color);
  return QIcon(pixmap);
}

/// The smallest rectangle around all pixels for which `isInk` holds.
template <typename Ink> QRect inkOf(const QImage& image, Ink isInk) {
  QRect ink;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (isInk(image.pixelColor(x, y))) {
        ink |= QRect(x, y, 1, 1);
      }
    }
  }
  return ink;
}

class NameCell : public testing::Test {
protected:
  void SetUp() override {
    platform::userDefaults::useFile(m_folder.filePath("defaults.conf"));
    m_cell.title = "Holiday";
    m_cell.image = plain(Qt::green);
  }
  void TearDown() override { platform::userDefaults::useFile({}); }

  QImage drawn(const QRectF& frame) {
    QImage image(300, 40, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    m_cell.drawWithFrame(frame, painter, QPalette(Qt::white));
    return image;
  }
  static QRect iconIn(const QImage& image) {
    return inkOf(image, [](const QColor& pixel) { return pixel == QColor(Qt::green); });
  }
  static QRect textIn(const QImage& image) {
    return inkOf(image, [](const QColor& pixel) { return pixel != QColor(Qt::green) && pixel.lightness() < 200; });
  }

  QTemporaryDir m_folder;
  QXBrowserFileFieldCell m_cell;
};

} // namespace

TEST_F(NameCell, TakesItsDirectionFromTheUserDefaultWhenMade) {
  platform::userDefaults::setValue("RTLLayout", true);
  EXPECT_TRUE(QXBrowserFileFieldCell().isRTL);
  platform::userDefaults::setValue("RTLLayout", false);
  EXPECT_FALSE(QXBrowserFileFieldCell().isRTL);
}

TEST_F(NameCell, LeavesTwentyFivePointsForTheIcon) {
  EXPECT_EQ(m_cell.titleRectForBounds(QRectF(10, 5, 200, 22)), QRectF(35, 5, 175, 22));
}

TEST_F(NameCell, DrawsTheIconTwentyFourPointsLeftOfTheFrameAtItsTop) {
  EXPECT_EQ(iconIn(drawn(QRectF(60, 8, 200, 22))), QRect(36, 8, 22, 22));
}

TEST_F(NameCell, DrawsTheIconTwentyFourPointsLeftOfTheFramesRightEdgeRightToLeft) {
  m_cell.isRTL = true;
  EXPECT_EQ(iconIn(drawn(QRectF(60, 8, 200, 22))), QRect(236, 8, 22, 22));
}

TEST_F(NameCell, DrawsTheTextFromTheFramesLeft) {
  const QRect text = textIn(drawn(QRectF(60, 8, 200, 22)));
  EXPECT_NEAR(text.left(), 63, 2);
  EXPECT_GE(text.top(), 11);
  EXPECT_LT(text.bottom(), 11 + 18);
}

TEST_F(NameCell, DrawsTheTextAgainstTheIconRightToLeft) {
  m_cell.isRTL = true;
  const QRect text = textIn(drawn(QRectF(60, 8, 200, 22)));
  // 3 right of the frame's origin, 28 narrower than the frame.
  EXPECT_NEAR(text.right(), 60 + 3 + 200 - 28 - 1, 2);
  EXPECT_EQ(m_cell.textRectForFrame(QRectF(60, 8, 200, 22)), QRectF(63, 11, 172, 18));
}

TEST_F(NameCell, CutsTheTextOffAtItsEnd) {
  m_cell.title = QString(10000, u'W');
  const QRect text = textIn(drawn(QRectF(60, 8, 100, 22)));
  EXPECT_LE(text.right(), 60 + 3 + 100);
  m_cell.isRTL = true;
  EXPECT_GE(textIn(drawn(QRectF(60, 8, 100, 22))).left(), 60);
}

TEST_F(NameCell, StaysOnOneLineWhateverTheNameHolds) {
  m_cell.title = u"one\ntwo\u2028three\u202E"_qs;
  const QRect text = textIn(drawn(QRectF(60, 8, 200, 22)));
  EXPECT_GE(text.top(), 11);
  EXPECT_LT(text.bottom(), 11 + 18);
}

TEST_F(NameCell, DrawsNoIconWhenThereIsNone) {
  m_cell.image = QIcon();
  EXPECT_TRUE(iconIn(drawn(QRectF(60, 8, 200, 22))).isNull());
}

TEST_F(NameCell, FillsTheIconsStripWithRedWhenItDrawsABackground) {
  m_cell.drawsBackground = true;
  m_cell.image = plain(Qt::transparent);
  EXPECT_EQ(drawn(QRectF(60, 8, 200, 22)).pixelColor(40, 15), QColor(Qt::red));
}

TEST_F(NameCell, IsTwentyTwoWiderWithAnIcon) {
  const int withIcon = m_cell.cellSize().width();
  m_cell.image = QIcon();
  EXPECT_EQ(withIcon - m_cell.cellSize().width(), 22);
  EXPECT_EQ(m_cell.cellSize().height(), 22);
}

TEST_F(NameCell, IsHitOnItsIconAndItsTextButNotBeside) {
  const QRectF frame(60, 8, 200, 22);
  EXPECT_TRUE(m_cell.hitTestForEvent(QPointF(40, 20), frame));
  EXPECT_TRUE(m_cell.hitTestForEvent(QPointF(70, 20), frame));
  EXPECT_FALSE(m_cell.hitTestForEvent(QPointF(250, 20), frame));
  EXPECT_FALSE(m_cell.hitTestForEvent(QPointF(30, 20), frame));
  m_cell.image = QIcon();
  EXPECT_FALSE(m_cell.hitTestForEvent(QPointF(40, 20), frame));
}

TEST_F(NameCell, IsHitOnItsIconAndItsTextRightToLeftToo) {
  m_cell.isRTL = true;
  const QRectF frame(60, 8, 200, 22);
  EXPECT_TRUE(m_cell.hitTestForEvent(QPointF(240, 20), frame));
  EXPECT_TRUE(m_cell.hitTestForEvent(QPointF(225, 20), frame));
  EXPECT_FALSE(m_cell.hitTestForEvent(QPointF(70, 20), frame));
}

TEST_F(NameCell, CopiesCarryTheSameIcon) {
  m_cell.isRTL = true;
  const std::unique_ptr<QXBrowserFileFieldCell> copy = m_cell.copyWithZone();
  EXPECT_EQ(copy->image.cacheKey(), m_cell.image.cacheKey());
  EXPECT_EQ(copy->title, m_cell.title);
  EXPECT_TRUE(copy->isRTL);
}

TEST_F(NameCell, GivesAnEditorTheCellWithoutTheIconsPlace) {
  QLineEdit editor;
  QStyleOptionViewItem option;
  option.rect = QRect(10, 5, 200, 22);
  m_cell.updateEditorGeometry(&editor, option, {});
  EXPECT_EQ(editor.geometry(), QRect(35, 5, 175, 22));
}

TEST_F(NameCell, DrawsEachRowWithItsOwnIconAndName) {
  QStandardItemModel model;
  auto* first = new QStandardItem("First");
  first->setIcon(plain(Qt::green));
  model.appendRow(first);
  model.appendRow(new QStandardItem("Second"));
  QImage image(300, 22, QImage::Format_RGB32);
  QStyleOptionViewItem option;
  option.rect = QRect(0, 0, 300, 22);
  const auto iconOfRow = [&](int row) {
    image.fill(Qt::white);
    QPainter painter(&image);
    m_cell.paint(&painter, option, model.index(row, 0));
    return iconIn(image);
  };
  EXPECT_EQ(iconOfRow(0), QRect(1, 0, 22, 22));
  EXPECT_TRUE(iconOfRow(1).isNull());
  EXPECT_EQ(m_cell.title, "Second");
}

TEST(TextCell, DrawsInsideItsColumnOnEitherSide) {
  QStandardItemModel model;
  model.appendRow(new QStandardItem("16,777,216.00TB"));
  SOutlineTextCell cell;
  QImage image(300, 22, QImage::Format_RGB32);
  QStyleOptionViewItem option;
  option.palette = QPalette(Qt::white);
  option.rect = QRect(50, 0, 200, 22);
  for (const bool isRTL : {false, true}) {
    cell.isRTL = isRTL;
    option.direction = isRTL ? Qt::RightToLeft : Qt::LeftToRight;
    image.fill(Qt::white);
    QPainter painter(&image);
    cell.paint(&painter, option, model.index(0, 0));
    painter.end();
    const QRect text = inkOf(image, [](const QColor& pixel) { return pixel.lightness() < 200; });
    EXPECT_NEAR(isRTL ? 249 - text.right() : text.left() - 50, 3, 2);
  }
}

TEST(TextCell, ShowsTheLargestSizeWholeInItsColumn) {
  const QString largest = ui::convertFileSizeFromInt(std::numeric_limits<quint64>::max());
  const qreal width = QFontMetricsF(SFont::sharedInstance().fontWithPixelSize(12, false)).horizontalAdvance(largest);
  SOutlineTextCell cell;
  const QRectF section(0, 0, 95 + SOutlineHeaderView::kColumnSpacing, 22);
  EXPECT_GE(cell.textRectForFrame(section).width(), width);
  cell.isRTL = true;
  EXPECT_GE(cell.textRectForFrame(section).width(), width);
}
