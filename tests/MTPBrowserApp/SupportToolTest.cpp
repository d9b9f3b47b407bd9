// The support tool's commands, sent to the running program by the very lines of the manual.
#include "support/PrivateBus.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

constexpr int kPatience = 60'000; // ms, for a machine under load

// The environment with these variables ("NAME=value") instead of their namesakes.
class Environment {
public:
  explicit Environment(const std::vector<std::string>& own)
      : m_texts(own) {
    for (char** entry = environ; *entry != nullptr; ++entry) {
      const std::string text = *entry;
      const std::string name = text.substr(0, text.find('=') + 1);
      if (std::none_of(own.begin(), own.end(), [&](const std::string& one) { return one.starts_with(name); }))
        m_texts.push_back(text);
    }
    for (std::string& text : m_texts)
      m_pointers.push_back(text.data());
    m_pointers.push_back(nullptr);
  }
  char** get() { return m_pointers.data(); }

private:
  std::vector<std::string> m_texts;
  std::vector<char*> m_pointers;
};

QByteArray contentsOf(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

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
  void SetUp() override { run(); }
  void TearDown() override { stop(); }

  void run() {
    const std::string log = m_home.filePath(QStringLiteral("stderr")).toStdString();
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    m_program = start({"timeout", "120", MTPB_PROGRAM}, &actions);
    ::posix_spawn_file_actions_destroy(&actions);
  }
  void stop() {
    if (m_program > 0) {
      ::kill(m_program, SIGTERM);
      ::waitpid(m_program, nullptr, 0);
    }
    m_program = -1;
  }
  // A user default of the next run.
  void set(const QByteArray& line) {
    ASSERT_TRUE(QDir(m_home.path()).mkpath(QStringLiteral(".config/MTPBrowser")));
    QFile file(m_home.filePath(QStringLiteral(".config/MTPBrowser/MTPBrowser.conf")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[General]\n" + line + "\n");
  }

  void send(const QByteArray& name) {
    const QByteArray line = lineFor(GetParam(), name);
    ASSERT_FALSE(line.isEmpty()) << "the manual has no line for " << name.constData();
    int status = -1;
    ::waitpid(start({"sh", "-c", line.toStdString()}, nullptr), &status, 0);
    ASSERT_EQ(status, 0) << line.constData();
  }
  // Sends the command until `done`: it takes the program a moment before it listens.
  template <class Condition> void command(const QByteArray& name, const Condition& done) {
    QElapsedTimer time;
    for (time.start(); !done() && time.elapsed() < kPatience;) {
      send(name);
      if (QTest::qWaitFor(done, 1000))
        return;
    }
    EXPECT_TRUE(done()) << name.constData() << "\n"
                        << contentsOf(m_home.filePath(QStringLiteral("stderr"))).constData();
  }
  QByteArray printed() const { return contentsOf(m_home.filePath(QStringLiteral("stderr"))); }
  QByteArray captured() const {
    return contentsOf(m_home.filePath(QStringLiteral("Tessaly/Larkspur/AppDatas/Log/mtpCapture.log")));
  }

private:
  pid_t start(std::vector<std::string> command, posix_spawn_file_actions_t* actions) {
    std::vector<char*> arguments;
    for (std::string& argument : command)
      arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const std::string home = m_home.path().toStdString();
    Environment environment({"HOME=" + home, "XDG_CONFIG_HOME=" + home + "/.config", "XDG_DATA_HOME=" + home + "/.data",
                             "DBUS_SESSION_BUS_ADDRESS=" + m_bus.address().toStdString(), "QT_QPA_PLATFORM=offscreen",
                             "MTPBROWSER_VIRTUAL_PHONE=never"});
    pid_t process = -1;
    EXPECT_EQ(::posix_spawnp(&process, arguments[0], actions, nullptr, arguments.data(), environment.get()), 0);
    return process;
  }

  QTemporaryDir m_home;
  testsupport::PrivateBus m_bus;
  pid_t m_program = -1;
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
  stop();
  set("START_UMS_NOTIFIER=true");
  run();
  EXPECT_TRUE(QTest::qWaitFor([this] { return printed().contains("Registered with notification center"); }, kPatience))
      << printed().constData();
}

INSTANTIATE_TEST_SUITE_P(Sender, SupportTool, testing::Values("gdbus", "busctl"),
                         [](const auto& info) { return std::string(info.param); });
