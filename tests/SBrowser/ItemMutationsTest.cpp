#include "SBrowser/ItemMutations.h"

#include "BrowserFixture.h"
#include "MTPCore/MTPSDKUtil.h"
#include "SBrowser/NavigationButton.h"
#include "UI/Controls/SGhostView.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/NoticeView/SNoticeView.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QAction>
#include <QCheckBox>
#include <QDebug>
#include <QFile>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

class ItemMutationsTest : public BrowserFixture {
protected:
  WindowLayout& layout() const { return controller->layout(); }
  SFileNameView& namePanel() const { return *layout()._fileNameView; }
  SNoticeView& notice() const { return *layout()._noticeView; }
  std::vector<std::string> contents(FakeMtpSdk::Handle folder) const { return sdk->contents(folder); }

  void expand(const QString& name) {
    outline().expand(row(name));
    ASSERT_TRUE(settle());
    ASSERT_TRUE(outline().isExpanded(row(name)));
  }
  void select(const QList<QModelIndex>& indexes) {
    outline().selectionModel()->clearSelection();
    for (const QModelIndex& index : indexes) {
      ASSERT_TRUE(index.isValid());
      outline().selectionModel()->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
  }
  /// Opens the context menu on a row and chooses the entry.
  void chooseInMenuOf(const QModelIndex& index, const char* key) {
    const QString title = VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromLatin1(key));
    QMenu* const menu = outline().menuForEvent(index.isValid() ? outline().visualRect(index).center() : QPoint(5, 400));
    ASSERT_NE(menu, nullptr);
    for (QAction* const action : menu->actions())
      if (action->text() == title) {
        ASSERT_TRUE(action->isEnabled()) << key;
        action->trigger();
        return;
      }
    FAIL() << key;
  }
  void awaitNameQuestion() {
    ASSERT_TRUE(waitUntil([&] { return namePanel().isReachable() && namePanel().isAsking(); }));
  }
  /// Waits for the question for a name and answers it.
  void enterName(const QString& name) {
    ASSERT_NO_FATAL_FAILURE(awaitNameQuestion());
    namePanel().txtNewName()->setText(name);
    QTest::keyClick(namePanel().txtNewName(), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return !namePanel().isAsking(); }));
  }
  void cancelName() {
    ASSERT_NO_FATAL_FAILURE(awaitNameQuestion());
    QTest::keyClick(namePanel().txtNewName(), Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([&] { return !namePanel().isAsking(); }));
  }
  void awaitConfirmation() {
    ASSERT_TRUE(waitUntil([&] { return notice().isReachable() && notice().isAsking(); }));
  }
  void confirm(bool neverAgain = false) {
    ASSERT_NO_FATAL_FAILURE(awaitConfirmation());
    notice().btnCheckbox()->setChecked(neverAgain);
    QTest::mouseClick(notice().btnOK(), Qt::LeftButton);
    ASSERT_TRUE(settle());
  }
  void makeFolder(const QString& name) {
    enterName(name);
    ASSERT_TRUE(settle());
  }
  void newFolderInCurrent(const QString& name) {
    controller->performCommand(WindowCommand::NewFolder);
    makeFolder(name);
  }
  void renameRow(const QModelIndex& index, const QString& name) {
    select({index});
    controller->performCommand(WindowCommand::Rename);
    enterName(name);
    ASSERT_TRUE(settle());
  }
  void renameInBackground() {
    select({row(QStringLiteral("readme.txt"))});
    controller->performCommand(WindowCommand::Rename);
    enterName(QStringLiteral("new.txt"));
  }
};

// ---- New folder ----

TEST_F(ItemMutationsTest, ANewFolderStandsBetweenTheFoldersAndTheFiles) {
  device = sdk->addDevice(0x14200000, QStringLiteral("M"));
  phone = sdk->addStorage(device, 0x00010001, QStringLiteral("Phone"));
  sdk->addFolder(phone, QStringLiteral("a"));
  sdk->addFile(phone, QStringLiteral("b"));
  connect();
  newFolderInCurrent(QStringLiteral("new"));
  EXPECT_EQ(rows(), QStringList({"a", "new", "b"}));
  EXPECT_THAT(contents(phone), ElementsAre("a/", "new/", "b"));
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, ANewFolderGoesToTheEndWhereThereAreNoFiles) {
  connectPhone();
  doubleClick(QStringLiteral("Empty"));
  ASSERT_TRUE(settle());
  newFolderInCurrent(QStringLiteral("one"));
  newFolderInCurrent(QStringLiteral("two"));
  EXPECT_EQ(rows(), QStringList({"one", "two"}));
}

