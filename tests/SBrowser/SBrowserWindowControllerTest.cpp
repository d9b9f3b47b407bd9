#include "SBrowser/SBrowserWindowController.h"

#include "BrowserFixture.h"
#include "MTPCore/CapturedLog.h"
#include "SBrowser/NavigationButton.h"
#include "UI/Common/SizeText.h"
#include "UI/Controls/SGhostView.h"
#include "UI/Controls/SToolbarButton.h"
#include "UI/LoadingView/SLoadingAniView.h"
#include "UI/LoadingView/SLoadingAniViewController.h"
#include "UI/NoticeView/SNoticeView.h"
#include "stringDefine/VornLocalStringDefine.h"
#include "support/Clicks.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QToolBar>

#include <thread>

namespace {

class SBrowserWindowControllerTest : public BrowserFixture {
protected:
  /// The phone's own storage is shown, at once because it was listed before, while the card's listing waits at `gate`.
  void switchBackDuringTheCardsListing(Gate& gate) {
    addPhone();
    addCard();
    connect();
    sdk->setHook(Operation::GetFolderListHead, [&gate] { gate.pass(); });
    controller->setSelectedStorage(2);
    ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
    controller->setSelectedStorage(1);
  }
  WindowLayout& layout() const { return controller->layout(); }
  QString title() const { return controller->window()->windowTitle(); }
  QWidget& loadingView() const { return *layout()._loadingViewController->view(); }
  void press(int key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(&outline(), static_cast<Qt::Key>(key), modifiers);
    ASSERT_TRUE(settle());
  }
  void click(QAbstractButton* button) {
    controller->btnToolbar_clicked(button);
    ASSERT_TRUE(settle());
  }
  void enter(const QString& name) {
    doubleClick(name);
    ASSERT_TRUE(settle());
  }
  void expectWelcome(const char* key = "MSG_WelcomToVBX2") const {
    EXPECT_EQ(title(), QStringLiteral("MTP Browser"));
    EXPECT_TRUE(layout().welcomeTfield->isVisible());
    EXPECT_EQ(layout().welcomeTfield->text(), VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key)));
    EXPECT_FALSE(layout().toolbar->isVisible());
    EXPECT_FALSE(layout().scrollViewBrowser->isVisible());
    EXPECT_FALSE(layout().paths->isVisible());
  }
};

// ---- Connecting ----

TEST_F(SBrowserWindowControllerTest, StartsInTheWelcomeState) {
  expectWelcome();
}

TEST_F(SBrowserWindowControllerTest, AConnectedPhoneShowsItsNameItsStorageAndItsTopLevel) {
  connectPhone();
  EXPECT_EQ(title(), QStringLiteral("Pat's phone"));
  EXPECT_EQ(controller->deviceName(), QStringLiteral("Pat's phone"));
  EXPECT_EQ(controller->locationID(), QStringLiteral("14200000"));
  EXPECT_FALSE(layout().welcomeTfield->isVisible());
  EXPECT_TRUE(layout().toolbar->isVisible());
  EXPECT_TRUE(layout().paths->isVisible());
  EXPECT_TRUE(outline().isVisible());
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  EXPECT_EQ(layout().paths->text(), QStringLiteral("/M/Phone"));
  EXPECT_TRUE(layout()._btn_InternalStorage->isSelected());
  EXPECT_EQ(controller->currentSelectedStorage(), 1);
}

TEST_F(SBrowserWindowControllerTest, StorageRootsCarryPathKindAndTheStoragesNode) {
  addPhone();
  addCard();
  connect();
  ASSERT_EQ(controller->staticSource().size(), 2U);
  const ItemPointer root = controller->staticSource()[0];
  EXPECT_EQ(root->objectType(), SObjectTypeInternalStorage);
  EXPECT_EQ(root->filePath(), QStringLiteral("/M/Phone"));
  EXPECT_EQ(root->rootPath(), QStringLiteral("/M/Phone"));
  EXPECT_EQ(root->fileName(), QStringLiteral("Phone"));
  EXPECT_EQ(root->dateModified(), QStringLiteral("--"));
  EXPECT_EQ(root->fileSize(), 0U);
  EXPECT_EQ(root->parentItem(), nullptr);
  EXPECT_EQ(root->nodeID(), MTPDextSDKWrapper::nodeIDOf(sdk->storageNode(phone)));
  EXPECT_EQ(controller->staticSource()[1]->objectType(), SObjectTypeExternalStorage);
}

TEST_F(SBrowserWindowControllerTest, APhoneWithOneStorageShowsOnlyTheInternalButton) {
  connectPhone();
  EXPECT_TRUE(layout()._btn_InternalStorage->isVisible());
  EXPECT_TRUE(layout()._btn_InternalStorage->isEnabled());
  EXPECT_EQ(layout()._btn_InternalStorage->text(), QStringLiteral("Phone"));
  EXPECT_FALSE(layout()._btn_ExternalStorage->isVisible());
  EXPECT_FALSE(layout()._btn_ExternalStorage->isEnabled());
}

TEST_F(SBrowserWindowControllerTest, AThirdStorageGetsNoButton) {
  addPhone();
  addCard();
  sdk->addStorage(device, 0x00010002, QStringLiteral("Second"));
  connect();
  EXPECT_EQ(controller->staticSource().size(), 3U);
  EXPECT_EQ(layout()._btn_InternalStorage->text(), QStringLiteral("Phone"));
  EXPECT_EQ(layout()._btn_ExternalStorage->text(), QStringLiteral("Second"));
  EXPECT_TRUE(layout()._btn_ExternalStorage->isVisible());
}

