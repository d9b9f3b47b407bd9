#include "Platform/DownloadMark.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/xattr.h>

#include <cerrno>
#include <string>

namespace {

class DownloadMark : public testing::Test {
protected:
  void SetUp() override {
    QFile created(file);
    ASSERT_TRUE(created.open(QIODevice::WriteOnly));
    ASSERT_EQ(created.write("abc"), 3);
  }
  std::string attribute() const {
    char text[256] = {};
    const ssize_t size = ::getxattr(QFile::encodeName(file).constData(), "user.xdg.origin.url", text, sizeof text - 1);
    return size >= 0 ? std::string(text, size_t(size)) : "(none)";
  }

  QTemporaryDir folder;
  const QString file = folder.filePath(QString::fromUtf8("Ébène 🎵.mp3"));
};

} // namespace

TEST_F(DownloadMark, IsTheAttributeThatDesktopsReadAndALaterOneReplacesIt) {
  const int error = platform::setDownloadMark(file, "mtp:///M/Card/a.jpg");
  if (error == ENOTSUP)
    GTEST_SKIP() << "The folder for temporary files keeps no extended attributes.";
  EXPECT_EQ(error, 0);
  EXPECT_EQ(attribute(), "mtp:///M/Card/a.jpg");
  EXPECT_EQ(platform::setDownloadMark(file, "mtp:///M/b"), 0);
  EXPECT_EQ(attribute(), "mtp:///M/b");
}

TEST_F(DownloadMark, LeavesTheContentsAndTheModificationDateAlone) {
  const QDateTime date(QDate(2019, 3, 4), QTime(5, 6, 7));
  {
    QFile dated(file);
    ASSERT_TRUE(dated.open(QIODevice::ReadWrite));
    ASSERT_TRUE(dated.setFileTime(date, QFileDevice::FileModificationTime));
  }
  platform::setDownloadMark(file, "mtp:///M/Card/a.jpg");
  EXPECT_EQ(QFileInfo(file).lastModified(), date);
  EXPECT_EQ(QFileInfo(file).size(), 3);
}

TEST_F(DownloadMark, OfAMissingFileGivesTheSystemsErrorNumber) {
  EXPECT_EQ(platform::setDownloadMark(folder.filePath("missing"), "mtp:///M/b"), ENOENT);
}

TEST_F(DownloadMark, WhereNoAttributesAreKeptGivesAnErrorNumberAndDoesNothingElse) {
  EXPECT_NE(platform::setDownloadMark("/proc/self/status", "mtp:///M/b"), 0);
}
