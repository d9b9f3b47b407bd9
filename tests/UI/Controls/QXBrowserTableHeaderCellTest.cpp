#include "UI/Controls/QXBrowserTableHeaderCell.h"

#include "Platform/UserDefaults.h"
#include "UI/Common/Images.h"

#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QRectF kFrame(20, 0, 200, 25);

QImage drawn(const BrowserHeaderCell& cell) {
  QImage image(240, 25, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter painter(&image);
  cell.drawWithFrame(kFrame, painter, QPalette(Qt::white));
  return image;
}

/// The rectangle around the pixels that one drawing has and the other has not.
QRect difference(const QImage& one, const QImage& other) {
  QRect rect;
  for (int y = 0; y < one.height(); ++y) {
    for (int x = 0; x < one.width(); ++x) {
      if (one.pixel(x, y) != other.pixel(x, y)) {
        rect |= QRect(x, y, 1, 1);
      }
    }
  }
  return rect;
}

QRect titleInk(BrowserHeaderCell cell) {
  BrowserHeaderCell empty = cell;
  empty.title.clear();
  return difference(drawn(cell), drawn(empty));
}

BrowserHeaderCell titled(const QString& title) {
  BrowserHeaderCell cell;
  cell.title = title;
  return cell;
}

} // namespace

TEST(BrowserHeaderCell, IsNotThePrimarySortColumnAtFirst) {
  const BrowserHeaderCell cell;
  EXPECT_EQ(cell.columnPriority, 1);
  EXPECT_EQ(cell.font.pixelSize(), 12);
  EXPECT_FALSE(cell.font.bold());
}

TEST(BrowserHeaderCell, TakesItsDirectionFromTheUserDefault) {
  QTemporaryDir folder;
  platform::userDefaults::useFile(folder.filePath("defaults.conf"));
  platform::userDefaults::setValue("RTLLayout", true);
  EXPECT_TRUE(BrowserHeaderCell().isRTL);
  platform::userDefaults::useFile({});
}

TEST(BrowserHeaderCell, PutsTheTitleFivePointsFromTheLeft) {
  const BrowserHeaderCell cell = titled("Name");
  EXPECT_EQ(cell.titleRectForBounds(kFrame), QRectF(25, 3, 190, 22));
  EXPECT_NEAR(titleInk(cell).left(), 25, 2);
}

TEST(BrowserHeaderCell, PutsTheTitleAtTheRightRightToLeft) {
  BrowserHeaderCell cell = titled("Name");
  cell.isRTL = true;
  EXPECT_NEAR(titleInk(cell).right(), 25 + 190 - 1, 2);
}

TEST(BrowserHeaderCell, MovesTheTitleByItsIndent) {
  BrowserHeaderCell cell = titled("Name");
  const int before = titleInk(cell).left();
  cell.indent = 12;
  EXPECT_EQ(titleInk(cell).left(), before + 12);
}

TEST(BrowserHeaderCell, CutsALongTitleOff) {
  EXPECT_LE(titleInk(titled(QString(1000, u'W'))).right(), 215);
}

TEST(BrowserHeaderCell, LeavesRoomForTheSortMarkInThePrimaryColumnOnly) {
  BrowserHeaderCell cell = titled("Name");
  const qreal mark = cell.sortIndicatorRectForBounds(kFrame).width();
  cell.drawSortIndicatorWithFrame(true, 0);
  EXPECT_EQ(cell.titleRectForBounds(kFrame).width(), 190 - mark - 5);
  EXPECT_FALSE(cell.titleRectForBounds(kFrame).intersects(cell.sortIndicatorRectForBounds(kFrame)));
  cell.drawSortIndicatorWithFrame(true, 1);
  EXPECT_EQ(cell.titleRectForBounds(kFrame).width(), 190);
}

TEST(BrowserHeaderCell, OnlyKeepsWhatTheSortMarkWillBe) {
  BrowserHeaderCell cell;
  cell.drawSortIndicatorWithFrame(true, 0);
  EXPECT_TRUE(cell.isAscending);
  EXPECT_EQ(cell.columnPriority, 0);
  cell.drawSortIndicatorWithFrame(false, 3);
  EXPECT_FALSE(cell.isAscending);
  EXPECT_EQ(cell.columnPriority, 3);
}

TEST(BrowserHeaderCell, DrawsATriangleThatPointsUpOrDownInThePrimaryColumn) {
  BrowserHeaderCell none;
  none.columnPriority = 1;
  BrowserHeaderCell up = none;
  up.drawSortIndicatorWithFrame(true, 0);
  BrowserHeaderCell down = none;
  down.drawSortIndicatorWithFrame(false, 0);
  const QImage background = drawn(none);
  const QRect mark = difference(drawn(up), background);
  const QRectF place = up.sortIndicatorRectForBounds(kFrame);
  EXPECT_TRUE(place.toAlignedRect().contains(mark));
  EXPECT_GE(mark.top(), place.top() + 0.5);
  // How many pixels of a line of the picture belong to the mark.
  const auto width = [&](const QImage& image, int y) {
    int count = 0;
    for (int x = mark.left(); x <= mark.right(); ++x) {
      count += image.pixel(x, y) != background.pixel(x, y) ? 1 : 0;
    }
    return count;
  };
  EXPECT_LT(width(drawn(up), mark.top()), width(drawn(up), mark.bottom()));
  EXPECT_GT(width(drawn(down), mark.top()), width(drawn(down), mark.bottom()));
  EXPECT_EQ(drawn(up).pixelColor(mark.center()), QColor(Qt::gray));
}

TEST(BrowserHeaderCell, DrawsItsImageThreePointsAboveTheMiddleOfTheTitle) {
  BrowserHeaderCell cell;
  const QImage without = drawn(cell);
  QPixmap pixmap(10, 10);
  pixmap.fill(Qt::red);
  cell.image = QIcon(pixmap);
  const QRectF ink = difference(drawn(cell), without);
  EXPECT_EQ(ink.size(), QSizeF(10, 10));
  EXPECT_NEAR(ink.center().x(), cell.titleRectForBounds(kFrame).center().x(), 1);
  EXPECT_NEAR(ink.center().y(), cell.titleRectForBounds(kFrame).center().y() - 3, 1);
}

TEST(BrowserHeaderCell, FillsItsFrameAndNothingElse) {
  QImage image(240, 25, QImage::Format_RGB32);
  image.fill(Qt::red);
  QPainter painter(&image);
  titled("Name").drawWithFrame(kFrame, painter, QPalette(Qt::white));
  painter.end();
  EXPECT_EQ(image.pixelColor(19, 12), QColor(Qt::red));
  EXPECT_EQ(image.pixelColor(220, 12), QColor(Qt::red));
  EXPECT_GT(image.pixelColor(20, 0).lightness(), 220);
  EXPECT_GT(image.pixelColor(219, 24).lightness(), 220);
}
