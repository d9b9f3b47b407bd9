#include "DeviceNotifier/AddUMSNotifier.h"
#include "DeviceNotifier/DetectionTestSupport.h"
#include "support/ScriptedVolumes.h"

#include <gmock/gmock.h>

#include <cerrno>

using namespace detection;
using platform::Disk;
using platform::DiskDescription;
using platform::MountedVolume;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// Scripted disks, and one phone in the queue. The test's thread is the notifier's and the main one. Sleeping takes no
// time and is written down.
class UmsNotifier : public testing::Test {
protected:
  UmsNotifier() {
    AddUMSNotifier::Parts parts;
    parts.volumes = m_volumes;
    parts.queue = m_queue;
    parts.events = m_events;
    parts.sleep = [this](std::chrono::seconds time) {
      m_sleeps.push_back(int(time.count()));
      return !m_whileSleeping || m_whileSleeping();
    };
    m_notifier = std::make_unique<AddUMSNotifier>(std::move(parts));
    m_phone = addPhone(QStringLiteral("Larkspur 5"), 0x1a200000);
  }

  _connected_device* addPhone(const QString& name, std::uint32_t location) {
    auto record = std::make_unique<_connected_device>();
    record->deviceName = name;
    record->locationID = location;
    record->vendorID = 0x7e55;
    record->productID = 0x4160;
    record->serialPath = QString();
    return m_queue->append(std::move(record));
  }
  static DiskDescription phoneDisk(const char* model, std::optional<QByteArray> url = "file:///media/phone") {
    DiskDescription description;
    description.volumePath = std::move(url);
    description.devicePath = QStringLiteral("/usb26@1a000000/Larkspur 5@1a200000/26-2:1.0/6:0:0:0/sdb");
    description.deviceModel = QLatin1String(model);
    description.volumeKind = QStringLiteral("vfat");
    return description;
  }
  static MountedVolume mounted(const char* device, const char* url) {
    MountedVolume volume;
    volume.url = url;
    volume.local = true;
    volume.deviceName = device;
    return volume;
  }
  // A disk comes and its callback has run.
  Disk insert(const char* name, const DiskDescription& description) {
    if (!m_started)
      m_notifier->addUMSNotifier();
    m_started = true;
    const Disk disk = scripted::Volumes::disk(name);
    m_volumes->insert(disk, description);
    pass();
    return disk;
  }
  void remove(const Disk& disk) {
    m_volumes->remove(disk);
    pass();
  }
  static void pass() { platform::RunLoop::current()->runFor(std::chrono::milliseconds(0)); }
  std::vector<Posted> posted() {
    pass(); // the callbacks
    pass(); // the flush
    drainMainQueue();
    return m_posted.take();
  }
  std::vector<int> types() {
    std::vector<int> types;
    for (const Posted& event : posted())
      types.push_back(event.type());
    return types;
  }

  LogLines m_log;
  PostedNotifications m_posted;
  std::shared_ptr<scripted::Volumes> m_volumes = std::make_shared<scripted::Volumes>();
  std::shared_ptr<DeviceQueue> m_queue = std::make_shared<DeviceQueue>();
  std::shared_ptr<DeviceEvents> m_events = std::make_shared<DeviceEvents>();
  std::vector<int> m_sleeps;
  std::function<bool()> m_whileSleeping;
  std::unique_ptr<AddUMSNotifier> m_notifier;
  _connected_device* m_phone = nullptr;
  bool m_started = false;
};

