#include "SBrowser/UploadRun.h"

#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/WindowCommands.h"
#include "UploadFixture.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

class UploadRunTest : public UploadFixture {
protected:
  void SetUp() override {
    UploadFixture::SetUp();
    connectPhone();
  }
  void cancel() { controller->onProgressActionCanceled(&panel()); }
  /// Runs `work` on the main thread right before the n-th call of the operation from now on.
  void before(Operation operation, int call, std::function<void()> work) {
    const int wanted = sdk->calls(operation) + call;
    sdk->setHook(operation, [this, operation, wanted, work = std::move(work)] {
      if (sdk->calls(operation) == wanted)
        platform::runOnMainAndWait(work);
    });
  }
  /// A folder that is not the phone's own, with one file in it.
  void addTrip() {
    sdk->addFile(sdk->addFolder(phone, QStringLiteral("Trip")), QStringLiteral("old.jpg"), 1);
    controller->reloadCurrentFolder();
    ASSERT_TRUE(settle());
  }
  ItemPointer root() const { return controller->staticSource().front(); }
  void expand(const QString& name) {
    outline().expand(row(name));
    ASSERT_TRUE(settle());
  }
};

} // namespace

// ---- Where it goes ----

TEST_F(UploadRunTest, ADropOntoEmptySpaceCopiesIntoTheCurrentFolder) {
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  dropAndFinish({write(QStringLiteral("new.txt"), "hello")});
  EXPECT_EQ(sdk->content(sdk->child(dcim, QStringLiteral("new.txt"))), QByteArray("hello"));
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "b.jpg", "new.txt"}));
  EXPECT_EQ(outcomes(), QStringList({"copied new.txt"}));
}

TEST_F(UploadRunTest, ADropOntoAFileRowCopiesIntoThatFilesFolder) {
  expand(QStringLiteral("DCIM"));
  dropAndFinish({write(QStringLiteral("new.txt"))},
                model().itemAtIndex(row(QStringLiteral("a.jpg"), row(QStringLiteral("DCIM")))));
  EXPECT_EQ(onPhone(dcim), Contents({"Camera/", "a.jpg", "b.jpg", "new.txt"}));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "a.jpg", "b.jpg", "new.txt"}));
}

TEST_F(UploadRunTest, ADropOntoAFileOfTheCurrentFolderCopiesIntoThatFolder) {
  dropAndFinish({write(QStringLiteral("new.txt"))}, itemNamed(QStringLiteral("readme.txt")));
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "readme.txt", "new.txt"}));
}

TEST_F(UploadRunTest, ADropOntoAFolderThatWasNeverOpenedCopiesIntoItAndOpensIt) {
  dropAndFinish({write(QStringLiteral("new.txt"))}, itemNamed(QStringLiteral("DCIM")));
  EXPECT_EQ(onPhone(dcim), Contents({"Camera/", "a.jpg", "b.jpg", "new.txt"}));
  ASSERT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM"))));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "a.jpg", "b.jpg", "new.txt"}));
}

TEST_F(UploadRunTest, ADropGoesToTheOtherStorageWhenThatIsShown) {
  addCard();
  controller->reloadCurrentFolder();
  ASSERT_TRUE(settle());
  controller->connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(settle());
  controller->setSelectedStorage(2);
  ASSERT_TRUE(settle());
  dropAndFinish({write(QStringLiteral("F/new.txt"))});
  dropAndFinish({makeFolder(QStringLiteral("F"))});
  EXPECT_EQ(onPhone(card), Contents({"Backup/", "F/", "song.mp3", "new.txt"}));
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "readme.txt"}));
}

TEST_F(UploadRunTest, WithoutFileNamesOnlyTheRowIsOpened) {
  QMimeData text;
  text.setText(QStringLiteral("just text"));
  EXPECT_TRUE(controller->acceptDrop(text, itemNamed(QStringLiteral("DCIM")), -1));
  EXPECT_EQ(controller->transferRun(), nullptr);
  EXPECT_FALSE(panel().isVisible());
  ASSERT_TRUE(settle());
  EXPECT_TRUE(outline().isExpanded(row(QStringLiteral("DCIM"))));
}

// ---- What goes ----

TEST_F(UploadRunTest, AFolderGoesWithItsWholeTreeAndEmptyFoldersToo) {
  write(QStringLiteral("Photos/2019/a.jpg"), "A");
  write(QStringLiteral("Photos/b.jpg"), "B");
  makeFolder(QStringLiteral("Photos/Void"));
  dropAndFinish({computer.filePath(QStringLiteral("Photos"))});
  const auto photos = sdk->child(phone, QStringLiteral("Photos"));
  EXPECT_EQ(onPhone(photos), Contents({"2019/", "Void/", "b.jpg"}));
  EXPECT_EQ(sdk->content(sdk->child(sdk->child(photos, QStringLiteral("2019")), QStringLiteral("a.jpg"))), "A");
  EXPECT_EQ(outcomes(), QStringList({"copied Photos", "copied Photos/2019", "copied Photos/2019/a.jpg",
                                     "copied Photos/Void", "copied Photos/b.jpg"}));
}

TEST_F(UploadRunTest, AnEmptyDroppedFolderIsStillCreated) {
  dropAndFinish({makeFolder(QStringLiteral("Nothing"))});
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "Nothing/", "readme.txt"}));
}

TEST_F(UploadRunTest, TheDesktopsOwnFileIsNeverCopiedDroppedOrInsideAFolder) {
  write(QStringLiteral("F/.DS_Store"));
  write(QStringLiteral("F/x"));
  dropAndFinish({write(QStringLiteral(".DS_Store")), computer.filePath(QStringLiteral("F"))});
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "F/", "readme.txt"}));
  EXPECT_EQ(onPhone(sdk->child(phone, QStringLiteral("F"))), Contents({"x"}));
}

