#include "SBrowser/SBrowserOutlineModel.h"

#include "UI/Controls/SOutlineView.h"

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

using Tester = QAbstractItemModelTester;
using ItemPointer = SBrowserOutlineModel::ItemPointer;

ItemPointer item(const QString& name, int type, const ItemPointer& parent, std::uint64_t size = 0) {
  auto made = SItem::newObject();
  made->setFileName(name);
  made->setObjectType(type);
  made->setParentItem(parent);
  made->setFileSize(size);
  made->setDateModified(QStringLiteral("--"));
  return made;
}

std::shared_ptr<SItemArray> arrayOf(std::initializer_list<ItemPointer> items) {
  auto array = std::make_shared<SItemArray>();
  for (const ItemPointer& one : items)
    array->append(one);
  return array;
}

/// A storage holding the folders "f" and "g" and the file "x"; "f" holds "b" and "a".
class SBrowserOutlineModelTest : public testing::Test {
protected:
  SBrowserOutlineModelTest() {
    f->setChildObjects(arrayOf({item("b", SObjectTypeFile, f, 1), item("a", SObjectTypeFile, f, 2)}));
    root->setChildObjects(arrayOf({f, g, x}));
    model.reloadData(root);
  }

  QStringList names(const QModelIndex& parent = {}) const {
    QStringList all;
    for (int row = 0; row < model.rowCount(parent); ++row)
      all << model.index(row, kFileName, parent).data().toString();
    return all;
  }

  ItemPointer root = item("Phone", SObjectTypeInternalStorage, nullptr);
  ItemPointer f = item("f", SObjectTypeFolder, root);
  ItemPointer g = item("g", SObjectTypeFolder, root);
  ItemPointer x = item("x", SObjectTypeFile, root, 1536);
  SBrowserOutlineModel model;
  Tester tester{&model, Tester::FailureReportingMode::Fatal};
};

TEST_F(SBrowserOutlineModelTest, TheTopLevelIsTheFoldersChildrenAndBelowAreTheirs) {
  EXPECT_EQ(names(), QStringList({"f", "g", "x"}));
  EXPECT_EQ(names(model.index(0, 0)), QStringList({"b", "a"}));
  EXPECT_EQ(model.rowCount(model.index(1, 0)), 0);
}

TEST_F(SBrowserOutlineModelTest, AChildThatIsInsertedStandsAtItsPlaceAndWhereTheRowsAreSortedAmongThem) {
  model.insertChild(f, 1, item("c", SObjectTypeFile, f));
  EXPECT_EQ(names(model.index(0, 0)), QStringList({"b", "c", "a"}));
  model.sort(kFileName);
  model.insertChild(f, 0, item("bb", SObjectTypeFile, f));
  EXPECT_EQ(names(model.indexOfItem(*f)), QStringList({"a", "b", "bb", "c"}));
}

TEST_F(SBrowserOutlineModelTest, AChildOfTheShownFolderIsShownWithTheNextReload) {
  model.insertChild(root, 2, item("h", SObjectTypeFolder, root));
  EXPECT_EQ(names(), QStringList({"f", "g", "x"}));
  model.reloadData(root);
  EXPECT_EQ(names(), QStringList({"f", "g", "h", "x"}));
  model.removeItem(g);
  EXPECT_EQ(names().size(), 4);
  model.reloadData(root);
  EXPECT_EQ(names(), QStringList({"f", "h", "x"}));
}

TEST_F(SBrowserOutlineModelTest, ARemovedItemsRowGoesAtOnceWhereItLiesInAShownFolder) {
  model.sort(kFileName);
  const ItemPointer a = model.itemAtIndex(model.index(0, 0, model.indexOfItem(*f)));
  ASSERT_EQ(a->fileName(), QStringLiteral("a"));
  const QPersistentModelIndex b = model.index(1, 0, model.indexOfItem(*f));
  model.removeItem(a);
  EXPECT_EQ(names(model.indexOfItem(*f)), QStringList({"b"}));
  EXPECT_EQ(b.row(), 0);
  model.removeItem(a); // it is gone: nothing happens
  EXPECT_EQ(names(model.indexOfItem(*f)), QStringList({"b"}));
}

