#include "MTPCore/ComputerSide.h"

#include <QDir>

#include <gtest/gtest.h>

#include <cerrno>

TEST(ComputerSide, TheProgramsLinksStandBelowTheHomeFolder) {
  EXPECT_EQ(ComputerSide::ofProgram().linkFolder, QDir::homePath() + "/Tessaly/Vorn/Temp");
}

TEST(ComputerSide, TheProgramReallyMarksFiles) {
  EXPECT_EQ(ComputerSide::ofProgram().setDownloadMark("/no/such/file", "mtp:///M"), ENOENT);
}

TEST(ComputerSideDeathTest, TheProgramsProcessReallyEnds) {
  EXPECT_EXIT(ComputerSide::ofProgram().endProcess(ENOENT), testing::ExitedWithCode(ENOENT), "");
}
