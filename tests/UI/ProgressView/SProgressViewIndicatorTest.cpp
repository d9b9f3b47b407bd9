#include "UI/ProgressView/SProgressViewIndicator.h"

#include "Platform/Log.h"
#include "UI/Common/Images.h"
#include "support/LogCapture.h"

#include <QAccessible>
#include <QEvent>
#include <QImage>
#include <QPainter>
#include <QTest>

#include <gtest/gtest.h>

namespace {

/// Counts the paints.
class Bar : public SProgressViewIndicator {
public:
  using SProgressViewIndicator::SProgressViewIndicator;
  int paints = 0;

protected:
  void paintEvent(QPaintEvent* event) override {
    ++paints;
    SProgressViewIndicator::paintEvent(event);
  }
};

QImage drawn(SProgressViewIndicator& bar) {
  QImage image(bar.size(), QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  bar.render(&image, {}, {}, QWidget::DrawChildren);
  return image;
}

/// The bluish columns of the bar's middle line: the filled ones.
std::pair<int, int> filledColumns(const QImage& image) {
  int first = -1;
  int last = -1;
  for (int x = 0; x < image.width(); ++x) {
    const QColor pixel = image.pixelColor(x, image.height() - 3);
    if (pixel.alpha() > 200 && pixel.blue() > pixel.red() + 60) {
      first = first < 0 ? x : first;
      last = x;
    }
  }
  return {first, last};
}

} // namespace

TEST(SProgressViewIndicator, FillsThreePointsOfThreeHundredAtOnePercent) {
  Bar bar(QRect(0, 0, 300, 6), false);
  bar.setPercentage(1);
  EXPECT_EQ(bar.filledRect(), QRectF(0, 0, 3, 6));
  EXPECT_EQ(filledColumns(drawn(bar)), std::pair(0, 2));
}

TEST(SProgressViewIndicator, FillsTheLastThreePointsWithTheMatchingOnesOfTheImageRightToLeft) {
  Bar bar(QRect(0, 0, 300, 6), true);
  bar.setPercentage(1);
  EXPECT_EQ(bar.filledRect(), QRectF(297, 0, 3, 6));
  const QImage image = drawn(bar);
  EXPECT_EQ(filledColumns(image), std::pair(297, 299));
  QImage fill(ui::imageSize(ui::namedImage("progress_bar")), QImage::Format_ARGB32_Premultiplied);
  fill.fill(Qt::transparent);
  QPainter painter(&fill);
  ui::drawImage(painter, QRectF(fill.rect()), ui::namedImage("progress_bar"));
  painter.end();
  for (int x = 297; x < 300; ++x)
    EXPECT_EQ(image.pixelColor(x, 3), fill.pixelColor(x, 3)) << x;
}

TEST(SProgressViewIndicator, DoesNotStretchTheImageRightToLeft) {
  Bar bar(QRect(0, 0, 600, 6), true); // wider than the image: beyond its end there is nothing to draw
  bar.setPercentage(50);
  EXPECT_EQ(bar.filledRect(), QRectF(300, 0, 300, 6));
  const int imageWidth = ui::imageSize(ui::namedImage("progress_bar")).width();
  EXPECT_EQ(filledColumns(drawn(bar)).first, 300);
  EXPECT_LT(filledColumns(drawn(bar)).second, imageWidth);
}

TEST(SProgressViewIndicator, StretchesTheWholeImageLeftToRight) {
  Bar bar(QRect(0, 0, 600, 6), false);
  bar.setPercentage(100);
  EXPECT_EQ(filledColumns(drawn(bar)), std::pair(0, 599));
}

TEST(SProgressViewIndicator, IsSixPointsHighAtTheLowerEdge) {
  Bar bar(QRect(0, 0, 300, 20), false);
  bar.setPercentage(100);
  EXPECT_EQ(bar.filledRect(), QRectF(0, 14, 300, 6));
  const QImage image = drawn(bar);
  EXPECT_EQ(image.pixelColor(150, 13).alpha(), 0);
  EXPECT_GT(image.pixelColor(150, 14).alpha(), 200);
  EXPECT_GT(image.pixelColor(150, 19).alpha(), 200);
}

TEST(SProgressViewIndicator, DrawsOnlyItsBackgroundAtZero) {
  Bar bar(QRect(0, 0, 300, 6), false);
  EXPECT_EQ(filledColumns(drawn(bar)), std::pair(-1, -1));
  EXPECT_GT(drawn(bar).pixelColor(150, 3).alpha(), 20);
}

TEST(SProgressViewIndicator, DrawsAnewOnlyWhenTheValueChanges) {
  Bar bar(QRect(0, 0, 300, 6), false);
  bar.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&bar));
  bar.setPercentage(10);
  QCoreApplication::processEvents();
  const int before = bar.paints;
  bar.setPercentage(10);
  QCoreApplication::processEvents();
  EXPECT_EQ(bar.paints, before);
  bar.setPercentage(11);
  QCoreApplication::processEvents();
  EXPECT_GT(bar.paints, before);
}

TEST(SProgressViewIndicator, HoldsItsValueBetweenZeroAndAHundred) {
  Bar bar(QRect(0, 0, 300, 6), false);
  bar.setPercentage(-5);
  EXPECT_EQ(bar.percentage(), 0);
  bar.setPercentage(std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(bar.percentage(), 100);
}

TEST(SProgressViewIndicator, IsHiddenAndShownByItsBase) {
  Bar bar(QRect(0, 0, 300, 6), false);
  bar.setHidden(false);
  EXPECT_TRUE(bar.isVisible());
  bar.setHidden(true);
  EXPECT_FALSE(bar.isVisible());
}

TEST(SProgressViewIndicator, TellsItsValueToAScreenReader) {
  Bar bar(QRect(0, 0, 300, 6), false);
  bar.setPercentage(42);
  QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(&bar);
  EXPECT_EQ(accessible->role(), QAccessible::ProgressBar);
  ASSERT_NE(accessible->valueInterface(), nullptr);
  EXPECT_EQ(accessible->valueInterface()->currentValue(), 42);
  EXPECT_EQ(accessible->valueInterface()->maximumValue(), 100);
}
