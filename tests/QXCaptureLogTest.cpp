#include "QXCaptureLog.h"

#include "Platform/Log.h"
#include "Platform/SystemVersion.h"
#include "support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <plist/plist.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using platform::ScopedSystemVersion;
using platform::SystemVersion;

namespace {

const QString kNoInfo = QStringLiteral("MTP SDK info file is not existed.");

// The messages of a log file's lines, without time stamp and process.
QStringList messages(const QString& path) {
  QFile file(path);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
  QStringList found;
  for (const QByteArray& line : file.readAll().split('\n'))
    if (!line.isEmpty())
      found << QString::fromUtf8(line.mid(line.indexOf("] ") + 2));
  return found;
}

class CaptureLog : public testing::Test {
protected:
  QString path(const char* name) const { return m_folder.filePath(QString::fromUtf8(name)); }
  QString write(const char* name, const QByteArray& contents) const {
    QFile file(path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(contents);
    return file.fileName();
  }
  // What printMTPSDKVersion() says of an information file with these contents.
  QString versionLine(const QByteArray& contents) const {
    const testsupport::LogCapture lines;
    const QXCaptureLog log(path("v.log"), write("Info.plist", contents));
    const qsizetype before = lines.lines().size();
    log.printMTPSDKVersion();
    EXPECT_EQ(lines.lines().size(), before + 1);
    return lines.lines().last();
  }
  QString logPath() const { return path("Log/mtpCapture.log"); }
  QTemporaryDir m_folder;
};

constexpr char kXmlHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">";

} // namespace

TEST_F(CaptureLog, TheFirstStartCreatesTheFolderAndTheFileWhichBeginsWithThreeLines) {
  const ScopedSystemVersion version(SystemVersion{14, 4, 1});
  QXCaptureLog log(logPath(), path("none.plist"));
  EXPECT_TRUE(QFileInfo(path("Log")).isDir());
  EXPECT_TRUE(QFileInfo(logPath()).isFile());
  log.startCapture();
  EXPECT_TRUE(log.isStarted());
  MTPB_LOG_PLAIN("a line of the program");
  log.stopCapture();
  EXPECT_FALSE(log.isStarted());
  EXPECT_EQ(messages(logPath()),
            (QStringList{QStringLiteral("start Capture"), QStringLiteral("macOS 14.4.1"), kNoInfo,
                         QStringLiteral("a line of the program"), QStringLiteral("stop Capture")}));
}

TEST_F(CaptureLog, AnUnknownSystemVersionIsAllZeros) {
  const ScopedSystemVersion version(std::nullopt);
  QXCaptureLog log(logPath(), path("none.plist"));
  log.startCapture();
  log.stopCapture();
  EXPECT_EQ(messages(logPath()).value(1), QStringLiteral("macOS 0.0.0"));
}

TEST_F(CaptureLog, ASecondStartWhileStartedChangesNothing) {
  QXCaptureLog log(logPath(), path("none.plist"));
  log.startCapture();
  MTPB_LOG_PLAIN("before");
  log.startCapture();
  MTPB_LOG_PLAIN("after");
  log.stopCapture();
  const QStringList lines = messages(logPath());
  EXPECT_EQ(lines.count(QStringLiteral("start Capture")), 1);
  EXPECT_EQ(lines.mid(3),
            (QStringList{QStringLiteral("before"), QStringLiteral("after"), QStringLiteral("stop Capture")}));
}

TEST_F(CaptureLog, AStopWhileStoppedChangesNothing) {
  QXCaptureLog log(logPath(), path("none.plist"));
  const testsupport::LogCapture lines;
  log.stopCapture();
  EXPECT_TRUE(lines.lines().isEmpty());
  EXPECT_EQ(QFileInfo(logPath()).size(), 0);
}

TEST_F(CaptureLog, StartingAgainAfterAStopEmptiesTheFile) {
  QXCaptureLog log(logPath(), path("none.plist"));
  log.startCapture();
  MTPB_LOG_PLAIN("of the first capture");
  log.stopCapture();
  log.startCapture();
  MTPB_LOG_PLAIN("of the second capture");
  log.stopCapture();
  const QStringList lines = messages(logPath());
  EXPECT_EQ(lines.first(), QStringLiteral("start Capture"));
  EXPECT_FALSE(lines.contains(QStringLiteral("of the first capture")));
  EXPECT_TRUE(lines.contains(QStringLiteral("of the second capture")));
}

TEST_F(CaptureLog, StoppingGivesStandardErrorBackItsDestination) {
  const QString terminal = write("terminal", "");
  QFile file(terminal);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  const int saved = ::dup(STDERR_FILENO);
  ::dup2(file.handle(), STDERR_FILENO);
  {
    QXCaptureLog log(logPath(), path("none.plist"));
    log.startCapture();
    MTPB_LOG_PLAIN("into the file");
    log.stopCapture();
    MTPB_LOG_PLAIN("onto the terminal");
    log.startCapture();
  } // the end of the object stops too
  MTPB_LOG_PLAIN("and again");
  ::dup2(saved, STDERR_FILENO);
  ::close(saved);
  const QStringList lines = messages(terminal);
  EXPECT_FALSE(lines.contains(QStringLiteral("into the file")));
  EXPECT_EQ(lines.mid(lines.size() - 2),
            (QStringList{QStringLiteral("onto the terminal"), QStringLiteral("and again")}));
}

TEST_F(CaptureLog, LinesOfOtherThreadsLandWholeInOneOfTheTwoPlaces) {
  const QString terminal = write("terminal", "");
  QFile file(terminal);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Append));
  const int saved = ::dup(STDERR_FILENO);
  ::dup2(file.handle(), STDERR_FILENO);
  {
    QXCaptureLog log(logPath(), path("none.plist"));
    std::thread writer([] {
      for (int line = 0; line < 5000; ++line)
        MTPB_LOG_PLAIN("<thread>");
    });
    for (int round = 0; round < 50; ++round) {
      log.startCapture();
      log.stopCapture();
    }
    writer.join();
  }
  ::dup2(saved, STDERR_FILENO);
  ::close(saved);
  for (const QString& line : messages(terminal) + messages(logPath())) {
    const bool whole = line == u"<thread>" || line == u"start Capture" || line == u"stop Capture" || line == kNoInfo ||
                       line.startsWith(u"macOS ") || line.startsWith(u"File created") || line.startsWith(u"No error");
    ASSERT_TRUE(whole) << qPrintable(line);
  }
}