TEST_F(UploadRunTest, OnlyTopLevelItemsAreInsertedFoldersBeforeTheFirstFileAndFilesAtTheEnd) {
  write(QStringLiteral("F/inner.txt"));
  dropAndFinish({write(QStringLiteral("1.txt")), computer.filePath(QStringLiteral("F")), makeFolder("G"),
                 write(QStringLiteral("2.txt"))});
  EXPECT_EQ(childNames(root()), QStringList({"DCIM", "Empty", "F", "G", "readme.txt", "1.txt", "2.txt"}));
  EXPECT_EQ(rows(), childNames(root()));
  const ItemPointer folder = itemNamed(QStringLiteral("F"));
  EXPECT_FALSE(folder->isListed());
  EXPECT_EQ(folder->childObjects(), nullptr);
}

TEST_F(UploadRunTest, InsertedItemsCarryWhatThePhoneTells) {
  dropAndFinish({write(QStringLiteral("new.txt"), "12345"), makeFolder(QStringLiteral("New"))});
  const ItemPointer file = itemNamed(QStringLiteral("new.txt"));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->objectType(), SObjectTypeFile);
  EXPECT_EQ(file->fileSize(), 5U);
  EXPECT_EQ(file->filePath(), QStringLiteral("/M/Phone/new.txt"));
  EXPECT_EQ(file->rootPath(), root()->rootPath());
  EXPECT_EQ(file->parentItem(), root());
  EXPECT_EQ(file->dateModified(), SBrowserWindowController::convertMtpToSystemDate(QStringLiteral("20240229T101112")));
  EXPECT_EQ(file->nodeID(), MTPDextSDKWrapper::nodeIDOf(sdk->fileNode(sdk->child(phone, QStringLiteral("new.txt")))));
  const ItemPointer folder = itemNamed(QStringLiteral("New"));
  ASSERT_NE(folder, nullptr);
  EXPECT_EQ(folder->objectType(), SObjectTypeFolder);
  EXPECT_EQ(folder->dateModified(), QStringLiteral("--"));
  EXPECT_EQ(folder->fileSize(), 0U);
  EXPECT_EQ(folder->nodeID(), MTPDextSDKWrapper::nodeIDOf(sdk->folderNode(sdk->child(phone, QStringLiteral("New")))));
}

