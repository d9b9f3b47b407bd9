#include "Platform/LogNames.h"

#include <gtest/gtest.h>

namespace {

class LogNames : public testing::Test {
protected:
  void TearDown() override { platform::setNamesInLog(false); }
};

} // namespace

TEST_F(LogNames, ANameIsHiddenUnlessItIsAskedFor) {
  EXPECT_EQ(platform::nameForLog(QStringLiteral("/home/ann/letter.odt")), "(hidden)");
  platform::setNamesInLog(true);
  EXPECT_EQ(platform::nameForLog(QString::fromUtf8("/home/ann/Übung.odt")), "/home/ann/Übung.odt");
}

TEST_F(LogNames, ThatThereIsNoNameIsToldInAnyCase) {
  EXPECT_EQ(platform::nameForLog(QString()), "(null)");
  EXPECT_EQ(platform::nameForLog(QStringLiteral("")), "(hidden)");
  platform::setNamesInLog(true);
  EXPECT_EQ(platform::nameForLog(QString()), "(null)");
}
