#include "SBrowser/DownloadRun.h"

#include "BrowserFixture.h"
#include "MTPCore/MTPSDKUtil.h"
#include "SBrowser/DownloadDrag.h"
#include "SBrowser/TransferPresenter.h"
#include "UI/Common/NSStringPredicate.h"
#include "UI/NoticeView/SNoticeView.h"
#include "UI/ProgressView/SProgressView.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>

#include <utility>

namespace {

class Download : public BrowserFixture {
protected:
  using Items = DownloadDrag::Items;

  void SetUp() override {
    BrowserFixture::SetUp();
    connectPhone();
    sdk->setContent(sdk->child(dcim, QStringLiteral("a.jpg")), "aaaa");
    sdk->setContent(sdk->child(dcim, QStringLiteral("b.jpg")), "bb");
    sdk->setContent(readme, "read me");
    connect(); // lists the sizes
  }

  DownloadDrag& downloads() { return controller->downloads(); }
  QString target() const { return folder.path(); }
  QString path(const char* name) const { return target() + u'/' + QString::fromUtf8(name); }
  Items items(const QStringList& names) {
    Items found;
    for (const QString& name : names)
      found.push_back(itemNamed(name));
    return found;
  }
  void drop(const QStringList& names) { downloads().namesOfPromisedFilesDroppedAtDestination(target(), items(names)); }
  bool copy(const QStringList& names) {
    drop(names);
    return settle();
  }
  /// Everything below the target, folders with a slash, in alphabetical order.
  QStringList copied() const {
    QStringList found;
    QDirIterator entries(target(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
      const QString entry = entries.next();
      found << entry.sliced(target().size() + 1) + (entries.fileInfo().isDir() ? QStringLiteral("/") : QString());
    }
    found.sort();
    return found;
  }
  QByteArray content(const char* name) const {
    QFile file(path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
  }
  void write(const char* name, const QByteArray& content) const {
    QFile file(path(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(content), content.size());
  }
  QMessageBox* alert() { return controller->transfers().isExistsAlert(); }
  /// Answers the question about a taken name with its button of this number. Says what it asked about.
  QString answerClash(int button) {
    if (!waitUntil([this] { return alert() != nullptr; }))
      return QStringLiteral("nothing was asked");
    QMessageBox* const box = alert();
    const QString text = box->text();
    answers.push_back(int(box->buttons().size()));
    QPointer<QMessageBox> asked(box);
    buttonsOf(*box).at(button)->click();
    EXPECT_TRUE(waitUntil([&] { return asked.isNull() || alert() != asked; }));
    return text;
  }
  static QList<QPushButton*> buttonsOf(const QMessageBox& box) {
    QList<QPushButton*> found;
    for (const ClashAnswer answer : {ClashAnswerReplace, ClashAnswerReplaceAll, ClashAnswerSkip})
      for (QAbstractButton* const button : box.buttons())
        if (button->property("answer").toInt() == int(answer))
          found << qobject_cast<QPushButton*>(button);
    return found;
  }
  QStringList lastTransfer() const {
    static constexpr const char* kinds[] = {"copied", "skipped", "failed", "canceled"};
    QStringList lines;
    for (const TransferOutcome& outcome : controller->transfers().lastTransfer())
      lines << outcome.name + u' ' + QLatin1StringView(kinds[outcome.kind]);
    return lines;
  }
  bool isPanelShown() const { return !controller->layout()._progressView->isHidden(); }
  bool isFree() const { return !controller->isBlocked() && !isPanelShown() && !controller->transferRun(); }

  QTemporaryDir folder;
  std::vector<int> answers; // how many buttons each question had
};

} // namespace

// ---- What is copied ----

TEST_F(Download, AFileGoesToTheFolder) {
  ASSERT_TRUE(copy({QStringLiteral("readme.txt")}));
  EXPECT_EQ(copied(), QStringList{QStringLiteral("readme.txt")});
  EXPECT_EQ(content("readme.txt"), "read me");
  EXPECT_TRUE(isFree());
  EXPECT_EQ(downloads().drapAndDropPath(), target());
  EXPECT_EQ(lastTransfer(), QStringList{QStringLiteral("readme.txt copied")});
}

TEST_F(Download, ADraggedFolderIsRecreatedWithItsWholeSubtreeEmptyFoldersIncluded) {
  const auto deep = sdk->addFolder(camera, QStringLiteral("2024"));
  sdk->setContent(sdk->addFile(deep, QStringLiteral("c.jpg")), "ccc");
  ASSERT_TRUE(copy({QStringLiteral("DCIM"), QStringLiteral("Empty")}));
  EXPECT_EQ(copied(),
            (QStringList{QStringLiteral("DCIM/"), QStringLiteral("DCIM/Camera/"), QStringLiteral("DCIM/Camera/2024/"),
                         QStringLiteral("DCIM/Camera/2024/c.jpg"), QStringLiteral("DCIM/a.jpg"),
                         QStringLiteral("DCIM/b.jpg"), QStringLiteral("Empty/")}));
  EXPECT_EQ(content("DCIM/a.jpg"), "aaaa");
  EXPECT_EQ(content("DCIM/Camera/2024/c.jpg"), "ccc");
}

TEST_F(Download, CopiedFilesGetThePhonesModificationTimeAndACreationTimeOfTheMomentOfTheCopy) {
  const QDateTime before = QDateTime::currentDateTime().addSecs(-2); // the file system's clock may lag
  const QString displayed = itemNamed(QStringLiteral("readme.txt"))->dateModified();
  ASSERT_TRUE(copy({QStringLiteral("readme.txt")}));
  const QFileInfo file(path("readme.txt"));
  const auto wanted = ui::dateFromString(displayed);
  ASSERT_TRUE(wanted);
  EXPECT_EQ(file.lastModified().toMSecsSinceEpoch(), wanted->time_since_epoch().count());
  const QDateTime made = file.birthTime(); // not every file system tells
  EXPECT_TRUE(!made.isValid() || made >= before);
}

TEST_F(Download, AFileWithoutADateKeepsTheMomentOfTheCopy) {
  sdk->addFile(phone, QStringLiteral("undated"), 0, QStringLiteral("no date"));
  connect();
  const QDateTime before = QDateTime::currentDateTime().addSecs(-2);
  ASSERT_TRUE(copy({QStringLiteral("undated")}));
  EXPECT_GE(QFileInfo(path("undated")).lastModified(), before);
}

TEST_F(Download, AFolderThatWasNeverOpenedIsListedWhilePlanningAndStaysListed) {
  const ItemPointer item = itemNamed(QStringLiteral("DCIM"));
  ASSERT_FALSE(item->isListed());
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_TRUE(item->isListed());
  ASSERT_NE(item->childObjects(), nullptr);
  EXPECT_EQ(item->childObjects()->count(), 3);
  const int listings = sdk->calls(Operation::GetFileListHead);
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows().size(), 3);
  EXPECT_EQ(sdk->calls(Operation::GetFileListHead), listings);
}

TEST_F(Download, AFolderThatIsExpandedShowsWhatPlanningFound) {
  const QModelIndex shown = row(QStringLiteral("DCIM"));
  outline().expand(shown);
  ASSERT_TRUE(settle());
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))).size(), 3);
}