TEST_F(SBrowserWindowControllerTest, APhoneWithOnlyACardShowsIt) {
  device = sdk->addDevice(0x14200000, QStringLiteral("M"));
  addCard();
  connect();
  EXPECT_EQ(rows(), QStringList({"Backup", "song.mp3"}));
  EXPECT_EQ(layout()._btn_InternalStorage->text(), QStringLiteral("Card"));
}

TEST_F(SBrowserWindowControllerTest, WithoutStoragesTenAttemptsAreMadeAndTheWindowStaysInTheWelcomeState) {
  CapturedLog log;
  sdk->addDevice(0x14200000, QStringLiteral("M"));
  controller->connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(log.count("Get list storage fail!!!"), 1);
  EXPECT_EQ(sdk->calls(Operation::GetStorageListHead), 10);
  EXPECT_EQ(slept, 100);
  expectWelcome("MSG_PhoneLocked");
}

TEST_F(SBrowserWindowControllerTest, AFailedConnectionLeavesTheShownPhoneUsable) {
  connectPhone();
  sdk->setStatus(Operation::GetStorageListHead, 0x12000002);
  controller->connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(settle());
  sdk->setStatus(Operation::GetStorageListHead, std::nullopt);
  EXPECT_EQ(title(), QStringLiteral("Pat's phone"));
  enter(QStringLiteral("DCIM"));
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "b.jpg"}));
}

TEST_F(SBrowserWindowControllerTest, StoragesThatAppearAfterSomeAttemptsAreShown) {
  addPhone();
  for (int call = 1; call <= 3; ++call)
    sdk->setStatusAt(Operation::GetStorageListHead, call, 0x12000002);
  connect();
  EXPECT_EQ(slept, 40); // also after the attempt that succeeded
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(SBrowserWindowControllerTest, WhileAPhoneIsSlowToAnswerTheWindowDoesNotWait) {
  addPhone();
  Gate gate;
  sdk->setHook(Operation::GetStorageListHead, [&] { gate.pass(); });
  controller->connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  expectWelcome();
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(SBrowserWindowControllerTest, OfTwoConnectionsTheLaterOneCounts) {
  addPhone();
  const auto other = sdk->addDevice(0x14300000, QStringLiteral("N"), QStringLiteral("Other phone"));
  sdk->addStorage(other, 0x00010001, QStringLiteral("Inside"));
  Gate gate;
  sdk->setHook(Operation::GetStorageListHead, [&] { gate.pass(); });
  controller->connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller->connectDevice(QStringLiteral("14300000"));
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(title(), QStringLiteral("Other phone"));
  EXPECT_EQ(controller->locationID(), QStringLiteral("14300000"));
  EXPECT_EQ(currentFolder(), QStringLiteral("Inside"));
}

TEST_F(SBrowserWindowControllerTest, ADetachWhileConnectingEndsIt) {
  addPhone();
  Gate gate;
  sdk->setHook(Operation::GetStorageListHead, [&] { gate.pass(); });
  controller->connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller->deviceDisconnected();
  gate.open();
  ASSERT_TRUE(settle());
  expectWelcome();
}

TEST_F(SBrowserWindowControllerTest, ADetachAtTheVeryEndOfConnectingEndsItToo) {
  addPhone();
  Gate gate;
  sdk->setHook(Operation::GetFriendlyName, [&] { gate.pass(); }); // the storages are known by then
  controller->connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller->deviceDisconnected();
  gate.open();
  ASSERT_TRUE(settle());
  expectWelcome();
}

TEST_F(SBrowserWindowControllerTest, ConnectingAgainStartsAnew) {
  connectPhone();
  enter(QStringLiteral("DCIM"));
  click(layout()._btn_Previous);
  EXPECT_EQ(controller->nextStack().count(), 1);
  connect();
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_EQ(controller->nextStack().count(), 0);
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
}

TEST_F(SBrowserWindowControllerTest, AHostileDeviceNameStaysOnTheTitlesOneLine) {
  device = sdk->addDevice(0x14200000, QStringLiteral("M"), QStringLiteral("a\nb") + QString(10'000, u'x'));
  sdk->addStorage(device, 0x00010001, QStringLiteral("Phone") + QString(5'000, u'y'));
  connect();
  EXPECT_FALSE(title().contains(u'\n'));
  EXPECT_LT(title().size(), 3000);
  EXPECT_LT(layout()._btn_InternalStorage->width(), 600);
}

// ---- Storages and folders ----

TEST_F(SBrowserWindowControllerTest, TheStorageButtonsSwitchBetweenTheStorages) {
  addPhone();
  addCard();
  connect();
  click(layout()._btn_ExternalStorage);
  EXPECT_EQ(rows(), QStringList({"Backup", "song.mp3"}));
  EXPECT_TRUE(layout()._btn_ExternalStorage->isSelected());
  EXPECT_FALSE(layout()._btn_InternalStorage->isSelected());
  EXPECT_EQ(controller->currentSelectedStorage(), 2);
  click(layout()._btn_InternalStorage);
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  EXPECT_TRUE(layout()._btn_InternalStorage->isSelected());
  EXPECT_EQ(controller->currentSelectedStorage(), 1);
}

TEST_F(SBrowserWindowControllerTest, TheStorageThatIsShownIsNotEnteredAgain) {
  connectPhone();
  const int listings = sdk->calls(Operation::GetFolderListHead);
  const int registrations = sdk->calls(Operation::RequestEventNotifyEx);
  click(layout()._btn_InternalStorage);
  EXPECT_EQ(sdk->calls(Operation::GetFolderListHead), listings);
  EXPECT_EQ(sdk->calls(Operation::RequestEventNotifyEx), registrations);
}

TEST_F(SBrowserWindowControllerTest, AStorageThereIsNotCannotBeSelected) {
  connectPhone();
  controller->setSelectedStorage(2);
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_EQ(controller->currentSelectedStorage(), 1);
}

TEST_F(SBrowserWindowControllerTest, AFolderOfTheOtherStorageIsListedOnThatStorage) {
  addPhone();
  addCard();
  connect();
  const ItemPointer dcimItem = itemNamed(QStringLiteral("DCIM"));
  click(layout()._btn_ExternalStorage);
  controller->gotoNewFolder(dcimItem);
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "b.jpg"}));
  controller->gotoNewFolder(controller->staticSource()[1]);
  ASSERT_TRUE(settle());
  enter(QStringLiteral("Backup"));
  EXPECT_EQ(currentFolder(), QStringLiteral("Backup"));
}

TEST_F(SBrowserWindowControllerTest, DoubleClickingAFileUpdatesThePathFieldAndChangesNothingElse) {
  connectPhone();
  const int listings = sdk->calls(Operation::GetFileListHead);
  enter(QStringLiteral("readme.txt"));
  EXPECT_EQ(layout().paths->text(), QStringLiteral("/M/Phone/readme.txt"));
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  EXPECT_EQ(sdk->calls(Operation::GetFileListHead), listings);
}

TEST_F(SBrowserWindowControllerTest, DoubleClickingAFolderEntersItWithNothingSelected) {
  connectPhone();
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  enter(QStringLiteral("DCIM"));
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  EXPECT_EQ(layout().paths->text(), QStringLiteral("/M/Phone/DCIM"));
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "b.jpg"}));
  EXPECT_EQ(outline().numberOfSelectedRows(), 0);
  EXPECT_FALSE(model().isReloadingData());
}

