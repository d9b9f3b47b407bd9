#include "UI/Common/BottomLeft.h"

#include <gtest/gtest.h>

TEST(BottomLeft, TurnsARectangleAtTheBottomIntoOneAtTheEndOfQtsCoordinates) {
  EXPECT_EQ(ui::fromBottomLeft(100, 6, 0, 40, 18), QRectF(6, 82, 40, 18));
}

TEST(BottomLeft, TurnsARectangleAtTheTopIntoOneAtTheOrigin) {
  EXPECT_EQ(ui::fromBottomLeft(100, 0, 82, 40, 18), QRectF(0, 0, 40, 18));
}

TEST(BottomLeft, IsItsOwnInverse) {
  const QRectF panel(12, 490, 300, 120);
  EXPECT_EQ(ui::fromBottomLeft(560, ui::fromBottomLeft(560, panel)), panel);
}