TEST_F(ItemMutationsTest, ANewFolderIsAnItemLikeTheListedOnes) {
  connectPhone();
  newFolderInCurrent(QStringLiteral("new"));
  const ItemPointer item = itemNamed(QStringLiteral("new"));
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->objectType(), SObjectTypeFolder);
  EXPECT_EQ(item->filePath(), QStringLiteral("/M/Phone/new"));
  EXPECT_EQ(item->rootPath(), QStringLiteral("/M/Phone"));
  EXPECT_EQ(item->dateModified(), QStringLiteral("--"));
  EXPECT_EQ(item->fileSize(), 0U);
  EXPECT_EQ(item->parentItem(), controller->currentFolderItem());
  EXPECT_EQ(item->nodeID(), MTPDextSDKWrapper::nodeIDOf(sdk->folderNode(sdk->child(phone, QStringLiteral("new")))));
  EXPECT_FALSE(item->isListed());
  doubleClick(QStringLiteral("new"));
  ASSERT_TRUE(settle());
  newFolderInCurrent(QStringLiteral("inner"));
  EXPECT_THAT(contents(sdk->child(phone, QStringLiteral("new"))), ElementsAre("inner/"));
}

TEST_F(ItemMutationsTest, AFolderMadeWhileAFileIsRightClickedStandsBesideIt) {
  connectPhone();
  expand(QStringLiteral("DCIM"));
  outline().menuForEvent(outline().visualRect(row(QStringLiteral("a.jpg"), row(QStringLiteral("DCIM")))).center());
  controller->createItemProc();
  makeFolder(QStringLiteral("beside"));
  EXPECT_THAT(contents(dcim), ElementsAre("Camera/", "beside/", "a.jpg", "b.jpg"));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "beside", "a.jpg", "b.jpg"}));
  EXPECT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM"))));
}

TEST_F(ItemMutationsTest, AFolderMadeInACollapsedFolderIsShownInIt) {
  connectPhone();
  chooseInMenuOf(row(QStringLiteral("DCIM")), "MNU_AddNewFolder");
  makeFolder(QStringLiteral("Trip"));
  EXPECT_THAT(contents(dcim), ElementsAre("Camera/", "Trip/", "a.jpg", "b.jpg"));
  EXPECT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "Trip", "a.jpg", "b.jpg"}));
  EXPECT_TRUE(itemNamed(QStringLiteral("DCIM"))->isListed());
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, TheToolbarsButtonMakesAFolderInTheCurrentOneWhateverWasRightClicked) {
  connectPhone();
  outline().menuForEvent(outline().visualRect(row(QStringLiteral("DCIM"))).center());
  QTest::mouseClick(layout()._btn_AddNewFolder, Qt::LeftButton);
  makeFolder(QStringLiteral("top"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "top", "readme.txt"}));
}

TEST_F(ItemMutationsTest, ANewFolderAmongSortedRowsComesToStandWhereItsNameBelongs) {
  connectPhone();
  outline().sortByColumn(kFileName, Qt::DescendingOrder);
  expand(QStringLiteral("DCIM"));
  chooseInMenuOf(row(QStringLiteral("DCIM")), "MNU_AddNewFolder");
  makeFolder(QStringLiteral("Ape"));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "Ape", "b.jpg", "a.jpg"}));
}

TEST_F(ItemMutationsTest, MakingAFolderInAnExpandedOneKeepsWhatElseIsExpanded) {
  connectPhone();
  expand(QStringLiteral("DCIM"));
  newFolderInCurrent(QStringLiteral("new"));
  EXPECT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))).size(), 3);
}

TEST_F(ItemMutationsTest, ANewFolderIsScrolledToAndGetsTheKeyboardButIsNotSelected) {
  addPhone();
  for (int i = 0; i < 100; ++i)
    sdk->addFolder(phone, QStringLiteral("folder %1").arg(i));
  connect();
  newFolderInCurrent(QStringLiteral("new"));
  const QRect shown = outline().visualRect(row(QStringLiteral("new")));
  EXPECT_TRUE(outline().viewport()->rect().contains(shown.center())) << qPrintable(QDebug::toString(shown));
  EXPECT_EQ(outline().currentIndex(), row(QStringLiteral("new")));
  EXPECT_EQ(outline().numberOfSelectedRows(), 0);
}

