#include "SBrowser/DownloadNames.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using download::nameOnComputer;
using download::NamesInFolder;
using download::pathOnComputer;

namespace {

NamesInFolder names(bool ignoresCase, const QStringList& existing = {}) {
  return {[ignoresCase] { return ignoresCase; }, [existing](const QString& name) { return existing.contains(name); }};
}

} // namespace

TEST(NameOnComputer, OrdinaryNamesStayAsTheyAre) {
  for (const QString& name :
       {QStringLiteral("photo.jpg"), QStringLiteral(".nomedia"), QStringLiteral("..."), QStringLiteral("a\\b:c*?\"<>|"),
        QStringLiteral("사진 \U0001F600.png"), QStringLiteral(" blank "), QString(255, u'x')})
    EXPECT_EQ(nameOnComputer(name), name);
}

TEST(NameOnComputer, NoNameLeavesItsFolder) {
  EXPECT_EQ(nameOnComputer(QStringLiteral("..")), QStringLiteral("__"));
  EXPECT_EQ(nameOnComputer(QStringLiteral(".")), QStringLiteral("_"));
  EXPECT_EQ(nameOnComputer(QString()), QStringLiteral("_"));
  EXPECT_EQ(nameOnComputer(QStringLiteral("../../etc/passwd")), QStringLiteral(".._.._etc_passwd"));
  EXPECT_EQ(nameOnComputer(QStringLiteral("/")), QStringLiteral("_"));
}

TEST(NameOnComputer, AZeroEndsNoName) {
  EXPECT_EQ(nameOnComputer(QStringLiteral("a") + QChar(u'\0') + QStringLiteral("b")), QStringLiteral("a_b"));
}

TEST(NameOnComputer, HalfACharacterBecomesTheReplacementCharacter) {
  EXPECT_EQ(nameOnComputer(QStringLiteral("a") + QChar(0xD83D)), QStringLiteral("a\uFFFD"));
  EXPECT_EQ(nameOnComputer(QString(QChar(0xDE00)) + u'a'), QStringLiteral("\uFFFDa"));
}

TEST(NameOnComputer, ATooLongNameKeepsItsExtension) {
  const QString name = nameOnComputer(QString(300, QChar(0xC0AC)) + QStringLiteral(".jpeg")); // 3 bytes each
  EXPECT_TRUE(name.endsWith(QStringLiteral("\uC0AC.jpeg")));
  EXPECT_LE(name.toUtf8().size(), download::kLongestName);
  EXPECT_GT(name.toUtf8().size(), download::kLongestName - 3);
}

TEST(NameOnComputer, ATooLongNameIsNotCutWithinACharacter) {
  QString emoji;
  for (int i = 0; i < 200; ++i)
    emoji += QStringLiteral("\U0001F600");
  const QString name = nameOnComputer(emoji);
  EXPECT_TRUE(name.isValidUtf16());
  EXPECT_LE(name.toUtf8().size(), download::kLongestName);
  EXPECT_GT(name.toUtf8().size(), download::kLongestName - 8);
}

TEST(NameOnComputer, WhatIsTooLongForAnExtensionIsCut) {
  const QString name = nameOnComputer(QStringLiteral("a.") + QString(300, u'b'));
  EXPECT_EQ(name, QStringLiteral("a.") + QString(253, u'b'));
}

TEST(PathOnComputer, HoldsNoDoubleSlash) {
  EXPECT_EQ(pathOnComputer(QStringLiteral("/"), QStringLiteral("a")), QStringLiteral("/a"));
  EXPECT_EQ(pathOnComputer(QStringLiteral("/b//c/"), QStringLiteral("a")), QStringLiteral("/b/c/a"));
}