TEST_F(SBrowserWindowControllerTest, ADoubleClickOnEmptySpaceDoesNothing) {
  connectPhone();
  controller->outlineViewRowDoubleClicked(QModelIndex());
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(SBrowserWindowControllerTest, AListedFolderIsEnteredAgainWithoutAskingThePhone) {
  connectPhone();
  enter(QStringLiteral("DCIM"));
  click(layout()._btn_Previous);
  const int listings = sdk->calls(Operation::GetFolderListHead);
  enter(QStringLiteral("DCIM"));
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "b.jpg"}));
  EXPECT_EQ(sdk->calls(Operation::GetFolderListHead), listings);
}

TEST_F(SBrowserWindowControllerTest, ListedItemsCarryWhatThePhoneTells) {
  connectPhone();
  const ItemPointer file = itemNamed(QStringLiteral("readme.txt"));
  EXPECT_EQ(file->objectType(), SObjectTypeFile);
  EXPECT_EQ(file->fileSize(), 1536U);
  EXPECT_EQ(file->filePath(), QStringLiteral("/M/Phone/readme.txt"));
  EXPECT_EQ(file->rootPath(), QStringLiteral("/M/Phone"));
  EXPECT_EQ(file->nodeID(), MTPDextSDKWrapper::nodeIDOf(sdk->fileNode(readme)));
  EXPECT_EQ(file->dateModified(), ui::convertMtpToSystemDate(QStringLiteral("20240229T101112")).value());
  EXPECT_EQ(file->parentItem(), controller->staticSource()[0]);
  const ItemPointer folder = itemNamed(QStringLiteral("DCIM"));
  EXPECT_EQ(folder->objectType(), SObjectTypeFolder);
  EXPECT_EQ(folder->dateModified(), QStringLiteral("--"));
  EXPECT_EQ(folder->fileSize(), 0U);
  EXPECT_FALSE(folder->isListed());
}

TEST_F(SBrowserWindowControllerTest, AnEntryNamedDotDotIsNeverListedAndAHiddenNameIs) {
  addPhone();
  sdk->addFolder(phone, QStringLiteral(".."));
  sdk->addFile(phone, QStringLiteral(".."));
  sdk->addFile(phone, QStringLiteral(".hidden"));
  sdk->addFolder(phone, QStringLiteral(".thumbnails"));
  connect();
  EXPECT_FALSE(rows().contains(QStringLiteral("..")));
  EXPECT_TRUE(rows().contains(QStringLiteral(".hidden")));
  EXPECT_TRUE(rows().contains(QStringLiteral(".thumbnails")));
}

TEST_F(SBrowserWindowControllerTest, AnEntryWithoutNameIsListedWithAnEmptyOne) {
  addPhone();
  sdk->setNullName(readme);
  connect();
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", ""}));
}

TEST_F(SBrowserWindowControllerTest, FilesShowTheirSizeAndFoldersDashesInBothColumns) {
  connectPhone();
  const QModelIndex file = row(QStringLiteral("readme.txt"));
  EXPECT_EQ(file.siblingAtColumn(kFileSize).data().toString(), QStringLiteral("1.50KB"));
  const QModelIndex folder = row(QStringLiteral("DCIM"));
  EXPECT_EQ(folder.siblingAtColumn(kFileSize).data().toString(), QStringLiteral("--"));
  EXPECT_EQ(folder.siblingAtColumn(kDateModified).data().toString(), QStringLiteral("--"));
}

TEST_F(SBrowserWindowControllerTest, AFolderThePhoneNoLongerKnowsIsShownEmptyUntilTheTreeIsReset) {
  connectPhone();
  const ItemPointer gone = itemNamed(QStringLiteral("DCIM"));
  sdk->remove(dcim);
  enter(QStringLiteral("DCIM"));
  EXPECT_TRUE(gone->isListed());
  EXPECT_EQ(gone->childObjects(), nullptr);
  EXPECT_EQ(rows(), QStringList());
  EXPECT_EQ(controller->currentFolderItem(), gone);
  controller->resetOutlineView();
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_EQ(rows(), QStringList({"Empty", "readme.txt"}));
}