TEST_F(UmsNotifier, ADiskWithTheModelPhoneCardBecomesTheMemoryCardSlotAndYieldsEvent7) {
  insert("sdb1", phoneDisk("Phone Card", "file:///media/me/NO%20NAME%C3%BC"));
  const auto events = posted();
  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].userInfo, (QVariantMap{{QStringLiteral("LocationId"), QStringLiteral("1A200000")},
                                             {QStringLiteral("EventType"), 7},
                                             {QStringLiteral("Pid"), 0x4160},
                                             {QStringLiteral("Vid"), 0x7e55},
                                             {QStringLiteral("UmsPath"), QStringLiteral("file:///media/me/NO NAMEü")},
                                             {QStringLiteral("SerialPath"), QString()}}));
  EXPECT_TRUE(events[0].onMainThread);
  ASSERT_NE(m_phone->secondVolume, nullptr);
  EXPECT_EQ(m_phone->firstVolume, nullptr);
  EXPECT_EQ(m_phone->secondVolume->bsdName, QStringLiteral("sdb1"));
  EXPECT_EQ(m_phone->secondVolume->volumePath, QStringLiteral("file:///media/me/NO NAMEü"));
  EXPECT_EQ(m_phone->secondVolume->deviceModel, QStringLiteral("Phone Card"));
  EXPECT_EQ(m_phone->secondVolume->internal, 0);
  EXPECT_TRUE(m_log.has(QStringLiteral("sdb1 DiskAdded")));
  EXPECT_TRUE(m_log.has(QStringLiteral("Found UMS Device = Larkspur 5@1a200000, DeviceModel = Phone Card VolumePath = "
                                       "file:///media/me/NO%20NAME%C3%BC")));
  EXPECT_TRUE(m_log.has(QStringLiteral("External Flash Memory")));
  EXPECT_THAT(m_sleeps, IsEmpty());
}

TEST_F(UmsNotifier, ADiskWithTheModelPhoneInternalBecomesTheInternalMemorySlotAndYieldsEvent5) {
  insert("sdb", phoneDisk("Phone Internal"));
  const auto events = posted();
  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].type(), 5);
  EXPECT_EQ(events[0].text("UmsPath"), QStringLiteral("file:///media/phone"));
  ASSERT_NE(m_phone->firstVolume, nullptr);
  EXPECT_EQ(m_phone->secondVolume, nullptr);
  EXPECT_EQ(m_phone->firstVolume->internal, 1);
  EXPECT_TRUE(m_log.has(QStringLiteral("Internal Flash Memory")));
}

TEST_F(UmsNotifier, CardIsLookedForInTheModelCaseSensitively) {
  insert("sdb", phoneDisk("Phone card CARD"));
  EXPECT_THAT(types(), ElementsAre(5));
}

TEST_F(UmsNotifier, ADiskMountedOnlyAfterItsAppearanceIsFoundByTheVolumeScanAfterOneSecond) {
  m_whileSleeping = [this] {
    m_volumes->mount(mounted("sdb1", "file:///media/late"));
    return true;
  };
  insert("sdb1", phoneDisk("Phone Internal", std::nullopt));
  EXPECT_THAT(m_sleeps, ElementsAre(1));
  EXPECT_TRUE(m_log.has(QStringLiteral("Found VolumePath -> file:///media/late")));
  EXPECT_TRUE(m_log.has(QStringLiteral("findVolumePath = file:///media/late")));
  const auto events = posted();
  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].text("UmsPath"), QStringLiteral("file:///media/late"));
}

TEST_F(UmsNotifier, ADiskStillNotMountedAfterOneSecondIsIgnored) {
  const Disk disk = insert("sdb1", phoneDisk("Phone Internal", std::nullopt));
  EXPECT_THAT(m_sleeps, ElementsAre(1));
  EXPECT_THAT(types(), IsEmpty());
  EXPECT_EQ(m_phone->firstVolume, nullptr);
  m_volumes->mount(mounted("sdb1", "file:///media/later"));
  m_volumes->change(disk);
  EXPECT_THAT(types(), IsEmpty());
  remove(disk);
  EXPECT_THAT(types(), IsEmpty());
}

