// The support tool's commands, sent to the running program by the very lines of the manual.
#include "MTPBrowserApp/ProgramProcess.h"
#include "support/PrivateBus.h"

#include <QElapsedTimer>
#include <QTest>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testsupport::contentsOf;
using testsupport::kPatience;

// The manual's line that runs this program and has this command in it.
QByteArray lineFor(const QByteArray& program, const QByteArray& command) {
  for (const QByteArray& line : contentsOf(QStringLiteral(MTPB_SUPPORT_MANUAL)).split('\n'))
    if (line.startsWith("    " + program + ' ') && line.contains(command))
      return line.trimmed();
  return {};
}

// The program with a home, a bus and no phone of its own. The parameter sends the commands.
class SupportTool : public testing::TestWithParam<const char*> {
protected:
  void SetUp() override { m_program.start(m_environment); }

  void send(const QByteArray& name) {
    const QByteArray line = lineFor(GetParam(), name);
    ASSERT_FALSE(line.isEmpty()) << "the manual has no line for " << name.constData();
    testsupport::Process shell;
    shell.start({"sh", "-c", line.toStdString()}, m_environment);
    ASSERT_EQ(shell.wait(), 0) << line.constData();
  }
  // Sends the command until `done`: it takes the program a moment before it listens.
  template <class Condition> void command(const QByteArray& name, const Condition& done) {
    QElapsedTimer time;
    for (time.start(); !done() && time.elapsed() < kPatience;) {
      send(name);
      if (QTest::qWaitFor(done, 1000))
        return;
    }
    EXPECT_TRUE(done()) << name.constData() << "\n" << printed().constData();
  }
  QByteArray printed() const { return m_program.printed(); }
  QByteArray captured() const {
    return contentsOf(m_program.home.filePath(QStringLiteral("Tessaly/Larkspur/AppDatas/Log/mtpCapture.log")));
  }

  testsupport::PrivateBus m_bus;
  const std::vector<std::string> m_environment{"DBUS_SESSION_BUS_ADDRESS=" + m_bus.address().toStdString()};
  testsupport::Program m_program;
};

} // namespace

TEST_P(SupportTool, StartsMarksAndStopsTheCaptureLogFromAnotherProcess) {
  command("START_CAPTURE", [this] { return captured().contains("start Capture"); });
  EXPECT_TRUE(captured().contains("MTP SDK info file is not existed.")) << captured().constData();
  EXPECT_TRUE(QTest::qWaitFor([this] { return captured().contains("MTPBrowser 0."); }, kPatience))
      << captured().constData();
  EXPECT_FALSE(captured().contains("Receive Log level"));
  command("DEBUG_LEVEL", [this] { return captured().contains("Receive Log level = 3"); });
  command("STOP_CAPTURE", [this] { return captured().contains("stop Capture"); });
  const QByteArray atTheEnd = captured();
  EXPECT_FALSE(atTheEnd.isEmpty());
  command("DEBUG_LEVEL", [this] { return printed().contains("Receive Log level = 3"); });
  EXPECT_EQ(captured(), atTheEnd);
}

TEST_P(SupportTool, ASecondStartChangesNothingAndOneAfterAStopBeginsAnew) {
  command("START_CAPTURE", [this] { return captured().contains("start Capture"); });
  command("DEBUG_LEVEL", [this] { return captured().contains("Receive Log level = 3"); });
  const auto marks = captured().count("Receive Log level = 3");
  send("START_CAPTURE");
  command("DEBUG_LEVEL", [&] { return captured().count("Receive Log level = 3") > marks; }); // signals keep their order
  EXPECT_EQ(captured().count("start Capture"), 1) << captured().constData();
  command("STOP_CAPTURE", [this] { return captured().contains("stop Capture"); });
  command("START_CAPTURE", [this] { return !captured().contains("stop Capture"); });
  EXPECT_TRUE(QTest::qWaitFor([this] { return captured().contains("MTPBrowser 0."); }, kPatience));
  EXPECT_FALSE(captured().contains("Receive Log level = 3")) << captured().constData();
}

TEST_P(SupportTool, DisksAndTheNetworkAreWatchedOnlyOnRequest) {
  command("DEBUG_LEVEL", [this] { return printed().contains("Receive Log level = 3"); });
  EXPECT_FALSE(printed().contains("Registered with notification center")) << printed().constData();
  m_program.stop();
  m_program.set("START_UMS_NOTIFIER=true");
  m_program.start(m_environment);
  EXPECT_TRUE(QTest::qWaitFor([this] { return printed().contains("Registered with notification center"); }, kPatience))
      << printed().constData();
}

INSTANTIATE_TEST_SUITE_P(Sender, SupportTool, testing::Values("gdbus", "busctl"),
                         [](const auto& info) { return std::string(info.param); });