TEST_F(UploadRunTest, WhatWasInsertedCanBeOpened) {
  write(QStringLiteral("F/inner.txt"));
  dropAndFinish({computer.filePath(QStringLiteral("F"))});
  doubleClick(QStringLiteral("F"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList({"inner.txt"}));
}

TEST_F(UploadRunTest, ANameSpelledWithSeparateAccentsArrivesComposed) {
  dropAndFinish({write(QStringLiteral("e\u0301.txt"), "accent")});
  EXPECT_EQ(onPhone(phone).back(), QStringLiteral("\u00e9.txt").toStdString());
  EXPECT_EQ(rows().last(), QStringLiteral("\u00e9.txt"));
}

TEST_F(UploadRunTest, APathThatIsGoneIsSkippedAndThePipeToo) {
  const QString pipe = computer.filePath(QStringLiteral("pipe"));
  ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
  dropAndFinish({computer.filePath(QStringLiteral("gone")), pipe, write(QStringLiteral("there"))});
  EXPECT_EQ(outcomes(), QStringList({"skipped gone", "skipped pipe", "copied there"}));
}

TEST_F(UploadRunTest, AnEmptyPlanEndsAtOnceAndFreesTheWindow) {
  dropAndFinish({computer.filePath(QStringLiteral("gone"))});
  EXPECT_FALSE(isBlocked());
  EXPECT_FALSE(controller->isTransferProcess()); // what the phone adds by itself is heard again
  EXPECT_EQ(sdk->calls(Operation::SendFileEx), 0);
}

TEST_F(UploadRunTest, AFailedEntryIsPassedOverAndStillCountsAsDone) {
  sdk->setStatusAt(Operation::SendFileEx, 1, 0x13100000);
  write(QStringLiteral("F/x"), "123");
  drop({write(QStringLiteral("a"), "12"), write(QStringLiteral("b"), "34")});
  const auto run = controller->transferRun();
  ASSERT_NE(run, nullptr);
  ASSERT_TRUE(finish());
  EXPECT_EQ(run->totalTransferSize(), 4U);
  EXPECT_EQ(run->currentTransferSize(), 4U);
  EXPECT_EQ(outcomes(), QStringList({"failed a 13100000", "copied b"}));
}

TEST_F(UploadRunTest, EntriesBelowAFolderThatCouldNotBeMadeAreStillTried) {
  sdk->setStatus(Operation::CreateFolderNode, 0x1310000D);
  write(QStringLiteral("F/x"));
  dropAndFinish({computer.filePath(QStringLiteral("F")), write(QStringLiteral("z"))});
  EXPECT_EQ(outcomes(), QStringList({"failed F 1310000d", "failed F/x 1310000d", "copied z"}));
}

TEST_F(UploadRunTest, StorageFullEndsTheCopyWithTheNormalCompletion) {
  sdk->setStatusAt(Operation::SendFileEx, 2, DGSTATUS_STORAGE_FULL);
  dropAndFinish({write(QStringLiteral("a")), write(QStringLiteral("b")), write(QStringLiteral("c"))});
  EXPECT_EQ(sdk->calls(Operation::SendFileEx), 2);
  EXPECT_EQ(outcomes(), QStringList({"copied a", "failed b 1000000a", "canceled c"}));
  EXPECT_EQ(rows().last(), QStringLiteral("a"));
  EXPECT_FALSE(controller->isTransferProcess());
  EXPECT_EQ(controller->uploads().dropTargetItem(), nullptr);
  EXPECT_FALSE(isBlocked());
}

// ---- Clashes ----

TEST_F(UploadRunTest, OneFileWhoseNameExistsOffersOnlyReplaceAndSkip) {
  drop({write(QStringLiteral("readme.txt"), "new")});
  QMessageBox* const alert = waitForAlert();
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(buttons(*alert).size(), 2);
  EXPECT_TRUE(buttons(*alert).contains(localized("MNU_Replace")));
  EXPECT_TRUE(buttons(*alert).contains(localized("MNU_Skip")));
  EXPECT_EQ(alert->text(), localized("MNU_DuplicateTransferMTP").arg(QStringLiteral("\"readme.txt\"")));
  EXPECT_EQ(alert->informativeText(), localized("MSG_DuplicateTransferMTPDescription"));
  answer("MNU_Skip");
  ASSERT_TRUE(finish());
  EXPECT_EQ(outcomes(), QStringList({"skipped readme.txt"}));
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
}

TEST_F(UploadRunTest, ReplaceDeletesTheOldFileAndSendsTheNewOne) {
  drop({write(QStringLiteral("readme.txt"), "new")});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "readme.txt"}));
  EXPECT_EQ(sdk->content(sdk->child(phone, QStringLiteral("readme.txt"))), QByteArray("new"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  EXPECT_EQ(itemNamed(QStringLiteral("readme.txt"))->fileSize(), 3U);
}

TEST_F(UploadRunTest, SeveralItemsOfferThreeAnswersAndAfterReplaceAllNothingMoreIsAsked) {
  sdk->addFile(phone, QStringLiteral("b.txt"), 1);
  controller->reloadCurrentFolder();
  ASSERT_TRUE(settle());
  makeFolder(QStringLiteral("Empty"));
  drop({write(QStringLiteral("readme.txt"), "new"), write(QStringLiteral("b.txt"), "newer"),
        write(QStringLiteral("c.txt"))});
  QMessageBox* const alert = waitForAlert();
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(buttons(*alert).size(), 3);
  EXPECT_TRUE(buttons(*alert).contains(localized("MNU_ReplaceAll")));
  answer("MNU_ReplaceAll");
  ASSERT_TRUE(finish());
  EXPECT_EQ(outcomes(), QStringList({"copied readme.txt", "copied b.txt", "copied c.txt"}));
  EXPECT_EQ(sdk->content(sdk->child(phone, QStringLiteral("b.txt"))), QByteArray("newer"));
}

TEST_F(UploadRunTest, AfterReplaceTheNextClashIsAskedAgain) {
  makeFolder(QStringLiteral("Empty"));
  drop({write(QStringLiteral("readme.txt")), computer.filePath(QStringLiteral("Empty"))});
  answer("MNU_Replace");
  answer("MNU_Skip");
  ASSERT_TRUE(finish());
  EXPECT_EQ(outcomes(), QStringList({"skipped Empty", "copied readme.txt"}));
}

TEST_F(UploadRunTest, AReplacedFolderIsDeletedWhole) {
  addTrip();
  write(QStringLiteral("Trip/only.txt"));
  drop({computer.filePath(QStringLiteral("Trip"))});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(sdk->child(phone, QStringLiteral("Trip"))), Contents({"only.txt"}));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "Trip", "readme.txt"}));
}

TEST_F(UploadRunTest, OfAFolderTheQuestionSaysThatAllInItGoes) {
  addTrip();
  write(QStringLiteral("Trip/only.txt"));
  write(QStringLiteral("DCIM/only.txt"));
  drop({computer.filePath(QStringLiteral("Trip")), computer.filePath(QStringLiteral("DCIM"))});
  QMessageBox* const alert = waitForAlert();
  ASSERT_NE(alert, nullptr);
  EXPECT_TRUE(alert->informativeText().startsWith(localized("MSG_DuplicateTransferMTPDescription")));
  EXPECT_TRUE(alert->informativeText().contains(localized("MSG_DuplicateTransferFolderDescription")));
  answer("MNU_Skip");
  QMessageBox* const second = waitForAlert();
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->informativeText(), localized("MSG_DuplicateTransferMTPDescription")) << "the phone's own stays";
  answer("MNU_Skip");
  ASSERT_TRUE(finish());
}

TEST_F(UploadRunTest, AFolderOfThePhonesOwnIsNeverDeletedTheNewContentsGoIntoIt) {
  expand(QStringLiteral("DCIM"));
  write(QStringLiteral("DCIM/a.jpg"), "other");
  write(QStringLiteral("DCIM/new.jpg"), "new");
  write(QStringLiteral("DCIM/Camera/c.jpg"), "c");
  write(QStringLiteral("DCIM/Else/e.jpg"), "e");
  drop({computer.filePath(QStringLiteral("DCIM"))});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(onPhone(dcim), Contents({"Camera/", "Else/", "a.jpg", "b.jpg", "new.jpg"}));
  EXPECT_EQ(onPhone(camera), Contents({"c.jpg"}));
  EXPECT_EQ(sdk->content(sdk->child(dcim, QStringLiteral("a.jpg"))), QByteArray());
  EXPECT_EQ(outcomes(),
            QStringList({"copied DCIM", "copied DCIM/Camera", "copied DCIM/Camera/c.jpg", "copied DCIM/Else",
                         "copied DCIM/Else/e.jpg", "failed DCIM/a.jpg 10000005", "copied DCIM/new.jpg"}));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
  expand(QStringLiteral("DCIM"));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "Else", "a.jpg", "b.jpg", "new.jpg"}));
}

