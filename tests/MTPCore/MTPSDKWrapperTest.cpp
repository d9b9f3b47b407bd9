// What the legacy face does otherwise, and that it does the rest alike. (On the real engine both faces are compared in
// MTPDextSDKWrapperOnVirtualPhoneTest.cpp.)
#include "MTPCore/MTPSDKWrapper.h"

#include "MTPCore/CapturedLog.h"
#include "MTPCore/FakeMtpSdk.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

using testing::ElementsAre;
using testing::HasSubstr;
using Operation = FakeMtpSdk::Operation;
using Handle = FakeMtpSdk::Handle;

namespace {

constexpr std::uint32_t Location = 0x14200000;
constexpr std::uint32_t Failure = 0x13100000;
const std::string FailureText = "DGSTATUS_INTERNAL_GENERALERROR  0x13100000";

std::string textOf(const char* format, const void* node) {
  return QString::asprintf(format, node).toStdString() + FailureText;
}

class MTPSDKWrapperTest : public testing::Test {
protected:
  MTPSDKWrapperTest() {
    ComputerSide computer;
    computer.linkFolder = folder.filePath("links");
    computer.setDownloadMark = [](const QString&, const QByteArray&) { return 0; };
    computer.endProcess = [](int) { ADD_FAILURE() << "the process was ended"; };
    wrapper = std::make_unique<MTPSDKWrapper>(sdk, computer);
    wrapper->setLocationID("14200000", "/M/Card");
    wrapper->initializeNodeInfo(nullptr, &cardNode, &folderNode);
  }

  QTemporaryDir folder;
  const std::shared_ptr<FakeMtpSdk> sdk = std::make_shared<FakeMtpSdk>();
  const Handle device = sdk->addDevice(Location, "TESSALY-M");
  const Handle osp = sdk->addStorage(device, 0x00010003, "OSP");
  const Handle card = sdk->addStorage(device, 0x00020001, "Card");
  const Handle phone = sdk->addStorage(device, 0x00010001, "Phone");
  const Handle dcim = sdk->addFolder(card, "DCIM");
  const Handle aJpg = sdk->addFile(dcim, "a.jpg", 3);
  CapturedLog log;
  std::unique_ptr<MTPSDKWrapper> wrapper;
  _MTP_STORAGE_NODE* cardNode = nullptr;
  _MTP_FOLDER_NODE* folderNode = nullptr;
  std::uint32_t error = 0xDEAD;
};

} // namespace

// ---- The differences ----

TEST_F(MTPSDKWrapperTest, TheDeviceListIsFetchedWithoutAnyInitialisation) {
  sdk->setStatus(Operation::SdkInit, Failure);
  _MTP_DEVICE_NODE* head = nullptr;
  EXPECT_EQ(wrapper->getMTPDeviceHead(&head), 0u);
  EXPECT_EQ(head, sdk->deviceNode(device));
  EXPECT_EQ(sdk->calls(Operation::SdkInit), 0);

  MTPDextSDKWrapper current(sdk);
  EXPECT_EQ(current.getMTPDeviceHead(&head), Failure) << "the other face has it";
}

TEST_F(MTPSDKWrapperTest, FailuresNameTheLegacyOperations) {
  for (const Operation operation :
       {Operation::GetConnectedDeviceListHead, Operation::GetNextStorageNode, Operation::GetFolderListHead,
        Operation::GetNextSiblingFolderNode, Operation::GetFileListHead, Operation::GetNextFileNode})
    sdk->setStatus(operation, Failure);
  _MTP_DEVICE_NODE* head = nullptr;
  wrapper->getMTPDeviceHead(&head);
  EXPECT_TRUE(log.has("mtpGetConnectedDeviceListHead is faild. status = " + FailureText));
  _MTP_STORAGE_NODE* storage = nullptr;
  wrapper->getMTPNextStorage(cardNode, &storage);
  EXPECT_TRUE(log.has(textOf("mtpGetNextStorageNode is failed. Current Storage Node = %p, status = ", cardNode)));
  _MTP_FOLDER_NODE* const known = sdk->folderNode(dcim);
  _MTP_FOLDER_NODE* child = nullptr;
  wrapper->getMTPFolderListHead(known, cardNode, &child, nullptr, nullptr);
  EXPECT_TRUE(log.has(textOf("mtpGetFolderListHead is failed. Current Folder Node = %p, status = ", known)));
  wrapper->getMTPNextFolder(known, &child);
  EXPECT_TRUE(log.has(textOf("mtpGetNextSiblingFolderNode is failed. Current Folder Node = %p, status = ", known)));
  _MTP_FILE_NODE* file = nullptr;
  wrapper->getMTPFileListHead(sdk->commonNode(dcim), &file, nullptr, nullptr);
  EXPECT_TRUE(log.has(textOf("mtpGetFileListHead is failed. Common Node = %p, status = ", known)));
  wrapper->getMTPNextFile(sdk->fileNode(aJpg), &file);
  EXPECT_TRUE(log.has(textOf("mtpGetNextFileNode is failed. Current File Node = %p, status = ", sdk->fileNode(aJpg))));
  EXPECT_FALSE(log.hasPart("mtpDext"));
}

