#include "Platform/LogLimit.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr platform::LogSizes kSizes{1000, 200, 300};

class LogLimit : public testing::Test {
protected:
  LogLimit()
      : m_file(::open(QFile::encodeName(path()).constData(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600)) {}
  ~LogLimit() override { ::close(m_file); }

  QString path() const { return m_folder.filePath(QStringLiteral("log")); }
  void append(const QByteArray& bytes) {
    ASSERT_EQ(::write(m_file, bytes.constData(), size_t(bytes.size())), bytes.size());
  }
  // Lines of 10 bytes, numbered on.
  void appendLines(int count) {
    QByteArray lines;
    for (int i = 0; i < count; ++i)
      lines += "line " + QByteArray::number(m_next++).rightJustified(4, '0') + '\n';
    append(lines);
  }
  QByteArray contents() const {
    QFile file(path());
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
  }
  static QByteArray noteOf(qint64 bytes) {
    return "# " + QByteArray::number(bytes) +
           " bytes of the log have been left out here: it is kept below 1000 bytes\n";
  }

  QTemporaryDir m_folder;
  int m_file;
  int m_next = 0;
  platform::LogShortener m_shortener{m_file, kSizes, [](const QByteArray& message) { return "# " + message + '\n'; }};
};

TEST_F(LogLimit, AFileUpToItsMostIsLeftAlone) {
  appendLines(100);
  const QByteArray before = contents();
  ASSERT_EQ(before.size(), 1000);
  m_shortener.shortenIfTooBig();
  EXPECT_EQ(contents(), before);
}

TEST_F(LogLimit, ABiggerOneKeepsWholeLinesOfItsBeginningAndItsEndAndSaysWhatIsMissing) {
  append("first\n");
  appendLines(100);
  m_shortener.shortenIfTooBig();
  const QList<QByteArray> lines = contents().split('\n');
  ASSERT_EQ(lines.size(), 1 + 19 + 1 + 29 + 1); // the last one is what stands behind the last line's end
  EXPECT_EQ(lines.first(), "first");
  EXPECT_EQ(lines.at(19), "line 0018");
  EXPECT_EQ(lines.at(20) + '\n', noteOf(1006 - 6 - 190 - 290));
  EXPECT_EQ(lines.at(21), "line 0071");
  EXPECT_EQ(lines.at(49), "line 0099");
}

TEST_F(LogLimit, WhatIsWrittenNextStandsAtTheEnd) {
  appendLines(101);
  m_shortener.shortenIfTooBig();
  appendLines(1);
  EXPECT_TRUE(contents().endsWith("line 0100\nline 0101\n"));
}

TEST_F(LogLimit, ShortenedAgainItSaysOnceHowMuchIsMissingInAll) {
  appendLines(101);
  m_shortener.shortenIfTooBig();
  appendLines(101);
  m_shortener.shortenIfTooBig();
  const QByteArray after = contents();
  EXPECT_EQ(after.count("left out"), 1);
  EXPECT_TRUE(after.startsWith("line 0000\n"));
  EXPECT_TRUE(after.endsWith("line 0201\n"));
  const qint64 kept = after.count("line ") * 10;
  EXPECT_TRUE(after.contains(noteOf(2020 - kept))) << after.constData();
}

TEST_F(LogLimit, OneLineWithoutAnEndIsCutAsWell) {
  append(QByteArray(5000, 'x'));
  m_shortener.shortenIfTooBig();
  EXPECT_LE(contents().size(), kSizes.most);
  EXPECT_TRUE(contents().startsWith(QByteArray(200, 'x')));
}

TEST_F(LogLimit, AFileThatWasTakenAwayIsShortenedWhereItIs) {
  appendLines(101);
  ASSERT_TRUE(QFile::rename(path(), m_folder.filePath(QStringLiteral("taken"))));
  m_shortener.shortenIfTooBig();
  EXPECT_FALSE(QFile::exists(path()));
  EXPECT_LT(QFile(m_folder.filePath(QStringLiteral("taken"))).size(), 1000);
}

} // namespace
