#include "SBrowser/SItemArray.h"

#include "Platform/Dates.h"
#include "UI/Common/NSStringPredicate.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

std::shared_ptr<SItem> file(const QString& name, std::uint64_t size = 0, const QString& mtpDate = QString()) {
  auto item = SItem::newObject();
  item->setFileName(name);
  item->setFileSize(size);
  item->setObjectType(SObjectTypeFile);
  item->setMtpDate(mtpDate);
  return item;
}

std::shared_ptr<SItem> folder(const QString& name) {
  auto item = SItem::newObject();
  item->setFileName(name);
  item->setObjectType(SObjectTypeFolder);
  item->setDateModified(QStringLiteral("--"));
  return item;
}

QStringList names(const SItemArray& items) {
  QStringList all;
  for (const auto& item : items)
    all << item->fileName();
  return all;
}

SItemArray arrayOf(const std::vector<std::shared_ptr<SItem>>& items) {
  SItemArray array;
  for (const auto& item : items)
    array.append(item);
  return array;
}

TEST(SItemArray, NamesSortAsPeopleReadThem) {
  SItemArray items = arrayOf({file("img10.jpg"), file("IMG9.jpg"), file("b"), file("A")});
  items.sort({SSortDescriptor::FileName, true});
  EXPECT_EQ(names(items), QStringList({"A", "b", "IMG9.jpg", "img10.jpg"}));
}

TEST(SItemArray, FoldersComeBeforeFilesInTheOrderOfNamesUpAndDown) {
  SItemArray items = arrayOf({file("a"), folder("z"), file("c"), folder("b")});
  items.sort({SSortDescriptor::FileName, true});
  EXPECT_EQ(names(items), QStringList({"b", "z", "a", "c"}));
  items.sort({SSortDescriptor::FileName, false});
  EXPECT_EQ(names(items), QStringList({"z", "b", "c", "a"}));
}

TEST(SItemArray, SizesSortByTheirValueBeyond32Bits) {
  SItemArray items = arrayOf({file("big", 0x1'0000'0001ULL), file("one", 1), file("nothing", 0)});
  items.sort({SSortDescriptor::FileSize, true});
  EXPECT_EQ(names(items), QStringList({"nothing", "one", "big"}));
  items.sort({SSortDescriptor::FileSize, false});
  EXPECT_EQ(names(items), QStringList({"big", "one", "nothing"}));
}

TEST(SItemArray, UnknownDatesComeFirstThenLaterAfterEarlier) {
  const platform::dates::ScopedLocaleAndZone locale(QStringLiteral("en_US"), QStringLiteral("Europe/Berlin"));
  SItemArray items =
      arrayOf({file("late", 0, "20240229T101112"), folder("unknown"), file("early", 0, "20190101T000000")});
  items.sort({SSortDescriptor::DateModified, true});
  EXPECT_EQ(names(items), QStringList({"unknown", "early", "late"}));
}

TEST(SItemArray, TheOrderOfDatesIsThatOfTheirDisplayedTexts) {
  const platform::dates::ScopedLocaleAndZone locale(QStringLiteral("de_DE"), QStringLiteral("Europe/Berlin"));
  std::vector<std::shared_ptr<SItem>> all;
  for (const char* date :
       {"20240229T101112", "20240229T101111", "20241301T000000", "20250101T000001", "20190315T142530",
        "20240331T023000", "20240331T030500", "nothing", "20240229T101112.5", "00000000T000000"})
    all.push_back(file(QString::fromLatin1(date), 0, QString::fromLatin1(date)));
  all.push_back(folder("x"));
  SItemArray items = arrayOf(all);
  items.sort({SSortDescriptor::DateModified, true});
  for (int i = 0; i + 1 < items.count(); ++i)
    EXPECT_LE(ui::compareDateFormatString(items.at(i)->dateModified(), items.at(i + 1)->dateModified()), 0)
        << names(items).at(i).toStdString() << " before " << names(items).at(i + 1).toStdString();
}

TEST(SItemArray, EqualItemsKeepTheirOrderUpAndDown) {
  SItemArray items = arrayOf({file("b", 1), file("a", 1), file("c", 0)});
  items.sort({SSortDescriptor::FileSize, true});
  EXPECT_EQ(names(items), QStringList({"c", "b", "a"}));
  items.sort({SSortDescriptor::FileSize, false});
  EXPECT_EQ(names(items), QStringList({"b", "a", "c"}));
}

TEST(SItemArray, IsSortedOnceUntilItChanges) {
  SItemArray items = arrayOf({file("b"), file("a")});
  const SSortDescriptor byName{SSortDescriptor::FileName, true};
  EXPECT_FALSE(items.isSortedBy(byName));
  items.sort(byName);
  EXPECT_TRUE(items.isSortedBy(byName));
  items.removeAt(0);
  EXPECT_TRUE(items.isSortedBy(byName));
  items.append(file("0"));
  EXPECT_FALSE(items.isSortedBy(byName));
  items.sort(byName);
  EXPECT_EQ(names(items), QStringList({"0", "b"}));
}

TEST(SItemArray, SeveralThatFollowOneAnotherGoAtOnce) {
  SItemArray items = arrayOf({file("a"), file("b"), file("c"), file("d")});
  const auto d = items.at(3);
  items.removeAt(1, 2);
  EXPECT_EQ(names(items), QStringList({"a", "d"}));
  EXPECT_EQ(items.indexOf(*d), 1);
}

TEST(SItemArray, WithoutADescriptorThePhonesOrderStays) {
  SItemArray items = arrayOf({file("b"), file("a")});
  items.sort({});
  EXPECT_EQ(names(items), QStringList({"b", "a"}));
}

TEST(SItemArray, FindsItsItemsAlsoAfterTheyMoved) {
  SItemArray items = arrayOf({file("c"), file("b"), file("a")});
  const auto c = items.at(0);
  EXPECT_EQ(items.indexOf(*c), 0);
  items.sort({SSortDescriptor::FileName, true});
  EXPECT_EQ(items.indexOf(*c), 2);
  items.removeAt(0);
  EXPECT_EQ(items.indexOf(*c), 1);
  items.insert(0, file("new"));
  EXPECT_EQ(items.indexOf(*c), 2);
  EXPECT_EQ(items.indexOf(*file("stranger")), -1);
}

TEST(SItemArray, AnItemOfTwoArraysIsFoundInBoth) {
  const auto a = file("a");
  const auto b = file("b");
  SItemArray one = arrayOf({a, b});
  SItemArray other = arrayOf({b, a});
  EXPECT_EQ(one.indexOf(*a), 0);
  EXPECT_EQ(other.indexOf(*a), 1);
  EXPECT_EQ(one.indexOf(*a), 0);
}

TEST(SItemArray, HostileNamesSort) {
  SItemArray items = arrayOf({file(QString(10'000, u'x')), file(QString()), file(QString(QChar(0xD800))),
                              file(QStringLiteral("\n")), file(QString(10'000, QChar(0x202E)))});
  items.sort({SSortDescriptor::FileName, true});
  EXPECT_EQ(items.count(), 5);
  items.sort({SSortDescriptor::FileName, false});
  EXPECT_EQ(items.count(), 5);
}

} // namespace
