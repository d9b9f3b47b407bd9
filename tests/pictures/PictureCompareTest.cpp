#include "PictureCompare.h"

#include <QPainter>

#include <gtest/gtest.h>

namespace {

/// A text and an icon on white.
QImage sample() {
  QImage image(200, 100, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter painter(&image);
  painter.drawText(QPoint(40, 50), QStringLiteral("Holiday plan"));
  painter.fillRect(10, 36, 16, 16, QColor(80, 140, 200));
  return image;
}

} // namespace

TEST(PictureCompare, FindsAPictureTheSameAsItself) {
  EXPECT_TRUE(pictures::compare(sample(), sample()).isSame);
}

TEST(PictureCompare, OverlooksWhatOtherLibrariesSmoothDifferently) {
  QImage image = sample();
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) {
      const QRgb pixel = image.pixel(x, y);
      if (qGray(pixel) > 0 && qGray(pixel) < 255 && (x + y) % 2 == 0)
        image.setPixel(x, y, qRgb(qMin(255, qRed(pixel) + 20), qMin(255, qGreen(pixel) + 20), qBlue(pixel)));
    }
  ASSERT_NE(image, sample());
  EXPECT_TRUE(pictures::compare(image, sample()).isSame);
}

TEST(PictureCompare, SeesALostIcon) {
  QImage image = sample();
  QPainter(&image).fillRect(10, 36, 16, 16, Qt::white);
  const auto result = pictures::compare(image, sample());
  EXPECT_FALSE(result.isSame);
  EXPECT_FALSE(result.reason.isEmpty());
  EXPECT_EQ(result.difference.size(), image.size());
}

TEST(PictureCompare, SeesATextThatHasMovedByAPixel) {
  QImage image = sample();
  QPainter(&image).drawImage(QPoint(31, 20), sample(), QRect(30, 20, 160, 60));
  EXPECT_FALSE(pictures::compare(image, sample()).isSame);
}

TEST(PictureCompare, SeesALineThatIsOnePixelWide) {
  QImage image = sample();
  QPainter(&image).drawLine(0, 90, 199, 90);
  EXPECT_FALSE(pictures::compare(image, sample()).isSame);
}

TEST(PictureCompare, SeesAFaintPlate) {
  QImage image = sample();
  QPainter painter(&image);
  painter.setCompositionMode(QPainter::CompositionMode_Multiply);
  painter.fillRect(0, 72, 200, 24, QColor(0xf1, 0xf5, 0xf8));
  painter.end();
  EXPECT_FALSE(pictures::compare(image, sample()).isSame);
}

TEST(PictureCompare, SeesAnotherSize) {
  const auto result = pictures::compare(sample().copy(0, 0, 199, 100), sample());
  EXPECT_FALSE(result.isSame);
  EXPECT_TRUE(result.reason.contains(QStringLiteral("199 x 100")));
}