TEST_F(Download, AFolderThatCannotBeListedIsCopiedEmptyAndToldAsFailed) {
  for (const Operation operation : {Operation::GetFolderListHead, Operation::GetFileListHead}) {
    sdk->setStatus(operation, DGSTATUS_INTERNAL_GENERALERROR);
    ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
    EXPECT_EQ(copied(), QStringList{QStringLiteral("DCIM/")});
    EXPECT_EQ(lastTransfer(), QStringList{QStringLiteral("DCIM failed")});
    EXPECT_EQ(controller->transfers().lastTransfer()[0].status, std::uint32_t(DGSTATUS_INTERNAL_GENERALERROR));
    EXPECT_TRUE(isFree());
    sdk->setStatus(operation, std::nullopt);
    ASSERT_TRUE(QDir(path("DCIM")).removeRecursively());
  }
  // It is not taken for an empty one from then on.
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_EQ(content("DCIM/a.jpg"), "aaaa");
}

TEST_F(Download, AFolderWhoseListBreaksOffIsListedOnceMoreAndCopiedWhole) {
  for (const Operation operation : {Operation::GetNextFileNode, Operation::GetNextSiblingFolderNode}) {
    sdk->setStatusAt(operation, 1, DGSTATUS_NODE_IS_NOT_EXISTED); // taken away just then
    ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
    EXPECT_EQ(lastTransfer().filter(QStringLiteral("failed")), QStringList());
    EXPECT_EQ(content("DCIM/a.jpg"), "aaaa");
    EXPECT_EQ(content("DCIM/b.jpg"), "bb");
    ASSERT_TRUE(QDir(path("DCIM")).removeRecursively());
  }
}

TEST_F(Download, AFolderWhoseListBreaksOffEachTimeIsToldAsFailedAndAskedForAgain) {
  sdk->setStatus(Operation::GetNextFileNode, DGSTATUS_INTERNAL_GENERALERROR);
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_EQ(lastTransfer(), QStringList{QStringLiteral("DCIM failed")});
  EXPECT_FALSE(itemNamed(QStringLiteral("DCIM"))->isListed());
  sdk->setStatus(Operation::GetNextFileNode, std::nullopt);
  ASSERT_TRUE(QDir(path("DCIM")).removeRecursively());
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_EQ(content("DCIM/b.jpg"), "bb");
}

TEST_F(Download, AFolderWithoutChildrenThatWasTriedBeforeIsListedOnceMore) {
  itemNamed(QStringLiteral("DCIM"))->setIsListed(true); // as after a listing that failed
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_EQ(content("DCIM/a.jpg"), "aaaa");
}

TEST_F(Download, AFolderThatCouldNotBeListedWhenItWasExpandedIsNotTakenForAnEmptyOne) {
  for (const Operation operation : {Operation::GetFolderListHead, Operation::GetFileListHead}) {
    sdk->setStatus(operation, DGSTATUS_INTERNAL_GENERALERROR);
    outline().expand(row(QStringLiteral("DCIM")));
    ASSERT_TRUE(settle());
    outline().collapse(row(QStringLiteral("DCIM")));
    ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
    EXPECT_EQ(lastTransfer(), QStringList{QStringLiteral("DCIM failed")});
    sdk->setStatus(operation, std::nullopt);
    ASSERT_TRUE(QDir(path("DCIM")).removeRecursively());
  }
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))).size(), 3) << "the phone is asked again";
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_EQ(content("DCIM/a.jpg"), "aaaa");
}