TEST_F(SBrowserWindowControllerTest, AnEnteredFolderKeepsThePhonesOrderUntilAHeaderIsClicked) {
  addPhone();
  sdk->addFile(dcim, QStringLiteral("A.jpg"), 15);
  connect();
  outline().sortByColumn(kFileSize, Qt::DescendingOrder);
  enter(QStringLiteral("DCIM"));
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "b.jpg", "A.jpg"}));
  outline().sortByColumn(kFileSize, Qt::AscendingOrder);
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "A.jpg", "b.jpg"}));
}

TEST_F(SBrowserWindowControllerTest, AtFirstNothingIsSortedAndNoHeaderSaysSo) {
  addPhone();
  sdk->addFolder(phone, QStringLiteral("Alarms"));
  sdk->addFile(dcim, QStringLiteral("0.jpg"));
  connect();
  EXPECT_EQ(outline().header()->sortIndicatorSection(), -1);
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "Alarms", "readme.txt"}));
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "a.jpg", "b.jpg", "0.jpg"}));
}

TEST_F(SBrowserWindowControllerTest, AnExpandedFoldersChildrenFollowTheSortingTheHeaderShows) {
  connectPhone();
  outline().sortByColumn(kFileSize, Qt::DescendingOrder);
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"b.jpg", "a.jpg", "Camera"}));
}

// ---- Back and next ----

TEST_F(SBrowserWindowControllerTest, BackAndNextWalkTheFoldersThatWereEntered) {
  connectPhone();
  enter(QStringLiteral("DCIM"));
  enter(QStringLiteral("Camera"));
  click(layout()._btn_Previous);
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  click(layout()._btn_Previous);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  click(layout()._btn_Next);
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  click(layout()._btn_Next);
  EXPECT_EQ(currentFolder(), QStringLiteral("Camera"));
  click(layout()._btn_Next);
  EXPECT_EQ(currentFolder(), QStringLiteral("Camera"));
}

TEST_F(SBrowserWindowControllerTest, EveryClickOnBackAndNextIsAStepHoweverFast) {
  connectPhone();
  enter(QStringLiteral("DCIM"));
  enter(QStringLiteral("Camera"));
  const auto clickFast = [](const QWidget& button) {
    testsupport::click(button, button.rect().center(), Qt::LeftButton, testsupport::kFast);
  };
  clickFast(*layout()._btn_Previous);
  clickFast(*layout()._btn_Previous);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  clickFast(*layout()._btn_Next);
  clickFast(*layout()._btn_Next);
  EXPECT_EQ(currentFolder(), QStringLiteral("Camera"));
  ASSERT_TRUE(settle());
}

TEST_F(SBrowserWindowControllerTest, BackAndNextThatADeletionDisabledWorkAgainInTheNextFolder) {
  connectPhone();
  controller->changeEventRecieverObject(layout()._noticeView);
  controller->changeEventRecieverObject(nullptr);
  EXPECT_FALSE(layout()._btn_Previous->isEnabled());
  EXPECT_FALSE(layout()._btn_Next->isEnabled());
  enter(QStringLiteral("DCIM"));
  EXPECT_TRUE(layout()._btn_Previous->isEnabled());
  EXPECT_TRUE(layout()._btn_Next->isEnabled());
  EXPECT_TRUE(controller->possibleCommands().contains(WindowCommand::Back));
}

TEST_F(SBrowserWindowControllerTest, AFolderThatIsShownBelowAQuestionDoesNotEnableBackAndNext) {
  connectPhone();
  controller->changeEventRecieverObject(layout()._noticeView);
  controller->gotoNewFolder(itemNamed(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  ASSERT_EQ(currentFolder(), QStringLiteral("DCIM"));
  EXPECT_FALSE(layout()._btn_Previous->isEnabled());
  EXPECT_FALSE(layout()._btn_Next->isEnabled());
}

TEST_F(SBrowserWindowControllerTest, BackAtAStorageRootDoesNothingAndLeavesTheHistoryUnchanged) {
  connectPhone();
  enter(QStringLiteral("DCIM"));
  click(layout()._btn_Previous);
  EXPECT_EQ(controller->nextStack().count(), 1);
  click(layout()._btn_Previous);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_EQ(controller->nextStack().count(), 1);
}

TEST_F(SBrowserWindowControllerTest, ADoubleClickEmptiesTheHistory) {
  connectPhone();
  enter(QStringLiteral("DCIM"));
  click(layout()._btn_Previous);
  enter(QStringLiteral("readme.txt"));
  EXPECT_EQ(controller->nextStack().count(), 0);
}

TEST_F(SBrowserWindowControllerTest, FoldersThatLeftTheTreeLeaveTheHistory) {
  connectPhone();
  enter(QStringLiteral("DCIM"));
  click(layout()._btn_Previous);
  EXPECT_EQ(controller->nextStack().count(), 1);
  controller->resetOutlineView();
  ASSERT_TRUE(settle());
  EXPECT_EQ(controller->nextStack().count(), 0);
}

TEST_F(SBrowserWindowControllerTest, AnUnknownSenderDoesNothing) {
  connectPhone();
  QObject sender;
  controller->btnToolbar_clicked(&sender);
  controller->btnToolbar_clicked(nullptr);
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(SBrowserWindowControllerTest, AReturnThatIsStillHeldDownEntersNothing) {
  connectPhone();
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QStringLiteral("\r"), true);
  QCoreApplication::sendEvent(&outline(), &held);
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(SBrowserWindowControllerTest, TheKeyboardEntersGoesBackAndNextAndExpands) {
  connectPhone();
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  press(Qt::Key_Return);
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  press(Qt::Key_Backspace);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  press(Qt::Key_Right, Qt::AltModifier);
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
  press(Qt::Key_Left, Qt::AltModifier);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  press(Qt::Key_Right);
  EXPECT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "a.jpg", "b.jpg"}));
  press(Qt::Key_Left);
  EXPECT_FALSE(outline().isExpanded(row(QStringLiteral("DCIM"))));
}

