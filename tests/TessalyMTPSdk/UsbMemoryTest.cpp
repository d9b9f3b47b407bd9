#include "TessalyMTPSdk/UsbMemory.h"

#include <gtest/gtest.h>

using mtp::isLentMemorySound;

TEST(UsbMemory, OldKernelsAreNotBelievedToLendSoundMemory) {
  for (const char* release : {"5.7.19", "5.7", "5.0.0-8", "4.19.0-27-amd64", "3.99", "2.6.32"})
    EXPECT_FALSE(isLentMemorySound(release)) << release;
}

TEST(UsbMemory, AReleaseThatCannotBeReadIsNotBelievedEither) {
  for (const char* release : {"", "6", "6.", "linux", ".8", "6-1", "99999999999.1", "5.99999999999", "-6.1", "6.x"})
    EXPECT_FALSE(isLentMemorySound(release)) << release;
}

#if defined(__x86_64__) || defined(__i386__)
TEST(UsbMemory, KernelsFromFiveEightOnLendSoundMemory) {
  for (const char* release : {"5.8", "5.8.0-rc1", "5.10.0-33-amd64", "6.1.0-28-amd64", "6.1", "10.0"})
    EXPECT_TRUE(isLentMemorySound(release)) << release;
}
#else
TEST(UsbMemory, ElsewhereLentMemoryMayBeSlowAndIsNotUsed) {
  EXPECT_FALSE(isLentMemorySound("6.1.0-28-arm64"));
}
#endif

TEST(UsbMemory, MemoryFromTheHeapIsThereFromTheFirstToTheLastByte) {
  const mtp::UsbMemory memory = mtp::takeHeapMemory(1 << 20);
  memory[0] = 1;
  memory[(1 << 20) - 1] = 2;
  EXPECT_EQ(memory[0] + memory[(1 << 20) - 1], 3);
}