TEST_F(ItemMutationsTest, MakingAFolderKeepsWhatIsExpandedBesideIt) {
  connectPhone();
  expand(QStringLiteral("DCIM"));
  const auto isCameraExpanded = [&] {
    return outline().isExpanded(row(QStringLiteral("Camera"), row(QStringLiteral("DCIM"))));
  };
  sdk->addFile(camera, QStringLiteral("c.jpg"));
  outline().expand(row(QStringLiteral("Camera"), row(QStringLiteral("DCIM"))));
  ASSERT_TRUE(settle());
  ASSERT_TRUE(isCameraExpanded());
  outline().selectionModel()->clearSelection();
  chooseInMenuOf(row(QStringLiteral("DCIM")), "MNU_AddNewFolder");
  makeFolder(QStringLiteral("new"));
  EXPECT_TRUE(isCameraExpanded());
  EXPECT_TRUE(row(QStringLiteral("new"), row(QStringLiteral("DCIM"))).isValid());
}

TEST_F(ItemMutationsTest, AFolderWhoseNameExistsChangesNothingAndShowsNothing) {
  connectPhone();
  newFolderInCurrent(QStringLiteral("DCIM"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 1);
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, AFolderThatThePhoneRefusesChangesNothing) {
  connectPhone();
  sdk->setStatus(Operation::CreateFolderNode, DGSTATUS_UNSUCCESSFUL);
  newFolderInCurrent(QStringLiteral("new"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, ACanceledNameMakesNoFolder) {
  connectPhone();
  controller->performCommand(WindowCommand::NewFolder);
  EXPECT_TRUE(controller->isBlocked());
  cancelName();
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 0);
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, WhileANameIsAskedForNoSecondQuestionCanBeBegun) {
  connectPhone();
  controller->performCommand(WindowCommand::NewFolder);
  controller->performCommand(WindowCommand::NewFolder);
  controller->createItemProc();
  enterName(QStringLiteral("one"));
  ASSERT_TRUE(settle());
  EXPECT_FALSE(namePanel().isAsking());
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 1);
}

TEST_F(ItemMutationsTest, AFolderIsMadeWhereItWasWantedThoughTheTreeWasBuiltAnewMeanwhile) {
  connectPhone();
  chooseInMenuOf(row(QStringLiteral("DCIM")), "MNU_AddNewFolder");
  ASSERT_NO_FATAL_FAILURE(awaitNameQuestion());
  controller->updateMTPChangeProcess();
  ASSERT_TRUE(waitUntil([&] { return sdk->calls(Operation::GetFileListHead) > 1 && !rows().isEmpty(); }));
  makeFolder(QStringLiteral("new"));
  EXPECT_THAT(contents(dcim), ElementsAre("Camera/", "new/", "a.jpg", "b.jpg"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  EXPECT_FALSE(controller->isBlocked());
}

// ---- Rename ----

TEST_F(ItemMutationsTest, ARenamedItemShowsItsNewNameWhereItStands) {
  connectPhone();
  const ItemPointer item = itemNamed(QStringLiteral("readme.txt"));
  renameRow(row(QStringLiteral("readme.txt")), QStringLiteral("a.txt"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "a.txt"}));
  EXPECT_EQ(item->fileName(), QStringLiteral("a.txt"));
  EXPECT_EQ(item->filePath(), QStringLiteral("/M/Phone/a.txt"));
  EXPECT_FALSE(item->isListed());
  EXPECT_THAT(contents(phone), ElementsAre("DCIM/", "Empty/", "a.txt"));
  EXPECT_TRUE(outline().selectionModel()->isSelected(row(QStringLiteral("a.txt"))));
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, RenamingOffersTheCurrentName) {
  connectPhone();
  select({row(QStringLiteral("Empty"))});
  QTest::keyClick(&outline(), Qt::Key_F2);
  ASSERT_NO_FATAL_FAILURE(awaitNameQuestion());
  EXPECT_EQ(namePanel().txtNewName()->text(), QStringLiteral("Empty"));
  EXPECT_EQ(namePanel().lbDescription()->text(),
            VornLocalStringDefine::QX_LocalizedStringWithKey(QStringLiteral("MNU_EditName")));
  cancelName();
}

TEST_F(ItemMutationsTest, RenamingToTheSameNameMakesNoDeviceCall) {
  connectPhone();
  renameRow(row(QStringLiteral("readme.txt")), QStringLiteral("readme.txt"));
  EXPECT_EQ(sdk->calls(Operation::RenameNode), 0);
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, ARenamedFoldersContentsAreForgottenForTheirPathsAreNoMore) {
  connectPhone();
  sdk->addFile(sdk->addFolder(phone, QStringLiteral("Old")), QStringLiteral("x"));
  controller->updateMTPChangeProcess();
  ASSERT_TRUE(settle());
  expand(QStringLiteral("Old"));
  renameRow(row(QStringLiteral("Old")), QStringLiteral("New"));
  EXPECT_FALSE(outline().isExpanded(row(QStringLiteral("New"))));
  EXPECT_EQ(itemNamed(QStringLiteral("New"))->childObjects(), nullptr);
}

TEST_F(ItemMutationsTest, SeveralItemsAreRenamedFromTheFirstRowToTheLast) {
  connectPhone();
  expand(QStringLiteral("DCIM"));
  const QModelIndex folder = row(QStringLiteral("DCIM"));
  select(
      {row(QStringLiteral("readme.txt")), row(QStringLiteral("b.jpg"), folder), row(QStringLiteral("a.jpg"), folder)});
  controller->changeItemNameProc();
  for (const char* name : {"a.jpg", "b.jpg", "readme.txt"}) {
    ASSERT_NO_FATAL_FAILURE(awaitNameQuestion());
    ASSERT_EQ(namePanel().txtNewName()->text(), QString::fromLatin1(name));
    enterName(QStringLiteral("new ") + QString::fromLatin1(name));
  }
  ASSERT_TRUE(settle());
  EXPECT_THAT(contents(dcim), ElementsAre("Camera/", "new a.jpg", "new b.jpg"));
  EXPECT_THAT(contents(phone), ElementsAre("DCIM/", "Empty/", "new readme.txt"));
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, ACanceledNameLeavesThatItemAndGoesOnWithTheNext) {
  connectPhone();
  select({row(QStringLiteral("Empty")), row(QStringLiteral("readme.txt"))});
  controller->changeItemNameProc();
  cancelName();
  enterName(QStringLiteral("new.txt"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "new.txt"}));
}

TEST_F(ItemMutationsTest, ANameThatThePhoneRefusesLeavesTheItemAsItWas) {
  addPhone();
  sdk->addFile(sdk->addFolder(phone, QStringLiteral("Old")), QStringLiteral("x"));
  connect();
  expand(QStringLiteral("Old"));
  sdk->setStatus(Operation::RenameNode, DGSTATUS_UNSUCCESSFUL);
  renameRow(row(QStringLiteral("Old")), QStringLiteral("New"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "Old", "readme.txt"}));
  EXPECT_EQ(itemNamed(QStringLiteral("Old"))->filePath(), QStringLiteral("/M/Phone/Old"));
  EXPECT_EQ(rows(row(QStringLiteral("Old"))), QStringList({"x"}));
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, WithoutASelectionNothingIsRenamed) {
  connectPhone();
  controller->changeItemNameProc();
  EXPECT_FALSE(controller->isBlocked());
  EXPECT_EQ(platform::runningWorkers(), 0);
}

