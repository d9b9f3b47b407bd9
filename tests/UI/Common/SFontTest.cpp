#include "UI/Common/SFont.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <cmath>

TEST(SFont, IsOneInstance) {
  EXPECT_EQ(&SFont::sharedInstance(), &SFont::sharedInstance());
}

TEST(SFont, AsksForHelveticaNeueFirstAndHasSubstitutes) {
  const QStringList families = SFont::sharedInstance().fontWithPixelSize(12, false).families();
  EXPECT_EQ(families.value(0), "HelveticaNeue");
  EXPECT_GT(families.size(), 2);
}

TEST(SFont, HasTheSizeAndWeightAskedFor) {
  const QFont plain = SFont::sharedInstance().fontWithPixelSize(12, false);
  EXPECT_EQ(plain.pixelSize(), 12);
  EXPECT_FALSE(plain.bold());
  const QFont bold = SFont::sharedInstance().fontWithPixelSize(13.4, true);
  EXPECT_EQ(bold.pixelSize(), 13);
  EXPECT_TRUE(bold.bold());
}

TEST(SFont, MakesAFontOfAnySizeWhatever) {
  EXPECT_EQ(SFont::sharedInstance().fontWithPixelSize(0, false).pixelSize(), 1);
  EXPECT_EQ(SFont::sharedInstance().fontWithPixelSize(-3, false).pixelSize(), 1);
  EXPECT_GT(SFont::sharedInstance().fontWithPixelSize(NAN, false).pixelSize(), 0);
  EXPECT_GT(SFont::sharedInstance().fontWithPixelSize(1e300, false).pixelSize(), 0);
}