TEST_F(UploadRunTest, AFolderOfThePhonesOwnIsNotDeletedEitherWhenTheStorageIsNotListed) {
  root()->setIsListed(false);
  write(QStringLiteral("DCIM/new.jpg"), "new");
  drop({computer.filePath(QStringLiteral("DCIM"))}, root());
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(onPhone(dcim), Contents({"Camera/", "a.jpg", "b.jpg", "new.jpg"}));
}

TEST_F(UploadRunTest, AFolderDeeperDownMayHaveANameOfThePhonesOwnAndIsReplaced) {
  sdk->addFile(sdk->addFolder(camera, QStringLiteral("Music")), QStringLiteral("old"));
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  write(QStringLiteral("Music/new"));
  drop({computer.filePath(QStringLiteral("Music"))}, itemNamed(QStringLiteral("Camera")));
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(sdk->child(camera, QStringLiteral("Music"))), Contents({"new"}));
}

TEST_F(UploadRunTest, AFileDoesNotTakeThePlaceOfAFolderOfThePhonesOwn) {
  drop({write(QStringLiteral("DCIM"))});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(outcomes(), QStringList({"failed DCIM 10000006"}));
}

TEST_F(UploadRunTest, NothingIsDeletedForAFolderThatCannotComeWhole) {
  addTrip();
  write(QStringLiteral("Trip/whole.jpg"));
  const QByteArray unreadable = QFile::encodeName(computer.filePath(QStringLiteral("Trip/"))) + "\xff.jpg";
  ASSERT_EQ(::mkdir(unreadable.constData(), 0700), 0); // no Unicode: it has no name that the phone could take
  drop({computer.filePath(QStringLiteral("Trip"))});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_TRUE(outcomes().contains(QStringLiteral("failed Trip 11000001")));
  EXPECT_EQ(onPhone(sdk->child(phone, QStringLiteral("Trip"))).front(), "old.jpg");
}

TEST_F(UploadRunTest, NothingIsDeletedForAFolderOfWhichAFileHasVanished) {
  addTrip();
  const QString inside = write(QStringLiteral("Trip/below/inside.jpg"));
  const QString first = write(QStringLiteral("first"));
  before(Operation::SendFileEx, 1, [&] { QFile::remove(inside); });
  drop({first, computer.filePath(QStringLiteral("Trip"))});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(outcomes().mid(0, 2), QStringList({"copied first", "failed Trip 11000001"}));
}

TEST_F(UploadRunTest, OnlyTheDroppedItemsAreTestedForClashes) {
  write(QStringLiteral("F/readme.txt"), "inner");
  dropAndFinish({computer.filePath(QStringLiteral("F"))});
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "F/", "readme.txt"}));
}

TEST_F(UploadRunTest, ANameThatDiffersOnlyByCaseClashes) {
  drop({write(QStringLiteral("README.TXT"), "new")});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "README.TXT"}));
}

TEST_F(UploadRunTest, WithTwoNamesakesOnThePhoneNothingIsDeletedAsTheNewOneCouldNotCome) {
  sdk->addFile(phone, QStringLiteral("README.txt"), 4);
  controller->reloadCurrentFolder();
  ASSERT_TRUE(settle());
  drop({write(QStringLiteral("readme.txt"), "new")});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "readme.txt", "README.txt"}));
  EXPECT_EQ(outcomes(), QStringList({"failed readme.txt 10000005"}));
}

TEST_F(UploadRunTest, NothingIsDeletedForAFileThatCannotBeRead) {
  if (::geteuid() == 0)
    GTEST_SKIP() << "root reads everything";
  const QString path = write(QStringLiteral("readme.txt"));
  ASSERT_TRUE(QFile::setPermissions(path, {}));
  drop({path});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
}

TEST_F(UploadRunTest, AFileThatVanishesAfterTheAnswerCostsThePhoneNothing) {
  const QString path = write(QStringLiteral("readme.txt"));
  const QString first = write(QStringLiteral("first"));
  before(Operation::SendFileEx, 1, [&] { QFile::remove(path); });
  drop({first, path});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(outcomes(), QStringList({"copied first", "failed readme.txt 11000001"}));
}

TEST_F(UploadRunTest, AFolderThatVanishesAfterTheAnswerCostsThePhoneNothing) {
  addTrip();
  write(QStringLiteral("Trip/x"));
  const QString first = write(QStringLiteral("first"));
  before(Operation::SendFileEx, 1, [&] { QDir(computer.filePath(QStringLiteral("Trip"))).removeRecursively(); });
  drop({first, computer.filePath(QStringLiteral("Trip"))});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(onPhone(sdk->child(phone, QStringLiteral("Trip"))), Contents({"old.jpg"}));
  EXPECT_EQ(outcomes().mid(0, 2), QStringList({"copied first", "failed Trip 11000001"}));
}

TEST_F(UploadRunTest, TheRowOfAReplacedFileGoesWhileTheNewOneIsOnItsWay) {
  QStringList shown;
  before(Operation::SendFileEx, 1, [&] {
    timers.advance(Uploads::kReloadDelay);
    shown = rows();
  });
  drop({write(QStringLiteral("readme.txt"), "new")});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(shown, QStringList({"DCIM", "Empty"}));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
}

TEST_F(UploadRunTest, ReplacingManyShowsTheFolderAnewAFewTimesOnly) {
  QStringList paths;
  for (int i = 0; i < 40; ++i) {
    const QString name = QStringLiteral("p%1").arg(i);
    sdk->addFile(phone, name, 1);
    paths.append(write(name));
  }
  controller->reloadCurrentFolder();
  ASSERT_TRUE(settle());
  int resets = 0;
  QObject::connect(&model(), &QAbstractItemModel::modelReset, &model(), [&] { ++resets; });
  drop(paths);
  answer("MNU_ReplaceAll");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 40);
  EXPECT_EQ(rows().size(), 43);
  EXPECT_LE(resets, 2);
}

