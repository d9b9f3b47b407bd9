#include "TessalyMTPSdk/Logging.h"

#include <gtest/gtest.h>

using namespace mtp;

namespace {

class Log : public ::testing::Test {
protected:
  ~Log() override { setLog(nullptr); }

  void listen() {
    setLog([this](LogLevel level, const std::string& line) { lines.emplace_back(level, line); });
  }

  std::vector<std::pair<LogLevel, std::string>> lines;
};

} // namespace

TEST_F(Log, LinesGoToTheSinkWithTheirLevel) {
  listen();
  log(LogLevel::Warning, "status 0x%08x", 0x12000001u);
  log(LogLevel::Debug, "%s", "small print");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], std::pair(LogLevel::Warning, std::string("status 0x12000001")));
  EXPECT_EQ(lines[1], std::pair(LogLevel::Debug, std::string("small print")));
}

TEST_F(Log, WithoutASinkLinesGoToStandardErrorButNotThoseOfDebug) {
  setLog(nullptr);
  ::testing::internal::CaptureStderr();
  log(LogLevel::Info, "open");
  log(LogLevel::Debug, "names");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "mtp: open\n");
}

TEST_F(Log, ALineOfAnyLengthIsCutNotOverrun) {
  listen();
  const std::string endless(5000, 'x');
  log(LogLevel::Info, "%s", endless.c_str());
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].second, std::string(1023, 'x'));
}

TEST_F(Log, ASinkMayBeReplacedFromInsideItself) {
  setLog([this](LogLevel, const std::string&) { listen(); });
  log(LogLevel::Info, "first");
  log(LogLevel::Info, "second");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].second, "second");
}