// ---- Expanding ----

TEST_F(SBrowserWindowControllerTest, ExpandingAFolderListsItInPlace) {
  connectPhone();
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  const QModelIndex expanded = row(QStringLiteral("DCIM"));
  EXPECT_TRUE(outline().isExpanded(expanded));
  EXPECT_EQ(rows(expanded), QStringList({"Camera", "a.jpg", "b.jpg"}));
  EXPECT_TRUE(itemNamed(QStringLiteral("DCIM"))->isListed());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_TRUE(loadingView().isHidden());
}

TEST_F(SBrowserWindowControllerTest, AFolderWithChildrenEvenNoneIsNotListedAgain) {
  connectPhone();
  outline().expand(row(QStringLiteral("Empty")));
  ASSERT_TRUE(settle());
  const ItemPointer empty = itemNamed(QStringLiteral("Empty"));
  ASSERT_NE(empty->childObjects(), nullptr);
  EXPECT_TRUE(empty->childObjects()->isEmpty());
  const int listings = sdk->calls(Operation::GetFolderListHead);
  outline().collapse(row(QStringLiteral("Empty")));
  outline().expand(row(QStringLiteral("Empty")));
  empty->setIsListed(false);
  outline().collapse(row(QStringLiteral("Empty")));
  outline().expand(row(QStringLiteral("Empty")));
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::GetFolderListHead), listings);
  EXPECT_TRUE(loadingView().isHidden());
}

TEST_F(SBrowserWindowControllerTest, AFailedExpansionLeavesTheFolderUnlistedForAnotherTry) {
  connectPhone();
  const ItemPointer item = itemNamed(QStringLiteral("DCIM"));
  const QString node = item->nodeID();
  const QString path = item->filePath();
  item->setNodeID(QStringLiteral("zz"));
  item->setFilePath(QStringLiteral("/M/Phone/gone"));
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  EXPECT_FALSE(item->isListed());
  EXPECT_EQ(item->childObjects(), nullptr);
  EXPECT_TRUE(loadingView().isHidden());
  item->setNodeID(node);
  item->setFilePath(path);
  outline().collapse(row(QStringLiteral("DCIM")));
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))).size(), 3);
}

TEST_F(SBrowserWindowControllerTest, AFolderThatCouldNotBeListedIsAskedForAgainWhenItIsOpenedAgain) {
  connectPhone();
  const ItemPointer item = itemNamed(QStringLiteral("DCIM"));
  for (const Operation operation : {Operation::GetFolderListHead, Operation::GetFileListHead}) {
    sdk->setStatus(operation, 0x1310000C);
    controller->gotoNewFolder(item);
    ASSERT_TRUE(settle());
    EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
    EXPECT_FALSE(item->isListed());
    EXPECT_EQ(item->childObjects(), nullptr);
    sdk->setStatus(operation, std::nullopt);
  }
  controller->gotoNewFolder(item);
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "b.jpg"}));
  EXPECT_TRUE(item->isListed());
}

TEST_F(SBrowserWindowControllerTest, AFolderWhoseNodeThePhoneForgotIsFoundByItsPath) {
  connectPhone();
  const ItemPointer item = itemNamed(QStringLiteral("DCIM"));
  item->setNodeID(QStringLiteral("zz"));
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))).size(), 3);
}

TEST_F(SBrowserWindowControllerTest, NoFolderIsListedWhileADragHovers) {
  connectPhone();
  controller->setIsDropOvering(true);
  const int listings = sdk->calls(Operation::GetFolderListHead);
  EXPECT_FALSE(controller->shouldExpandItem(itemNamed(QStringLiteral("DCIM"))));
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  EXPECT_FALSE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  EXPECT_EQ(sdk->calls(Operation::GetFolderListHead), listings);
  EXPECT_TRUE(controller->shouldExpandItem(controller->staticSource()[0])); // listed before
}

TEST_F(SBrowserWindowControllerTest, TheMousesBackButtonGoesBackHoweverFastItIsPressed) {
  connectPhone();
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  doubleClick(QStringLiteral("Camera"));
  ASSERT_TRUE(settle());
  QWidget* const rows = layout()._outlineView->viewport();
  QTest::mousePress(rows, Qt::BackButton);
  ASSERT_TRUE(settle());
  EXPECT_EQ(controller->currentFolderItem()->fileName(), QStringLiteral("DCIM"));
  QTest::mouseDClick(rows, Qt::BackButton);
  ASSERT_TRUE(settle());
  EXPECT_TRUE(controller->currentFolderItem()->isStorageRoot());
}

TEST_F(SBrowserWindowControllerTest, LeavingTheBackButtonEndsTheDragHover) {
  controller->setIsDropOvering(true);
  QEvent leave(QEvent::Leave);
  QCoreApplication::sendEvent(layout()._btn_Previous, &leave);
  EXPECT_FALSE(controller->isDropOvering());
}

TEST_F(SBrowserWindowControllerTest, ThePointerOverBackAndNextShowsAPlateBehindThem) {
  for (NavigationButton* const button : {layout()._btn_Previous, layout()._btn_Next}) {
    QEnterEvent enterEvent({5, 5}, {5, 5}, {5, 5});
    QCoreApplication::sendEvent(button, &enterEvent);
    EXPECT_TRUE(button->isHighlighted());
    EXPECT_EQ(button->grab().toImage().pixelColor(4, button->height() / 2), QColor(200, 200, 200));
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(button, &leave);
    EXPECT_FALSE(button->isHighlighted());
  }
}

