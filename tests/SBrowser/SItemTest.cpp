#include "SBrowser/SItem.h"

#include "Platform/Dates.h"
#include "SBrowser/SItemArray.h"
#include "UI/Common/SizeText.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <vector>

namespace {

std::shared_ptr<SItem> listedFile(int number, const QString& folder, const QString& root) {
  auto item = SItem::newObject();
  item->setNodeID(QString::number(0x7f3a'5c00'1000ULL + static_cast<unsigned>(number) * 64U, 16));
  item->setFileName(QStringLiteral("IMG_20240229_%1.jpg").arg(number, 6, 10, QLatin1Char('0')));
  item->setFilePath(folder + u'/' + item->fileName());
  item->setMtpDate(QStringLiteral("20240229T101112"));
  item->setFileSize(4'000'000);
  item->setObjectType(SObjectTypeFile);
  item->setRootPath(root);
  return item;
}

TEST(SItem, AFreshNodeIsNotListedHasNoChildrenAndKindSix) {
  const auto item = SItem::newObject();
  EXPECT_FALSE(item->isListed());
  EXPECT_EQ(item->childObjects(), nullptr);
  EXPECT_EQ(item->objectType(), 6);
  EXPECT_EQ(item->parentItem(), nullptr);
  EXPECT_TRUE(item->nodeID().isNull());
  EXPECT_TRUE(item->fileName().isNull());
  EXPECT_TRUE(item->filePath().isNull());
  EXPECT_TRUE(item->rootPath().isNull());
  EXPECT_TRUE(item->dateModified().isNull());
}

TEST(SItem, ACopyIsTheNodeItself) {
  const auto item = SItem::newObject();
  EXPECT_EQ(item->copyWithZone(), item);
}

TEST(SItem, AMutableCopyHasKindSixAndSharesTheVerySameChildArray) {
  const auto parent = SItem::newObject();
  const auto item = listedFile(1, QStringLiteral("/M/Phone/DCIM"), QStringLiteral("/M/Phone"));
  item->setIsListed(true);
  item->setParentItem(parent);
  item->setChildObjects(std::make_shared<SItemArray>());
  item->setSrcPath(QStringLiteral("/s/x"));
  item->setFileName(QStringLiteral("IMG.jpg"));
  item->setDesPath(QStringLiteral("/d"));
  item->setSubFolderPath(QStringLiteral("f"));
  const auto copy = std::dynamic_pointer_cast<SItem>(item->mutableCopyWithZone());
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy, item);
  EXPECT_EQ(copy->objectType(), SObjectTypeUnset);
  EXPECT_EQ(copy->childObjects(), item->childObjects());
  EXPECT_EQ(copy->parentItem(), parent);
  EXPECT_EQ(copy->nodeID(), item->nodeID());
  EXPECT_EQ(copy->fileName(), QStringLiteral("IMG.jpg"));
  EXPECT_EQ(copy->filePath(), item->filePath());
  EXPECT_EQ(copy->rootPath(), item->rootPath());
  EXPECT_EQ(copy->fileSize(), item->fileSize());
  EXPECT_EQ(copy->dateModified(), item->dateModified());
  EXPECT_TRUE(copy->isListed());
  EXPECT_TRUE(copy->srcPath().isNull());
  EXPECT_TRUE(copy->desPath().isNull());
  EXPECT_TRUE(copy->subFolderPath().isNull());
}

TEST(SItem, AMutableCopyOfADateKeptAsTextCarriesTheText) {
  const auto item = SItem::newObject();
  item->setDateModified(QStringLiteral("some day"));
  const auto copy = std::dynamic_pointer_cast<SItem>(item->mutableCopyWithZone());
  EXPECT_EQ(copy->dateModified(), QStringLiteral("some day"));
}

TEST(SItem, LaterChangesOfTheChildArrayAreSeenByTheNode) {
  const auto item = SItem::newObject();
  const auto children = std::make_shared<SItemArray>();
  item->setChildObjects(children);
  children->append(SItem::newObject());
  EXPECT_EQ(item->childObjects()->count(), 1);
}

TEST(SItem, AParentIsNotKeptAliveByItsChildren) {
  auto parent = SItem::newObject();
  const auto child = SItem::newObject();
  child->setParentItem(parent);
  EXPECT_EQ(child->parentItem(), parent);
  parent.reset();
  EXPECT_EQ(child->parentItem(), nullptr);
}