TEST_F(SBrowserOutlineModelTest, RowsThatFollowOneAnotherGoInOneStep) {
  std::vector<ItemPointer> added;
  for (int i = 0; i < 6; ++i) {
    added.push_back(item(QString::number(i), SObjectTypeFile, f));
    model.insertChild(f, 2 + i, added.back());
  }
  ASSERT_EQ(names(model.indexOfItem(*f)), QStringList({"b", "a", "0", "1", "2", "3", "4", "5"}));
  QList<std::pair<int, int>> removed;
  QObject::connect(&model, &QAbstractItemModel::rowsRemoved, &model, [&](const QModelIndex&, int first, int last) {
    removed.append({first, last});
  });
  model.removeItems({added[0], added[1], added[2], g, added[4]});
  EXPECT_EQ(names(model.indexOfItem(*f)), QStringList({"b", "a", "3", "5"}));
  EXPECT_EQ(removed, (QList<std::pair<int, int>>{{6, 6}, {2, 4}}));
  EXPECT_EQ(names().size(), 3); // the top level goes with the next reload
  model.reloadData(root);
  EXPECT_EQ(names(), QStringList({"f", "x"}));
  model.removeItems({});
}

TEST_F(SBrowserOutlineModelTest, ARenamedItemStaysInItsRowUntilSomebodySorts) {
  model.sort(kFileName);
  f->setFileName(QStringLiteral("z"));
  model.itemRenamed(*f);
  EXPECT_EQ(names(), QStringList({"z", "g", "x"}));
  model.sort(kFileName);
  EXPECT_EQ(names(), QStringList({"g", "z", "x"}));
}

TEST_F(SBrowserOutlineModelTest, StoragesAndFoldersAreExpandableEvenBeforeTheyWereListed) {
  EXPECT_TRUE(model.hasChildren(model.index(1, 0)));
  EXPECT_FALSE(model.hasChildren(model.index(2, 0)));
  EXPECT_FALSE(model.canFetchMore(model.index(1, 0)));
  for (const int type : {1, 2, 3})
    EXPECT_TRUE(model.isExpandable(*item("", type, nullptr)));
  for (const int type : {4, 5, 6})
    EXPECT_FALSE(model.isExpandable(*item("", type, nullptr)));
}

TEST_F(SBrowserOutlineModelTest, FilesShowTheirSizeAndFoldersAndStoragesShowDashes) {
  EXPECT_EQ(model.index(2, kFileSize).data().toString(), QStringLiteral("1.50KB"));
  EXPECT_EQ(model.index(0, kFileSize).data().toString(), QStringLiteral("--"));
  EXPECT_EQ(model.index(0, kDateModified).data().toString(), QStringLiteral("--"));
  const ItemPointer above = item("above", SObjectTypeFolder, nullptr);
  above->setChildObjects(arrayOf({item("Phone", SObjectTypeInternalStorage, above, 5)}));
  SBrowserOutlineModel storages;
  storages.reloadData(above);
  EXPECT_EQ(storages.index(0, kFileSize).data().toString(), QStringLiteral("--"));
  EXPECT_EQ(storages.index(0, kDateModified).data().toString(), QStringLiteral("--"));
}

TEST_F(SBrowserOutlineModelTest, AbsentTextsAreShownAsEmptyOnes) {
  x->setFileName(QString());
  x->setDateModified(QString());
  for (const int column : {kFileName, kDateModified}) {
    const QVariant text = model.index(2, column).data();
    EXPECT_TRUE(text.isValid());
    EXPECT_EQ(text.toString(), QString());
  }
}