TEST(NamesInFolder, TheSameNameIsGivenAwayOnce) {
  NamesInFolder folder = names(false);
  EXPECT_EQ(folder.claim(QStringLiteral("a.jpg")), QStringLiteral("a.jpg"));
  EXPECT_EQ(folder.claim(QStringLiteral("a.jpg")), QStringLiteral("a (2).jpg"));
  EXPECT_EQ(folder.claim(QStringLiteral("a.jpg")), QStringLiteral("a (3).jpg"));
  EXPECT_EQ(folder.claim(QStringLiteral("b")), QStringLiteral("b"));
  EXPECT_EQ(folder.claim(QStringLiteral("b")), QStringLiteral("b (2)"));
}

TEST(NamesInFolder, ADifferenceOfCaseCountsWhereTheComputerTellsIt) {
  NamesInFolder folder = names(false);
  EXPECT_EQ(folder.claim(QStringLiteral("a.jpg")), QStringLiteral("a.jpg"));
  EXPECT_EQ(folder.claim(QStringLiteral("A.JPG")), QStringLiteral("A.JPG"));
}

TEST(NamesInFolder, ADifferenceOfCaseIsNoneWhereTheComputerIgnoresIt) {
  NamesInFolder folder = names(true);
  EXPECT_EQ(folder.claim(QStringLiteral("a.jpg")), QStringLiteral("a.jpg"));
  EXPECT_EQ(folder.claim(QStringLiteral("A.JPG")), QStringLiteral("A (2).JPG"));
  EXPECT_EQ(folder.claim(QStringLiteral("a.Jpg")), QStringLiteral("a (3).Jpg"));
}

TEST(NamesInFolder, TheComputerIsAskedOnlyWhenItMatters) {
  int asked = 0;
  NamesInFolder folder(
      [&] {
        ++asked;
        return false;
      },
      [](const QString&) { return false; });
  folder.claim(QStringLiteral("a"));
  folder.claim(QStringLiteral("b"));
  EXPECT_EQ(asked, 0);
  folder.claim(QStringLiteral("A"));
  EXPECT_EQ(asked, 1);
}

TEST(NamesInFolder, ANumberedNameIsNeitherOneGivenAwayNorOneThatWasThere) {
  NamesInFolder folder = names(false, {QStringLiteral("a (3)")});
  EXPECT_EQ(folder.claim(QStringLiteral("a (2)")), QStringLiteral("a (2)"));
  EXPECT_EQ(folder.claim(QStringLiteral("a")), QStringLiteral("a"));
  EXPECT_EQ(folder.claim(QStringLiteral("a")), QStringLiteral("a (4)"));
}

TEST(NamesInFolder, NamesThatAreMadeTheSameAreToldApart) {
  NamesInFolder folder = names(false);
  EXPECT_EQ(folder.claim(QStringLiteral("a/b")), QStringLiteral("a_b"));
  EXPECT_EQ(folder.claim(QStringLiteral("a_b")), QStringLiteral("a_b (2)"));
}

TEST(NamesInFolder, ANumberedNameIsNotTooLong) {
  NamesInFolder folder = names(false);
  const QString longest = QString(251, u'x') + QStringLiteral(".jpg");
  EXPECT_EQ(folder.claim(longest), longest);
  EXPECT_EQ(folder.claim(longest), QString(247, u'x') + QStringLiteral(" (2).jpg"));
}

TEST(NamesInFolder, TenThousandOfTheSameNameAreNoWork) {
  NamesInFolder folder = names(false);
  QString last;
  for (int i = 0; i < 10'000; ++i)
    last = folder.claim(QStringLiteral("same"));
  EXPECT_EQ(last, QStringLiteral("same (10000)"));
}

TEST(IgnoresCase, AFolderOfLinuxTellsCaseApartAndIsLeftAsItWas) {
  const QTemporaryDir folder;
  EXPECT_FALSE(download::ignoresCase(folder.path()));
  EXPECT_TRUE(QDir(folder.path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

TEST(IgnoresCase, WhereNothingCanBeMadeItIsAssumed) {
  EXPECT_TRUE(download::ignoresCase(QStringLiteral("/proc/self")));
}
