#include "SBrowser/UploadPlanner.h"

#include "MTPCore/CapturedLog.h"
#include "MTPCore/MTPSDKUtil.h"

#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

class UploadPlannerTest : public testing::Test {
protected:
  QString write(const QString& relativePath, int bytes = 3) const {
    const QString path = root.filePath(relativePath);
    QDir().mkpath(path.left(path.lastIndexOf(u'/')));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(bytes, 'x'));
    return path;
  }
  void makeFolder(const QString& relativePath) const { QDir().mkpath(root.filePath(relativePath)); }
  void link(const QString& target, const QString& relativePath) const {
    ASSERT_EQ(::symlink(QFile::encodeName(target).constData(), QFile::encodeName(root.filePath(relativePath))), 0);
  }
  std::optional<UploadPlanner::Plan> list(const QString& subFolder) {
    UploadPlanner planner([this] { return --asksUntilCancel < 0; },
                          [this](const QString& name, std::uint32_t status) {
                            leftOut.append(status == 0 ? name : name + u' ' + QString::number(status, 16));
                          });
    return planner.getListFileInMacFolder(root.path(), subFolder, total);
  }
  /// "source|sub-folder|size|type"; the sources below the root without it.
  QStringList lines(const std::optional<UploadPlanner::Plan>& plan) const {
    QStringList result;
    for (const auto& entry : plan.value_or(UploadPlanner::Plan()))
      result.append(entry->srcPath().replace(root.path() + u'/', QStringLiteral("~/")) + u'|' + entry->subFolderPath() +
                    u'|' + QString::number(entry->fileSize()) + u'|' + QString::number(entry->objectType()));
    return result;
  }

  QTemporaryDir root;
  std::uint64_t total = 77;
  QStringList leftOut;
  int asksUntilCancel = 1'000'000;
};

} // namespace

TEST_F(UploadPlannerTest, AFolderIsFollowedByWhatItHoldsWithRelativePaths) {
  write(QStringLiteral("Photos/2019/a.jpg"), 5);
  write(QStringLiteral("Photos/b.jpg"), 7);
  makeFolder(QStringLiteral("Photos/Empty"));
  EXPECT_EQ(lines(list(QStringLiteral("Photos"))),
            QStringList({"Photos/2019|Photos|0|3", "~/Photos/2019/a.jpg|Photos/2019|5|5", "Photos/Empty|Photos|0|3",
                         "~/Photos/b.jpg|Photos|7|5"}));
  EXPECT_EQ(total, 12U);
  EXPECT_EQ(leftOut, QStringList());
}

TEST_F(UploadPlannerTest, WithoutSubFolderTheBaseItselfIsListed) {
  write(QStringLiteral("a.txt"), 1);
  write(QStringLiteral("in/b.txt"), 2);
  EXPECT_EQ(lines(list(QString())), QStringList({"~/a.txt||1|5", "in||0|3", "~/in/b.txt|in|2|5"}));
}

TEST_F(UploadPlannerTest, AnEntrysNameIsTheLastComponentOfItsSource) {
  write(QStringLiteral("P/q/r.txt"));
  const auto plan = list(QStringLiteral("P"));
  ASSERT_EQ(plan->size(), 2U);
  EXPECT_EQ((*plan)[0]->fileName(), QStringLiteral("q"));
  EXPECT_EQ((*plan)[1]->fileName(), QStringLiteral("r.txt"));
}

TEST_F(UploadPlannerTest, TheDesktopsOwnFilesAreLeftOutSilently) {
  write(QStringLiteral("P/.DS_Store"));
  write(QStringLiteral("P/.hidden"));
  EXPECT_EQ(lines(list(QStringLiteral("P"))), QStringList({"~/P/.hidden|P|3|5"}));
  EXPECT_EQ(leftOut, QStringList());
}

TEST_F(UploadPlannerTest, AFolderThatCannotBeListedIsEmptyAndLeftOutWithTheReason) {
  const auto plan = list(QStringLiteral("absent"));
  ASSERT_TRUE(plan.has_value());
  EXPECT_TRUE(plan->empty());
  EXPECT_EQ(leftOut, QStringList{QStringLiteral("absent/* ") + QString::number(DGSTATUS_FILE_OPEN_FAILED, 16)});
}

TEST_F(UploadPlannerTest, CanceledAtTheBeginningNothingComesOfIt) {
  write(QStringLiteral("P/a"));
  asksUntilCancel = 0;
  EXPECT_FALSE(list(QStringLiteral("P")).has_value());
}

TEST_F(UploadPlannerTest, CanceledBeforeANameThePartialResultIsDropped) {
  write(QStringLiteral("P/a"));
  write(QStringLiteral("P/b"));
  asksUntilCancel = 2; // at the beginning and before "a"
  EXPECT_FALSE(list(QStringLiteral("P")).has_value());
}

TEST_F(UploadPlannerTest, ALinkStandsForTheFileItLeadsTo) {
  const QString target = write(QStringLiteral("elsewhere/long.txt"), 1234);
  makeFolder(QStringLiteral("P"));
  link(target, QStringLiteral("P/link"));
  EXPECT_EQ(lines(list(QStringLiteral("P"))), QStringList({"~/P/link|P|1234|5"}));
  EXPECT_EQ(total, 1234U);
}