TEST_F(UmsNotifier, AUsbStickOfAnotherMakerAnnouncesNothing) {
  DiskDescription stick = phoneDisk("Phone Card");
  stick.devicePath = QStringLiteral("/usb26@1a000000/Stick@1a200000/26-2:1.0/6:0:0:0/sdb");
  insert("sdb", stick);
  stick.devicePath = QStringLiteral("/usb26@1a000000/Larkspur 5@1a300000/26-3:1.0/7:0:0:0/sdc");
  insert("sdc", stick);
  stick.devicePath = QStringLiteral("/usb26@1a000000/Larkspur 5@1A200000/sdd");
  insert("sdd", stick);
  EXPECT_THAT(types(), IsEmpty());
  EXPECT_EQ(m_phone->secondVolume, nullptr);
  EXPECT_THAT(m_log.containing(QStringLiteral("Found UMS Device")), IsEmpty());
}

TEST_F(UmsNotifier, RemovingTheMemoryCardYieldsEvent8ExactlyOnceAndEmptiesItsSlot) {
  const Disk card = insert("sdb1", phoneDisk("Phone Card"));
  const Disk internal = insert("sdc1", phoneDisk("Phone Internal"));
  EXPECT_THAT(types(), ElementsAre(7, 5));
  remove(card);
  const auto events = posted();
  ASSERT_THAT(events, SizeIs(1));
  EXPECT_EQ(events[0].type(), 8);
  EXPECT_EQ(events[0].text("UmsPath"), QStringLiteral("file:///media/phone"));
  EXPECT_TRUE(m_log.has(QStringLiteral("sdb1 external disk unmounted")));
  for (const char* text : {"sdb1", "file:///media/phone", "Phone Card"})
    EXPECT_TRUE(m_log.isPlain(QLatin1String(text))) << text;
  EXPECT_EQ(m_phone->secondVolume, nullptr);
  EXPECT_NE(m_phone->firstVolume, nullptr);
  m_notifier->DiskRemoved(card);
  EXPECT_THAT(types(), IsEmpty());
}

TEST_F(UmsNotifier, RemovingTheInternalMemoryYieldsEvent6ExactlyOnceAndEmptiesItsSlot) {
  const Disk internal = insert("sdc1", phoneDisk("Phone Internal"));
  EXPECT_THAT(types(), ElementsAre(5));
  remove(internal);
  EXPECT_THAT(types(), ElementsAre(6));
  EXPECT_TRUE(m_log.has(QStringLiteral("sdc1 internal disk unmounted")));
  EXPECT_EQ(m_phone->firstVolume, nullptr);
  m_notifier->DiskRemoved(internal);
  EXPECT_THAT(types(), IsEmpty());
}

TEST_F(UmsNotifier, ASlotIsFoundByTheExactNameOfItsDisk) {
  insert("sdb1", phoneDisk("Phone Card"));
  EXPECT_THAT(types(), ElementsAre(7));
  m_notifier->DiskRemoved(scripted::Volumes::disk("sdb"));
  m_notifier->DiskRemoved(scripted::Volumes::disk("sdb11"));
  m_notifier->DiskRemoved(scripted::Volumes::disk("SDB1"));
  EXPECT_THAT(types(), IsEmpty());
  EXPECT_NE(m_phone->secondVolume, nullptr);
}

TEST_F(UmsNotifier, ASecondCardTakesTheFirstsPlace) {
  const Disk first = insert("sdb1", phoneDisk("Phone Card"));
  insert("sdc1", phoneDisk("Phone Card", "file:///media/other"));
  EXPECT_THAT(types(), ElementsAre(7, 7));
  EXPECT_EQ(m_phone->secondVolume->bsdName, QStringLiteral("sdc1"));
  remove(first);
  EXPECT_THAT(types(), IsEmpty());
}