// ---- The busy overlay, and requests that overtake each other ----

TEST_F(SBrowserWindowControllerTest, TheLoadingViewCoversTheContentWhileAFolderIsBeingListed) {
  connectPhone();
  Gate gate;
  sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
  doubleClick(QStringLiteral("DCIM"));
  EXPECT_TRUE(loadingView().isVisible());
  EXPECT_EQ(loadingView().geometry(), layout()._contentView->rect());
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_TRUE(loadingView().isHidden());
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
}

TEST_F(SBrowserWindowControllerTest, OfTwoFoldersEnteredTheLaterOneIsShown) {
  connectPhone();
  Gate gate;
  sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
  const ItemPointer first = itemNamed(QStringLiteral("DCIM"));
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  doubleClick(QStringLiteral("Empty"));
  EXPECT_EQ(layout().paths->text(), QStringLiteral("/M/Phone/Empty"));
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Empty"));
  EXPECT_EQ(rows(), QStringList());
  EXPECT_TRUE(loadingView().isHidden());
  EXPECT_TRUE(first->isListed()); // its listing is not thrown away
  ASSERT_NE(first->childObjects(), nullptr);
  EXPECT_EQ(first->childObjects()->count(), 3);
}

TEST_F(SBrowserWindowControllerTest, GoingBackDuringASlowListingIsNotUndoneByIt) {
  connectPhone();
  enter(QStringLiteral("DCIM"));
  Gate gate;
  sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
  doubleClick(QStringLiteral("Camera"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller->btnToolbar_clicked(layout()._btn_Previous);
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone")); // at once: nothing is needed of the phone
  EXPECT_TRUE(loadingView().isHidden());
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(SBrowserWindowControllerTest, SwitchingBackToAStorageDuringTheOthersListingStaysThere) {
  Gate gate;
  ASSERT_NO_FATAL_FAILURE(switchBackDuringTheCardsListing(gate));
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_TRUE(layout()._btn_InternalStorage->isSelected());
}

TEST_F(SBrowserWindowControllerTest, EnteringTheSameFolderTwiceListsItOnce) {
  connectPhone();
  Gate gate;
  const int listings = sdk->calls(Operation::GetFolderListHead);
  sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
  doubleClick(QStringLiteral("DCIM"));
  doubleClick(QStringLiteral("DCIM"));
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::GetFolderListHead), listings + 2) << "its status, then what it holds";
  EXPECT_EQ(currentFolder(), QStringLiteral("DCIM"));
}

TEST_F(SBrowserWindowControllerTest, WithoutAThreadForAListingTheWindowStaysUsable) {
  connectPhone();
  refuseWorkers = true;
  doubleClick(QStringLiteral("DCIM"));
  EXPECT_TRUE(loadingView().isHidden());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  outline().expand(row(QStringLiteral("Empty")));
  EXPECT_TRUE(loadingView().isHidden());
  EXPECT_FALSE(itemNamed(QStringLiteral("Empty"))->isListed());
  refuseWorkers = false;
  enter(QStringLiteral("DCIM"));
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "b.jpg"}));
}

TEST_F(SBrowserWindowControllerTest, AnExpansionFromBeforeAResetChangesNothing) {
  connectPhone();
  Gate gate;
  sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
  const ItemPointer old = itemNamed(QStringLiteral("DCIM"));
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller->resetOutlineView();
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_FALSE(old->isListed());
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  EXPECT_TRUE(loadingView().isHidden());
}

