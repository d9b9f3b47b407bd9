// Listing folders and files, and resolving paths and node identifiers.
#include "MTPCore/CapturedLog.h"
#include "MTPCore/FakeMtpSdk.h"
#include "MTPCore/MTPDextSDKWrapper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

using testing::ElementsAre;
using testing::IsEmpty;
using Operation = FakeMtpSdk::Operation;
using Handle = FakeMtpSdk::Handle;

namespace {

constexpr std::uint32_t Unsuccessful = 0x10000001;

std::string pointerText(const void* pointer) {
  return QString::asprintf("%p", pointer).toStdString();
}

std::vector<std::string> names(const std::optional<QList<MtpItemInfo>>& items) {
  std::vector<std::string> names;
  for (const MtpItemInfo& item : items.value_or(QList<MtpItemInfo>()))
    names.push_back(item.FileName.value_or("(none)").toStdString());
  return names;
}

// A phone "M" with an empty storage "Phone" and a storage "Card": DCIM/{Camera/, a.jpg, b.jpg}, Music/, readme.txt.
class MTPDextSDKWrapperListing : public testing::Test {
protected:
  void SetUp() override {
    wrapper.setLocationID("14200000", "/M/Card");
    _MTP_FOLDER_NODE* folder = nullptr;
    wrapper.initializeNodeInfo(nullptr, &cardNode, &folder);
    ASSERT_EQ(cardNode, sdk->storageNode(card));
    deviceNode = sdk->deviceNode(device);
    head = sdk->storageNode(phone);
  }

