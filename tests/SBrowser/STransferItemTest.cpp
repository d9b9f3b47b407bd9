#include "SBrowser/STransferItem.h"

#include <gtest/gtest.h>

namespace {

TEST(STransferItem, AFreshItemHasNoTextsNoSizeAndKindZero) {
  const auto item = STransferItem::newObject();
  EXPECT_TRUE(item->fileName().isNull());
  EXPECT_TRUE(item->srcPath().isNull());
  EXPECT_TRUE(item->desPath().isNull());
  EXPECT_TRUE(item->subFolderPath().isNull());
  EXPECT_EQ(item->fileSize(), 0U);
  EXPECT_EQ(item->objectType(), 0);
}

TEST(STransferItem, TheSourcePathNamesTheItem) {
  const auto item = STransferItem::newObject();
  item->setFileName(QStringLiteral("other"));
  item->setSrcPath(QStringLiteral("/home/me/Photos/a b.jpg"));
  EXPECT_EQ(item->fileName(), QStringLiteral("a b.jpg"));
  EXPECT_EQ(item->srcPath(), QStringLiteral("/home/me/Photos/a b.jpg"));
}

TEST(STransferItem, AnAbsentSourcePathClearsTheName) {
  const auto item = STransferItem::newObject();
  item->setSrcPath(QStringLiteral("/a/b"));
  item->setSrcPath(QString());
  EXPECT_TRUE(item->fileName().isNull());
  EXPECT_TRUE(item->srcPath().isNull());
}

TEST(STransferItem, TheDestinationPathLeavesTheNameAlone) {
  const auto item = STransferItem::newObject();
  item->setFileName(QStringLiteral("name"));
  item->setDesPath(QStringLiteral("/x/y"));
  EXPECT_EQ(item->fileName(), QStringLiteral("name"));
  EXPECT_EQ(item->desPath(), QStringLiteral("/x/y"));
}

TEST(STransferItem, ACopyIsTheItemItself) {
  const auto item = STransferItem::newObject();
  EXPECT_EQ(item->copyWithZone(), item);
}

TEST(STransferItem, AMutableCopyCarriesNameSourceSubFolderSizeAndKindButNotTheDestination) {
  const auto item = STransferItem::newObject();
  item->setSrcPath(QStringLiteral("/a/b.txt"));
  item->setDesPath(QStringLiteral("/c/b.txt"));
  item->setSubFolderPath(QStringLiteral("Photos/2019"));
  item->setFileSize(5'000'000'000ULL);
  item->setObjectType(SObjectTypeFile);
  const auto copy = item->mutableCopyWithZone();
  ASSERT_NE(copy, item);
  EXPECT_EQ(copy->fileName(), QStringLiteral("b.txt"));
  EXPECT_EQ(copy->srcPath(), QStringLiteral("/a/b.txt"));
  EXPECT_EQ(copy->subFolderPath(), QStringLiteral("Photos/2019"));
  EXPECT_EQ(copy->fileSize(), 5'000'000'000ULL);
  EXPECT_EQ(copy->objectType(), SObjectTypeFile);
  EXPECT_TRUE(copy->desPath().isNull());
}

TEST(STransferItem, AMutableCopyIsNamedByItsSourceWhateverTheOriginalWasCalled) {
  const auto item = STransferItem::newObject();
  item->setSrcPath(QStringLiteral("/a/b.txt"));
  item->setFileName(QStringLiteral("renamed.txt"));
  EXPECT_EQ(item->mutableCopyWithZone()->fileName(), QStringLiteral("b.txt"));
}

TEST(STransferItem, AMutableCopyOfAnItemWithoutSourceHasNoName) {
  const auto item = STransferItem::newObject();
  item->setFileName(QStringLiteral("name"));
  EXPECT_TRUE(item->mutableCopyWithZone()->fileName().isNull());
}

TEST(STransferItem, TheLastPathComponentIgnoresTrailingSlashes) {
  EXPECT_EQ(lastPathComponent(QStringLiteral("/a/b/")), QStringLiteral("b"));
  EXPECT_EQ(lastPathComponent(QStringLiteral("a")), QStringLiteral("a"));
  EXPECT_EQ(lastPathComponent(QStringLiteral("/")), QStringLiteral("/"));
  EXPECT_EQ(lastPathComponent(QStringLiteral("///")), QStringLiteral("/"));
  EXPECT_TRUE(lastPathComponent(QString()).isNull());
  EXPECT_FALSE(lastPathComponent(QStringLiteral("")).isNull());
}

} // namespace
