#include "UI/Common/SvgIconEngine.h"

#include "UI/Common/Images.h"

#include <QIcon>

#include <gtest/gtest.h>

namespace {

QIcon iconOf(const QByteArray& svg, const char* key) {
  return QIcon(new ui::SvgIconEngine(svg, QString::fromLatin1(key)));
}

const QByteArray kSquare = R"(<svg xmlns="http://www.w3.org/2000/svg" width="10" height="20" viewBox="0 0 10 20">
  <rect width="10" height="20" fill="currentColor"/></svg>)";

} // namespace

TEST(SvgIconEngine, KnowsTheSizeItsPictureWasDrawnFor) {
  const QIcon icon = iconOf(kSquare, "size");
  EXPECT_EQ(icon.availableSizes(), QList<QSize>{QSize(10, 20)});
  EXPECT_EQ(icon.actualSize(QSize(100, 100)), QSize(50, 100));
}

TEST(SvgIconEngine, DrawsTheCurrentColorAsItemText) {
  EXPECT_EQ(iconOf(kSquare, "colour").pixmap(QSize(10, 20), 1.0).toImage().pixelColor(5, 10),
            ui::namedColor("ItemText"));
}

TEST(SvgIconEngine, DrawsADisabledIconFaintly) {
  const QImage image = iconOf(kSquare, "faint").pixmap(QSize(10, 20), 1.0, QIcon::Disabled).toImage();
  EXPECT_GT(qAlpha(image.pixel(5, 10)), 0);
  EXPECT_LT(qAlpha(image.pixel(5, 10)), 200);
}

TEST(SvgIconEngine, OfWhatIsNoPictureIsNullAndDrawsNothing) {
  const QIcon icon = iconOf("this is no svg", "nothing");
  EXPECT_TRUE(icon.isNull());
  EXPECT_TRUE(icon.pixmap(QSize(10, 20)).isNull());
}