TEST_F(Download, AFolderThatCouldNotBeListedWhenItWasEnteredIsCopiedWithAllItHolds) {
  const Items dragged = items({QStringLiteral("DCIM")});
  sdk->setStatus(Operation::GetFolderListHead, DGSTATUS_INTERNAL_GENERALERROR);
  doubleClick(QStringLiteral("DCIM"));
  ASSERT_TRUE(settle());
  sdk->setStatus(Operation::GetFolderListHead, std::nullopt);
  downloads().namesOfPromisedFilesDroppedAtDestination(target(), dragged);
  ASSERT_TRUE(settle());
  EXPECT_EQ(content("DCIM/a.jpg"), "aaaa");
}

TEST_F(Download, CanceledWhileAFolderIsListedThePhoneIsAskedNoMore) {
  sdk->setHook(Operation::GetFolderListHead, [this] {
    platform::runOnMainAndWait([this] { controller->onProgressActionCanceled(controller->layout()._progressView); });
  });
  const int asked = sdk->calls(Operation::GetFileListHead);
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_EQ(sdk->calls(Operation::GetFileListHead), asked);
  EXPECT_EQ(lastTransfer(), QStringList{QStringLiteral("DCIM canceled")});
  EXPECT_TRUE(isFree());
}

TEST_F(Download, WhatHasComeToAShownFolderIsCopiedToo) {
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  sdk->setContent(sdk->addFile(dcim, QStringLiteral("new.jpg")), "new");
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_EQ(content("DCIM/new.jpg"), "new");
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "a.jpg", "b.jpg", "new.jpg"}));
}

TEST_F(Download, AShownFolderThatHasNotChangedStaysAsItIsShown) {
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  const auto before = itemNamed(QStringLiteral("DCIM"))->childObjects();
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_EQ(itemNamed(QStringLiteral("DCIM"))->childObjects(), before);
}

TEST_F(Download, WhatComesIntoBeingOnThePhoneCountsAgainAfterADownload) {
  ASSERT_TRUE(copy({QStringLiteral("readme.txt")}));
  EXPECT_TRUE(sdk->sendEvent(device, DeviceEvents::kObjectAdded));
  EXPECT_TRUE(waitUntil([this] { return controller->isRebuildPending(); }));
}

TEST_F(Download, WhatCameIntoAListedFolderSinceIsCopiedAndShown) {
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  outline().expand(row(QStringLiteral("Camera"), row(QStringLiteral("DCIM"))));
  ASSERT_TRUE(settle());
  const ItemPointer before = model().itemAtIndex(row(QStringLiteral("Camera"), row(QStringLiteral("DCIM"))));
  sdk->setContent(sdk->addFile(dcim, QStringLiteral("new.jpg")), "new");
  sdk->setContent(sdk->addFile(camera, QStringLiteral("newer.jpg")), "newer");
  sdk->remove(sdk->child(dcim, QStringLiteral("b.jpg")));
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  EXPECT_EQ(copied(), QStringList({"DCIM/", "DCIM/Camera/", "DCIM/Camera/newer.jpg", "DCIM/a.jpg", "DCIM/new.jpg"}));
  EXPECT_EQ(content("DCIM/Camera/newer.jpg"), "newer");
  EXPECT_EQ(rows(row(QStringLiteral("DCIM"))), QStringList({"Camera", "a.jpg", "new.jpg"}));
  EXPECT_EQ(model().itemAtIndex(row(QStringLiteral("Camera"), row(QStringLiteral("DCIM")))), before);
  EXPECT_EQ(rows(row(QStringLiteral("Camera"), row(QStringLiteral("DCIM")))), QStringList{QStringLiteral("newer.jpg")});
}

TEST_F(Download, AFolderOpenedAndChosenBeforeTheTreeWasBuiltAnewIsCopiedAsItIsNow) {
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  const Items before = items({QStringLiteral("DCIM")});
  sdk->setContent(sdk->addFile(dcim, QStringLiteral("new.jpg")), "new");
  controller->updateMTPChangeProcess();
  ASSERT_TRUE(settle());
  downloads().namesOfPromisedFilesDroppedAtDestination(target(), before);
  ASSERT_TRUE(settle());
  EXPECT_EQ(content("DCIM/new.jpg"), "new");
  EXPECT_EQ(content("DCIM/a.jpg"), "aaaa");
}

TEST_F(Download, WhatComesIntoBeingDuringADownloadIsShownWhenItHasEnded) {
  Gate gate;
  sdk->setHook(Operation::GetFileEx, [&] { gate.pass(); });
  drop({QStringLiteral("readme.txt")});
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  sdk->addFile(phone, QStringLiteral("new.txt"));
  EXPECT_TRUE(sdk->sendEvent(device, DeviceEvents::kObjectAdded));
  EXPECT_FALSE(controller->isRebuildPending());
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_TRUE(controller->isRebuildPending());
  timers.advance(DeviceEvents::kQuietPeriod);
  ASSERT_TRUE(settle());
  EXPECT_TRUE(rows().contains(QStringLiteral("new.txt")));
  sdk->setHook(Operation::GetFileEx, [] {});
}