TEST_F(SBrowserOutlineModelTest, HostileNamesAreShownOnOneLineButKept) {
  const QString hostile = QStringLiteral("a\nb") + QChar(0x202E) + QString(10'000, u'x');
  x->setFileName(hostile);
  const QString shown = model.index(2, kFileName).data().toString();
  EXPECT_FALSE(shown.contains(u'\n'));
  EXPECT_FALSE(shown.contains(QChar(0x202E)));
  EXPECT_LT(shown.size(), 3000);
  EXPECT_EQ(x->fileName(), hostile);
}

TEST_F(SBrowserOutlineModelTest, ANewDescriptorSortsTheTopLevelAndLooksAtChildrenSorted) {
  model.sort(kFileName, Qt::DescendingOrder);
  EXPECT_EQ(names(), QStringList({"g", "f", "x"}));
  EXPECT_EQ(names(model.index(1, 0)), QStringList({"b", "a"}));
  model.sort(kFileName, Qt::AscendingOrder);
  EXPECT_EQ(names(), QStringList({"f", "g", "x"}));
  EXPECT_EQ(names(model.index(0, 0)), QStringList({"a", "b"}));
  EXPECT_EQ(f->childObjects()->at(0)->fileName(), QStringLiteral("a")); // in place
}

TEST_F(SBrowserOutlineModelTest, ChildrenAreNotSortedAgainForEveryChildAskedFor) {
  model.sort(kFileSize, Qt::AscendingOrder);
  const QModelIndex parent = model.indexOfItem(*f);
  EXPECT_EQ(names(parent), QStringList({"b", "a"}));
  f->childObjects()->at(0)->setFileSize(100); // a second sorting would move it
  EXPECT_EQ(names(parent), QStringList({"b", "a"}));
  f->childObjects()->contentsChanged();
  EXPECT_EQ(names(parent), QStringList({"a", "b"}));
}

TEST_F(SBrowserOutlineModelTest, ReloadingShowsTheFoldersOwnOrder) {
  model.sort(kFileName, Qt::DescendingOrder);
  model.reloadData(root);
  EXPECT_EQ(names(), QStringList({"f", "g", "x"}));
}

TEST_F(SBrowserOutlineModelTest, PersistentIndexesFollowTheirItemsThroughSorting) {
  const QPersistentModelIndex top = model.indexOfItem(*g);
  const QPersistentModelIndex below = model.index(0, kFileSize, model.indexOfItem(*f));
  const ItemPointer b = model.itemAtIndex(below);
  model.sort(kFileName, Qt::DescendingOrder);
  model.sort(kFileName, Qt::AscendingOrder);
  EXPECT_EQ(model.itemAtIndex(top), g);
  EXPECT_EQ(model.itemAtIndex(below), b);
  EXPECT_EQ(below.row(), 1);
  EXPECT_EQ(below.column(), kFileSize);
}

TEST_F(SBrowserOutlineModelTest, NewChildrenOfAShownItemAppearAndTheOldOnesIndexesEnd) {
  const QModelIndex parent = model.indexOfItem(*f);
  const QPersistentModelIndex old = model.index(1, 0, parent);
  QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
  QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
  model.setChildren(f, arrayOf({item("new", SObjectTypeFile, f)}));
  EXPECT_EQ(removed.count(), 1);
  EXPECT_EQ(inserted.count(), 1);
  EXPECT_FALSE(old.isValid());
  EXPECT_EQ(names(model.indexOfItem(*f)), QStringList({"new"}));
  model.setChildren(f, nullptr);
  EXPECT_EQ(model.rowCount(model.indexOfItem(*f)), 0);
  EXPECT_EQ(f->childObjects(), nullptr);
}

TEST_F(SBrowserOutlineModelTest, AnEmptyListingLeavesAnEmptyArray) {
  model.setChildren(g, std::make_shared<SItemArray>());
  ASSERT_NE(g->childObjects(), nullptr);
  EXPECT_EQ(model.rowCount(model.indexOfItem(*g)), 0);
}

TEST_F(SBrowserOutlineModelTest, NewChildrenOfTheCurrentFolderWaitForTheReload) {
  model.setChildren(root, arrayOf({item("only", SObjectTypeFile, root)}));
  EXPECT_EQ(names(), QStringList({"f", "g", "x"}));
  EXPECT_EQ(model.indexOfItem(*f), model.index(0, 0));
  model.reloadData(root);
  EXPECT_EQ(names(), QStringList({"only"}));
}

TEST_F(SBrowserOutlineModelTest, WhatIsNotShownHasNoIndex) {
  EXPECT_FALSE(model.indexOfItem(*root).isValid());
  EXPECT_FALSE(model.indexOfItem(*item("stranger", SObjectTypeFile, root)).isValid());
  const ItemPointer deep = item("deep", SObjectTypeFile, item("unlisted", SObjectTypeFolder, root));
  EXPECT_FALSE(model.indexOfItem(*deep).isValid());
  model.reloadData(f);
  EXPECT_FALSE(model.indexOfItem(*g).isValid());
}

TEST_F(SBrowserOutlineModelTest, NoRowCanBeSelectedWhileRowsAreBeingReplaced) {
  bool asked = false;
  const auto selectable = [&] { return model.index(0, 0).flags().testFlag(Qt::ItemIsSelectable); };
  QObject::connect(&model, &QAbstractItemModel::modelReset, &model, [&] {
    asked = true;
    EXPECT_TRUE(model.isReloadingData());
    EXPECT_FALSE(selectable());
  });
  model.reloadData(root);
  EXPECT_TRUE(asked);
  EXPECT_TRUE(selectable());
}

TEST_F(SBrowserOutlineModelTest, TheTreeMayChangeInManyWays) {
  QRandomGenerator random(42);
  SOutlineView view;
  view.setModel(&model);
  view.awakeFromNib();
  view.show();
  std::vector<ItemPointer> folders{root, f, g};
  for (int step = 0; step < 400; ++step) {
    const ItemPointer some = folders[random.bounded(static_cast<quint32>(folders.size()))];
    switch (random.bounded(5)) {
    case 0:
      model.sort(static_cast<int>(random.bounded(4U)) - 1,
                 random.bounded(2) == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
      break;
    case 1:
      model.reloadData(some);
      break;
    case 2:
      view.expand(model.indexOfItem(*some));
      break;
    default: {
      auto children = std::make_shared<SItemArray>();
      for (quint32 i = random.bounded(6U); i > 0; --i) {
        const bool isFolder = random.bounded(3) == 0;
        children->append(
            item(QString::number(random.bounded(1000U)), isFolder ? SObjectTypeFolder : SObjectTypeFile, some));
        if (isFolder)
          folders.push_back(children->at(children->count() - 1));
      }
      model.setChildren(some, children);
    }
    }
    (void)view.grab(QRect(0, 0, 50, 50));
  }
  SUCCEED(); // the tester ends the program at the first mistake
}

TEST_F(SBrowserOutlineModelTest, OneHundredThousandRowsSortAndPaintInTimeThatGrowsNoFasterThanTheyDo) {
  // Not a measurement (see bench/): a search through all rows for each of them would take minutes here.
  SBrowserOutlineModel large;
  const ItemPointer folder = item("many", SObjectTypeFolder, root);
  auto children = std::make_shared<SItemArray>();
  for (int i = 0; i < 100'000; ++i) {
    children->append(item(QStringLiteral("IMG_%1.jpg").arg((i * 7919) % 100'000), SObjectTypeFile, folder,
                          static_cast<std::uint64_t>(i)));
    children->at(i)->setMtpDate(QStringLiteral("2024%1%2T101112")
                                    .arg(i % 12 + 1, 2, 10, QLatin1Char('0'))
                                    .arg(i % 28 + 1, 2, 10, QLatin1Char('0')));
  }
  folder->setChildObjects(children);
  SOutlineView view;
  view.setModel(&large);
  view.awakeFromNib();
  view.resize(700, 500);
  view.show();
  QElapsedTimer clock;
  clock.start();
  large.reloadData(folder);
  (void)view.grab();
  RecordProperty("reload_ms", static_cast<int>(clock.restart()));
  for (const int column : {kFileName, kDateModified, kFileSize}) {
    clock.restart();
    large.sort(column, Qt::DescendingOrder);
    (void)view.grab();
    RecordProperty("sort_ms_" + std::to_string(column), static_cast<int>(clock.elapsed()));
  }
  for (int row = 0; row < large.rowCount(); ++row)
    ASSERT_EQ(large.indexOfItem(*large.itemAtIndex(large.index(row, 0))).row(), row);
}

} // namespace
