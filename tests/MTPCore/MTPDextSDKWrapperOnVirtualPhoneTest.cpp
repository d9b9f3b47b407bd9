// The wrapper on the real engine, under both of its faces, with a phone on a wire in memory.
#include "MTPCore/CapturedLog.h"
#include "MTPCore/CorvMtpSdk.h"
#include "MTPCore/MTPSDKWrapper.h"
#include "MTPCore/TessalyMtpSdk.h"
#include "Platform/Log.h"
#include "Platform/NotificationCenter.h"
#include "TessalyMTPSdk/Engine.h"
#include "VirtualPhone/VirtualPhone.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/xattr.h>

#include <atomic>
#include <cerrno>
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
  std::unique_ptr<MTPDextSDKWrapper> makeWrapper() {
    ComputerSide side = ComputerSide::ofProgram();
    side.linkFolder = computer.filePath("links");
    if (GetParam() == Face::Corv)
      return std::make_unique<MTPSDKWrapper>(std::make_shared<CorvMtpSdk>(), side);
    return std::make_unique<MTPDextSDKWrapper>(std::make_shared<TessalyMtpSdk>(), side);
  }
  QString onPhone(const QString& path) const { return folder.filePath(path); }
  QString here(const QString& path) const { return computer.filePath(path); }
  static QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
  }
  void writeHere(const QString& name, const QByteArray& content) {
    QFile file(here(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(content), content.size());
  }
  static void setDate(const QString& path, const QDateTime& date) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_TRUE(file.setFileTime(date, QFileDevice::FileModificationTime));
  }
  std::optional<MtpItemInfo> item(const QString& folderPath, const QString& name) {
    for (const MtpItemInfo& item : list(folderPath).value_or(QList<MtpItemInfo>()))
      if (item.FileName == name)
        return item;
    return std::nullopt;
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

  QTemporaryDir folder, card, computer;
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

TEST_P(MTPDextSDKWrapperOnVirtualPhone, AReceivedFileIsWholeAndCarriesThePhonesDateAndItsOrigin) {
  const QDateTime date(QDate(2019, 3, 4), QTime(5, 6, 8));
  setDate(onPhone("DCIM/Camera/one.jpg"), date);
  const auto one = item("/SMX/Phone/DCIM/Camera", "one.jpg");
  ASSERT_TRUE(one);
  writeHere("one.jpg", "older copy");
  std::uint32_t error = 77;
  ASSERT_TRUE(wrapper->uploadFileFromMTP(one->NodeID, one->FilePath.value_or(QString()), here("one.jpg"), QString(),
                                         nullptr, nullptr, error));
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(contentsOf(here("one.jpg")), QByteArray(1234, 'x'));
  EXPECT_EQ(QFileInfo(here("one.jpg")).lastModified(), date);
  char mark[256] = {};
  const ssize_t size =
      ::getxattr(QFile::encodeName(here("one.jpg")).constData(), "user.xdg.origin.url", mark, sizeof mark - 1);
  if (size < 0 && errno == ENOTSUP)
    GTEST_SKIP() << "The folder for temporary files keeps no extended attributes.";
  EXPECT_STREQ(mark, "mtp:///SMX/Phone/DCIM/Camera/one.jpg");
  EXPECT_EQ(QDir(computer.path()).entryList(QDir::Files | QDir::Hidden), QStringList("one.jpg"));
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, AFileIsReceivedByItsPathWhenItsIdentifierIsStale) {
  const auto one = item("/SMX/Phone/DCIM/Camera", "one.jpg");
  ASSERT_TRUE(one);
  wrapper->mtpReset();
  list("Phone");
  std::uint32_t error = 77;
  EXPECT_TRUE(wrapper->uploadFileFromMTP(one->NodeID, "/smx/phone/dcim/CAMERA/One.JPG", here("one.jpg"), QString(),
                                         nullptr, nullptr, error));
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(contentsOf(here("one.jpg")).size(), 1234);
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, AFolderMovedAwayMeanwhileIsAFailureAndNotTheProgramsEnd) {
  write("film.mp4", 64 << 20);
  ASSERT_TRUE(list("Phone"));
  ASSERT_TRUE(QDir().mkpath(here("into")));
  struct Moving {
    QString from, to;
    static std::uint32_t callback(std::uint64_t, std::uint64_t, void* context) {
      auto& self = *static_cast<Moving*>(context);
      QDir().rename(self.from, self.to);
      return 0;
    }
  } moving{here("into"), here("moved")};
  std::uint32_t error = 0;
  EXPECT_FALSE(wrapper->uploadFileFromMTP(QString(), "/SMX/Phone/film.mp4", here("into/film.mp4"), QString(),
                                          Moving::callback, &moving, error));
  EXPECT_EQ(error, 0x11000001u);
  EXPECT_EQ(QDir(here("moved")).entryList(QDir::Files | QDir::Hidden), QStringList());
  EXPECT_FALSE(QFileInfo::exists(here("into")));
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, ASentFileIsWholeDatedAndAnnouncedAndItsFoldersAreMade) {
  writeHere("note.txt", "from here");
  const QDateTime date(QDate(2020, 2, 29), QTime(10, 11, 12));
  setDate(here("note.txt"), date);
  list("Phone");
  QVariant announced;
  const auto observation = platform::NotificationCenter::defaultCenter().observe(
      "QXVORN_NOTI_MTP_BROWSER_RESCAN",
      [&](const platform::Notification& notification) { announced = notification.userInfo.value("LocationID"); });
  QString nodeID;
  std::uint32_t error = 77;
  ASSERT_TRUE(
      wrapper->downloadFileToMTP(nullptr, here("note.txt"), "/SMX/Phone/Texts/2020", nullptr, nullptr, &nodeID, error));
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(contentsOf(onPhone("Texts/2020/note.txt")), QByteArray("from here"));
  EXPECT_EQ(QFileInfo(onPhone("Texts/2020/note.txt")).lastModified(), date);
  EXPECT_EQ(announced.toString(), "14200000");
  const auto shown = item("/SMX/Phone/Texts/2020", "note.txt");
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->NodeID, nodeID);
  announced.clear();
  QString clash;
  EXPECT_FALSE(
      wrapper->downloadFileToMTP(nullptr, here("note.txt"), "/SMX/Phone/Texts/2020", nullptr, nullptr, &clash, error));
  EXPECT_EQ(error, 0x10000005u);
  EXPECT_EQ(clash, nodeID);
  EXPECT_FALSE(announced.isValid());
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, ADecomposedNameArrivesComposedThroughALinkThatStays) {
  const QString decomposed = QString::fromUtf8("E\u0301bène.txt");
  writeHere(decomposed, "accents");
  list("Phone");
  std::uint32_t error = 77;
  ASSERT_TRUE(wrapper->downloadFileToMTP(nullptr, here(decomposed), "/SMX/Phone", nullptr, nullptr, nullptr, error));
  EXPECT_EQ(error, 0u);
  const QString composed = decomposed.normalized(QString::NormalizationForm_C);
  EXPECT_EQ(contentsOf(onPhone(composed)), QByteArray("accents"));
  EXPECT_TRUE(QFileInfo(here("links") + computer.path() + u'/' + composed).isSymLink());
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, ItemsAreRenamedAndDeletedByPathAndByIdentifier) {
  ASSERT_TRUE(list("Phone"));
  std::uint32_t error = 77;
  _MTP_DEVICE_NODE* const device = wrapper->getCurrentDeviceNode();
  EXPECT_TRUE(wrapper->renameItemAtPath(device, wrapper->getStorageHeadNode(), "/SMX/Phone/dcim/camera/TWO.jpg",
                                        "three.jpg", error));
  EXPECT_EQ(error, 0u);
  EXPECT_TRUE(wrapper->renameItemAtPath(device, wrapper->getStorageHeadNode(), "/SMX/Phone/DCIM", "Pictures", error));
  EXPECT_THAT(names(list("/SMX/Phone/Pictures/Camera")), UnorderedElementsAre("one.jpg", "three.jpg"));
  EXPECT_TRUE(QFileInfo::exists(onPhone("Pictures/Camera/three.jpg")));

  const auto one = item("/SMX/Phone/Pictures/Camera", "one.jpg");
  ASSERT_TRUE(one);
  EXPECT_TRUE(wrapper->deleteItemAtPath(device, wrapper->getStorageHeadNode(), one->NodeID, "/nowhere", error));
  EXPECT_EQ(error, 0u);
  EXPECT_FALSE(QFileInfo::exists(onPhone("Pictures/Camera/one.jpg")));
  EXPECT_TRUE(
      wrapper->deleteItemAtPath(device, wrapper->getStorageHeadNode(), one->NodeID, "/SMX/Phone/note.txt", error))
      << "the identifier is stale: the path counts";
  EXPECT_FALSE(QFileInfo::exists(onPhone("note.txt")));
  EXPECT_TRUE(
      wrapper->deleteItemAtPath(device, wrapper->getStorageHeadNode(), QString(), "/SMX/Phone/Pictures", error));
  EXPECT_FALSE(QFileInfo::exists(onPhone("Pictures")));
  EXPECT_THAT(names(list("Phone")), ElementsAre("Music"));
}