TEST_F(UploadRunTest, TwoDroppedItemsOfOneNameAreAskedAboutAndNeverMixed) {
  drop({write(QStringLiteral("1/same.txt"), "one"), write(QStringLiteral("2/same.txt"), "two")});
  answer("MNU_Skip");
  ASSERT_TRUE(finish());
  EXPECT_EQ(outcomes(), QStringList({"skipped same.txt", "copied same.txt"}));
  EXPECT_EQ(sdk->content(sdk->child(phone, QStringLiteral("same.txt"))), QByteArray("one"));
}

TEST_F(UploadRunTest, OfTwoDroppedItemsOfOneNameTheSecondReplacesTheFirstWhenTheUserSaysSo) {
  drop({write(QStringLiteral("1/same.txt"), "one"), write(QStringLiteral("2/same.txt"), "two")});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->content(sdk->child(phone, QStringLiteral("same.txt"))), QByteArray("two"));
  EXPECT_EQ(rows().count(QStringLiteral("same.txt")), 1);
}

TEST_F(UploadRunTest, ATakenNameInAFolderThatWasNeverOpenedIsAskedAbout) {
  drop({write(QStringLiteral("a.jpg"), "new")}, itemNamed(QStringLiteral("DCIM")));
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->content(sdk->child(dcim, QStringLiteral("a.jpg"))), QByteArray("new"));
  EXPECT_EQ(onPhone(dcim), Contents({"Camera/", "b.jpg", "a.jpg"}));
}

TEST_F(UploadRunTest, AReplacementThatCannotBeDeletedStaysAndTheNewOneIsRefused) {
  sdk->setStatus(Operation::DeleteNode, 0x1310000B);
  drop({write(QStringLiteral("readme.txt"), "new")});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(outcomes(), QStringList({"failed readme.txt 10000005"}));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt"}));
}

// ---- The room on the phone ----

namespace {

/// Uploads to the folder "Old" of a card of 1,000 bytes, 100 of them free.
class UploadToFullCard : public UploadRunTest {
protected:
  void SetUp() override {
    UploadFixture::SetUp();
    addPhone();
    card = sdk->addStorage(device, 0x00020001, QStringLiteral("Card"), 1000, 100);
    old = sdk->addFolder(card, QStringLiteral("Old"));
    sdk->addFile(old, QStringLiteral("a"), 150);
    sdk->addFile(sdk->addFolder(old, QStringLiteral("below")), QStringLiteral("b"), 250);
    song = sdk->addFile(card, QStringLiteral("song"), 200);
    connect();
    controller->setSelectedStorage(2);
    ASSERT_TRUE(settle());
  }
  void dropToReplace(const QString& path) {
    drop({path, write(QStringLiteral("other"))});
    answer("MNU_Replace");
    ASSERT_TRUE(finish());
  }

  FakeMtpSdk::Handle old = 0, song = 0;
};

} // namespace

TEST_F(UploadToFullCard, AReplacementThatFindsNoRoomThereLeavesTheOldFileAndEndsTheCopy) {
  dropToReplace(write(QStringLiteral("song"), QByteArray(301, 'n')));
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(onPhone(card), Contents({"Old/", "song"}));
  EXPECT_EQ(outcomes(), QStringList({"failed song 1000000a", "canceled other"}));
  EXPECT_EQ(rows(), QStringList({"Old", "song"}));
}