TEST_F(ItemMutationsTest, SortingAgainPutsARenamedItemWhereItsNameBelongs) {
  connectPhone();
  outline().sortByColumn(kFileName, Qt::AscendingOrder);
  renameRow(row(QStringLiteral("Empty")), QStringLiteral("aaa"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "aaa", "readme.txt"}));
  outline().sortByColumn(kFileName, Qt::AscendingOrder);
  EXPECT_EQ(rows(), QStringList({"aaa", "DCIM", "readme.txt"}));
}

TEST_F(ItemMutationsTest, AnItemIsRenamedThoughTheTreeWasBuiltAnewMeanwhile) {
  connectPhone();
  select({row(QStringLiteral("readme.txt"))});
  controller->performCommand(WindowCommand::Rename);
  ASSERT_NO_FATAL_FAILURE(awaitNameQuestion());
  const ItemPointer before = itemNamed(QStringLiteral("readme.txt"));
  controller->updateMTPChangeProcess();
  ASSERT_TRUE(waitUntil([&] { return itemNamed(QStringLiteral("readme.txt")) != before; }));
  enterName(QStringLiteral("new.txt"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "new.txt"}));
}

// ---- Delete ----

TEST_F(ItemMutationsTest, ADeletionThatIsConfirmedTakesTheRowsAway) {
  connectPhone();
  select({row(QStringLiteral("Empty")), row(QStringLiteral("readme.txt"))});
  QTest::keyClick(&outline(), Qt::Key_Delete);
  EXPECT_TRUE(controller->isBlocked());
  confirm();
  EXPECT_EQ(rows(), QStringList({"DCIM"}));
  EXPECT_THAT(contents(phone), ElementsAre("DCIM/"));
  EXPECT_FALSE(controller->isBlocked());
  EXPECT_FALSE(platform::userDefaults::boolForKey(QString::fromLatin1(ItemMutations::kDeleteWithoutAsking)));
}