TEST_F(CaptureLog, AFileThatCannotBeOpenedLosesTheLinesButCountsAsStarted) {
  const QString terminal = write("terminal", "");
  QFile file(terminal);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  QXCaptureLog log(logPath(), path("none.plist"));
  ASSERT_TRUE(QFile::remove(logPath()));
  ASSERT_TRUE(QDir().mkpath(logPath())); // a folder stands in its place
  const int saved = ::dup(STDERR_FILENO);
  ::dup2(file.handle(), STDERR_FILENO);
  log.startCapture();
  EXPECT_TRUE(log.isStarted());
  MTPB_LOG_PLAIN("lost");
  log.stopCapture();
  MTPB_LOG_PLAIN("found");
  ::dup2(saved, STDERR_FILENO);
  ::close(saved);
  EXPECT_EQ(messages(terminal),
            (QStringList{logPath() + QStringLiteral(" cannot be opened, nothing will be logged: Is a directory"),
                         QStringLiteral("found")}));
}

TEST_F(CaptureLog, AFifoInTheFilesPlaceIsNotWaitedFor) {
  QXCaptureLog log(logPath(), path("none.plist"));
  ASSERT_TRUE(QFile::remove(logPath()));
  ASSERT_EQ(::mkfifo(QFile::encodeName(logPath()).constData(), 0600), 0);
  const testsupport::LogCapture lines;
  log.startCapture();
  EXPECT_TRUE(log.isStarted());
  EXPECT_EQ(lines.lines().first(),
            logPath() + QStringLiteral(" cannot be opened, nothing will be logged: Invalid argument"));
  log.stopCapture();
  const QXCaptureLog again(logPath(), path("none.plist")); // nor by the making
}