TEST_F(MTPSDKWrapperTest, LogLinesCarryItsOwnFilesAndOperationsNames) {
  wrapper->storageInfoLists();
  EXPECT_TRUE(log.hasPart("[MTPSDKWrapper.cpp:MTPSDKWrapper::storageInfoLists-("));
  wrapper->downloadFileToMTP(nullptr, QString(), "/M/Card", nullptr, nullptr, nullptr, error);
  EXPECT_TRUE(log.hasPart("[MTPSDKWrapper.cpp:MTPSDKWrapper::downloadFileToMTP-("));
  wrapper->createFolder(sdk->commonNode(card), "New", error);
  EXPECT_TRUE(log.hasPart("[MTPSDKWrapper.cpp:MTPSDKWrapper::createFolder-("));
  EXPECT_TRUE(log.hasPart("mtpCreateFolderNode: node = "));
  EXPECT_FALSE(log.hasPart("MTPDextSDKWrapper"));
}

// ---- The rest is alike ----

TEST_F(MTPSDKWrapperTest, StoragesAreClassifiedOrderedAndEnlargedAlike) {
  const auto storages = wrapper->storageInfoLists();
  ASSERT_TRUE(storages);
  ASSERT_EQ(storages->size(), 2);
  EXPECT_EQ(storages->at(0).volumePath, QString("/M/Phone"));
  EXPECT_EQ(storages->at(0).diskType, 1u);
  EXPECT_EQ(storages->at(0).UsedSize, 524'288'000u);
  EXPECT_EQ(storages->at(1).volumePath, QString("/M/Card"));
  EXPECT_EQ(storages->at(1).diskType, 2u);
}

TEST_F(MTPSDKWrapperTest, AnUnknownLocationBindsTheLastDeviceOrNoneByTheListsEnd) {
  const Handle other = sdk->addDevice(0x14300000, "N");
  wrapper->setLocationID("15000000");
  EXPECT_EQ(wrapper->getCurrentDeviceNode(), sdk->deviceNode(other));
  sdk->setListEnd(Operation::GetNextDevice, 0);
  wrapper->setLocationID("15000000");
  EXPECT_EQ(wrapper->getCurrentDeviceNode(), nullptr);
}

TEST_F(MTPSDKWrapperTest, ListingsCarryTheParentEntryAndTheSameRecords) {
  wrapper->setLocationID("14200000", "/M/Card");
  const auto folders = wrapper->getFoldersAtFolder(nullptr, cardNode, "/M/Card", true);
  ASSERT_TRUE(folders);
  ASSERT_EQ(folders->size(), 2);
  EXPECT_EQ(folders->at(0).NodeID, "");
  EXPECT_EQ(folders->at(0).FileName, QString(".."));
  EXPECT_EQ(folders->at(0).FilePath, QString("/M/Card"));
  EXPECT_EQ(folders->at(0).ObjectType, 4);
  EXPECT_EQ(folders->at(1).FileName, QString("DCIM"));
  EXPECT_EQ(folders->at(1).ObjectType, 3);
  EXPECT_FALSE(wrapper->contentsOfFileInfo(sdk->commonNode(card), "/M/Card"));
}