TEST_F(ItemMutationsTest, TheConfirmationIsAnsweredByKeysThatReachTheCover) {
  connectPhone();
  select({row(QStringLiteral("readme.txt"))});
  controller->performCommand(WindowCommand::Delete);
  ASSERT_NO_FATAL_FAILURE(awaitConfirmation());
  QTest::keyClick(layout()._ghostView, Qt::Key_Return);
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty"}));
}

TEST_F(ItemMutationsTest, ACanceledDeletionDeletesNothingAndLeavesBackAndNextDisabled) {
  connectPhone();
  const int before = slept;
  select({row(QStringLiteral("readme.txt"))});
  controller->performCommand(WindowCommand::Delete);
  ASSERT_NO_FATAL_FAILURE(awaitConfirmation());
  QTest::keyClick(&notice(), Qt::Key_Escape);
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(slept - before, 200); // for the panel to be gone
  EXPECT_FALSE(controller->isBlocked());
  EXPECT_FALSE(controller->possibleCommands().contains(WindowCommand::Back));
}

TEST_F(ItemMutationsTest, WithTheBoxTickedOnceTheNextDeletionAsksNothing) {
  connectPhone();
  select({row(QStringLiteral("readme.txt"))});
  controller->performCommand(WindowCommand::Delete);
  confirm(true);
  const QString key = QString::fromLatin1(ItemMutations::kDeleteWithoutAsking);
  EXPECT_TRUE(platform::userDefaults::boolForKey(key));
  QFile file(defaults.filePath(QStringLiteral("defaults.conf")));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_TRUE(file.readAll().contains("BTUI_Delet_Window_Close=true")); // on the disk, not only in memory
  const int before = slept;
  select({row(QStringLiteral("Empty"))});
  controller->performCommand(WindowCommand::Delete);
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList({"DCIM"}));
  EXPECT_EQ(slept, before);
}

TEST_F(ItemMutationsTest, ATickedBoxOfACanceledDeletionCountsNothing) {
  connectPhone();
  select({row(QStringLiteral("readme.txt"))});
  controller->performCommand(WindowCommand::Delete);
  ASSERT_NO_FATAL_FAILURE(awaitConfirmation());
  notice().btnCheckbox()->setChecked(true);
  QTest::mouseClick(notice().btnCancel(), Qt::LeftButton);
  ASSERT_TRUE(settle());
  EXPECT_FALSE(platform::userDefaults::value(QString::fromLatin1(ItemMutations::kDeleteWithoutAsking)));
}

TEST_F(ItemMutationsTest, DeletingItemsOfTwoExpandedFoldersRefreshesBoth) {
  addPhone();
  sdk->addFile(sdk->addFolder(phone, QStringLiteral("Other")), QStringLiteral("c.jpg"));
  connect();
  expand(QStringLiteral("DCIM"));
  expand(QStringLiteral("Other"));
  select({row(QStringLiteral("a.jpg"), row(QStringLiteral("DCIM"))),
          row(QStringLiteral("c.jpg"), row(QStringLiteral("Other")))});
  const QSignalSpy expanded(&outline(), &QTreeView::expanded);
  const QSignalSpy reset(&model(), &QAbstractItemModel::modelReset);
  controller->performCommand(WindowCommand::Delete);
  confirm();
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "b.jpg"}));
  EXPECT_EQ(rows(row(QStringLiteral("Other"))), QStringList());
  EXPECT_EQ(expanded.count(), 2);
  EXPECT_EQ(reset.count(), 0);
}