TEST_F(UploadToFullCard, APhoneThatDoesNotAnswerAboutItsRoomKeepsTheOldFile) {
  drop({write(QStringLiteral("song"), QByteArray(300, 'n')), write(QStringLiteral("other"))});
  EXPECT_NE(waitForAlert(), nullptr);
  sdk->setStatusAt(Operation::GetStorageListHead, 1, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(outcomes(), QStringList({"failed song 13000008", "copied other"}));
}

TEST_F(UploadToFullCard, AfterAQuestionForTheRoomThatWentUnansweredFoldersStillFindTheirPlace) {
  write(QStringLiteral("new/sub/x"));
  makeFolder(QStringLiteral("new/empty"));
  drop({write(QStringLiteral("song"), QByteArray(300, 'n')), computer.filePath(QStringLiteral("new"))});
  EXPECT_NE(waitForAlert(), nullptr);
  sdk->setStatusAt(Operation::GetStorageListHead, 1, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  sdk->setStatusAt(Operation::GetStorageListHead, 2, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(outcomes(), QStringList({"failed song 13000008", "copied new", "copied new/empty", "copied new/sub",
                                     "copied new/sub/x"}));
}

TEST_F(UploadToFullCard, APhoneThatAnswersOnlyHalfAboutItsRoomKeepsTheOldFile) {
  drop({write(QStringLiteral("song"), QByteArray(300, 'n')), write(QStringLiteral("other"))});
  EXPECT_NE(waitForAlert(), nullptr);
  sdk->setStatusAt(Operation::GetNextStorageNode, 2, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE); // the card is missing
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(outcomes(), QStringList({"failed song 13000008", "copied other"}));
}

TEST_F(UploadToFullCard, TheRoomOfTheOldFileCountsForTheNewOne) {
  dropToReplace(write(QStringLiteral("song"), QByteArray(300, 'n')));
  EXPECT_EQ(outcomes(), QStringList({"copied song", "copied other"}));
  EXPECT_EQ(sdk->content(sdk->child(card, QStringLiteral("song"))), QByteArray(300, 'n'));
}

TEST_F(UploadToFullCard, WhatDoesNotGrowIsReplacedWithoutAQuestionForTheRoom) {
  const int asked = sdk->calls(Operation::GetStorageListHead);
  dropToReplace(write(QStringLiteral("song"), QByteArray(200, 'n')));
  EXPECT_EQ(outcomes(), QStringList({"copied song", "copied other"}));
  EXPECT_EQ(sdk->calls(Operation::GetStorageListHead), asked);
}

TEST_F(UploadToFullCard, EverythingInTheOldFolderCountsAsRoomForTheNewOne) {
  write(QStringLiteral("Old/x"), QByteArray(400, 'x'));
  write(QStringLiteral("Old/in/y"), QByteArray(100, 'y'));
  dropToReplace(computer.filePath(QStringLiteral("Old")));
  EXPECT_EQ(outcomes(),
            QStringList({"copied Old", "copied Old/in", "copied Old/in/y", "copied Old/x", "copied other"}));
}

TEST_F(UploadToFullCard, AFolderThatFindsNoRoomThereLeavesTheOldOne) {
  write(QStringLiteral("Old/x"), QByteArray(400, 'x'));
  write(QStringLiteral("Old/in/y"), QByteArray(101, 'y'));
  dropToReplace(computer.filePath(QStringLiteral("Old")));
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_EQ(onPhone(old), Contents({"below/", "a"}));
  EXPECT_EQ(outcomes().first(), QStringLiteral("failed Old 1000000a"));
}

TEST_F(UploadRunTest, APhoneThatDoesNotTellItsRoomIsAskedBySending) {
  drop({write(QStringLiteral("readme.txt"), QByteArray(5000, 'n'))});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(outcomes(), QStringList({"copied readme.txt"}));
}

// ---- A target that goes ----

TEST_F(UploadRunTest, AFolderDeletedOnThePhoneIsMadeAgainWhenSomethingIsSentThere) {
  const ItemPointer target = itemNamed(QStringLiteral("Empty"));
  sdk->remove(sdk->child(phone, QStringLiteral("Empty")));
  write(QStringLiteral("F/x"), "X");
  dropAndFinish({computer.filePath(QStringLiteral("F")), write(QStringLiteral("new"))}, target);
  const auto made = sdk->child(phone, QStringLiteral("Empty"));
  EXPECT_EQ(onPhone(made), Contents({"F/", "new"}));
  EXPECT_EQ(sdk->content(sdk->child(sdk->child(made, QStringLiteral("F")), QStringLiteral("x"))), "X");
}

TEST_F(UploadRunTest, AFolderDeletedOnThePhoneIsNotMadeAgainWhenNothingIsSent) {
  const ItemPointer target = itemNamed(QStringLiteral("Empty"));
  sdk->remove(sdk->child(phone, QStringLiteral("Empty")));
  dropAndFinish({computer.filePath(QStringLiteral("gone"))}, target);
  EXPECT_EQ(sdk->calls(Operation::CreateFolderNode), 0);
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "readme.txt"}));
}

TEST_F(UploadRunTest, WithoutItsTargetAFolderNeverEndsUpInANamesakeElsewhere) {
  const auto namesake = sdk->addFolder(phone, QStringLiteral("F"));
  const ItemPointer target = itemNamed(QStringLiteral("Empty"));
  sdk->remove(sdk->child(phone, QStringLiteral("Empty")));
  makeFolder(QStringLiteral("F/sub"));
  sdk->setStatusAt(Operation::CreateFolderNode, 1, DGSTATUS_INTERNAL_GENERALERROR);
  sdk->setStatusAt(Operation::CreateFolderNode, 2, DGSTATUS_INTERNAL_GENERALERROR);
  dropAndFinish({computer.filePath(QStringLiteral("F"))}, target);
  EXPECT_EQ(onPhone(namesake), Contents());
  EXPECT_TRUE(outcomes().first().startsWith(QStringLiteral("failed F")));
  EXPECT_TRUE(outcomes().last().startsWith(QStringLiteral("failed F/sub")));
}

TEST_F(UploadRunTest, ARebuildInTheMiddleOfAnUploadToAFolderBelowShowsWhatArrivedThere) {
  expand(QStringLiteral("DCIM"));
  const auto gate = std::make_shared<Gate>();
  sdk->setHook(Operation::SendFileEx, [gate] { gate->pass(); });
  drop({write(QStringLiteral("a")), write(QStringLiteral("b"))}, itemNamed(QStringLiteral("DCIM")));
  ASSERT_TRUE(waitUntil([&] { return gate->waiting() == 1; }));
  controller->updateMTPChangeProcess();
  gate->open();
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(dcim), Contents({"Camera/", "a.jpg", "b.jpg", "a", "b"}));
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList({"Camera", "a.jpg", "b.jpg", "a", "b"}));
}

TEST_F(UploadRunTest, AReplacedFileOfAListedFolderThatIsNotTheCurrentOneKeepsOneRow) {
  expand(QStringLiteral("DCIM"));
  drop({write(QStringLiteral("a.jpg"), "new")}, itemNamed(QStringLiteral("DCIM")));
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(sdk->content(sdk->child(dcim, QStringLiteral("a.jpg"))), "new");
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "b.jpg", "a.jpg"}));
}

// ---- Progress ----