TEST_F(SBrowserWindowControllerTest, ADetachDuringASlowListingIsNotUndoneByIt) {
  connectPhone();
  Gate gate;
  sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller->deviceDisconnected();
  gate.open();
  ASSERT_TRUE(settle());
  expectWelcome();
  EXPECT_TRUE(loadingView().isHidden());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_F(SBrowserWindowControllerTest, AWindowMayGoWhileAFolderIsBeingListed) {
  connectPhone();
  Gate gate;
  sdk->setHook(Operation::GetFolderListHead, [&] { gate.pass(); });
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  controller.reset();
  gate.open();
  EXPECT_TRUE(settle());
}

// ---- Operations for any thread ----

TEST_F(SBrowserWindowControllerTest, AWorkerMayListAnItem) {
  connectPhone();
  const ItemPointer item = itemNamed(QStringLiteral("DCIM"));
  std::shared_ptr<SItemArray> contents;
  ASSERT_TRUE(platform::startWorker("test", [&] { contents = controller->getContentsOfItem(item); }));
  ASSERT_TRUE(settle());
  ASSERT_NE(contents, nullptr);
  EXPECT_EQ(contents->count(), 3);
  EXPECT_EQ(contents->at(0)->parentItem(), item);
  EXPECT_EQ(item->childObjects(), nullptr);
}

TEST_F(SBrowserWindowControllerTest, AFilesContentsAreNoneAndAnUnknownNodesAreNothing) {
  connectPhone();
  const ItemPointer file = itemNamed(QStringLiteral("readme.txt"));
  const ItemPointer unknown = SItem::newObject();
  unknown->setObjectType(SObjectTypeFolder);
  unknown->setRootPath(QStringLiteral("/M/Phone"));
  unknown->setNodeID(QStringLiteral("zz"));
  std::shared_ptr<SItemArray> ofFile;
  std::shared_ptr<SItemArray> ofUnknown;
  ASSERT_TRUE(platform::startWorker("test", [&] {
    ofFile = controller->getContentsOfItem(file);
    ofUnknown = controller->getContentsOfItem(unknown);
  }));
  ASSERT_TRUE(settle());
  ASSERT_NE(ofFile, nullptr);
  EXPECT_TRUE(ofFile->isEmpty());
  EXPECT_EQ(ofUnknown, nullptr);
}

TEST_F(SBrowserWindowControllerTest, ViewOperationsMayBeCalledFromAWorker) {
  connectPhone();
  const ItemPointer item = itemNamed(QStringLiteral("DCIM"));
  ASSERT_TRUE(platform::startWorker("test", [&] {
    controller->showLoadingView();
    controller->hideLoadingView();
    controller->setDisableCaptureEvent(true);
    controller->setDisableCaptureEvent(false);
    controller->changeEventRecieverObject(nullptr);
    controller->expandFolder(item);
    controller->expandItem(item);
    controller->reloadItemWithChildren(item);
    controller->reloadItemWithoutChildren(item);
    controller->reloadDataOfOutlineView(nullptr);
    controller->resetOutlineView();
  }));
  EXPECT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
}

TEST_F(SBrowserWindowControllerTest, BlockingTheWindowDisablesTheButtonsAndShowsTheGhostView) {
  addPhone();
  addCard();
  connect();
  controller->setDisableCaptureEvent(true);
  for (QAbstractButton* const button : std::initializer_list<QAbstractButton*>{
           layout()._btn_InternalStorage, layout()._btn_ExternalStorage, layout()._btn_Previous, layout()._btn_Next})
    EXPECT_FALSE(button->isEnabled());
  EXPECT_TRUE(layout()._ghostView->isVisible());
  EXPECT_EQ(layout()._ghostView->geometry(), layout()._contentView->rect());
  controller->setDisableCaptureEvent(false);
  for (QAbstractButton* const button : std::initializer_list<QAbstractButton*>{
           layout()._btn_InternalStorage, layout()._btn_ExternalStorage, layout()._btn_Previous, layout()._btn_Next})
    EXPECT_TRUE(button->isEnabled());
  EXPECT_TRUE(layout()._ghostView->isHidden());
}

TEST_F(SBrowserWindowControllerTest, GivingUpAnEventReceiverLeavesBackAndNextDisabled) {
  connectPhone();
  QObject receiver;
  controller->changeEventRecieverObject(&receiver);
  EXPECT_TRUE(layout()._ghostView->isVisible());
  EXPECT_FALSE(layout()._btn_InternalStorage->isEnabled());
  controller->changeEventRecieverObject(nullptr);
  EXPECT_TRUE(layout()._ghostView->isHidden());
  EXPECT_TRUE(layout()._btn_InternalStorage->isEnabled());
  EXPECT_FALSE(layout()._btn_Previous->isEnabled());
  EXPECT_FALSE(layout()._btn_Next->isEnabled());
}

TEST_F(SBrowserWindowControllerTest, ExpandItemShowsTheCurrentFolderAnewAndOpensAnyOther) {
  connectPhone();
  const ItemPointer root = controller->currentFolderItem();
  root->childObjects()->removeAt(2);
  controller->expandItem(root);
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty"}));
  controller->expandItem(itemNamed(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  EXPECT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))).size(), 3);
}

// ---- The context menu's types ----

TEST_F(SBrowserWindowControllerTest, ThePhonesStandardTopLevelFoldersAreProtectedWhateverTheirCase) {
  addPhone();
  sdk->addFolder(phone, QStringLiteral("music"));
  sdk->addFolder(phone, QStringLiteral("Mus*"));
  sdk->addFolder(phone, QStringLiteral("Musicals"));
  sdk->addFolder(dcim, QStringLiteral("DCIM"));
  connect();
  EXPECT_EQ(controller->menuTypeForItem(itemNamed(QStringLiteral("DCIM"))), kMenuTypeProtected);
  EXPECT_EQ(controller->menuTypeForItem(itemNamed(QStringLiteral("music"))), kMenuTypeProtected);
  EXPECT_EQ(controller->menuTypeForItem(itemNamed(QStringLiteral("Mus*"))), kMenuTypeProtected);
  EXPECT_EQ(controller->menuTypeForItem(itemNamed(QStringLiteral("Musicals"))), kMenuTypeFolder);
  EXPECT_EQ(controller->menuTypeForItem(itemNamed(QStringLiteral("readme.txt"))), kMenuTypeFile);
  EXPECT_EQ(controller->menuTypeForItem(controller->staticSource()[0]), kMenuTypeProtected);
  EXPECT_EQ(controller->menuTypeForItem(ItemPointer()), kMenuTypeFolder);
  enter(QStringLiteral("DCIM"));
  EXPECT_EQ(controller->menuTypeForItem(itemNamed(QStringLiteral("DCIM"))), kMenuTypeFolder);
}

TEST_F(SBrowserWindowControllerTest, TheStandardFoldersStayProtectedWhileThePhoneIsBusyWithTheOtherStorage) {
  Gate gate;
  ASSERT_NO_FATAL_FAILURE(switchBackDuringTheCardsListing(gate));
  ASSERT_EQ(currentFolder(), QStringLiteral("Phone"));
  EXPECT_EQ(controller->menuTypeForItem(itemNamed(QStringLiteral("DCIM"))), kMenuTypeProtected);
  outline().setCurrentIndex(row(QStringLiteral("DCIM")));
  EXPECT_FALSE(controller->possibleCommands().contains(WindowCommand::Delete));
  EXPECT_FALSE(controller->possibleCommands().contains(WindowCommand::Rename));
  outline().setCurrentIndex(row(QStringLiteral("Empty")));
  EXPECT_TRUE(controller->possibleCommands().contains(WindowCommand::Delete));
  gate.open();
  ASSERT_TRUE(settle());
}

// ---- Device events, detach, closing ----