TEST_F(ItemMutationsTest, IfOneOfTheDeletedItemsLiesInTheCurrentFolderOnlyThatIsReloaded) {
  connectPhone();
  expand(QStringLiteral("DCIM"));
  select({row(QStringLiteral("a.jpg"), row(QStringLiteral("DCIM"))), row(QStringLiteral("readme.txt"))});
  const QSignalSpy collapsed(&outline(), &QTreeView::collapsed);
  const QSignalSpy reset(&model(), &QAbstractItemModel::modelReset);
  controller->performCommand(WindowCommand::Delete);
  confirm();
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty"}));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "b.jpg"}));
  EXPECT_EQ(collapsed.count(), 0);
  EXPECT_EQ(reset.count(), 1);
  EXPECT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM")))); // what is open stays open
}

TEST_F(ItemMutationsTest, ManyRowsAreDeletedWithoutKeepingTheWindowBusyWithEachOfThem) {
  addPhone();
  constexpr int count = 500;
  for (int i = 0; i < count; ++i)
    sdk->addFile(camera, QStringLiteral("p%1").arg(i));
  connect();
  expand(QStringLiteral("DCIM"));
  outline().expand(row(QStringLiteral("Camera"), row(QStringLiteral("DCIM"))));
  ASSERT_TRUE(settle());
  const QPersistentModelIndex folder = row(QStringLiteral("Camera"), row(QStringLiteral("DCIM")));
  ASSERT_EQ(model().rowCount(folder), count);
  outline().selectionModel()->select(
      QItemSelection(model().index(0, kFileName, folder), model().index(count - 2, kFileName, folder)),
      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  const QSignalSpy removed(&model(), &QAbstractItemModel::rowsRemoved);
  platform::userDefaults::setValue(QString::fromLatin1(ItemMutations::kDeleteWithoutAsking), true);
  controller->performCommand(WindowCommand::Delete);
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), count - 1);
  EXPECT_EQ(rows(folder), QStringList({"p499"}));
  EXPECT_LT(removed.count(), count / 10); // two a second, however long it took
}

TEST_F(ItemMutationsTest, WhatThePhoneDoesNotDeleteStays) {
  connectPhone();
  sdk->setStatusAt(Operation::DeleteNode, 1, DGSTATUS_UNSUCCESSFUL);
  select({row(QStringLiteral("Empty")), row(QStringLiteral("readme.txt"))});
  controller->performCommand(WindowCommand::Delete);
  confirm();
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty"}));
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, WhatWentWithItsFolderIsNotSoughtOnThePhoneAnyMore) {
  connectPhone();
  sdk->addFile(phone, QStringLiteral("a.jpg"));
  controller->updateMTPChangeProcess();
  ASSERT_TRUE(settle());
  expand(QStringLiteral("DCIM"));
  const QModelIndex folder = row(QStringLiteral("DCIM"));
  select({row(QStringLiteral("a.jpg"), folder), folder});
  controller->deleteItemsProc();
  confirm();
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 1);
  EXPECT_THAT(contents(phone), ElementsAre("Empty/", "readme.txt", "a.jpg"));
  EXPECT_EQ(rows(), QStringList({"Empty", "readme.txt", "a.jpg"}));
}

TEST_F(ItemMutationsTest, RowsThatNobodySeesAreNotDeleted) {
  connectPhone();
  expand(QStringLiteral("DCIM"));
  select({row(QStringLiteral("a.jpg"), row(QStringLiteral("DCIM"))), row(QStringLiteral("readme.txt"))});
  outline().collapse(row(QStringLiteral("DCIM")));
  controller->performCommand(WindowCommand::Delete);
  confirm();
  EXPECT_THAT(contents(dcim), ElementsAre("Camera/", "a.jpg", "b.jpg"));
  EXPECT_THAT(contents(phone), ElementsAre("DCIM/", "Empty/"));
}