TEST_F(UploadRunTest, ThePanelTellsNumberNameAndBytesOfTheWholePlan) {
  const auto gate = std::make_shared<Gate>();
  drop({write(QStringLiteral("a.bin"), QByteArray(100, 'a')), write(QStringLiteral("b.bin"), QByteArray(300, 'b'))});
  int sent = 0;
  sdk->setHook(Operation::GetNodeKind, [] {});
  sdk->setHook(Operation::SendFileEx, [&] {
    if (++sent == 2)
      gate->pass();
  });
  EXPECT_TRUE(panel().isVisible());
  EXPECT_TRUE(isBlocked());
  EXPECT_EQ(inhibitions, 1);
  EXPECT_TRUE(controller->isTransferProcess());
  ASSERT_TRUE(waitUntil([&] { return gate->waiting() == 1; }));
  QCoreApplication::processEvents();
  EXPECT_EQ(controller->transferRun()->totalTransferSize(), 400U);
  EXPECT_EQ(controller->transferRun()->currentTransferSize(), 100U);
  controller->setProgressInfo(QStringLiteral("line"), 50, 300);
  EXPECT_EQ(panel().lbProgressStatus()->text(), QStringLiteral("150Byte/400Byte"));
  EXPECT_EQ(controller->window()->windowTitle(), QStringLiteral("37% – Pat's phone"));
  gate->open();
  ASSERT_TRUE(finish());
  EXPECT_EQ(controller->window()->windowTitle(), QStringLiteral("Pat's phone"));
  EXPECT_FALSE(isBlocked());
  EXPECT_EQ(inhibitions, 0);
}

// ---- Cancel ----

TEST_F(UploadRunTest, CanceledWhileTheQuestionIsOpenNothingIsCopied) {
  drop({write(QStringLiteral("readme.txt")), write(QStringLiteral("new"))});
  ASSERT_NE(waitForAlert(), nullptr);
  cancel();
  ASSERT_TRUE(finish());
  EXPECT_EQ(transfers().isExistsAlert(), nullptr);
  EXPECT_EQ(sdk->calls(Operation::SendFileEx), 0);
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_FALSE(isBlocked());
  EXPECT_EQ(outcomes(), QStringList({"canceled readme.txt", "canceled new"}));
}

TEST_F(UploadRunTest, CanceledAtALaterQuestionTheListTellsOfEveryItem) {
  write(QStringLiteral("F/x"));
  makeFolder(QStringLiteral("Empty"));
  drop({write(QStringLiteral("readme.txt")), computer.filePath(QStringLiteral("F")),
        computer.filePath(QStringLiteral("Empty")), write(QStringLiteral("last"))});
  answer("MNU_Skip");
  ASSERT_NE(waitForAlert(), nullptr);
  cancel();
  ASSERT_TRUE(finish());
  EXPECT_EQ(outcomes(),
            QStringList({"skipped readme.txt", "canceled F", "canceled F/x", "canceled Empty", "canceled last"}));
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "readme.txt"}));
}

TEST_F(UploadRunTest, CanceledInAFileThatFileIsNotThereAndTheRestIsNotTried) {
  before(Operation::SendFileEx, 2, [this] { cancel(); });
  dropAndFinish({write(QStringLiteral("a")), write(QStringLiteral("b")), write(QStringLiteral("c"))});
  EXPECT_EQ(sdk->calls(Operation::SendFileEx), 2);
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "readme.txt", "a"}));
  EXPECT_EQ(outcomes(), QStringList({"copied a", "canceled b", "canceled c"}));
  EXPECT_EQ(rows().last(), QStringLiteral("a"));
  EXPECT_TRUE(controller->isCanceled());
  EXPECT_FALSE(controller->isTransferProcess());
  EXPECT_FALSE(isBlocked());
}

TEST_F(UploadRunTest, CanceledWhileAFolderIsMadeNothingGoesIntoIt) {
  before(Operation::CreateFolderNode, 1, [this] { cancel(); });
  write(QStringLiteral("F/x"));
  dropAndFinish({computer.filePath(QStringLiteral("F"))});
  EXPECT_EQ(sdk->calls(Operation::SendFileEx), 0);
  EXPECT_EQ(outcomes(), QStringList({"copied F", "canceled F/x"}));
}

TEST_F(UploadRunTest, CanceledWhileTheOldOneIsDeletedItIsGoneAndTheNewOneIsNotSent) {
  before(Operation::DeleteNode, 1, [this] { cancel(); });
  drop({write(QStringLiteral("readme.txt"), "new")});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/"}));
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty"}));
}

TEST_F(UploadRunTest, ALateCancelDoesNotHitTheNextTransfer) {
  before(Operation::SendFileEx, 1, [this] { cancel(); });
  drop({write(QStringLiteral("a"))});
  const auto canceled = controller->transferRun();
  ASSERT_TRUE(finish());
  sdk->setHook(Operation::SendFileEx, [] {});
  before(Operation::SendFileEx, 1, [&] { canceled->cancel(); });
  dropAndFinish({write(QStringLiteral("b"))});
  EXPECT_EQ(outcomes(), QStringList({"copied b"}));
  EXPECT_FALSE(controller->isCanceled());
}

TEST_F(UploadRunTest, AfterACancelThePanelIsGoneAtOnceAndTheWindowFreeWhenTheRunHasEnded) {
  const auto gate = std::make_shared<Gate>();
  sdk->setHook(Operation::SendFileEx, [gate] { gate->pass(); });
  drop({write(QStringLiteral("a"))});
  ASSERT_TRUE(waitUntil([&] { return gate->waiting() == 1; }));
  cancel();
  EXPECT_FALSE(panel().isVisible());
  EXPECT_TRUE(isBlocked());
  gate->open();
  ASSERT_TRUE(finish());
  EXPECT_FALSE(isBlocked());
}

