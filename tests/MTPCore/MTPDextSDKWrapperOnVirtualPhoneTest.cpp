// The wrapper on the real engine, under both of its faces, with a phone on a wire in memory.
#include "MTPCore/CapturedLog.h"
#include "MTPCore/CorvMtpSdk.h"
#include "MTPCore/MTPSDKWrapper.h"
#include "MTPCore/TessalyMtpSdk.h"
#include "Platform/Log.h"
#include "TessalyMTPSdk/Engine.h"
#include "VirtualPhone/VirtualPhone.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

std::uint32_t noEvent(std::int32_t, std::uint64_t, std::uint64_t, void*) {
  return 0;
}

enum class Face { Tessaly, Corv };

class MTPDextSDKWrapperOnVirtualPhone : public testing::TestWithParam<Face> {
protected:
  void SetUp() override {
    // As the program writes it without being asked for details.
    mtp::setLog([](mtp::LogLevel level, const std::string& line) {
      if (level != mtp::LogLevel::Debug)
        MTPB_LOG_PLAIN("%s", line.c_str());
    });
    mtp::setUsbEnabled(false);
    write("DCIM/Camera/one.jpg", 1234);
    write("DCIM/Camera/two.jpg", 5);
    write("Music/Ébène 🎵.mp3", 7);
    write("note.txt", 11);
    vphone::Options options;
    options.model = "TESSALY-SM:X";
    options.friendlyName = "Zoë's phone";
    options.locationId = 0x14200000;
    options.storages = {{.folder = folder.path().toStdString(), .description = "Phone"},
                        {.folder = card.path().toStdString(), .description = "Card", .removable = true}};
    phone = std::make_unique<vphone::VirtualPhone>(options);
    phone->plug();
    mtp::addProvider(phone->provider());
    wrapper->setLocationID("14200000");
  }
  void TearDown() override {
    mtp::shutdown();
    mtp::setUsbEnabled(true);
    mtp::setLog({});
  }

  void write(const QString& path, int size) {
    const QFileInfo info(folder.filePath(path));
    ASSERT_TRUE(QDir().mkpath(info.path()));
    QFile file(info.filePath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(QByteArray(size, 'x')), size);
  }
  static std::unique_ptr<MTPDextSDKWrapper> makeWrapper() {
    if (GetParam() == Face::Corv)
      return std::make_unique<MTPSDKWrapper>(std::make_shared<CorvMtpSdk>());
    return std::make_unique<MTPDextSDKWrapper>(std::make_shared<TessalyMtpSdk>());
  }
  // Chooses the storage or folder and lists it, as the browser does.
  std::optional<QList<MtpItemInfo>> list(const QString& path) {
    wrapper->setLocationID("14200000", path);
    _MTP_STORAGE_NODE* storage = nullptr;
    _MTP_FOLDER_NODE* node = nullptr;
    wrapper->initializeNodeInfo(nullptr, &storage, &node);
    return wrapper->getFilesAtFolder(node, storage, path);
  }
  static std::vector<std::string> names(const std::optional<QList<MtpItemInfo>>& items) {
    std::vector<std::string> names;
    for (const MtpItemInfo& item : items.value_or(QList<MtpItemInfo>()))
      names.push_back(item.FileName.value_or("(none)").toStdString());
    return names;
  }

  QTemporaryDir folder, card;
  std::unique_ptr<vphone::VirtualPhone> phone;
  const std::unique_ptr<MTPDextSDKWrapper> wrapper = makeWrapper();
  CapturedLog log;
};

} // namespace