TEST_F(UploadPlannerTest, LinksToFoldersAndToNothingAreLeftOut) {
  makeFolder(QStringLiteral("P/inner"));
  link(root.filePath(QStringLiteral("P")), QStringLiteral("P/inner/round")); // in circles
  link(QStringLiteral("/nowhere/at/all"), QStringLiteral("P/broken"));
  link(QStringLiteral("self"), QStringLiteral("P/self"));
  EXPECT_EQ(lines(list(QStringLiteral("P"))), QStringList({"P/inner|P|0|3"}));
  EXPECT_EQ(leftOut, QStringList({"P/broken", "P/inner/round", "P/self"}));
}

TEST_F(UploadPlannerTest, PipesAndSocketsAreLeftOutWithoutBeingOpened) {
  makeFolder(QStringLiteral("P"));
  ASSERT_EQ(::mkfifo(QFile::encodeName(root.filePath(QStringLiteral("P/pipe"))).constData(), 0600), 0);
  link(root.filePath(QStringLiteral("P/pipe")), QStringLiteral("P/to-pipe"));
  EXPECT_TRUE(lines(list(QStringLiteral("P"))).isEmpty());
  EXPECT_EQ(leftOut, QStringList({"P/pipe", "P/to-pipe"}));
  EXPECT_EQ(UploadPlanner::kindAt(root.filePath(QStringLiteral("P/pipe"))), UploadPlanner::Kind::Other);
}

TEST_F(UploadPlannerTest, ANameThatIsNoUnicodeIsReported) {
  makeFolder(QStringLiteral("P"));
  const QByteArray raw = QFile::encodeName(root.filePath(QStringLiteral("P/"))) + "caf\xe9.txt";
  FILE* const file = std::fopen(raw.constData(), "wb");
  ASSERT_NE(file, nullptr);
  std::fclose(file);
  EXPECT_TRUE(lines(list(QStringLiteral("P"))).isEmpty());
  ASSERT_EQ(leftOut.size(), 1);
  EXPECT_TRUE(leftOut[0].endsWith(QString::number(DGSTATUS_FILE_INVALID_CHAR, 16)));
}

TEST_F(UploadPlannerTest, OddNamesAreKeptAsTheyAre) {
  const QStringList names{QStringLiteral(" lead"),
                          QStringLiteral("100%"),
                          QStringLiteral("a\\b"),
                          QStringLiteral("new\nline"),
                          QStringLiteral("\u30d5\u30a9\u30c8"),
                          QStringLiteral("e\u0301.txt")};
  for (const QString& name : names)
    write(QStringLiteral("P/") + name);
  QStringList found;
  const auto plan = list(QStringLiteral("P"));
  for (const auto& entry : *plan)
    found.append(entry->fileName());
  EXPECT_EQ(QSet<QString>(found.begin(), found.end()), QSet<QString>(names.begin(), names.end()));
}

TEST_F(UploadPlannerTest, ADeepTreeIsWalked) {
  QString deep = QStringLiteral("P");
  for (int depth = 0; depth < 300; ++depth)
    deep += QStringLiteral("/d");
  write(deep + QStringLiteral("/f"), 9);
  EXPECT_EQ(list(QStringLiteral("P"))->size(), 301U);
  EXPECT_EQ(total, 9U);
}

TEST_F(UploadPlannerTest, ExistenceTellsFoldersFromFilesAndFollowsLinks) {
  write(QStringLiteral("P/a"));
  link(root.filePath(QStringLiteral("P")), QStringLiteral("link"));
  bool isDirectory = false;
  EXPECT_TRUE(UploadPlanner::macFileExistsAtPath(root.filePath(QStringLiteral("P")), isDirectory));
  EXPECT_TRUE(isDirectory);
  EXPECT_TRUE(UploadPlanner::macFileExistsAtPath(root.filePath(QStringLiteral("P/a")), isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_TRUE(UploadPlanner::macFileExistsAtPath(root.filePath(QStringLiteral("link")), isDirectory));
  EXPECT_TRUE(isDirectory);
  EXPECT_FALSE(UploadPlanner::macFileExistsAtPath(root.filePath(QStringLiteral("none")), isDirectory));
  EXPECT_FALSE(isDirectory);
}

TEST_F(UploadPlannerTest, ANullPathIsLoggedAndDoesNotExist) {
  CapturedLog log;
  bool isDirectory = true;
  EXPECT_FALSE(UploadPlanner::macFileExistsAtPath(QString(), isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_EQ(log.count("File path is nil"), 1);
}

TEST_F(UploadPlannerTest, APathWithAZeroInItNamesNothing) {
  write(QStringLiteral("a"));
  bool isDirectory = false;
  EXPECT_FALSE(
      UploadPlanner::macFileExistsAtPath(root.filePath(QStringLiteral("a")) + QChar(u'\0') + u'b', isDirectory));
}

TEST_F(UploadPlannerTest, TheSizeIsTheFilesAndZeroWhereThereIsNone) {
  EXPECT_EQ(UploadPlanner::getMacFileSize(write(QStringLiteral("a"), 4321)), 4321U);
  EXPECT_EQ(UploadPlanner::getMacFileSize(root.filePath(QStringLiteral("none"))), 0U);
  const QString sparse = write(QStringLiteral("big"), 0);
  ASSERT_EQ(::truncate(QFile::encodeName(sparse).constData(), 5LL << 30), 0);
  EXPECT_EQ(UploadPlanner::getMacFileSize(sparse), 5ULL << 30);
}
