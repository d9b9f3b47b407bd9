#include "TessalyMTPSdk/ObjectSize.h"

#include <gtest/gtest.h>

using mtp::DeclaredSize;

TEST(ObjectSize, AnExactSizeFitsItselfOnly) {
  const DeclaredSize size{5'000'000'000, true};
  EXPECT_TRUE(size.fits(5'000'000'000));
  EXPECT_FALSE(size.fits(5'000'000'000 % (std::uint64_t{1} << 32)));
  EXPECT_FALSE(size.fits(4'999'999'999));
}

TEST(ObjectSize, ASmallSizeFitsItselfOnlyWhateverItsWidth) {
  const DeclaredSize size{1000, false};
  EXPECT_TRUE(size.fits(1000));
  EXPECT_FALSE(size.fits(999));
}

TEST(ObjectSize, ThirtyTwoBitsMayBeARemainderOrSayThatItIsLarge) {
  const std::uint64_t large = (std::uint64_t{1} << 32) + 1000;
  EXPECT_TRUE((DeclaredSize{1000, false}.fits(large)));
  EXPECT_FALSE((DeclaredSize{1001, false}.fits(large)));
  EXPECT_TRUE((DeclaredSize{0xFFFFFFFF, false}.fits(large)));
  EXPECT_FALSE((DeclaredSize{0xFFFFFFFF, false}.fits(1000)));
}