  std::shared_ptr<FakeMtpSdk> sdk = std::make_shared<FakeMtpSdk>();
  const Handle device = sdk->addDevice(0x14200000, "M");
  const Handle phone = sdk->addStorage(device, 0x00010001, "Phone");
  const Handle card = sdk->addStorage(device, 0x00020001, "Card");
  const Handle dcim = sdk->addFolder(card, "DCIM");
  const Handle camera = sdk->addFolder(dcim, "Camera");
  const Handle aJpg = sdk->addFile(dcim, "a.jpg", 1000, "20240229T101112.0");
  const Handle bJpg = sdk->addFile(dcim, "b.jpg", 5'000'000'000, "20230101T000000");
  const Handle music = sdk->addFolder(card, "Music");
  const Handle readme = sdk->addFile(card, "readme.txt", 1);

  MTPDextSDKWrapper wrapper{sdk};
  CapturedLog log;
  _MTP_DEVICE_NODE* deviceNode = nullptr;
  _MTP_STORAGE_NODE* cardNode = nullptr;
  _MTP_STORAGE_NODE* head = nullptr;

  _MTP_FOLDER_NODE* search(const QString& path, _MTP_STORAGE_NODE** storage) {
    return wrapper.searchFolder(deviceNode, &head, storage, path);
  }
};

} // namespace

// ---- Folders ----

TEST_F(MTPDextSDKWrapperListing, AFolderEntryTellsNodeNameAndPath) {
  const auto items = wrapper.getFoldersAtFolder(nullptr, cardNode, "/M/Card", false);
  ASSERT_THAT(names(items), ElementsAre("DCIM", "Music"));
  const MtpItemInfo& entry = items->first();
  EXPECT_EQ(entry.NodeID.toStdString(), pointerText(sdk->folderNode(dcim)).substr(2));
  EXPECT_EQ(entry.FilePath, QString("/M/Card/DCIM"));
  EXPECT_EQ(entry.FileLength, 0u);
  EXPECT_FALSE(entry.DateModify);
  EXPECT_EQ(entry.ObjectType, 3);
}

TEST_F(MTPDextSDKWrapperListing, AtAStoragesTopLevelTheParentEntryLeadsToTheRoot) {
  const auto items = wrapper.getFoldersAtFolder(nullptr, cardNode, "/M/Card", true);
  ASSERT_THAT(names(items), ElementsAre("..", "DCIM", "Music"));
  const MtpItemInfo& parent = items->first();
  EXPECT_EQ(parent.NodeID, "");
  EXPECT_EQ(parent.FilePath, QString("/M/Card"));
  EXPECT_EQ(parent.FileLength, 0u);
  EXPECT_EQ(parent.ObjectType, 4);
}

TEST_F(MTPDextSDKWrapperListing, InAFolderAtTheTopLevelTheParentEntryIsTheCurrentStorage) {
  const auto items = wrapper.getFoldersAtFolder(sdk->folderNode(dcim), cardNode, "/M/Card/DCIM", true);
  ASSERT_THAT(names(items), ElementsAre("..", "Camera"));
  EXPECT_EQ(items->first().NodeID, MTPDextSDKWrapper::nodeIDOf(cardNode));
  EXPECT_EQ(items->first().FilePath, QString("/M/Card"));
  EXPECT_EQ(items->first().ObjectType, 2);
}

TEST_F(MTPDextSDKWrapperListing, InAFolderOfAFolderTheParentEntryIsThatFolder) {
  const auto items = wrapper.getFoldersAtFolder(sdk->folderNode(camera), cardNode, "/M/Card/DCIM/Camera", true);
  ASSERT_THAT(names(items), ElementsAre(".."));
  EXPECT_EQ(items->first().NodeID, MTPDextSDKWrapper::nodeIDOf(sdk->folderNode(dcim)));
  EXPECT_EQ(items->first().FilePath, QString("/M/Card/DCIM"));
  EXPECT_EQ(items->first().ObjectType, 3);
}

TEST_F(MTPDextSDKWrapperListing, AParentOfAnyOtherKindGivesNoParentEntry) {
  // The current storage's list was released behind the wrapper's back: what it kept is no node any more.
  const Handle onPhone = sdk->addFolder(phone, "Movies");
  sdk->rename(card, "Card");
  EXPECT_THAT(names(wrapper.getFoldersAtFolder(sdk->folderNode(onPhone), head, "/M/Phone/Movies", true)), IsEmpty());
}

TEST_F(MTPDextSDKWrapperListing, TheListingOfAnEmptyFolderIsAnEmptyArrayAndItsFilesAreNothing) {
  const auto folders = wrapper.getFoldersAtFolder(sdk->folderNode(music), cardNode, "/M/Card/Music", false);
  ASSERT_TRUE(folders);
  EXPECT_TRUE(folders->isEmpty());
  EXPECT_FALSE(wrapper.contentsOfFileInfo(sdk->commonNode(music), "/M/Card/Music"));
  const auto all = wrapper.getFilesAtFolder(sdk->folderNode(music), cardNode, "/M/Card/Music");
  ASSERT_TRUE(all);
  EXPECT_TRUE(all->isEmpty());
}

TEST_F(MTPDextSDKWrapperListing, AFailingStepKeepsTheFoldersListedSoFarAndIsLogged) {
  sdk->setStatusAt(Operation::GetNextSiblingFolderNode, 1, 0x13100000);
  EXPECT_THAT(names(wrapper.getFoldersAtFolder(nullptr, cardNode, "/M/Card", false)), ElementsAre("DCIM"));
  EXPECT_TRUE(log.has("mtpDextGetNextSiblingFolderNode is failed. Current Folder Node = " +
                      pointerText(sdk->folderNode(dcim)) + ", status = DGSTATUS_INTERNAL_GENERALERROR  0x13100000"));
}

TEST_F(MTPDextSDKWrapperListing, AFailingFolderHeadGivesAnEmptyArrayAndIsLogged) {
  sdk->setStatus(Operation::GetFolderListHead, 0x13100000);
  const auto folders = wrapper.getFoldersAtFolder(nullptr, cardNode, "/M/Card", false);
  ASSERT_TRUE(folders);
  EXPECT_TRUE(folders->isEmpty());
  EXPECT_TRUE(log.has("mtpDextGetFolderListHead is failed. Current Folder Node = " + pointerText(nullptr) +
                      ", status = DGSTATUS_INTERNAL_GENERALERROR  0x13100000"));
}

TEST_F(MTPDextSDKWrapperListing, DetachingDuringAFolderWalkDropsWhatWasCollected) {
  sdk->setHook(Operation::GetNextSiblingFolderNode, [&] { wrapper.setIsDetached(true); });
  EXPECT_FALSE(wrapper.getFoldersAtFolder(nullptr, cardNode, "/M/Card", false));
}

// ---- Files ----

TEST_F(MTPDextSDKWrapperListing, AFileEntryTellsLengthAndDateAsThePhoneSentThem) {
  const auto items = wrapper.contentsOfFileInfo(sdk->commonNode(dcim), "/M/Card/DCIM");
  ASSERT_THAT(names(items), ElementsAre("a.jpg", "b.jpg"));
  const MtpItemInfo& entry = items->last();
  EXPECT_EQ(entry.NodeID, MTPDextSDKWrapper::nodeIDOf(sdk->fileNode(bJpg)));
  EXPECT_EQ(entry.FilePath, QString("/M/Card/DCIM/b.jpg"));
  EXPECT_EQ(entry.FileLength, 5'000'000'000u);
  EXPECT_EQ(entry.DateModify, QString("20230101T000000"));
  EXPECT_EQ(entry.ObjectType, 4);
  EXPECT_EQ(items->first().DateModify, QString("20240229T101112.0"));
}

TEST_F(MTPDextSDKWrapperListing, FoldersComeBeforeFiles) {
  EXPECT_THAT(names(wrapper.getFilesAtFolder(sdk->folderNode(dcim), cardNode, "/M/Card/DCIM")),
              ElementsAre("Camera", "a.jpg", "b.jpg"));
}

TEST_F(MTPDextSDKWrapperListing, WithoutAFolderTheStoragesTopLevelIsListedWithoutAParentEntry) {
  EXPECT_THAT(names(wrapper.getFilesAtFolder(nullptr, cardNode, "/M/Card")),
              ElementsAre("DCIM", "Music", "readme.txt"));
}

TEST_F(MTPDextSDKWrapperListing, DetachingDuringAFileWalkKeepsWhatWasCollected) {
  sdk->setHook(Operation::GetFileListHead, [&] { wrapper.setIsDetached(true); });
  EXPECT_THAT(names(wrapper.getFilesAtFolder(sdk->folderNode(dcim), cardNode, "/M/Card/DCIM")),
              ElementsAre("Camera", "a.jpg"));
}

TEST_F(MTPDextSDKWrapperListing, AFailingFileHeadGivesNothingAndIsLogged) {
  sdk->setStatus(Operation::GetFileListHead, 0x13100000);
  EXPECT_FALSE(wrapper.contentsOfFileInfo(sdk->commonNode(dcim), "/M/Card/DCIM"));
  EXPECT_TRUE(log.has("mtpDextGetFileListHead is failed. Common Node = " + pointerText(sdk->commonNode(dcim)) +
                      ", status = DGSTATUS_INTERNAL_GENERALERROR  0x13100000"));
}

TEST_F(MTPDextSDKWrapperListing, AFailingFileStepIsLoggedAndEndsTheList) {
  sdk->setStatusAt(Operation::GetNextFileNode, 1, 0x13100000);
  EXPECT_THAT(names(wrapper.contentsOfFileInfo(sdk->commonNode(dcim), "/M/Card/DCIM")), ElementsAre("a.jpg"));
  EXPECT_TRUE(log.has("mtpDextGetNextFileNode is failed. Current File Node = " + pointerText(sdk->fileNode(aJpg)) +
                      ", status = DGSTATUS_INTERNAL_GENERALERROR  0x13100000"));
}

TEST_F(MTPDextSDKWrapperListing, AListThatBreaksOffSaysWithWhichStatus) {
  const auto failure = [this] {
    std::uint32_t status = 1;
    EXPECT_TRUE(wrapper.getFilesAtFolder(sdk->folderNode(dcim), cardNode, "/M/Card/DCIM", &status));
    return status;
  };
  EXPECT_EQ(failure(), 0u);
  for (const Operation operation : {Operation::GetFolderListHead, Operation::GetNextSiblingFolderNode,
                                    Operation::GetFileListHead, Operation::GetNextFileNode}) {
    sdk->setStatusAt(operation, 1, 0x13100000);
    EXPECT_EQ(failure(), 0x13100000u) << int(operation);
    EXPECT_EQ(failure(), 0u) << int(operation);
  }
}

TEST_F(MTPDextSDKWrapperListing, StatusTwoAtTheEndOfAFolderOrFileListIsNotReportedAsAFailure) {
  EXPECT_THAT(names(wrapper.getFilesAtFolder(sdk->folderNode(dcim), cardNode, "/M/Card/DCIM")),
              ElementsAre("Camera", "a.jpg", "b.jpg"));
  EXPECT_TRUE(wrapper.getFoldersAtFolder(sdk->folderNode(music), cardNode, "/M/Card/Music", false));
  wrapper.contentsOfFileInfo(sdk->commonNode(music), "/M/Card/Music");
  EXPECT_FALSE(log.hasPart("failed"));

  _MTP_FOLDER_NODE* folder = nullptr;
  EXPECT_EQ(wrapper.getMTPNextFolder(sdk->folderNode(music), &folder), 2u);
  _MTP_FILE_NODE* file = nullptr;
  EXPECT_EQ(wrapper.getMTPNextFile(sdk->fileNode(bJpg), &file), 2u);
  EXPECT_EQ(wrapper.getMTPFileListHead(sdk->commonNode(music), &file, nullptr, nullptr), 2u);
  EXPECT_FALSE(log.hasPart("failed"));
}

TEST_F(MTPDextSDKWrapperListing, ANullNextNodeEndsAListAsWell) {
  sdk->setListEnd(Operation::GetNextSiblingFolderNode, 0);
  sdk->setListEnd(Operation::GetNextFileNode, 0);
  EXPECT_THAT(names(wrapper.getFilesAtFolder(sdk->folderNode(dcim), cardNode, "/M/Card/DCIM")),
              ElementsAre("Camera", "a.jpg", "b.jpg"));
}

TEST_F(MTPDextSDKWrapperListing, StatusesOneAndThreeOfAStepAreLogged) {
  _MTP_FOLDER_NODE* folder = nullptr;
  for (const std::uint32_t status : {1u, 3u}) {
    sdk->setStatus(Operation::GetNextSiblingFolderNode, status);
    EXPECT_EQ(wrapper.getMTPNextFolder(sdk->folderNode(dcim), &folder), status);
  }
  EXPECT_EQ(log.messages().size(), 2u);
}

// ---- Names ----

TEST_F(MTPDextSDKWrapperListing, ANodeWithoutANamePointerIsListedWithoutAName) {
  sdk->setNullName(camera);
  sdk->setNullName(aJpg);
  const auto items = wrapper.getFilesAtFolder(sdk->folderNode(dcim), cardNode, "/M/Card/DCIM");
  ASSERT_THAT(names(items), ElementsAre("(none)", "(none)", "b.jpg"));
  EXPECT_EQ(items->at(0).FilePath, QString("/M/Card/DCIM"));
  EXPECT_EQ(items->at(1).FilePath, QString("/M/Card/DCIM"));
  EXPECT_EQ(items->at(1).FileLength, 1000u);
}

TEST_F(MTPDextSDKWrapperListing, ANameEndsAtItsFirstZeroUnitAndAtItsRecordedSize) {
  using namespace std::string_literals;
  sdk->setRawName(aJpg, u"a\0hidden"s, 9);
  sdk->setRawName(bJpg, u"b.jpg", 3);
  EXPECT_THAT(names(wrapper.contentsOfFileInfo(sdk->commonNode(dcim), "/M/Card/DCIM")), ElementsAre("a", "b.j"));
}

TEST_F(MTPDextSDKWrapperListing, AnEmptyNameIsAName) {
  sdk->setRawName(aJpg, u"a", 0);
  const auto items = wrapper.contentsOfFileInfo(sdk->commonNode(dcim), "/p");
  ASSERT_TRUE(items);
  EXPECT_EQ(items->first().FileName, QString(""));
  EXPECT_EQ(items->first().FilePath, QString("/p/"));
}

TEST_F(MTPDextSDKWrapperListing, NamesOfAnyKindComeThroughUnchanged) {
  const QString strange = QString::fromUtf8("\u202Egpj.\n\t📷 é/%s");
  sdk->rename(aJpg, strange);
  sdk->rename(bJpg, QString(10'000, u'x'));
  const auto items = wrapper.contentsOfFileInfo(sdk->commonNode(dcim), "/p");
  ASSERT_TRUE(items);
  EXPECT_EQ(items->first().FileName, strange);
  EXPECT_EQ(items->last().FileName->size(), 10'000);
}

TEST_F(MTPDextSDKWrapperListing, WithoutAFolderPathThereIsNoFilePath) {
  const auto items = wrapper.getFilesAtFolder(sdk->folderNode(dcim), cardNode, QString());
  ASSERT_TRUE(items);
  for (const MtpItemInfo& item : *items)
    EXPECT_FALSE(item.FilePath);
  EXPECT_FALSE(wrapper.getFoldersAtFolder(sdk->folderNode(camera), cardNode, QString(), true)->first().FilePath);
}

TEST_F(MTPDextSDKWrapperListing, ADateIsTakenWithExactlyTheRecordedUnitsAndIsAbsentWithoutAPointer) {
  const Handle zeros = sdk->addFile(music, "z", 0, QStringView(u"2024\0T", 6).toString());
  EXPECT_EQ(wrapper.getFileNodeInfo(sdk->fileNode(zeros), "/p")->DateModify->size(), 6);
  sdk->setNullDate(zeros);
  EXPECT_FALSE(wrapper.getFileNodeInfo(sdk->fileNode(zeros), "/p")->DateModify);
  const Handle empty = sdk->addFile(music, "e", 0, "");
  EXPECT_EQ(wrapper.getFileNodeInfo(sdk->fileNode(empty), "/p")->DateModify, QString(""));
}

TEST_F(MTPDextSDKWrapperListing, TheLengthOfATextStopsAtZeroAndAtTheSize) {
  const char16_t text[] = u"ab\0cd";
  EXPECT_EQ(MTPDextSDKWrapper::wildcharLength(text, 5), 2u);
  EXPECT_EQ(MTPDextSDKWrapper::wildcharLength(text, 1), 1u);
  EXPECT_EQ(MTPDextSDKWrapper::wildcharLength(text, 0), 0u);
  EXPECT_EQ(MTPDextSDKWrapper::wildcharLength(nullptr, 0xFFFFFFFF), 0u);
  EXPECT_FALSE(MTPDextSDKWrapper::getLabelFromMtpString(nullptr, 0xFFFFFFFF));
}

TEST_F(MTPDextSDKWrapperListing, OneNodeIsDescribedAsItsListDescribesIt) {
  const auto file = wrapper.getFileNodeInfo(sdk->fileNode(aJpg), "/p");
  ASSERT_TRUE(file);
  EXPECT_EQ(file->FileName, QString("a.jpg"));
  EXPECT_EQ(file->FilePath, QString("/p/a.jpg"));
  const auto folder = wrapper.getFolderNodeInfo(sdk->folderNode(dcim), "/p");
  ASSERT_TRUE(folder);
  EXPECT_EQ(folder->FileName, QString("DCIM"));
  EXPECT_EQ(folder->ObjectType, 3);
  EXPECT_FALSE(wrapper.getFileNodeInfo(nullptr, "/p"));
  EXPECT_FALSE(wrapper.getFolderNodeInfo(nullptr, "/p"));
}

// ---- Broken lists ----

TEST_F(MTPDextSDKWrapperListing, AFolderThatIsItsOwnNextIsListedOnce) {
  sdk->setNext(dcim, dcim);
  EXPECT_THAT(names(wrapper.getFoldersAtFolder(nullptr, cardNode, "/M/Card", false)), ElementsAre("DCIM"));
  EXPECT_TRUE(log.hasPart("has no end"));
}

TEST_F(MTPDextSDKWrapperListing, AFileListThatComesBackToItsHeadIsListedOnce) {
  sdk->setNext(bJpg, aJpg);
  EXPECT_THAT(names(wrapper.contentsOfFileInfo(sdk->commonNode(dcim), "/p")), ElementsAre("a.jpg", "b.jpg"));
}

TEST_F(MTPDextSDKWrapperListing, AFileListThatComesBackToItsMiddleEnds) {
  Handle last = bJpg;
  for (int i = 0; i < 3000; ++i)
    last = sdk->addFile(dcim, QString::number(i));
  sdk->setNext(last, bJpg);
  const auto items = wrapper.contentsOfFileInfo(sdk->commonNode(dcim), "/p");
  ASSERT_TRUE(items);
  EXPECT_GE(items->size(), 3002);
  EXPECT_LT(items->size(), 5 * 3002);
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(dcim), "nowhere"), nullptr);
}

TEST_F(MTPDextSDKWrapperListing, ALongSoundListIsListedWhole) {
  for (int i = 0; i < 20'000; ++i)
    sdk->addFile(music, QString::number(i));
  const auto items = wrapper.contentsOfFileInfo(sdk->commonNode(music), "/p");
  ASSERT_TRUE(items);
  EXPECT_EQ(items->size(), 20'000);
  EXPECT_EQ(items->last().FileName, QString("19999"));
  EXPECT_EQ(sdk->calls(Operation::GetModelName), 2); // of the fixture; none an entry
}

// ---- Stale nodes ----

TEST_F(MTPDextSDKWrapperListing, NodesThatTheSdkHasForgottenAreAnsweredLikeMissingOnes) {
  _MTP_FOLDER_NODE* const folder = sdk->folderNode(dcim);
  _MTP_FILE_NODE* const file = sdk->fileNode(aJpg);
  const QString folderID = MTPDextSDKWrapper::nodeIDOf(folder);
  sdk->remove(dcim);
  EXPECT_EQ(wrapper.nodeKind(folder), 0);
  EXPECT_FALSE(wrapper.getFolderNodeInfo(folder, "/p"));
  EXPECT_FALSE(wrapper.getFileNodeInfo(file, "/p"));
  EXPECT_EQ(wrapper.getCommonNodeFromNodeID(folderID), nullptr);
  EXPECT_FALSE(wrapper.contentsOfFileInfo(reinterpret_cast<_MTP_COMMON_NODE*>(folder), "/p"));
  EXPECT_TRUE(wrapper.getFoldersAtFolder(folder, cardNode, "/p", false)->isEmpty());
  EXPECT_FALSE(wrapper.checkNodeExist(reinterpret_cast<_MTP_COMMON_NODE*>(folder)));
  EXPECT_EQ(wrapper.getParentFolderNode(folder), nullptr);
}

TEST_F(MTPDextSDKWrapperListing, AFolderIsNoFileAndAFileIsNoFolder) {
  EXPECT_FALSE(wrapper.getFileNodeInfo(reinterpret_cast<_MTP_FILE_NODE*>(sdk->folderNode(dcim)), "/p"));
  EXPECT_FALSE(wrapper.getFolderNodeInfo(reinterpret_cast<_MTP_FOLDER_NODE*>(sdk->fileNode(aJpg)), "/p"));
}

TEST_F(MTPDextSDKWrapperListing, ANodeForgottenInTheMiddleOfAWalkEndsTheListAndIsReadableToTheEnd) {
  sdk->setHook(Operation::GetNextFileNode, [&] { sdk->rename(aJpg, "renamed"); });
  EXPECT_THAT(names(wrapper.contentsOfFileInfo(sdk->commonNode(dcim), "/p")), ElementsAre("a.jpg"));
  EXPECT_EQ(sdk->holds(), 0);
}

TEST_F(MTPDextSDKWrapperListing, ANodeForgottenRightAfterItWasCheckedIsStillReadWhole) {
  const auto forgetAllOnce = [&] {
    sdk->setHook(Operation::GetNodeKind, {});
    sdk->releaseDeviceList(sdk->deviceNode(device));
  };
  _MTP_FILE_NODE* const file = sdk->fileNode(aJpg);
  sdk->setHook(Operation::GetNodeKind, forgetAllOnce);
  EXPECT_EQ(wrapper.getFileNodeInfo(file, "/p")->FileName, QString("a.jpg"));
  _MTP_FOLDER_NODE* const folder = sdk->folderNode(dcim);
  sdk->setHook(Operation::GetNodeKind, forgetAllOnce);
  EXPECT_EQ(wrapper.getFolderNodeInfo(folder, "/p")->FileName, QString("DCIM"));
  _MTP_COMMON_NODE* const parent = sdk->commonNode(dcim);
  sdk->setHook(Operation::GetNodeKind, forgetAllOnce);
  EXPECT_THAT(names(wrapper.contentsOfFileInfo(parent, "/p")), ElementsAre("a.jpg"));
  sdk->setHook(Operation::GetNodeKind, forgetAllOnce);
  EXPECT_THAT(names(wrapper.getFoldersAtFolder(nullptr, sdk->storageNode(card), "/p", false)), ElementsAre("DCIM"));
  _MTP_STORAGE_NODE* first = sdk->storageNode(phone);
  sdk->setHook(Operation::GetNodeKind, forgetAllOnce);
  EXPECT_EQ(wrapper.getStorageNode(deviceNode, &first, "Phone"), first);
}

TEST_F(MTPDextSDKWrapperListing, AListForgottenBeforeItsFirstNodeIsReadIsEmpty) {
  const auto forgetAllOnce = [&] {
    sdk->setHook(Operation::HoldNodes, {});
    sdk->releaseDeviceList(sdk->deviceNode(device));
  };
  _MTP_COMMON_NODE* const parent = sdk->commonNode(dcim);
  sdk->setHook(Operation::HoldNodes, forgetAllOnce);
  EXPECT_THAT(names(wrapper.contentsOfFileInfo(parent, "/p")), IsEmpty());
  sdk->setHook(Operation::HoldNodes, forgetAllOnce);
  EXPECT_THAT(names(wrapper.getFoldersAtFolder(nullptr, sdk->storageNode(card), "/p", false)), IsEmpty());
  _MTP_STORAGE_NODE* first = sdk->storageNode(phone);
  sdk->setHook(Operation::HoldNodes, forgetAllOnce);
  EXPECT_EQ(wrapper.getStorageNode(deviceNode, &first, "Phone"), nullptr);
  _MTP_FILE_NODE* const file = sdk->fileNode(aJpg);
  sdk->setHook(Operation::HoldNodes, forgetAllOnce);
  EXPECT_FALSE(wrapper.getFileNodeInfo(file, "/p"));
}

// ---- Node identifiers ----

TEST_F(MTPDextSDKWrapperListing, ANodeIdentifierIsReadBackWithAndWithoutPrefixInAnyCase) {
  _MTP_COMMON_NODE* const node = sdk->commonNode(dcim);
  const QString text = MTPDextSDKWrapper::nodeIDOf(node);
  EXPECT_EQ(wrapper.getCommonNodeFromNodeID(text), node);
  EXPECT_EQ(wrapper.getCommonNodeFromNodeID("0x" + text), node);
  EXPECT_EQ(wrapper.getCommonNodeFromNodeID(text.toUpper()), node);
  EXPECT_EQ(wrapper.nodeKind(node), MTPDEXT_NODE_FOLDER);
}

TEST_F(MTPDextSDKWrapperListing, TextsOfAnyOtherKindNameNoNode) {
  const QString text = MTPDextSDKWrapper::nodeIDOf(sdk->commonNode(dcim));
  for (const QString& bad :
       {QString(), QString(""), QString("zz"), QString("0"), QString("1"), QString("0x"), QString("ffffffffffffffffff"),
        QString("deadbeef"), text + "1", " " + text, text + "z", QString(1'000'000, u'f')})
    EXPECT_EQ(wrapper.getCommonNodeFromNodeID(bad), nullptr) << bad.left(40).toStdString();
}

TEST_F(MTPDextSDKWrapperListing, AnAddressInsideARecordNamesNoNode) {
  const auto* const inside = reinterpret_cast<const char*>(sdk->commonNode(dcim)) + 4;
  EXPECT_EQ(wrapper.getCommonNodeFromNodeID(MTPDextSDKWrapper::nodeIDOf(inside)), nullptr);
}

TEST_F(MTPDextSDKWrapperListing, AFileIsFoundByItsIdentifierAndAFolderIsNone) {
  EXPECT_EQ(wrapper.getFileNodeFromNodeID(MTPDextSDKWrapper::nodeIDOf(sdk->fileNode(aJpg)), nullptr, nullptr, "x"),
            sdk->fileNode(aJpg));
  EXPECT_EQ(wrapper.getFileNodeFromNodeID(MTPDextSDKWrapper::nodeIDOf(sdk->folderNode(dcim))), nullptr);
  EXPECT_EQ(wrapper.getFileNodeFromNodeID(QString()), nullptr);
}

TEST_F(MTPDextSDKWrapperListing, ANodeExistsWhileThePhoneHasIt) {
  EXPECT_TRUE(wrapper.checkNodeExist(sdk->commonNode(aJpg)));
  EXPECT_FALSE(wrapper.checkNodeExist(nullptr));
  sdk->setStatus(Operation::LibIsExist, 0);
  EXPECT_FALSE(wrapper.checkNodeExist(sdk->commonNode(aJpg)));
}

// ---- Paths ----

TEST_F(MTPDextSDKWrapperListing, TheNameOfAFileBehindAFolderResolvesToTheFolder) {
  _MTP_STORAGE_NODE* storage = nullptr;
  EXPECT_EQ(search("/M/Card/DCIM/x.jpg", &storage), sdk->folderNode(dcim));
  EXPECT_EQ(storage, cardNode);
}

TEST_F(MTPDextSDKWrapperListing, APathThatNamesAStorageResolvesToNullWithTheStorageWritten) {
  _MTP_STORAGE_NODE* storage = nullptr;
  EXPECT_EQ(search("/M/Card", &storage), nullptr);
  EXPECT_EQ(storage, cardNode);
}

TEST_F(MTPDextSDKWrapperListing, APathWithAnUnknownStorageLeavesTheStorageUntouched) {
  auto* storage = reinterpret_cast<_MTP_STORAGE_NODE*>(0x10);
  EXPECT_EQ(search("/M/Tablet/DCIM", &storage), nullptr);
  EXPECT_EQ(storage, reinterpret_cast<_MTP_STORAGE_NODE*>(0x10));
  EXPECT_TRUE(log.has("getStorageNode is failed."));
}

TEST_F(MTPDextSDKWrapperListing, CaseIsIgnoredAtEveryLevel) {
  _MTP_STORAGE_NODE* storage = nullptr;
  EXPECT_EQ(search("/m/card/dcim", &storage), sdk->folderNode(dcim));
  EXPECT_EQ(search("/M/CARD/dcim/CAMERA", &storage), sdk->folderNode(camera));
}

TEST_F(MTPDextSDKWrapperListing, APathWithoutTheModelResolvesLikeTheFullOne) {
  _MTP_STORAGE_NODE* storage = nullptr;
  EXPECT_EQ(search("/Card/DCIM", &storage), sdk->folderNode(dcim));
  EXPECT_EQ(search("Card", &storage), nullptr);
  EXPECT_EQ(storage, cardNode);
}

TEST_F(MTPDextSDKWrapperListing, BehindAMissingFolderTheNextNameIsSoughtAtTheTopLevel) {
  _MTP_STORAGE_NODE* storage = nullptr;
  EXPECT_EQ(search("/M/Card/DCIM/missing/Music", &storage), sdk->folderNode(music));
  EXPECT_EQ(search("/M/Card/DCIM/missing/Camera", &storage), sdk->folderNode(dcim));
}

TEST_F(MTPDextSDKWrapperListing, TheModelNameIsConsumedOnce) {
  const Handle named = sdk->addFolder(card, "M");
  _MTP_STORAGE_NODE* storage = nullptr;
  EXPECT_EQ(search("/M/Card/M", &storage), sdk->folderNode(named));
  EXPECT_EQ(search("/Card/M", &storage), nullptr); // not matched before: here it still counts as the model
}

TEST_F(MTPDextSDKWrapperListing, WithoutAModelNameAPathResolvesToNothing) {
  sdk->setStatus(Operation::GetModelName, 0x13100000);
  _MTP_STORAGE_NODE* storage = nullptr;
  EXPECT_EQ(search("/M/Card/DCIM", &storage), nullptr);
  EXPECT_TRUE(log.has("Get model name is failed."));
}

TEST_F(MTPDextSDKWrapperListing, TheRootPathIsResolvedToItsStorageAndFolder) {
  wrapper.setLocationID("14200000", "/M/Card/DCIM");
  _MTP_STORAGE_NODE* storage = nullptr;
  _MTP_FOLDER_NODE* folder = nullptr;
  wrapper.initializeNodeInfo(nullptr, &storage, &folder);
  EXPECT_EQ(storage, cardNode);
  EXPECT_EQ(folder, sdk->folderNode(dcim));
  EXPECT_EQ(wrapper.getCurrentStorageNode(), cardNode);
  EXPECT_EQ(wrapper.getStorageHeadNode(), sdk->storageNode(phone));
}

TEST_F(MTPDextSDKWrapperListing, ARootPathOfAnUnknownStorageLeavesNoCurrentStorage) {
  wrapper.setLocationID("14200000", "/M/Tablet");
  auto* storage = reinterpret_cast<_MTP_STORAGE_NODE*>(0x10);
  auto* folder = reinterpret_cast<_MTP_FOLDER_NODE*>(0x10);
  wrapper.initializeNodeInfo(nullptr, &storage, &folder);
  EXPECT_EQ(storage, nullptr);
  EXPECT_EQ(folder, nullptr);
  EXPECT_EQ(wrapper.getCurrentStorageNode(), nullptr);
}

TEST_F(MTPDextSDKWrapperListing, AChildFolderIsFoundByNameIgnoringCase) {
  EXPECT_EQ(wrapper.getFolderNode("music", cardNode, nullptr), sdk->folderNode(music));
  EXPECT_EQ(wrapper.getFolderNode("CAMERA", cardNode, sdk->folderNode(dcim)), sdk->folderNode(camera));
  EXPECT_EQ(wrapper.getFolderNode("Camera", cardNode, nullptr), nullptr);
  EXPECT_EQ(wrapper.getFolderNode("a.jpg", cardNode, sdk->folderNode(dcim)), nullptr);
}

TEST_F(MTPDextSDKWrapperListing, AFolderIsFoundByItsRelativePath) {
  EXPECT_EQ(wrapper.getFolderNode("DCIM/camera", cardNode, nullptr), sdk->folderNode(camera));
  EXPECT_EQ(wrapper.getFolderNode("Camera", cardNode, sdk->folderNode(dcim)), sdk->folderNode(camera));
  EXPECT_EQ(wrapper.getFolderNode("Gone/Music", cardNode, nullptr), nullptr);
  EXPECT_EQ(wrapper.getFolderNode("", cardNode, nullptr), nullptr);
}

TEST_F(MTPDextSDKWrapperListing, ANodeOfExactlyTheWantedNameComesBeforeOneOfAnotherCase) {
  const Handle upper = sdk->addFile(dcim, "A.JPG");
  const Handle lower = sdk->addFolder(card, "dcim");
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(dcim), "A.JPG"), sdk->fileNode(upper));
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(dcim), "A.jpg"), sdk->fileNode(aJpg));
  EXPECT_EQ(wrapper.getFolderNode("dcim", cardNode, nullptr), sdk->folderNode(lower));
  EXPECT_EQ(wrapper.getFolderNode("Dcim", cardNode, nullptr), sdk->folderNode(dcim));
}

TEST_F(MTPDextSDKWrapperListing, ANameIsFoundHoweverItsAccentsAreSpelled) {
  const Handle folder = sdk->addFolder(card, QString::fromUtf8("\u00C9t\u00E9"));
  EXPECT_EQ(wrapper.getFolderNode(QString::fromUtf8("e\u0301te\u0301"), cardNode, nullptr), sdk->folderNode(folder));
}

TEST_F(MTPDextSDKWrapperListing, AFileIsFoundByNameIgnoringCase) {
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(dcim), "B.JPG"), sdk->fileNode(bJpg));
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(card), "README.txt"), sdk->fileNode(readme));
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(dcim), "c.jpg"), nullptr);
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(music), "a.jpg"), nullptr);
}

