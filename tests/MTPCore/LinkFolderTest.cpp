#include "MTPCore/LinkFolder.h"

#include "MTPCore/CapturedLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

constexpr AccessFace face{"Face", "pre", true};

class LinkFolderOfTest : public testing::Test {
protected:
  QString write(const char* name, const QByteArray& content) {
    const QString path = folder.filePath(QString::fromUtf8(name));
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write(content), content.size());
    return path;
  }
  static QByteArray read(const std::optional<QString>& path) {
    QFile file(path.value_or(QString()));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
  }
  static bool isComposed(const QString& text) { return text == text.normalized(QString::NormalizationForm_C); }

  QTemporaryDir folder;
  const LinkFolder links{folder.filePath("links"), AccessLog(face, {"any.cpp", 1, "bool Any::operation()"})};
  CapturedLog log;
};

} // namespace

TEST_F(LinkFolderOfTest, ADecomposedSpellingOfAComposedNameOpensTheFileItself) {
  const QString composed = write("\u00E9.txt", "text");
  EXPECT_EQ(links.openablePath(folder.filePath(QString::fromUtf8("e\u0301.txt"))), composed);
  EXPECT_FALSE(QFile::exists(folder.filePath("links")));
}

TEST_F(LinkFolderOfTest, OfTwoFilesWhoseNamesDifferInSpellingEachOneIsItself) {
  const QString composed = write("\u00E9.txt", "composed");
  const QString decomposed = write("e\u0301.txt", "decomposed");
  EXPECT_EQ(read(links.openablePath(composed)), "composed");
  EXPECT_EQ(read(links.openablePath(decomposed)), "decomposed");
}

TEST_F(LinkFolderOfTest, SpellingsThatShareALinkGetItOneAfterTheOther) {
  const QString first = write("A\u030A.txt", "letter and ring");
  const QString second = write("\u212B.txt", "unit sign");
  const auto link = links.openablePath(first);
  EXPECT_EQ(read(link), "letter and ring");
  EXPECT_EQ(links.openablePath(second), link);
  EXPECT_EQ(read(link), "unit sign");
  EXPECT_EQ(links.openablePath(first), link);
  EXPECT_EQ(read(link), "letter and ring");
}

TEST_F(LinkFolderOfTest, AFolderWithADecomposedNameIsBridgedToo) {
  const QString path = write("Da\u0308/plain.txt", "text");
  const auto link = links.openablePath(path);
  ASSERT_TRUE(link);
  EXPECT_EQ(*link, folder.filePath("links") + folder.path() + QString::fromUtf8("/D\u00E4/plain.txt"));
  EXPECT_TRUE(isComposed(*link));
  EXPECT_EQ(read(link), "text");
}

TEST_F(LinkFolderOfTest, ALinkWhoseFileWasReplacedLeadsToTheNewOne) {
  const QString path = write("e\u0301.txt", "old");
  const auto link = links.openablePath(path);
  ASSERT_TRUE(QFile::remove(path));
  write("e\u0301.txt", "new");
  EXPECT_EQ(links.openablePath(path), link);
  EXPECT_EQ(read(link), "new");
}

TEST_F(LinkFolderOfTest, AFileInTheLinksPlaceIsNeitherSentNorRemoved) {
  const QString path = write("e\u0301.txt", "wanted");
  const auto link = links.openablePath(path);
  ASSERT_TRUE(link);
  ASSERT_TRUE(QFile::remove(*link));
  QFile stranger(*link);
  ASSERT_TRUE(stranger.open(QIODevice::WriteOnly));
  stranger.close();
  EXPECT_EQ(links.openablePath(path), std::nullopt);
  EXPECT_TRUE(stranger.exists());
  EXPECT_TRUE(log.hasPart("File exists"));
}

TEST_F(LinkFolderOfTest, ANamedPipeDoesNotBlock) {
  const QString pipe = folder.filePath(QString::fromUtf8("\u00E9"));
  ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
  EXPECT_EQ(links.openablePath(folder.filePath(QString::fromUtf8("e\u0301"))), pipe);
}

TEST_F(LinkFolderOfTest, APathThatCannotGetALinkIsAnsweredWithNothing) {
  EXPECT_EQ(links.openablePath(folder.filePath(QString("e\u0301/").repeated(3000) + "x")), std::nullopt);
  EXPECT_TRUE(log.hasPart("cannot be made") || log.hasPart("Error making link"));
  EXPECT_TRUE(log.hasPart("[Face.cpp:Face::operation-("));
}