TEST_F(UmsNotifier, OpticalMediaArePassedOverAtOnceAndTheirNamesAreExact) {
  for (const char* kind : {"cd9660", "udf"}) {
    DiskDescription optical = phoneDisk("Phone Card", std::nullopt);
    optical.volumeKind = QLatin1String(kind);
    insert(kind, optical);
  }
  EXPECT_THAT(types(), IsEmpty());
  EXPECT_THAT(m_sleeps, IsEmpty());
  DiskDescription other = phoneDisk("Phone Card");
  other.volumeKind = QStringLiteral("UDF");
  insert("sdb", other);
  EXPECT_THAT(types(), ElementsAre(7));
}

TEST_F(UmsNotifier, ADiskWithoutPathOrModelIsLoggedWithItsDescription) {
  DiskDescription description = phoneDisk("Phone Card");
  description.devicePath.reset();
  insert("sdb", description);
  description = phoneDisk("Phone Card");
  description.deviceModel.reset();
  insert("sdc", description);
  EXPECT_EQ(m_log.count(QStringLiteral("VolumePath or DevicePath or DeviceModel is NULL")), 2);
  EXPECT_TRUE(m_log.isPlain(QStringLiteral("{ DAVolumePath = file:///media/phone; DADevicePath = (null); DADeviceModel "
                                           "= Phone Card; DAVolumeKind = vfat }")));
  m_volumes->mount(mounted("sdd", "")); // the scan finds a volume without a path
  insert("sdd", phoneDisk("Phone Card", std::nullopt));
  EXPECT_EQ(m_log.count(QStringLiteral("VolumePath or DevicePath or DeviceModel is NULL")), 3);
  EXPECT_THAT(types(), IsEmpty());
}

TEST_F(UmsNotifier, ADiskWithoutANameIsRefusedWithALineAndItsRemovalDoesNothing) {
  insert("", phoneDisk("Phone Card"));
  EXPECT_TRUE(m_log.has(QStringLiteral("Invalid Input parameters to disk")));
  m_phone->secondVolume = std::make_unique<VolumeSlot>();
  m_phone->secondVolume->bsdName = QString();
  m_notifier->DiskRemoved(Disk());
  EXPECT_NE(m_phone->secondVolume, nullptr);
  EXPECT_THAT(types(), IsEmpty());
}

TEST_F(UmsNotifier, ADiskThatHasGoneBeforeItsTurnAnnouncesNothing) {
  m_notifier->DiskAdded(scripted::Volumes::disk("sdz"));
  EXPECT_THAT(m_log.lines().last(), QStringLiteral("EXIT"));
  EXPECT_THAT(types(), IsEmpty());
}

TEST_F(UmsNotifier, ADiskThatCameBeforeItsPhoneIsNeverTiedToIt) {
  auto phone = m_queue->remove(m_phone);
  const Disk disk = insert("sdb", phoneDisk("Phone Card"));
  m_queue->append(std::move(phone));
  m_volumes->change(disk);
  EXPECT_THAT(types(), IsEmpty());
}

TEST_F(UmsNotifier, OfTwoMatchingPhonesTheFirstInTheQueueIsTaken) {
  const _connected_device* const second = addPhone(QStringLiteral("5"), 0x1a200000);
  insert("sdb", phoneDisk("Phone Card"));
  EXPECT_THAT(types(), ElementsAre(7));
  EXPECT_NE(m_phone->secondVolume, nullptr);
  EXPECT_EQ(second->secondVolume, nullptr);
}

TEST_F(UmsNotifier, APhonePooledMeanwhileDoesNotWaitForThisThreadsRunLoop) {
  m_events->sendDeviceNotifyEvent(DeviceAttached, *m_phone);
  m_volumes->insert(scripted::Volumes::disk("sdb"), phoneDisk("Phone Card"));
  m_notifier->DiskAdded(scripted::Volumes::disk("sdb"));
  drainMainQueue();                                                   // the flush
  drainMainQueue();                                                   // what it posted
  EXPECT_THAT(m_posted.types(), testing::UnorderedElementsAre(1, 7)); // without a pass of the run loop
}

