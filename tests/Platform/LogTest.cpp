#include "Platform/Log.h"

#include "support/LogCapture.h"

#include <QRegularExpression>
#include <QTemporaryFile>

#include <gtest/gtest.h>

#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// What reaches descriptor 2 while `work` runs.
QByteArray standardErrorDuring(const std::function<void()>& work) {
  QTemporaryFile file;
  EXPECT_TRUE(file.open());
  const int saved = ::dup(STDERR_FILENO);
  ::dup2(file.handle(), STDERR_FILENO);
  work();
  ::dup2(saved, STDERR_FILENO);
  ::close(saved);
  file.seek(0);
  return file.readAll();
}

void freeFunction() {
  MTPB_LOG("ENTER");
}

struct Notifier {
  void registerNotification() const { MTPB_LOG("value %d of %s", 7, "x"); }
};

} // namespace

TEST(Log, ALineNamesFileFunctionAndLine) {
  const testsupport::LogCapture log;
  freeFunction();
  Notifier().registerNotification();
  ASSERT_EQ(log.lines().size(), 2);
  EXPECT_TRUE(QRegularExpression(QStringLiteral(R"(^\[LogTest\.cpp:freeFunction-\(\d+\)\] ENTER$)"))
                  .match(log.lines().at(0))
                  .hasMatch())
      << qPrintable(log.lines().at(0));
  EXPECT_TRUE(
      QRegularExpression(QStringLiteral(R"(^\[LogTest\.cpp:Notifier::registerNotification-\(\d+\)\] value 7 of x$)"))
          .match(log.lines().at(1))
          .hasMatch())
      << qPrintable(log.lines().at(1));
}

TEST(Log, APlainLineIsTheMessageAlone) {
  const testsupport::LogCapture log;
  MTPB_LOG_PLAIN("start Capture");
  EXPECT_EQ(log.lines(), QStringList{QStringLiteral("start Capture")});
}

TEST(Log, StandardErrorGetsATimeStampAndTheProcess) {
  const QByteArray written = standardErrorDuring([] { MTPB_LOG_PLAIN("hello"); });
  EXPECT_TRUE(
      QRegularExpression(QStringLiteral(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} MTPBrowser\[\d+:\d+\] hello\n$)"))
          .match(QString::fromUtf8(written))
          .hasMatch())
      << written.constData();
}

TEST(Log, AMessageWithLineEndsAndEscapesStaysOneHarmlessLine) {
  const QByteArray written = standardErrorDuring([] { MTPB_LOG_PLAIN("a\nforged\x1b[2J\x7f\tb"); });
  EXPECT_TRUE(written.endsWith("a\\nforged\\x1b[2J\\x7f\tb\n")) << written.constData();
  EXPECT_EQ(written.count('\n'), 1);
  const QByteArray eightBit = standardErrorDuring([] { MTPB_LOG_PLAIN("\u009b2J\u0080\u00a0\u00c2\u0b5b"); });
  EXPECT_TRUE(eightBit.endsWith("\\x9b2J\\x80\u00a0\u00c2\u0b5b\n")) << eightBit.constData();
}

TEST(Log, TextsInAnyScriptAndOfAnyLengthArrive) {
  const testsupport::LogCapture log;
  const QString longName = QString(100'000, u'ä') + QStringLiteral("한국어");
  MTPB_LOG_PLAIN("%s", qUtf8Printable(longName));
  MTPB_LOG_PLAIN("%s", "\xff\xfe broken UTF-8");
  ASSERT_EQ(log.lines().size(), 2);
  EXPECT_EQ(log.lines().at(0), longName);
  EXPECT_TRUE(log.lines().at(1).endsWith(QStringLiteral(" broken UTF-8")));
}

TEST(Log, LinesOfManyThreadsNeverMix) {
  const QByteArray written = standardErrorDuring([] {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
      threads.emplace_back([i] {
        const QByteArray text(500, char('a' + i));
        for (int line = 0; line < 200; ++line)
          MTPB_LOG_PLAIN("<%s>", text.constData());
      });
    for (std::thread& thread : threads)
      thread.join();
  });
  const QList<QByteArray> lines = written.split('\n');
  ASSERT_EQ(lines.size(), 801); // the last one is empty
  for (const QByteArray& line : lines.first(800)) {
    const QByteArray body = line.mid(line.indexOf('<') + 1).chopped(1);
    ASSERT_EQ(body.size(), 500);
    ASSERT_EQ(body.count(body.front()), 500);
  }
}

TEST(Log, FunctionNamesAreCutFromTheCompilersSpelling) {
  const auto name = [](const char* spelling) { return platform::functionNameForLog(spelling); };
  EXPECT_EQ(name("virtual void Class::operation(int) const"), QStringLiteral("Class::operation"));
  EXPECT_EQ(name("void DeviceAdded(void*, int)"), QStringLiteral("DeviceAdded"));
  EXPECT_EQ(name("int main(int, char**)"), QStringLiteral("main"));
  EXPECT_EQ(name("std::map<int, std::function<void(int)> > Class::lists(bool)"), QStringLiteral("Class::lists"));
  EXPECT_EQ(name("void {anonymous}::helper()"), QStringLiteral("helper"));
  EXPECT_EQ(name("void (anonymous namespace)::helper()"), QStringLiteral("helper"));
  EXPECT_EQ(name("const char* nameOf(int)"), QStringLiteral("nameOf"));
  EXPECT_EQ(name("Class::Class(const QString&)"), QStringLiteral("Class::Class"));
  EXPECT_EQ(name("Class::run(int)::<lambda()>"), QStringLiteral("Class::run"));
  EXPECT_EQ(name("plain"), QStringLiteral("plain"));
  EXPECT_EQ(name(""), QString());
}