TEST_F(MTPDextSDKWrapperListing, ASearchForAFileFailsWithTheListAndWithAStep) {
  sdk->setStatusAt(Operation::GetFileListHead, 1, 0x13100000);
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(dcim), "a.jpg"), nullptr);
  sdk->setStatusAt(Operation::GetNextFileNode, 1, 0x13100000);
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(dcim), "b.jpg"), nullptr);
  sdk->setStatusAt(Operation::GetNextSiblingFolderNode, 1, 0x13100000);
  EXPECT_EQ(wrapper.getFolderNode("Music", cardNode, nullptr), nullptr);
}

namespace {

// An SDK whose file operations answer a status and hand out a node with it.
class NodesWithStatusSdk : public FakeMtpSdk {
public:
  std::uint32_t headStatus = 0;
  std::uint32_t stepStatus = 0;

  std::uint32_t getFileListHead(_MTP_COMMON_NODE* parent, _MTP_FILE_NODE** head, mtpDextProgressCallback callback,
                                void* context) override {
    const std::uint32_t status = FakeMtpSdk::getFileListHead(parent, head, callback, context);
    return status == 0 ? headStatus : status;
  }
  std::uint32_t getNextFileNode(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next) override {
    const std::uint32_t status = FakeMtpSdk::getNextFileNode(file, next);
    return status == 0 ? stepStatus : status;
  }
};

} // namespace