TEST_F(UmsNotifier, ARecordWithoutANameIsNoPhoneOfAnyDisk) {
  m_phone->deviceName.reset();
  insert("sdb", phoneDisk("Phone Card"));
  EXPECT_THAT(types(), IsEmpty());
}

TEST_F(UmsNotifier, DisksThatAreThereAtTheStartAreHandledFromTheRunLoop) {
  m_volumes->insert(scripted::Volumes::disk("sdb"), phoneDisk("Phone Card"));
  EXPECT_EQ(m_notifier->addUMSNotifier(), 0);
  EXPECT_EQ(m_phone->secondVolume, nullptr);
  EXPECT_THAT(types(), ElementsAre(7));
}

TEST_F(UmsNotifier, StartingIsAlwaysZeroAlsoWhenDisksCannotBeWatched) {
  m_volumes->failWith(0, EPERM, 0);
  EXPECT_EQ(m_notifier->addUMSNotifier(), 0);
  EXPECT_TRUE(m_log.has(QStringLiteral("disks cannot be watched: Operation not permitted")));
  m_notifier->removeUMSNotifier();
}

TEST_F(UmsNotifier, StoppedItHearsOfNoDiskAndKeepsTheSlots) {
  const Disk disk = insert("sdb", phoneDisk("Phone Card"));
  EXPECT_THAT(types(), ElementsAre(7));
  m_notifier->removeUMSNotifier();
  remove(disk);
  m_volumes->insert(scripted::Volumes::disk("sdc"), phoneDisk("Phone Internal"));
  EXPECT_THAT(types(), IsEmpty());
  EXPECT_NE(m_phone->secondVolume, nullptr);
  m_notifier->removeUMSNotifier();
  EXPECT_EQ(m_volumes->monitors(), 0);
}

TEST_F(UmsNotifier, AStopWhileWaitingForTheMountGivesTheDiskUp) {
  m_whileSleeping = [this] {
    m_volumes->mount(mounted("sdb", "file:///media/late"));
    return false;
  };
  insert("sdb", phoneDisk("Phone Card", std::nullopt));
  EXPECT_THAT(types(), IsEmpty());
}

TEST_F(UmsNotifier, AVolumeIsFoundByTheExactNameOfItsDiskInTheOrderOfTheIndexes) {
  QByteArray url = "untouched";
  EXPECT_FALSE(m_notifier->findVolumePath(nullptr, url));
  EXPECT_THAT(m_log.lines(), IsEmpty());
  EXPECT_FALSE(m_notifier->findVolumePath("sdb1", url));

  MountedVolume server = mounted("sdb1", "file:///server");
  server.local = false;
  MountedVolume broken = mounted("sdb1", "file:///broken");
  broken.error = ENODEV;
  m_volumes->mount(server);
  m_volumes->mount(broken);
  m_volumes->mount(mounted("sdb", "file:///whole"));
  m_volumes->mount(mounted("SDB1", "file:///capital"));
  EXPECT_FALSE(m_notifier->findVolumePath("sdb1", url));
  EXPECT_EQ(url, "untouched");
  EXPECT_THAT(m_log.containing(QStringLiteral("PBHGetVolParmsSync returned %1").arg(ENODEV)), SizeIs(1));

  m_volumes->mount(mounted("sdb1", "file:///first"));
  m_volumes->mount(mounted("sdb1", "file:///second"));
  EXPECT_TRUE(m_notifier->findVolumePath("sdb1", url));
  EXPECT_EQ(url, "file:///first");
}

TEST_F(UmsNotifier, AMountTableThatCannotBeReadFindsNothing) {
  QByteArray url;
  m_volumes->failWith(0, 0, EACCES);
  EXPECT_FALSE(m_notifier->findVolumePath("sdb1", url));
  EXPECT_TRUE(m_log.has(QStringLiteral("mounted volumes cannot be listed: Permission denied")));
}

} // namespace