TEST_F(ItemMutationsTest, ThePhonesOwnFoldersAreNotDeletedOrRenamedByTheMenuOfEmptySpaceEither) {
  connectPhone();
  platform::userDefaults::setValue(QStringLiteral("BTUI_Delet_Window_Close"), true);
  select({row(QStringLiteral("DCIM"))});
  chooseInMenuOf({}, "MNU_Delete");
  ASSERT_TRUE(settle());
  chooseInMenuOf({}, "MNU_EditName");
  EXPECT_FALSE(controller->isBlocked()); // nothing is asked
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  select({row(QStringLiteral("Empty"))});
  chooseInMenuOf({}, "MNU_Delete");
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 1);
}

TEST_F(ItemMutationsTest, WithoutASelectionNothingIsAsked) {
  connectPhone();
  controller->deleteItemsProc();
  EXPECT_FALSE(controller->isBlocked());
  EXPECT_EQ(platform::runningWorkers(), 0);
}

TEST_F(ItemMutationsTest, ADeletionInALongFolderStaysWhereTheUserIs) {
  addPhone();
  for (int i = 0; i < 100; ++i)
    sdk->addFile(phone, QStringLiteral("file %1").arg(i));
  connect();
  outline().scrollTo(row(QStringLiteral("file 70")), QAbstractItemView::PositionAtTop);
  const int scrolled = outline().verticalScrollBar()->value();
  ASSERT_GT(scrolled, 0);
  outline().setCurrentIndex(row(QStringLiteral("file 72")));
  controller->performCommand(WindowCommand::Delete);
  confirm();
  EXPECT_FALSE(row(QStringLiteral("file 72")).isValid());
  EXPECT_EQ(outline().verticalScrollBar()->value(), scrolled);
  EXPECT_EQ(outline().currentIndex(), row(QStringLiteral("file 73"))); // for the keyboard
  EXPECT_EQ(outline().numberOfSelectedRows(), 0);
}

TEST_F(ItemMutationsTest, AfterADeletionTheKeyboardIsOnTheRowThatFollows) {
  connectPhone();
  expand(QStringLiteral("DCIM"));
  const QModelIndex folder = row(QStringLiteral("DCIM"));
  select({row(QStringLiteral("Camera"), folder), row(QStringLiteral("a.jpg"), folder)});
  controller->performCommand(WindowCommand::Delete);
  confirm();
  EXPECT_EQ(outline().currentIndex(), row(QStringLiteral("b.jpg"), row(QStringLiteral("DCIM"))));
  select({row(QStringLiteral("Empty")), row(QStringLiteral("readme.txt"))});
  controller->performCommand(WindowCommand::Delete);
  confirm();
  EXPECT_EQ(outline().currentIndex(), row(QStringLiteral("b.jpg"), row(QStringLiteral("DCIM")))); // the last there is
  EXPECT_EQ(outline().numberOfSelectedRows(), 0);
}

// ---- Detach, closing, no threads ----

TEST_F(ItemMutationsTest, ADetachWhileANameIsAskedForEndsTheCommand) {
  connectPhone();
  select({row(QStringLiteral("Empty")), row(QStringLiteral("readme.txt"))});
  controller->changeItemNameProc();
  ASSERT_NO_FATAL_FAILURE(awaitNameQuestion());
  controller->deviceDisconnected();
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::RenameNode), 0);
  EXPECT_FALSE(namePanel().isAsking());
}

TEST_F(ItemMutationsTest, ADetachWhileADeletionIsConfirmedDeletesNothing) {
  connectPhone();
  select({row(QStringLiteral("readme.txt"))});
  controller->performCommand(WindowCommand::Delete);
  ASSERT_NO_FATAL_FAILURE(awaitConfirmation());
  controller->deviceDisconnected();
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
}

TEST_F(ItemMutationsTest, ADetachDuringADeletionEndsTheLoop) {
  connectPhone();
  Gate gate;
  sdk->setHook(Operation::DeleteNode, [&] { gate.pass(); });
  platform::userDefaults::setValue(QString::fromLatin1(ItemMutations::kDeleteWithoutAsking), true);
  select({row(QStringLiteral("Empty")), row(QStringLiteral("readme.txt"))});
  controller->performCommand(WindowCommand::Delete);
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller->deviceDisconnected();
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 1);
}

