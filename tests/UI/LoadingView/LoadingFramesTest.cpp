#include "UI/LoadingView/LoadingFrames.h"

#include "UI/Common/Images.h"

#include <QImage>
#include <QPainter>
#include <QSet>

#include <gtest/gtest.h>

namespace {

QImage drawn(int number) {
  QImage image(60, 60, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  ui::drawLoadingFrame(painter, QRectF(0, 0, 60, 60), number);
  return image;
}

} // namespace

TEST(LoadingFrames, AreNamedFrom01To186) {
  EXPECT_EQ(ui::loadingFrameName(1), "back_up_pop_up_dot_01");
  EXPECT_EQ(ui::loadingFrameName(99), "back_up_pop_up_dot_99");
  EXPECT_EQ(ui::loadingFrameName(100), "back_up_pop_up_dot_100");
  EXPECT_EQ(ui::loadingFrameName(ui::kLoadingFrameCount), "back_up_pop_up_dot_186");
}

TEST(LoadingFrames, AreAllKnownByName) {
  ui::registerLoadingFrames();
  for (int number = 1; number <= ui::kLoadingFrameCount; ++number) {
    EXPECT_FALSE(ui::namedImage(ui::loadingFrameName(number)).isNull()) << number;
  }
}

TEST(LoadingFrames, MoveFromEachToTheNext) {
  for (int number = 1; number < ui::kLoadingFrameCount; ++number) {
    EXPECT_NE(drawn(number), drawn(number + 1)) << number;
  }
}

TEST(LoadingFrames, ByNameLookLikeTheDrawing) {
  ui::registerLoadingFrames();
  EXPECT_EQ(ui::namedImage(ui::loadingFrameName(42))
                .pixmap(QSize(60, 60), 1.0)
                .toImage()
                .convertToFormat(QImage::Format_ARGB32_Premultiplied),
            drawn(42));
}