TEST(MTPDextSDKWrapperNodesWithStatus, AFileIsSoughtBehindAHeadOfStatusZeroOr0x10000014Only) {
  const CapturedLog log;
  const auto sdk = std::make_shared<NodesWithStatusSdk>();
  const Handle folder = sdk->addFolder(sdk->addStorage(sdk->addDevice(1, "M"), 0x00010001, "Phone"), "DCIM");
  const Handle file = sdk->addFile(folder, "a.jpg");
  MTPDextSDKWrapper wrapper(sdk);
  for (const std::uint32_t status : {0u, 0x10000014u}) {
    sdk->headStatus = status;
    EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(folder), "a.jpg"), sdk->fileNode(file)) << status;
  }
  for (const std::uint32_t status : {1u, 2u, 0x10000004u, 0x13100000u}) {
    sdk->headStatus = status;
    EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(folder), "a.jpg"), nullptr) << status;
  }
}

TEST(MTPDextSDKWrapperNodesWithStatus, AFailedStepThatGivesAFileEndsASearchButNoListing) {
  const CapturedLog log;
  const auto sdk = std::make_shared<NodesWithStatusSdk>();
  const Handle folder = sdk->addFolder(sdk->addStorage(sdk->addDevice(1, "M"), 0x00010001, "Phone"), "DCIM");
  const Handle first = sdk->addFile(folder, "a.jpg");
  sdk->addFile(folder, "b.jpg");
  MTPDextSDKWrapper wrapper(sdk);
  sdk->stepStatus = 0x13100000;
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(folder), "a.jpg"), sdk->fileNode(first));
  EXPECT_EQ(wrapper.getFileNode(sdk->commonNode(folder), "b.jpg"), nullptr);
  EXPECT_THAT(names(wrapper.contentsOfFileInfo(sdk->commonNode(folder), "/p")), ElementsAre("a.jpg", "b.jpg"));
}