TEST_F(SBrowserWindowControllerTest, AfterAChangeOnThePhoneTheTreeIsBuiltAnew) {
  connectPhone();
  sdk->addFile(phone, QStringLiteral("new.txt"));
  ASSERT_TRUE(sdk->sendEvent(device, DeviceEvents::kObjectAdded));
  timers.advance(std::chrono::milliseconds(1999));
  ASSERT_TRUE(settle());
  EXPECT_FALSE(rows().contains(QStringLiteral("new.txt")));
  timers.advance(std::chrono::milliseconds(1));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt", "new.txt"}));
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
  ASSERT_TRUE(sdk->sendEvent(device, DeviceEvents::kObjectRemoved)); // still registered
  EXPECT_TRUE(controller->isRebuildPending());
}

TEST_F(SBrowserWindowControllerTest, AfterTwoRebuildsTheThirdChangeIsNoticedToo) {
  connectPhone();
  for (const char* const name : {"first.txt", "second.txt", "third.txt"}) {
    sdk->addFile(phone, QLatin1StringView(name));
    ASSERT_TRUE(sdk->sendEvent(device, DeviceEvents::kObjectAdded));
    timers.advance(DeviceEvents::kQuietPeriod);
    ASSERT_TRUE(settle());
    EXPECT_TRUE(rows().contains(QLatin1StringView(name))) << name;
  }
}

TEST_F(SBrowserWindowControllerTest, TenObjectsAddedWithinASecondCauseOneRebuildTwoSecondsAfterTheLast) {
  connectPhone();
  const int releases = sdk->calls(Operation::ReleaseDeviceList);
  for (int i = 0; i < 10; ++i) {
    sdk->sendEvent(device, DeviceEvents::kObjectAdded);
    timers.advance(std::chrono::milliseconds(100));
  }
  timers.advance(std::chrono::milliseconds(1899));
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::ReleaseDeviceList), releases);
  timers.advance(std::chrono::milliseconds(1));
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::ReleaseDeviceList), releases + 1);
  timers.advance(std::chrono::minutes(1));
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::ReleaseDeviceList), releases + 1);
}

TEST_F(SBrowserWindowControllerTest, ARebuildKeepsTheExternalStorageThatIsShown) {
  addPhone();
  addCard();
  connect();
  click(layout()._btn_ExternalStorage);
  sdk->addFile(card, QStringLiteral("zebra.mp3"));
  sdk->sendEvent(device, DeviceEvents::kObjectAdded);
  timers.advance(DeviceEvents::kQuietPeriod);
  ASSERT_TRUE(settle());
  EXPECT_EQ(currentFolder(), QStringLiteral("Card"));
  EXPECT_EQ(rows(), QStringList({"Backup", "song.mp3", "zebra.mp3"}));
  EXPECT_TRUE(layout()._btn_ExternalStorage->isSelected());
}

TEST_F(SBrowserWindowControllerTest, ARebuildFreesTheOldTree) {
  connectPhone();
  const std::weak_ptr<SItem> old = itemNamed(QStringLiteral("DCIM"));
  enter(QStringLiteral("DCIM"));
  sdk->sendEvent(device, DeviceEvents::kObjectRemoved);
  timers.advance(DeviceEvents::kQuietPeriod);
  ASSERT_TRUE(settle());
  EXPECT_TRUE(old.expired());
}

TEST_F(SBrowserWindowControllerTest, AfterADetachTheWindowIsInItsWelcomeStateAndGivesThePhoneBack) {
  CapturedLog log;
  connectPhone();
  sdk->sendEvent(device, DeviceEvents::kObjectAdded);
  const int releases = sdk->calls(Operation::ReleaseDeviceList);
  controller->deviceDisconnected();
  EXPECT_TRUE(controller->isDetached());
  EXPECT_FALSE(controller->isRebuildPending());
  expectWelcome();
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::ReleaseDeviceList), releases + 1);
  EXPECT_TRUE(log.has("Enter"));
  EXPECT_TRUE(log.has("Exit"));
}

TEST_F(SBrowserWindowControllerTest, ADetachBeforeAnyConnectionDoesNoHarm) {
  controller->deviceDisconnected();
  ASSERT_TRUE(settle());
  expectWelcome();
}

TEST_F(SBrowserWindowControllerTest, AfterADetachThePhoneCanBeConnectedAgain) {
  connectPhone();
  controller->deviceDisconnected();
  connect();
  EXPECT_FALSE(controller->isDetached());
  EXPECT_EQ(title(), QStringLiteral("Pat's phone"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
}

TEST_F(SBrowserWindowControllerTest, ClosingFromAnyThreadClosesTheWindowAndCancelsTransfers) {
  ASSERT_TRUE(platform::startWorker("test", [&] { controller->closeAllWindows(); }));
  ASSERT_TRUE(settle());
  EXPECT_FALSE(controller->window()->isVisible());
  EXPECT_TRUE(controller->isCanceled());
  controller->window()->show();
  controller->close();
  EXPECT_FALSE(controller->window()->isVisible());
}

// ---- Sizes and dates ----

TEST_F(SBrowserWindowControllerTest, ShowsSizesAndDatesAsTheRestOfTheProgram) {
  EXPECT_EQ(SBrowserWindowController::convertFileSizeFromInt(1ULL << 40), QStringLiteral("1,024.00GB"));
  EXPECT_EQ(SBrowserWindowController::stringFromating(QStringLiteral("2048")), QStringLiteral("2.00KB"));
  EXPECT_TRUE(SBrowserWindowController::convertMtpToSystemDate(QStringLiteral("20190315")).isNull());
  EXPECT_EQ(SBrowserWindowController::convertMtpToSystemDate(QStringLiteral("20190315T142530.0")),
            SBrowserWindowController::convertMtpToSystemDate(QStringLiteral("20190315T142530")));
}

} // namespace
