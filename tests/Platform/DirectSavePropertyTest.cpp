#include "Platform/DirectSaveProperty.h"

#include <gtest/gtest.h>

// What it does on X11 is tested there, see tests/desktop.
TEST(DirectSaveProperty, ThereIsNoneWhereTheDisplayIsNotX11) {
  EXPECT_EQ(platform::DirectSaveProperty::ofDisplay(), nullptr);
}