TEST_P(MTPDextSDKWrapperOnVirtualPhone, ShowsNamesAndStorages) {
  EXPECT_EQ(wrapper->getMTPFriendlyName(), QString::fromUtf8("Zoë's phone"));
  const auto storages = wrapper->storageInfoLists();
  ASSERT_TRUE(storages);
  ASSERT_EQ(storages->size(), 2);
  EXPECT_EQ(storages->at(0).volumePath, QString("/SMX/Phone"));
  EXPECT_EQ(storages->at(0).diskType, 1u);
  EXPECT_EQ(storages->at(0).CommonNode, "0x200010001");
  EXPECT_EQ(storages->at(1).volumePath, QString("/SMX/Card"));
  EXPECT_EQ(storages->at(1).diskType, 2u);
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, ListsFoldersBeforeFilesWithTheirLengthsAndDates) {
  EXPECT_THAT(names(list("Phone")), UnorderedElementsAre("DCIM", "Music", "note.txt"));
  const auto items = list("/SMX/Phone/DCIM/Camera");
  ASSERT_THAT(names(items), UnorderedElementsAre("one.jpg", "two.jpg"));
  for (const MtpItemInfo& item : *items) {
    EXPECT_EQ(item.FileLength, *item.FileName == "one.jpg" ? 1234u : 5u);
    ASSERT_TRUE(item.DateModify);
    EXPECT_EQ(item.DateModify->at(8), QChar('T'));
    EXPECT_EQ(item.FilePath, "/SMX/Phone/DCIM/Camera/" + *item.FileName);
    EXPECT_NE(wrapper->getFileNodeFromNodeID(item.NodeID), nullptr);
  }
  EXPECT_THAT(names(list("/phone/music")), ElementsAre("Ébène 🎵.mp3"));
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, AfterAResetOldNodesAreUnknownAndAllIsListedAgain) {
  const auto before = list("Phone");
  ASSERT_TRUE(before);
  ASSERT_FALSE(before->isEmpty());
  wrapper->mtpReset();
  for (const MtpItemInfo& item : *before)
    EXPECT_EQ(wrapper->getCommonNodeFromNodeID(item.NodeID), nullptr);
  EXPECT_EQ(wrapper->registerMtpRequestEventNotifyEx(wrapper->getCurrentDeviceNode(), noEvent, nullptr), 0u);
  EXPECT_THAT(names(list("Phone")), UnorderedElementsAre("DCIM", "Music", "note.txt"));
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, AnExistingNodeExistsAndAnUnpluggedPhoneHasNone) {
  const auto items = list("Phone");
  ASSERT_TRUE(items);
  ASSERT_FALSE(items->isEmpty());
  EXPECT_TRUE(wrapper->checkNodeExist(wrapper->getCommonNodeFromNodeID(items->last().NodeID)));
  phone->unplug();
  EXPECT_THAT(names(list("Phone")), ElementsAre());
  EXPECT_FALSE(wrapper->storageInfoLists());
  EXPECT_FALSE(wrapper->getMTPFriendlyName());
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, ALockedPhoneHasNoStoragesUntilItIsUnlocked) {
  phone->setLocked(true);
  EXPECT_FALSE(wrapper->storageInfoLists());
  phone->setLocked(false);
  EXPECT_TRUE(wrapper->storageInfoLists());
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, GarbageAsANodeIsAnsweredAndNotFollowed) {
  list("Phone");
  alignas(8) char garbage[64] = {};
  for (const auto address :
       {std::uintptr_t(1), std::uintptr_t(0xDEADBEEF), reinterpret_cast<std::uintptr_t>(garbage), ~std::uintptr_t(0)}) {
    auto* const folderNode = reinterpret_cast<_MTP_FOLDER_NODE*>(address);
    auto* const fileNode = reinterpret_cast<_MTP_FILE_NODE*>(address);
    EXPECT_EQ(wrapper->nodeKind(folderNode), 0);
    EXPECT_FALSE(wrapper->getFolderNodeInfo(folderNode, "/p"));
    EXPECT_FALSE(wrapper->getFileNodeInfo(fileNode, "/p"));
    EXPECT_EQ(wrapper->getParentFolderNode(folderNode), nullptr);
    EXPECT_FALSE(wrapper->checkNodeExist(reinterpret_cast<_MTP_COMMON_NODE*>(address)));
    EXPECT_THAT(names(wrapper->getFilesAtFolder(folderNode, nullptr, "/p")), ElementsAre());
  }
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, ListsReleasedByAnotherThreadGiveWholeEntriesOrNone) {
  constexpr int Rounds = 25;
  std::thread releasing([&] {
    for (int i = 0; i < Rounds; ++i)
      wrapper->removeMtpBrowser();
  });
  for (int i = 0; i < Rounds; ++i)
    for (const std::string& name : names(list("Phone")))
      EXPECT_TRUE(name == "DCIM" || name == "Music" || name == "note.txt") << name;
  releasing.join();
  EXPECT_THAT(names(list("Phone")), UnorderedElementsAre("DCIM", "Music", "note.txt"));
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, WhatKeepsThePhoneFromBeingShownIsTold) {
  using Kind = ConnectCondition::Kind;
  phone->setLocked(true);
  EXPECT_FALSE(wrapper->storageInfoLists());
  EXPECT_EQ(wrapper->connectCondition().kind, Kind::NoStorages);
  mtp::shutdown();
  const mtp::OpenResult other = phone->provider()->list().at(0).open(); // another program has the wire
  ASSERT_TRUE(other.transport);
  mtp::addProvider(phone->provider());
  wrapper->setLocationID("14200000");
  EXPECT_FALSE(wrapper->storageInfoLists());
  EXPECT_EQ(wrapper->connectCondition().kind, Kind::InUse);
  EXPECT_TRUE(wrapper->connectCondition().holder.isNull());
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, TheLogOfFailedWorkTellsPhoneOperationTimeAndStatusButNoNames) {
  ASSERT_TRUE(list("/SMX/Phone/DCIM/Camera"));
  std::uint32_t error = 0;
  vphone::Manners manners;
  manners.missingOperations = {0x1009, 0x100B, 0x100C, 0x100D, 0x101B, 0x95C1};
  phone->setManners(manners);
  wrapper->deleteItemAtPath(wrapper->getCurrentDeviceNode(), wrapper->getStorageHeadNode(), QString(),
                            "/SMX/Phone/DCIM/Camera/one.jpg", error);
  EXPECT_NE(error, 0u);
  const QString source = folder.filePath("note.txt");
  EXPECT_FALSE(wrapper->downloadFileToMTP(nullptr, source, "/SMX/Phone/Music", nullptr, nullptr, nullptr, error));
  EXPECT_FALSE(wrapper->uploadFileFromMTP(QString(), "/SMX/Phone/DCIM/Camera/one.jpg", folder.filePath("private"),
                                          QString(), nullptr, nullptr, error));
  wrapper->setIsDetached(true);
  EXPECT_FALSE(wrapper->downloadFileToMTP(nullptr, source, "/SMX/Phone/Music", nullptr, nullptr, nullptr, error));
  const std::string prefix = GetParam() == Face::Corv ? "mtp" : "mtpDext";
  EXPECT_TRUE(log.hasPart("model \"TESSALY-SM:X\""));
  EXPECT_TRUE(log.hasPart(prefix + "DeleteNode: node = 0x"));
  EXPECT_TRUE(log.hasPart(prefix + "SendFileEx: node = 0x"));
  EXPECT_TRUE(log.hasPart(prefix + "GetFileEx: node = 0x"));
  EXPECT_TRUE(log.hasPart(" s, status = DGSTATUS_"));
  EXPECT_TRUE(log.hasPart("DeleteObject (transaction "));
  EXPECT_TRUE(log.hasPart("response 0x2005"));
  EXPECT_TRUE(log.hasPart("listed 2 objects in folder 0x"));
  for (const char* const name : {"one.jpg", "two.jpg", "note.txt", "DCIM", "Camera", "Music", "private"})
    EXPECT_FALSE(log.hasPart(name)) << name;
}

INSTANTIATE_TEST_SUITE_P(BothFaces, MTPDextSDKWrapperOnVirtualPhone, testing::Values(Face::Tessaly, Face::Corv),
                         [](const auto& info) { return info.param == Face::Tessaly ? "Tessaly" : "Corv"; });