TEST_F(CaptureLog, OnlyTheOwnerMayReadTheFileEvenOneFromBefore) {
  const auto mode = [](const QString& file) {
    return QFileInfo(file).permissions() & QFileDevice::Permissions(0x0fff);
  };
  const auto ownerOnly = QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ReadOwner |
                         QFileDevice::WriteOwner; // we are the owner
  const mode_t mask = ::umask(0);
  QXCaptureLog log(logPath(), path("none.plist"));
  ::umask(mask);
  EXPECT_EQ(mode(logPath()) & ~ownerOnly, QFileDevice::Permissions());
  const QString before = write("before.log", "old");
  ASSERT_TRUE(QFile::setPermissions(before, ownerOnly | QFileDevice::ReadOther));
  QXCaptureLog other(before, path("none.plist"));
  other.startCapture();
  other.stopCapture();
  EXPECT_EQ(mode(before) & ~ownerOnly, QFileDevice::Permissions());
}

TEST_F(CaptureLog, AFileThatGrowsWithoutEndKeepsItsBeginningAndItsEnd) {
  QXCaptureLog log(logPath(), path("none.plist"), {4000, 1000, 1500});
  log.startCapture();
  for (int line = 0; line < 1000; ++line) {
    MTPB_LOG_PLAIN("line %d", line);
    ASSERT_LE(QFileInfo(logPath()).size(), 4100);
  }
  log.stopCapture();
  const QStringList lines = messages(logPath());
  EXPECT_EQ(lines.first(), QStringLiteral("start Capture"));
  EXPECT_EQ(lines.at(3), QStringLiteral("line 0"));
  EXPECT_EQ(lines.filter(QStringLiteral("have been left out here")).size(), 1);
  EXPECT_EQ(lines.mid(lines.size() - 2), (QStringList{QStringLiteral("line 999"), QStringLiteral("stop Capture")}));
}

TEST_F(CaptureLog, LinesAfterAStopAreNotCountedAgainstTheFile) {
  const QString terminal = write("terminal", "");
  QFile file(terminal);
  ASSERT_TRUE(file.open(QIODevice::ReadWrite | QIODevice::Append));
  const int saved = ::dup(STDERR_FILENO);
  ::dup2(file.handle(), STDERR_FILENO);
  QXCaptureLog log(logPath(), path("none.plist"), {4000, 1000, 1500});
  log.startCapture();
  log.stopCapture();
  const qint64 captured = QFileInfo(logPath()).size();
  for (int line = 0; line < 200; ++line)
    MTPB_LOG_PLAIN("line %d", line);
  ::dup2(saved, STDERR_FILENO);
  ::close(saved);
  EXPECT_EQ(QFileInfo(logPath()).size(), captured);
  EXPECT_EQ(messages(terminal).filter(QStringLiteral("line ")).size(), 200);
}

TEST_F(CaptureLog, CapturingWorksForAProcessStartedWithoutStandardError) {
  const int saved = ::dup(STDERR_FILENO);
  ::close(STDERR_FILENO);
  {
    QXCaptureLog log(logPath(), path("none.plist"));
    log.startCapture();
    MTPB_LOG_PLAIN("captured");
    log.stopCapture();
  }
  ::dup2(saved, STDERR_FILENO);
  ::close(saved);
  EXPECT_TRUE(messages(logPath()).contains(QStringLiteral("captured")));
}

TEST_F(CaptureLog, CreatingTheFileIsLoggedAsASuccess) {
  const testsupport::LogCapture lines;
  const QXCaptureLog log(logPath());
  EXPECT_EQ(lines.lines(), (QStringList{QStringLiteral("No error details available"),
                                        QStringLiteral("File created successfully at ") + logPath()}));
}

TEST_F(CaptureLog, AFileThatIsThereIsKept) {
  write("there.log", "old lines\n");
  const testsupport::LogCapture lines;
  const QXCaptureLog log(path("there.log"));
  EXPECT_EQ(lines.lines(), QStringList{QStringLiteral("File already exists at ") + path("there.log")});
  EXPECT_EQ(QFileInfo(path("there.log")).size(), 10);
}

TEST_F(CaptureLog, AFolderThatCannotBeCreatedIsLoggedInFiveLines) {
  write("file", "not a folder");
  const testsupport::LogCapture lines;
  const QXCaptureLog log(path("file/Log/mtpCapture.log"));
  const QStringList got = lines.lines();
  ASSERT_EQ(got.size(), 5);
  const char* const beginnings[] = {"Error: ", "Failure Reason: ", "Recovery Suggestion: ", "Error Code: ", "Domain: "};
  for (int i = 0; i < 5; ++i)
    EXPECT_TRUE(got.at(i).startsWith(QLatin1String(beginnings[i])) &&
                got.at(i).size() > qsizetype(qstrlen(beginnings[i])))
        << qPrintable(got.at(i));
}