TEST_F(Download, AFolderChosenBeforeTheTreeWasBuiltAnewIsCopiedWithAllItHolds) {
  const Items before = items({QStringLiteral("DCIM"), QStringLiteral("readme.txt")});
  controller->updateMTPChangeProcess();
  ASSERT_TRUE(settle());
  ASSERT_NE(itemNamed(QStringLiteral("DCIM")), before.front());
  downloads().namesOfPromisedFilesDroppedAtDestination(target(), before);
  ASSERT_TRUE(settle());
  EXPECT_EQ(copied(), QStringList({"DCIM/", "DCIM/Camera/", "DCIM/a.jpg", "DCIM/b.jpg", "readme.txt"}));
  EXPECT_EQ(content("DCIM/b.jpg"), "bb");
}

TEST_F(Download, AFolderThatIsGoneFromThePhoneIsToldAsFailed) {
  const Items before = items({QStringLiteral("DCIM")});
  sdk->remove(dcim);
  downloads().namesOfPromisedFilesDroppedAtDestination(target(), before);
  ASSERT_TRUE(settle());
  EXPECT_EQ(lastTransfer(), QStringList{QStringLiteral("DCIM failed")});
}

TEST_F(Download, AFileThatComesToTheFolderMeanwhileIsNotOverwritten) {
  int files = 0;
  sdk->setHook(Operation::GetFileEx, [&] {
    if (++files == 1)
      write("readme.txt", "another program's");
  });
  ASSERT_TRUE(copy({QStringLiteral("DCIM"), QStringLiteral("readme.txt")}));
  sdk->setHook(Operation::GetFileEx, [] {});
  EXPECT_EQ(content("readme.txt"), "another program's");
  EXPECT_EQ(content("DCIM/a.jpg"), "aaaa");
  EXPECT_EQ(lastTransfer().last(), QStringLiteral("readme.txt failed"));
  EXPECT_EQ(controller->transfers().lastTransfer().back().status, std::uint32_t(DGSTATUS_NODE_FILE_DUPNAME_EXISTED));
}

TEST_F(Download, FoldersThatVanishFromTheComputerAreMadeAgain) {
  int files = 0;
  sdk->setHook(Operation::GetFileEx, [&] {
    if (++files == 1)
      QDir(path("DCIM")).removeRecursively(); // between the folder and the second of its files
  });
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  sdk->setHook(Operation::GetFileEx, [] {});
  EXPECT_EQ(content("DCIM/b.jpg"), "bb");
}

TEST_F(Download, ALinkThatLeadsNowhereCountsAsATakenName) {
  ASSERT_TRUE(QFile::link(path("nowhere"), path("readme.txt")));
  drop({QStringLiteral("readme.txt")});
  EXPECT_TRUE(answerClash(1).contains(QStringLiteral("readme.txt")));
  ASSERT_TRUE(settle());
  EXPECT_TRUE(QFileInfo(path("readme.txt")).isSymLink());
  EXPECT_FALSE(QFileInfo::exists(path("nowhere")));
}

TEST_F(Download, WhatLiesInADraggedFolderComesOnlyWithIt) {
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  const QModelIndex parent = row(QStringLiteral("DCIM"));
  downloads().writeItems({model().itemAtIndex(row(QStringLiteral("a.jpg"), parent)), model().itemAtIndex(parent),
                          itemNamed(QStringLiteral("readme.txt"))});
  EXPECT_EQ(downloads().dragItems(),
            (Items{model().itemAtIndex(row(QStringLiteral("DCIM"))), itemNamed(QStringLiteral("readme.txt"))}));
}

TEST_F(Download, RowsOfDifferentFoldersWithTheSameNameAreBothCopied) {
  sdk->setContent(sdk->addFile(camera, QStringLiteral("a.jpg")), "camera's");
  connect();
  outline().expand(row(QStringLiteral("DCIM")));
  ASSERT_TRUE(settle());
  const QModelIndex dcimRow = row(QStringLiteral("DCIM"));
  outline().expand(row(QStringLiteral("Camera"), dcimRow));
  ASSERT_TRUE(settle());
  const QModelIndex cameraRow = row(QStringLiteral("Camera"), row(QStringLiteral("DCIM")));
  downloads().drapItemsToTarget({model().itemAtIndex(row(QStringLiteral("a.jpg"), row(QStringLiteral("DCIM")))),
                                 model().itemAtIndex(row(QStringLiteral("a.jpg"), cameraRow))},
                                target());
  ASSERT_TRUE(settle());
  EXPECT_EQ(copied(), (QStringList{QStringLiteral("a (2).jpg"), QStringLiteral("a.jpg")}));
  EXPECT_EQ(content("a.jpg"), "aaaa");
  EXPECT_EQ(content("a (2).jpg"), "camera's");
}

TEST_F(Download, HostileNamesStayBelowTheFolder) {
  const auto up = sdk->addFolder(phone, QStringLiteral("..."));
  sdk->setRawName(up, u"../up", 6);
  sdk->setContent(sdk->addFile(up, QStringLiteral("inner")), "inner");
  const auto slashes = sdk->addFile(phone, QStringLiteral("x"));
  sdk->setRawName(slashes, u"../../outside", 14);
  sdk->setContent(slashes, "file");
  connect();
  Items all;
  for (int place = 0; place < model().rowCount(); ++place)
    if (const ItemPointer item = model().itemAtIndex(model().index(place, 0)); item->fileName().contains(u'/'))
      all.push_back(item);
  ASSERT_EQ(all.size(), 2U);
  downloads().drapItemsToTarget(all, target());
  ASSERT_TRUE(settle());
  EXPECT_EQ(copied(),
            (QStringList{QStringLiteral(".._.._outside"), QStringLiteral(".._up/"), QStringLiteral(".._up/inner")}));
  EXPECT_FALSE(QFile::exists(target() + QStringLiteral("/../up")));
}