TEST_F(MTPSDKWrapperTest, PathsResolveAlike) {
  _MTP_STORAGE_NODE* head = wrapper->getStorageHeadNode();
  for (const char* path : {"/M/Card/DCIM/x.jpg", "/m/card/dcim", "/Card/DCIM"}) {
    _MTP_STORAGE_NODE* storage = nullptr;
    EXPECT_EQ(wrapper->searchFolder(wrapper->getCurrentDeviceNode(), &head, &storage, path), sdk->folderNode(dcim))
        << path;
    EXPECT_EQ(storage, cardNode);
  }
  auto* untouched = reinterpret_cast<_MTP_STORAGE_NODE*>(std::uintptr_t(1));
  EXPECT_EQ(wrapper->searchFolder(wrapper->getCurrentDeviceNode(), &head, &untouched, "/M/Disk/DCIM"), nullptr);
  EXPECT_EQ(untouched, reinterpret_cast<_MTP_STORAGE_NODE*>(std::uintptr_t(1)));
}

TEST_F(MTPSDKWrapperTest, ADetachedOneRefusesWithTheSameStatuses) {
  wrapper->setIsDetached(true);
  _MTP_DEVICE_NODE* head = nullptr;
  EXPECT_EQ(wrapper->getMTPDeviceHead(&head), 0x10000001u);
  EXPECT_FALSE(wrapper->getFilesAtFolder(nullptr, cardNode, "/M/Card"));
  wrapper->createFolder(sdk->commonNode(card), "New", error);
  EXPECT_EQ(error, 0x10000001u);
  _MTP_STORAGE_NODE* storageHead = wrapper->getStorageHeadNode();
  wrapper->checkCreateFolder(wrapper->getCurrentDeviceNode(), &storageHead, "/M/Card/New", error);
  EXPECT_EQ(error, 0x20000002u);
  EXPECT_FALSE(wrapper->downloadFileToMTP(nullptr, "/s", "/M/Card", nullptr, nullptr, nullptr, error));
  EXPECT_EQ(error, 0x23000001u);
  EXPECT_FALSE(wrapper->uploadFileFromMTP(QString(), "/M/Card/DCIM/a.jpg", "/d", QString(), nullptr, nullptr, error));
  EXPECT_EQ(error, 0x23000002u);
}

TEST_F(MTPSDKWrapperTest, ANameThatIsTakenHandsOutItsOwnerAndTheClash) {
  const QString source = folder.filePath("a.jpg");
  QFile file(source);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.close();
  QString existing;
  EXPECT_FALSE(
      wrapper->downloadFileToMTP(sdk->commonNode(dcim), source, "/M/Card/DCIM", nullptr, nullptr, &existing, error));
  EXPECT_EQ(error, 0x10000005u);
  EXPECT_EQ(existing, MTPDextSDKWrapper::nodeIDOf(sdk->fileNode(aJpg)));
  EXPECT_EQ(wrapper->createFolder(sdk->commonNode(card), "dcim", error), nullptr);
  EXPECT_EQ(error, 0x10000006u);
}

TEST_F(MTPSDKWrapperTest, MissingFoldersOfAPathAreMadeInOrder) {
  _MTP_STORAGE_NODE* head = wrapper->getStorageHeadNode();
  EXPECT_NE(wrapper->checkCreateFolder(wrapper->getCurrentDeviceNode(), &head, "/M/Card/DCIM/New/Newer", error),
            nullptr);
  EXPECT_EQ(error, 0u);
  EXPECT_THAT(sdk->contents(dcim), ElementsAre("New/", "a.jpg"));
  EXPECT_THAT(sdk->contents(sdk->child(dcim, "New")), ElementsAre("Newer/"));
}

TEST_F(MTPSDKWrapperTest, AStaleIdentifierFallsBackToThePathWhenDeleting) {
  EXPECT_TRUE(wrapper->deleteItemAtPath(wrapper->getCurrentDeviceNode(), wrapper->getStorageHeadNode(), "dead",
                                        "/M/Card/DCIM/a.jpg", error));
  EXPECT_EQ(error, 0u);
  EXPECT_THAT(sdk->contents(dcim), ElementsAre());
}