TEST_F(MTPDextSDKWrapperListing, TheParentOfATopLevelFolderIsTheCurrentStorageAndOfAnErrorNone) {
  EXPECT_EQ(wrapper.getParentFolderNode(sdk->folderNode(camera)), sdk->commonNode(dcim));
  EXPECT_EQ(wrapper.getParentFolderNode(sdk->folderNode(dcim)), sdk->commonNode(card));
  EXPECT_EQ(wrapper.getParentFolderNode(nullptr), nullptr);
  sdk->setStatus(Operation::GetParentFolderNode, 0x13100000);
  EXPECT_EQ(wrapper.getParentFolderNode(sdk->folderNode(camera)), nullptr);
}

// ---- Detached ----

TEST_F(MTPDextSDKWrapperListing, ADetachedWrapperListsNothing) {
  _MTP_COMMON_NODE* const node = sdk->commonNode(dcim);
  _MTP_FOLDER_NODE* const folder = sdk->folderNode(dcim);
  _MTP_FILE_NODE* const file = sdk->fileNode(aJpg);
  wrapper.setIsDetached(true);
  const int listings = sdk->calls(Operation::GetFolderListHead) + sdk->calls(Operation::GetFileListHead);

  EXPECT_FALSE(wrapper.getFoldersAtFolder(nullptr, cardNode, "/M/Card", true));
  EXPECT_FALSE(wrapper.getFilesAtFolder(nullptr, cardNode, "/M/Card"));
  EXPECT_FALSE(wrapper.contentsOfFileInfo(node, "/M/Card/DCIM"));
  EXPECT_FALSE(wrapper.getFileNodeInfo(file, "/p"));
  EXPECT_FALSE(wrapper.getFolderNodeInfo(folder, "/p"));
  auto* storage = reinterpret_cast<_MTP_STORAGE_NODE*>(0x10);
  EXPECT_EQ(search("/M/Card/DCIM", &storage), nullptr);
  _MTP_FOLDER_NODE* found = nullptr;
  wrapper.initializeNodeInfo(nullptr, &storage, &found);
  EXPECT_EQ(storage, nullptr);
  EXPECT_EQ(wrapper.getFolderNode("DCIM", cardNode, nullptr), nullptr);
  EXPECT_EQ(wrapper.getFileNode(node, "a.jpg"), nullptr);
  EXPECT_EQ(wrapper.getParentFolderNode(folder), nullptr);
  EXPECT_FALSE(wrapper.checkNodeExist(node));
  EXPECT_EQ(wrapper.getCommonNodeFromNodeID(MTPDextSDKWrapper::nodeIDOf(node)), nullptr);
  EXPECT_EQ(wrapper.getFileNodeFromNodeID(MTPDextSDKWrapper::nodeIDOf(file)), nullptr);
  EXPECT_EQ(sdk->calls(Operation::GetFolderListHead) + sdk->calls(Operation::GetFileListHead), listings);
}

TEST_F(MTPDextSDKWrapperListing, WhenDetachedFolderStepsFailAndFileStepsAreSimplyEmpty) {
  _MTP_COMMON_NODE* const node = sdk->commonNode(dcim);
  _MTP_FOLDER_NODE* const folder = sdk->folderNode(dcim);
  _MTP_FILE_NODE* const file = sdk->fileNode(aJpg);
  wrapper.setIsDetached(true);
  auto* nextFolder = folder;
  EXPECT_EQ(wrapper.getMTPFolderListHead(nullptr, cardNode, &nextFolder, nullptr, nullptr), Unsuccessful);
  EXPECT_EQ(nextFolder, nullptr);
  EXPECT_EQ(wrapper.getMTPNextFolder(folder, &nextFolder), Unsuccessful);
  auto* nextFile = file;
  EXPECT_EQ(wrapper.getMTPFileListHead(node, &nextFile, nullptr, nullptr), 0u);
  EXPECT_EQ(nextFile, nullptr);
  EXPECT_EQ(wrapper.getMTPNextFile(file, &nextFile), 0u);
  EXPECT_EQ(nextFile, nullptr);
}