TEST_F(ItemMutationsTest, ADetachDuringARenameChangesNothingInTheTree) {
  connectPhone();
  Gate gate;
  sdk->setHook(Operation::RenameNode, [&] { gate.pass(); });
  const ItemPointer item = itemNamed(QStringLiteral("readme.txt"));
  select({row(QStringLiteral("readme.txt"))});
  controller->performCommand(WindowCommand::Rename);
  enterName(QStringLiteral("new.txt"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller->deviceDisconnected();
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(item->fileName(), QStringLiteral("readme.txt"));
}

TEST_F(ItemMutationsTest, ACommandOfAPhoneThatLeftDoesNotFreeTheWindowFromTheNextOnes) {
  connectPhone();
  Gate gate;
  sdk->setHook(Operation::RenameNode, [&] { gate.pass(); });
  renameInBackground();
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller->deviceDisconnected();
  controller->setDisableCaptureEvent(true); // the next phone's transfer, say
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_TRUE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, TheWindowMayGoWhileANameIsAskedForAndWhileThePhoneWorks) {
  connectPhone();
  controller->performCommand(WindowCommand::NewFolder);
  ASSERT_NO_FATAL_FAILURE(awaitNameQuestion());
  controller.reset();
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 0);

  openWindow();
  connect();
  Gate gate;
  sdk->setHook(Operation::RenameNode, [&] { gate.pass(); });
  renameInBackground();
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller.reset();
  gate.open();
  ASSERT_TRUE(settle());
}

TEST_F(ItemMutationsTest, TheWindowMayGoBeforeTheQuestionIsAsked) {
  connectPhone();
  controller->performCommand(WindowCommand::NewFolder);
  controller.reset(); // the worker may not even run yet
  ASSERT_TRUE(settle());
}

TEST_F(ItemMutationsTest, WithoutAThreadNothingHappensAndTheWindowStaysUsable) {
  connectPhone();
  refuseWorkers = true;
  select({row(QStringLiteral("readme.txt"))});
  for (const WindowCommand command : {WindowCommand::NewFolder, WindowCommand::Rename, WindowCommand::Delete}) {
    controller->performCommand(command);
    EXPECT_FALSE(controller->isBlocked());
    select({row(QStringLiteral("readme.txt"))});
  }
  refuseWorkers = false;
  controller->performCommand(WindowCommand::NewFolder);
  ASSERT_NO_FATAL_FAILURE(awaitNameQuestion());
  refuseWorkers = true;
  enterName(QStringLiteral("new"));
  ASSERT_TRUE(settle());
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, WithoutAPhoneNothingHappens) {
  controller->createItemProc();
  controller->changeItemNameProc();
  controller->deleteItemsProc();
  EXPECT_FALSE(controller->isBlocked());
  EXPECT_EQ(platform::runningWorkers(), 0);
}

// ---- The context menu ----

TEST_F(ItemMutationsTest, TheContextMenusEntriesDoWhatTheirTitlesSay) {
  connectPhone();
  chooseInMenuOf(row(QStringLiteral("readme.txt")), "MNU_EditName");
  enterName(QStringLiteral("new.txt"));
  ASSERT_TRUE(settle());
  EXPECT_TRUE(row(QStringLiteral("new.txt")).isValid());
  outline().selectionModel()->clearSelection();
  chooseInMenuOf(row(QStringLiteral("Empty")), "MNU_Delete");
  confirm();
  EXPECT_EQ(rows(), QStringList({"DCIM", "new.txt"}));
  outline().selectionModel()->clearSelection();
  chooseInMenuOf({}, "MNU_AddNewFolder");
  makeFolder(QStringLiteral("made"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "made", "new.txt"}));
}

TEST_F(ItemMutationsTest, AnEntryWithAnotherTitleDoesNothing) {
  connectPhone();
  const QAction other(QStringLiteral("other"));
  controller->actionBrowserMenuItem(&other);
  EXPECT_FALSE(controller->isBlocked());
}

TEST_F(ItemMutationsTest, ProtectedFoldersCanNeitherBeRenamedNorDeletedByKeys) {
  connectPhone();
  select({row(QStringLiteral("DCIM"))});
  QTest::keyClick(&outline(), Qt::Key_F2);
  QTest::keyClick(&outline(), Qt::Key_Delete);
  EXPECT_FALSE(controller->isBlocked());
  select({row(QStringLiteral("DCIM")), row(QStringLiteral("readme.txt"))});
  QTest::keyClick(&outline(), Qt::Key_Delete);
  EXPECT_FALSE(controller->isBlocked());
  EXPECT_EQ(platform::runningWorkers(), 0);
}

} // namespace