TEST_F(Download, AFolderTooDeepForTheComputerEndsThere) {
  auto deep = sdk->addFolder(phone, QString(200, u'd'));
  for (int i = 0; i < 30; ++i)
    deep = sdk->addFolder(deep, QString(200, u'd'));
  connect();
  ASSERT_TRUE(copy({QString(200, u'd')}));
  EXPECT_LT(copied().size(), 21);
  EXPECT_TRUE(lastTransfer().last().endsWith(QStringLiteral("copied")));
  EXPECT_TRUE(lastTransfer().first().endsWith(QStringLiteral("failed")));
  EXPECT_TRUE(isFree());
}

TEST_F(Download, TheFolderNeedNotExist) {
  downloads().drapItemsToTarget(items({QStringLiteral("readme.txt")}), path("new/folder"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(content("new/folder/readme.txt"), "read me");
}

TEST_F(Download, AnItemThatIsGoneByNowIsPassedOver) {
  const Items both = items({QStringLiteral("readme.txt"), QStringLiteral("DCIM")});
  sdk->remove(readme);
  downloads().drapItemsToTarget(both, target());
  ASSERT_TRUE(settle());
  EXPECT_FALSE(copied().contains(QStringLiteral("readme.txt")));
  EXPECT_EQ(content("DCIM/b.jpg"), "bb");
  EXPECT_EQ(lastTransfer().first(), QStringLiteral("readme.txt failed"));
}

TEST(DownloadPlanner, ANameIsFoundInAListWhateverItsCase) {
  const QStringList list{QStringLiteral("photo.jpg"), QStringLiteral("b")};
  EXPECT_TRUE(DownloadPlanner::file(QStringLiteral("PHOTO.JPG"), list));
  EXPECT_FALSE(DownloadPlanner::file(QStringLiteral("photo"), list));
}

// ---- Progress ----

TEST_F(Download, TheProgressLineCountsFoldersAndFiles) {
  QStringList lines;
  sdk->setHook(Operation::GetFileEx, [&] { lines << controller->transferRun()->curFileName(); });
  ASSERT_TRUE(copy({QStringLiteral("DCIM")}));
  const QString copying = VornLocalStringDefine::QX_LocalizedStringWithKey(QStringLiteral("MSG_BnRTransfering"));
  EXPECT_EQ(lines, (QStringList{QStringLiteral("3/4 ") + copying + QStringLiteral(" a.jpg"),
                                QStringLiteral("4/4 ") + copying + QStringLiteral(" b.jpg")}));
}

TEST_F(Download, TheWholePlanIsTheTotalAndAFailedFileCountsAsDone) {
  sdk->setStatusAt(Operation::GetFileEx, 1, DGSTATUS_FILE_WRITE_FAILED);
  std::uint64_t total = 0;
  std::uint64_t doneBeforeTheSecond = 0;
  sdk->setHook(Operation::GetFileEx, [&] {
    total = controller->transferRun()->totalTransferSize();
    doneBeforeTheSecond = controller->transferRun()->currentTransferSize();
  });
  ASSERT_TRUE(copy({QStringLiteral("DCIM"), QStringLiteral("Empty")}));
  EXPECT_EQ(total, 6U);
  EXPECT_EQ(doneBeforeTheSecond, 4U);
  EXPECT_EQ(content("DCIM/b.jpg"), "bb");
}

TEST_F(Download, TheWindowIsBlockedFromTheDropToTheEnd) {
  Gate gate;
  sdk->setHook(Operation::GetFileEx, [&] { gate.pass(); });
  drop({QStringLiteral("readme.txt")});
  EXPECT_TRUE(isPanelShown());
  EXPECT_TRUE(controller->isBlocked());
  ASSERT_TRUE(waitUntil([&] { return gate.waiting() == 1; }));
  drop({QStringLiteral("DCIM")}); // not while another copy runs
  gate.open();
  ASSERT_TRUE(settle());
  EXPECT_EQ(copied(), QStringList{QStringLiteral("readme.txt")});
  EXPECT_TRUE(isFree());
}

TEST_F(Download, WithoutAThreadNothingIsCopiedAndTheWindowIsFree) {
  refuseWorkers = true;
  drop({QStringLiteral("readme.txt")});
  ASSERT_TRUE(waitUntil([&] { return isFree(); }));
  EXPECT_EQ(copied(), QStringList());
  EXPECT_EQ(lastTransfer(), QStringList{QStringLiteral("readme.txt canceled")});
}

// ---- Names that are taken ----

TEST_F(Download, WithOneDraggedItemTheClashDialogHasTwoButtonsWithMoreThree) {
  write("readme.txt", "old");
  drop({QStringLiteral("readme.txt")});
  EXPECT_TRUE(answerClash(0).contains(QStringLiteral("\"readme.txt\"")));
  ASSERT_TRUE(settle());
  EXPECT_EQ(content("readme.txt"), "read me");
  drop({QStringLiteral("Empty"), QStringLiteral("readme.txt")});
  answerClash(2);
  ASSERT_TRUE(settle());
  EXPECT_EQ(answers, (std::vector<int>{2, 3}));
}

TEST_F(Download, ASkippedItemStaysAsItWas) {
  write("readme.txt", "old");
  drop({QStringLiteral("readme.txt"), QStringLiteral("Empty")});
  answerClash(2);
  ASSERT_TRUE(settle());
  EXPECT_EQ(content("readme.txt"), "old");
  EXPECT_EQ(lastTransfer(), (QStringList{QStringLiteral("readme.txt skipped"), QStringLiteral("Empty copied")}));
  EXPECT_TRUE(isFree());
}

TEST_F(Download, SkippingTheOnlyItemCopiesNothing) {
  write("readme.txt", "old");
  drop({QStringLiteral("readme.txt")});
  answerClash(1);
  ASSERT_TRUE(settle());
  EXPECT_EQ(content("readme.txt"), "old");
  EXPECT_TRUE(isFree());
}

TEST_F(Download, AfterReplaceAllNothingMoreIsAsked) {
  write("readme.txt", "old");
  ASSERT_TRUE(QDir(target()).mkdir(QStringLiteral("DCIM")));
  ASSERT_TRUE(QDir(target()).mkdir(QStringLiteral("Empty")));
  drop({QStringLiteral("DCIM"), QStringLiteral("Empty"), QStringLiteral("readme.txt")});
  answerClash(1);
  ASSERT_TRUE(settle());
  EXPECT_EQ(answers.size(), 1U);
  EXPECT_EQ(content("readme.txt"), "read me");
  EXPECT_EQ(content("DCIM/a.jpg"), "aaaa");
}

TEST_F(Download, AfterAnAnswerOfReplaceTheNextClashIsAskedAbout) {
  write("readme.txt", "old");
  ASSERT_TRUE(QDir(target()).mkdir(QStringLiteral("DCIM")));
  drop({QStringLiteral("DCIM"), QStringLiteral("readme.txt")});
  EXPECT_TRUE(answerClash(0).contains(QStringLiteral("\"DCIM\"")));
  EXPECT_TRUE(answerClash(2).contains(QStringLiteral("\"readme.txt\"")));
  ASSERT_TRUE(settle());
  EXPECT_EQ(content("readme.txt"), "old");
  EXPECT_EQ(content("DCIM/a.jpg"), "aaaa");
}

TEST_F(Download, AReplacedFolderKeepsWhatElseItHolds) {
  ASSERT_TRUE(QDir(target()).mkdir(QStringLiteral("DCIM")));
  write("DCIM/mine", "mine");
  write("DCIM/a.jpg", "old");
  drop({QStringLiteral("DCIM")});
  answerClash(0);
  ASSERT_TRUE(settle());
  EXPECT_EQ(content("DCIM/mine"), "mine");
  EXPECT_EQ(content("DCIM/a.jpg"), "aaaa"); // only dragged items are asked about
  EXPECT_EQ(answers.size(), 1U);
}

TEST_F(Download, AFileWhereAFolderIsWantedStaysAndEndsTheCopy) {
  write("DCIM", "a file");
  drop({QStringLiteral("DCIM"), QStringLiteral("readme.txt")});
  answerClash(0);
  ASSERT_TRUE(settle());
  EXPECT_EQ(content("DCIM"), "a file");
  EXPECT_EQ(content("readme.txt"), "(none)"); // no folder can be made below a file
  EXPECT_EQ(lastTransfer(), QStringList({"DCIM failed", "DCIM/Camera failed", "DCIM/a.jpg canceled",
                                         "DCIM/b.jpg canceled", "readme.txt canceled"}));
  EXPECT_TRUE(isFree());
}

TEST_F(Download, AFileInThePlaceOfAnEmptyFolderIsNotToldAsCopied) {
  write("Empty", "a file");
  drop({QStringLiteral("Empty"), QStringLiteral("readme.txt")});
  answerClash(0);
  ASSERT_TRUE(settle());
  EXPECT_EQ(content("Empty"), "a file");
  EXPECT_EQ(lastTransfer(), QStringList({"Empty failed", "readme.txt copied"}));
}

// ---- Endings ----

TEST_F(Download, AFullDiskEndsTheCopy) {
  sdk->setStatusAt(Operation::GetFileEx, 1, DGSTATUS_STORAGE_FULL);
  ASSERT_TRUE(copy({QStringLiteral("DCIM"), QStringLiteral("readme.txt")}));
  EXPECT_EQ(copied(), (QStringList{QStringLiteral("DCIM/"), QStringLiteral("DCIM/Camera/")}));
  EXPECT_EQ(lastTransfer(), QStringList({"DCIM copied", "DCIM/Camera copied", "DCIM/a.jpg failed",
                                         "DCIM/b.jpg canceled", "readme.txt canceled"}));
  EXPECT_EQ(controller->transfers().lastTransfer()[2].status, std::uint32_t(DGSTATUS_STORAGE_FULL));
  EXPECT_TRUE(isFree());
}

TEST_F(Download, AnotherFailureIsPassedOver) {
  sdk->setStatusAt(Operation::GetFileEx, 1, DGSTATUS_INTERNAL_GENERALERROR);
  ASSERT_TRUE(copy({QStringLiteral("DCIM"), QStringLiteral("readme.txt")}));
  EXPECT_EQ(content("DCIM/a.jpg"), "(none)");
  EXPECT_EQ(content("DCIM/b.jpg"), "bb");
  EXPECT_EQ(content("readme.txt"), "read me");
  EXPECT_TRUE(isFree());
}

TEST_F(Download, AFolderThatCannotBeMadeEndsTheCopy) {
  downloads().drapItemsToTarget(items({QStringLiteral("DCIM"), QStringLiteral("readme.txt")}),
                                QStringLiteral("/proc/self"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(lastTransfer(), QStringList({"DCIM failed", "DCIM/Camera canceled", "DCIM/a.jpg canceled",
                                         "DCIM/b.jpg canceled", "readme.txt canceled"}));
  EXPECT_EQ(sdk->calls(Operation::GetFileEx), 0);
  EXPECT_TRUE(isFree());
}

TEST_F(Download, AFolderAboveAFileThatCannotBeMadeSkipsOnlyThatFile) {
  downloads().drapItemsToTarget(items({QStringLiteral("readme.txt")}), QStringLiteral("/proc/self/none"));
  ASSERT_TRUE(settle());
  EXPECT_EQ(lastTransfer(), QStringList{QStringLiteral("readme.txt failed")});
  EXPECT_EQ(sdk->calls(Operation::GetFileEx), 0);
}

namespace {

/// Where a copy of "DCIM" and "readme.txt" over "DCIM" is when something happens to it.
enum class Step { Listing, Clash, FirstFile, LastFile };

class DownloadStopped : public Download, public testing::WithParamInterface<Step> {
protected:
  /// Starts the copy and has `happen` called on the main thread when it has come to the step.
  void copyUntil(const std::function<void()>& happen) {
    const Step step = GetParam();
    if (step == Step::Clash)
      write("readme.txt", "old");
    Gate gate;
    int files = 0;
    if (step == Step::Listing)
      sdk->setHook(Operation::GetFileListHead, [&] { gate.pass(); });
    if (step == Step::FirstFile || step == Step::LastFile)
      sdk->setHook(Operation::GetFileEx, [&, at = step == Step::FirstFile ? 1 : 3] {
        if (++files == at)
          gate.pass();
      });
    drop({QStringLiteral("DCIM"), QStringLiteral("readme.txt")});
    ASSERT_TRUE(waitUntil([&] { return step == Step::Clash ? alert() != nullptr : gate.waiting() == 1; }));
    happen();
    gate.open();
    ASSERT_TRUE(settle());
    sdk->setHook(Operation::GetFileListHead, [] {});
    sdk->setHook(Operation::GetFileEx, [] {});
  }
  void expectOnlyWholeFiles() {
    const QStringList all = copied();
    EXPECT_EQ(all.contains(QStringLiteral("DCIM/a.jpg")), GetParam() == Step::LastFile);
    EXPECT_EQ(content("readme.txt"), GetParam() == Step::Clash ? "old" : "(none)");
    EXPECT_EQ(alert(), nullptr);
  }
};

} // namespace

TEST_P(DownloadStopped, ByTheCancelButton) {
  copyUntil([this] { controller->onProgressActionCanceled(controller->layout()._progressView); });
  expectOnlyWholeFiles();
  EXPECT_TRUE(isFree());
  EXPECT_EQ(lastTransfer().last(), QStringLiteral("readme.txt canceled"));
  EXPECT_EQ(lastTransfer().contains(QStringLiteral("DCIM/b.jpg canceled")),
            GetParam() == Step::Clash || GetParam() == Step::FirstFile);
  // The next copy knows nothing of it.
  QFile::remove(path("readme.txt"));
  ASSERT_TRUE(copy({QStringLiteral("readme.txt")}));
  EXPECT_EQ(content("readme.txt"), "read me");
}

TEST_P(DownloadStopped, ByThePhonesLeaving) {
  copyUntil([this] {
    sdk->unplug(device);
    controller->deviceDisconnected();
  });
  expectOnlyWholeFiles();
  EXPECT_TRUE(isFree());
  // The phone comes again.
  sdk->plug(device);
  connect();
  QFile::remove(path("readme.txt"));
  ASSERT_TRUE(copy({QStringLiteral("readme.txt")}));
  EXPECT_EQ(content("readme.txt"), "read me");
}

TEST_P(DownloadStopped, NotByAnotherPhonesComing) {
  copyUntil([this] {
    controller->connectDevice(QStringLiteral("14200000")); // what comes of it: the phone shown is connected to anew
    if (GetParam() == Step::Clash)
      answerClash(0);
  });
  EXPECT_EQ(copied(), QStringList({"DCIM/", "DCIM/Camera/", "DCIM/a.jpg", "DCIM/b.jpg", "readme.txt"}));
  EXPECT_EQ(content("readme.txt"), "read me");
  EXPECT_TRUE(isFree());
  EXPECT_EQ(lastTransfer().filter(QStringLiteral("canceled")), QStringList());
  EXPECT_EQ(currentFolder(), QStringLiteral("Phone"));
}

TEST_P(DownloadStopped, ByTheWindowsClosing) {
  copyUntil([this] { controller->closeAllWindows(); });
  expectOnlyWholeFiles();
}

TEST_P(DownloadStopped, ByTheWindowsEnd) {
  copyUntil([this] { controller.reset(); });
  EXPECT_EQ(content("readme.txt"), GetParam() == Step::Clash ? "old" : "(none)");
  const QStringList names({"DCIM/", "DCIM/Camera/", "DCIM/a.jpg", "DCIM/b.jpg", "readme.txt"});
  for (const QString& name : copied())
    EXPECT_TRUE(names.contains(name)) << name.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Steps, DownloadStopped,
                         testing::Values(Step::Listing, Step::Clash, Step::FirstFile, Step::LastFile));

// ---- To the trash ----

namespace {

class DownloadToTrash : public Download {
protected:
  void SetUp() override {
    Download::SetUp();
    platform::userDefaults::setValue(QStringLiteral("BTUI_Delet_Window_Close"), true);
  }
  bool isOnPhone(const char* name) {
    const auto contents = sdk->contents(phone);
    return std::find(contents.begin(), contents.end(), name) != contents.end();
  }
};

} // namespace

TEST_F(DownloadToTrash, DraggingRowsToAnyTrashFolderDeletesThemOnThePhone) {
  for (const QString& trash :
       {QDir::homePath() + QStringLiteral("/.Trash"), QDir::homePath() + QStringLiteral("/.Trashs")}) {
    sdk->addFile(phone, QStringLiteral("waste"));
    connect();
    ASSERT_TRUE(isOnPhone("waste"));
    downloads().namesOfPromisedFilesDroppedAtDestination(trash, items({QStringLiteral("waste")}));
    ASSERT_TRUE(settle());
    EXPECT_FALSE(isOnPhone("waste"));
    EXPECT_FALSE(rows().contains(QStringLiteral("waste")));
    EXPECT_EQ(sdk->calls(Operation::GetFileEx), 0);
    EXPECT_FALSE(QFile::exists(trash));
  }
}

TEST_F(DownloadToTrash, TheDesktopsOwnTrashFolderDeletesToo) {
  const QString trash = qEnvironmentVariable("XDG_DATA_HOME", QDir::homePath() + QStringLiteral("/.local/share")) +
                        QStringLiteral("/Trash/files");
  downloads().namesOfPromisedFilesDroppedAtDestination(trash, items({QStringLiteral("readme.txt")}));
  ASSERT_TRUE(settle());
  EXPECT_FALSE(isOnPhone("readme.txt"));
  EXPECT_EQ(downloads().drapAndDropPath(), trash);
}

TEST_F(DownloadToTrash, AFolderDeeperDownMayHaveANameOfThePhonesOwn) {
  sdk->addFolder(sdk->child(phone, QStringLiteral("Empty")), QStringLiteral("DCIM"));
  doubleClick(QStringLiteral("Empty"));
  ASSERT_TRUE(settle());
  downloads().writeItems(items({QStringLiteral("DCIM")}));
  downloads().performDragOperationDelete();
  ASSERT_TRUE(settle());
  EXPECT_EQ(rows(), QStringList());
  EXPECT_TRUE(isOnPhone("DCIM/"));
}

TEST_F(DownloadToTrash, DraggingToAnyOtherFolderCopies) {
  ASSERT_TRUE(copy({QStringLiteral("readme.txt")}));
  EXPECT_TRUE(isOnPhone("readme.txt"));
  EXPECT_EQ(content("readme.txt"), "read me");
}

TEST_F(DownloadToTrash, TheDragsDeleteOperationDeletesWhatIsDragged) {
  downloads().writeItems(items({QStringLiteral("readme.txt"), QStringLiteral("Empty")}));
  outline().draggedImage(QPoint(), SOutlineView::kDragOperationDelete);
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->contents(phone), std::vector<std::string>{"DCIM/"});
  EXPECT_EQ(rows(), QStringList{QStringLiteral("DCIM")});
}

TEST_F(DownloadToTrash, DeletingIsConfirmedUnlessTheUserWantedNoMoreOfThat) {
  platform::userDefaults::setValue(QStringLiteral("BTUI_Delet_Window_Close"), false);
  SNoticeView& notice = *controller->layout()._noticeView;
  for (const bool confirmed : {false, true}) {
    downloads().writeItems(items({QStringLiteral("readme.txt")}));
    downloads().performDragOperationDelete();
    ASSERT_TRUE(waitUntil([&] { return notice.isAsking(); }));
    EXPECT_TRUE(isOnPhone("readme.txt"));
    notice.btn_Clicked(confirmed ? static_cast<QObject*>(notice.btnOK()) : notice.btnCancel());
    ASSERT_TRUE(settle());
    EXPECT_EQ(isOnPhone("readme.txt"), !confirmed);
  }
}

TEST_F(DownloadToTrash, ThePhonesOwnFoldersAreNotDeleted) {
  downloads().writeItems(items({QStringLiteral("readme.txt"), QStringLiteral("DCIM")}));
  downloads().performDragOperationDelete();
  ASSERT_TRUE(settle());
  EXPECT_TRUE(isOnPhone("DCIM/"));
  EXPECT_TRUE(isOnPhone("readme.txt"));
}