TEST_F(CaptureLog, AFileThatCannotBeCreatedInItsFolderIsLogged) {
  const QString nameTooLong = m_folder.filePath(QString(300, u'n'));
  const testsupport::LogCapture lines;
  const QXCaptureLog log(nameTooLong);
  EXPECT_EQ(lines.lines().last(), QStringLiteral("Failed to create file at ") + nameTooLong);
}

TEST_F(CaptureLog, TheDefaultOneStaysTheFirstOneWithItsFirstPath) {
  static QTemporaryDir first; // the default one lives as long as the process
  QXCaptureLog& log = QXCaptureLog::defaultCaptureLog(first.path());
  EXPECT_EQ(log.filePath(), first.path() + QStringLiteral("/Log/mtpCapture.log"));
  EXPECT_EQ(&QXCaptureLog::defaultCaptureLog(m_folder.path()), &log);
  EXPECT_EQ(log.filePath(), first.path() + QStringLiteral("/Log/mtpCapture.log"));
  EXPECT_FALSE(QFileInfo::exists(path("Log")));
}

TEST_F(CaptureLog, TheDriversVersionIsReadFromAnXmlPropertyList) {
  EXPECT_EQ(versionLine(QByteArray(kXmlHead) +
                        "<dict><key>A</key><integer>1</integer>"
                        "<key>CFBundleShortVersionString</key><string>2.9.5</string></dict></plist>"),
            QStringLiteral("MTP SDK Version is 2.9.5"));
}

TEST_F(CaptureLog, TheDriversVersionIsReadFromABinaryPropertyList) {
  const plist_t dictionary = plist_new_dict();
  plist_dict_set_item(dictionary, "CFBundleShortVersionString", plist_new_string("3.0.1"));
  char* bytes = nullptr;
  uint32_t length = 0;
  plist_to_bin(dictionary, &bytes, &length);
  const QByteArray contents(bytes, length);
  std::free(bytes);
  plist_free(dictionary);
  ASSERT_TRUE(contents.startsWith("bplist"));
  EXPECT_EQ(versionLine(contents), QStringLiteral("MTP SDK Version is 3.0.1"));
}

TEST_F(CaptureLog, AnInformationFileWithoutAVersionTextNamesNone) {
  EXPECT_EQ(versionLine(QByteArray(kXmlHead) + "<dict></dict></plist>"), QStringLiteral("MTP SDK Version is (null)"));
  EXPECT_EQ(versionLine(QByteArray(kXmlHead) + "<array></array></plist>"), QStringLiteral("MTP SDK Version is (null)"));
  EXPECT_EQ(versionLine(QByteArray(kXmlHead) +
                        "<dict><key>CFBundleShortVersionString</key><integer>3</integer></dict></plist>"),
            QStringLiteral("MTP SDK Version is (null)"));
}

TEST_F(CaptureLog, AnInformationFileThatIsNoPropertyListIsLoggedWithItsForm) {
  const QString none = versionLine("no property list at all");
  EXPECT_TRUE(none.startsWith(QStringLiteral("Error reading plist: "))) << qPrintable(none);
  EXPECT_TRUE(none.endsWith(QStringLiteral(", format: 0"))) << qPrintable(none);
  EXPECT_TRUE(versionLine(QByteArray("bplist00\xff\xff\xff", 11)).endsWith(QStringLiteral(", format: 200")));
  EXPECT_TRUE(versionLine("<?xml version=\"1.0\"?><html/>").endsWith(QStringLiteral(", format: 100")));
  EXPECT_TRUE(versionLine("").startsWith(QStringLiteral("Error reading plist: ")));
}

TEST_F(CaptureLog, AnInformationFileCutAnywhereNeverCrashes) {
  const QByteArray whole =
      QByteArray(kXmlHead) + "<dict><key>CFBundleShortVersionString</key><string>2.9.5</string></dict></plist>";
  for (qsizetype length = 0; length < whole.size(); ++length) {
    const QString line = versionLine(whole.first(length));
    EXPECT_TRUE(line.startsWith(QStringLiteral("Error reading plist: ")) ||
                line.startsWith(QStringLiteral("MTP SDK Version is ")))
        << length;
  }
}