TEST(SItem, EveryNodeIdentifierComesBackAsItWasSet) {
  const auto item = SItem::newObject();
  for (const char* text : {"7f3a5c001000", "ffffffffffffffff", "1", "0", "", "0x10", "00ff", "FF", "zz",
                           "1ffffffffffffffff", "-1", " 1"}) {
    item->setNodeID(QString::fromLatin1(text));
    EXPECT_EQ(item->nodeID(), QString::fromLatin1(text)) << text;
    EXPECT_FALSE(item->nodeID().isNull()) << text;
  }
  item->setNodeID(QString());
  EXPECT_TRUE(item->nodeID().isNull());
}

TEST(SItem, EveryPathComesBackAsItWasSetWhateverTheName) {
  const auto item = SItem::newObject();
  for (const char* name : {"b.jpg", "", "a/b.jpg", "/", "x"}) {
    item->setFileName(QString::fromLatin1(name));
    for (const char* path : {"/M/Phone/b.jpg", "b.jpg", "", "/", "/b.jpg", "/M/xb.jpg", "/M/Phone/a/b.jpg"}) {
      item->setFilePath(QString::fromLatin1(path));
      EXPECT_EQ(item->filePath(), QString::fromLatin1(path)) << name;
      EXPECT_FALSE(item->filePath().isNull());
    }
  }
  item->setFilePath(QString());
  EXPECT_TRUE(item->filePath().isNull());
}

TEST(SItem, ANewNameLeavesThePathAsItIs) {
  const auto item = listedFile(7, QStringLiteral("/M/Phone"), QStringLiteral("/M/Phone"));
  const QString path = item->filePath();
  item->setFileName(QStringLiteral("renamed.jpg"));
  EXPECT_EQ(item->filePath(), path);
  item->setSrcPath(QStringLiteral("/x/again.jpg"));
  EXPECT_EQ(item->filePath(), path);
}

TEST(SItem, TheDateShownIsTheConversionOfThePhonesText) {
  const platform::dates::ScopedLocaleAndZone locale(QStringLiteral("en_US"), QStringLiteral("Europe/Berlin"));
  const auto item = SItem::newObject();
  for (const char* date : {"20190315T142530", "20190315T142530.0", "20190315T142530+0100", "20191332T256199", "0T0",
                           "20190315T", "T142530", "123456789012T1", "20190315T99999999", "99991231T235959"}) {
    const QString text = QString::fromLatin1(date);
    item->setMtpDate(text);
    EXPECT_EQ(item->dateModified(), ui::convertMtpToSystemDate(text).value_or(QString())) << date;
  }
}

TEST(SItem, ADateTextThatIsNoneGivesNoDate) {
  const auto item = SItem::newObject();
  for (const char* date : {"20190315", "", "2019T03T15"}) {
    item->setDateModified(QStringLiteral("before"));
    item->setMtpDate(QString::fromLatin1(date));
    EXPECT_TRUE(item->dateModified().isNull()) << date;
  }
}

TEST(SItem, ADisplayedDateTextComesBackAsItWasSet) {
  const auto item = SItem::newObject();
  item->setDateModified(QStringLiteral("--"));
  EXPECT_EQ(item->dateModified(), QStringLiteral("--"));
  item->setDateModified(QStringLiteral("Mar 7"));
  EXPECT_EQ(item->dateModified(), QStringLiteral("Mar 7"));
  item->setDateModified(QString());
  EXPECT_TRUE(item->dateModified().isNull());
}

TEST(SItem, AListedEntryWithItsRowTakesLessThan350Bytes) {
#ifdef MTPB_SANITIZED
  GTEST_SKIP() << "sanitizers keep books of their own beside every allocation";
#endif
  constexpr int count = 20'000;
  const QString folder = QStringLiteral("/SM-G991B/Internal storage/DCIM/Camera");
  const QString root = QStringLiteral("/SM-G991B/Internal storage");
  SItemArray items;
  const std::size_t before = mallinfo2().uordblks;
  items.reserve(count);
  for (int i = 0; i < count; ++i)
    items.append(listedFile(i, folder, root));
  const std::size_t each = (mallinfo2().uordblks - before) / count;
  EXPECT_LT(each, 350U);
  EXPECT_GT(each, 100U);
  RecordProperty("bytes_per_item", static_cast<int>(each));
}

} // namespace
