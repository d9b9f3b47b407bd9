#include "MTPCore/AccessLog.h"

#include "MTPCore/CapturedLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

constexpr AccessFace face{"Face", "pre", true};

// As the compiler spells an operation of the access object.
constexpr platform::SourceLocation place("/src/MTPCore/Shared.cpp", 42,
                                         "std::optional<QList<int> > Shared::operation(const QString&, int) const");

} // namespace

TEST(AccessLog, ALineNamesTheFacesSourceFileAndOperationAndThePlaceInTheSharedSource) {
  const testsupport::LogCapture log;
  AccessLog(face, place).line("%s = %d", "answer", 7);
  EXPECT_EQ(log.lines(), QStringList(QStringLiteral("[Face.cpp:Face::operation-(42)] answer = 7")));
}

TEST(AccessLog, AMessageWithPercentSignsIsWrittenAsItIs) {
  const CapturedLog log;
  AccessLog(face, place).line("%s", "100 %s %n");
  EXPECT_TRUE(log.has("100 %s %n"));
}

TEST(AccessLog, AnEndedOperationIsToldWithItsTimeItsSizeAndItsStatus) {
  const CapturedLog log;
  const auto begun = AccessLog::Clock::now() - std::chrono::seconds(5);
  AccessLog(face, place).ended("SendFileEx", reinterpret_cast<void*>(0x1230), begun, 0x1000000A, 99);
  ASSERT_EQ(log.messages().size(), 1u);
  EXPECT_THAT(log.messages().front(), testing::MatchesRegex("preSendFileEx: node = 0x1230, 99 bytes, "
                                                            "[0-9]+\\.[0-9]+ s, status = DGSTATUS_STORAGE_FULL - "
                                                            "0x1000000a"));
  EXPECT_THAT(log.messages().front(), testing::HasSubstr(", 5."));
}

TEST(AccessLog, AnOperationWithoutASizeHasNone) {
  const CapturedLog log;
  AccessLog(face, place).ended("DeleteNode", nullptr, AccessLog::Clock::now(), 0);
  EXPECT_TRUE(log.hasPart("preDeleteNode: node = "));
  EXPECT_FALSE(log.hasPart("bytes"));
}