TEST_F(UploadRunTest, NoSecondUploadBeginsWhileOneRuns) {
  const auto gate = std::make_shared<Gate>();
  sdk->setHook(Operation::SendFileEx, [gate] { gate->pass(); });
  drop({write(QStringLiteral("a"))});
  ASSERT_TRUE(waitUntil([&] { return gate->waiting() == 1; }));
  drop({write(QStringLiteral("b"))});
  gate->open();
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(phone).back(), "a");
}

TEST_F(UploadRunTest, WithoutAThreadTheWindowIsFreeAgain) {
  refuseWorkers = true;
  dropAndFinish({write(QStringLiteral("a"))});
  refuseWorkers = false;
  EXPECT_FALSE(isBlocked());
  EXPECT_FALSE(controller->isTransferProcess());
  EXPECT_FALSE(controller->transferRun());
  EXPECT_EQ(outcomes(), QStringList({"canceled a"}));
}

// ---- Detach, closing ----

TEST_F(UploadRunTest, DetachedWhileTheQuestionIsOpenTheWorkerIsLetGo) {
  drop({write(QStringLiteral("readme.txt"))});
  ASSERT_NE(waitForAlert(), nullptr);
  controller->deviceDisconnected();
  ASSERT_TRUE(settle());
  EXPECT_EQ(transfers().isExistsAlert(), nullptr);
  EXPECT_FALSE(panel().isVisible());
  EXPECT_FALSE(isBlocked());
  EXPECT_EQ(controller->window()->windowTitle(), QStringLiteral("MTP Browser"));
}

TEST_F(UploadRunTest, DetachedAtEachStepTheRunEndsAndTheWindowWelcomes) {
  write(QStringLiteral("F/x"));
  for (const Operation operation : {Operation::GetFileListHead, Operation::CreateFolderNode, Operation::DeleteNode,
                                    Operation::SendFileEx, Operation::GetFolderListHead}) {
    SCOPED_TRACE(int(operation));
    sdk = std::make_shared<FakeMtpSdk>();
    openWindow();
    connectPhone();
    const ItemPointer target = itemNamed(QStringLiteral("DCIM")); // listed by the run
    before(operation, 1, [this] {
      sdk->unplug(device);
      controller->deviceDisconnected();
    });
    drop({write(QStringLiteral("a.jpg")), computer.filePath(QStringLiteral("F"))}, target);
    ASSERT_TRUE(waitUntil([this] { return transfers().isExistsAlert() || !controller->transferRun(); }));
    if (transfers().isExistsAlert())
      answer("MNU_Replace");
    ASSERT_TRUE(waitUntil([this] { return !controller->transferRun(); }));
    ASSERT_TRUE(settle());
    EXPECT_EQ(controller->window()->windowTitle(), QStringLiteral("MTP Browser"));
    EXPECT_FALSE(panel().isVisible());
    EXPECT_FALSE(isBlocked());
    sdk->setHook(operation, [] {});
  }
}

TEST_F(UploadRunTest, ClosingTheWindowEndsTheTransfer) {
  const auto gate = std::make_shared<Gate>();
  sdk->setHook(Operation::SendFileEx, [gate] { gate->pass(); });
  drop({write(QStringLiteral("a"))});
  ASSERT_TRUE(waitUntil([&] { return gate->waiting() == 1; }));
  controller->window()->close();
  EXPECT_TRUE(controller->transferRun()->isCanceled());
  gate->open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(onPhone(phone), Contents({"DCIM/", "Empty/", "readme.txt"}));
}

TEST_F(UploadRunTest, TheWindowMayGoInTheMiddleOfATransfer) {
  const auto gate = std::make_shared<Gate>();
  sdk->setHook(Operation::SendFileEx, [gate] { gate->pass(); });
  drop({write(QStringLiteral("a")), write(QStringLiteral("b"))});
  ASSERT_TRUE(waitUntil([&] { return gate->waiting() == 1; }));
  controller.reset();
  EXPECT_EQ(inhibitions, 0);
  gate->open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::SendFileEx), 1);
}

TEST_F(UploadRunTest, TheWindowMayGoWhileTheQuestionIsOpen) {
  drop({write(QStringLiteral("readme.txt"))});
  ASSERT_NE(waitForAlert(), nullptr);
  controller.reset();
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
}

TEST_F(UploadRunTest, ObjectsThatComeIntoBeingDuringAnUploadCauseNoRebuildAndRemovedOnesDo) {
  const auto gate = std::make_shared<Gate>();
  sdk->setHook(Operation::SendFileEx, [gate] { gate->pass(); });
  drop({write(QStringLiteral("a"))});
  ASSERT_TRUE(waitUntil([&] { return gate->waiting() == 1; }));
  EXPECT_TRUE(sdk->sendEvent(device, DeviceEvents::kObjectAdded));
  EXPECT_FALSE(controller->isRebuildPending());
  EXPECT_TRUE(sdk->sendEvent(device, DeviceEvents::kObjectRemoved));
  EXPECT_TRUE(controller->isRebuildPending());
  gate->open();
  ASSERT_TRUE(finish());
}

TEST_F(UploadRunTest, ARebuildInTheMiddleOfAnUploadWaitsAndThenShowsEverything) {
  const auto gate = std::make_shared<Gate>();
  sdk->setHook(Operation::SendFileEx, [gate] { gate->pass(); });
  drop({write(QStringLiteral("a")), write(QStringLiteral("b"))});
  ASSERT_TRUE(waitUntil([&] { return gate->waiting() == 1; }));
  controller->updateMTPChangeProcess();
  gate->open();
  ASSERT_TRUE(finish());
  EXPECT_EQ(rows(), QStringList({"DCIM", "Empty", "readme.txt", "a", "b"}));
  EXPECT_EQ(outcomes(), QStringList({"copied a", "copied b"}));
}