TEST_P(MTPDextSDKWrapperOnVirtualPhone, AfterEachOfThreeResetsInARowTheNextChangeIsStillNoticed) {
  std::atomic<int> events = 0;
  const auto callback = [](std::int32_t, std::uint64_t, std::uint64_t, void* context) -> std::uint32_t {
    auto& count = *static_cast<std::atomic<int>*>(context);
    ++count;
    count.notify_all();
    return 0;
  };
  ASSERT_TRUE(list("Phone"));
  EXPECT_EQ(wrapper->registerMtpRequestEventNotifyEx(wrapper->getCurrentDeviceNode(), callback, &events), 0u);
  for (int round = 1; round <= 3; ++round) {
    ASSERT_TRUE(QDir(folder.path()).mkdir("new" + QString::number(round)));
    events.wait(round - 1); // CTest ends a wait that has no end
    EXPECT_EQ(events, round);
    wrapper->mtpReset();
    EXPECT_EQ(wrapper->registerMtpRequestEventNotifyEx(wrapper->getCurrentDeviceNode(), callback, &events), 0u);
    EXPECT_EQ(names(list("Phone")).size(), 3u + unsigned(round));
  }
  EXPECT_EQ(wrapper->registerMtpRequestEventNotifyEx(wrapper->getCurrentDeviceNode(), nullptr, nullptr), 0u);
}

INSTANTIATE_TEST_SUITE_P(BothFaces, MTPDextSDKWrapperOnVirtualPhone, testing::Values(Face::Tessaly, Face::Corv),
                         [](const auto& info) { return info.param == Face::Tessaly ? "Tessaly" : "Corv"; });
