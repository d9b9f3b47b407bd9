// The real libudev on mocked disks, and libmount on a table of the test's. Needs umockdev's wrapper.
#include "Platform/UdevVolumes.h"
#include "support/UdevBed.h"

#include <gmock/gmock.h>

#include <QTemporaryDir>

#include <cerrno>
#include <fstream>
#include <poll.h>
#include <string>

using namespace platform;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using testsupport::Texts;

// A phone at port 2 of bus 20 (0x14) with a drive of its own, and what hangs below it.
class UdevVolumesTest : public testing::Test, protected testsupport::UdevBed {
protected:
  void SetUp() override {
    ASSERT_TRUE(isThere()) << "run this program under umockdev-wrapper";
    mountTable("");
  }

  std::string addDrive() {
    const std::string phone = add("usb", "20-2", "", {"busnum", "20", "devpath", "2", "product", "Larkspur 5"},
                                  {"DEVTYPE", "usb_device", "DEVNUM", "007"});
    const std::string interface =
        add("usb", "20-2:1.0", phone, {"bInterfaceClass", "08"}, {"DEVTYPE", "usb_interface"});
    return add("scsi", "6:0:0:0", interface, {"model", "Phone Card      \n"}, {"DEVTYPE", "scsi_device"});
  }
  std::string addDisk(const std::string& name = "sdb", const std::string& parent = {}, const std::string& size = "4096",
                      Texts properties = {}, const std::string& number = "8:16") {
    const std::size_t colon = number.find(':');
    properties.insert(properties.end(), {"DEVTYPE", "disk", "DEVNAME", "/dev/" + name, "MAJOR", number.substr(0, colon),
                                         "MINOR", number.substr(colon + 1)});
    const std::string path = add("block", name, parent, {"size", size, "dev", number}, properties);
    numberDisk(path, number);
    return path;
  }

  void mountTable(const std::string& lines) { std::ofstream(tablePath()) << lines; }
  std::string tablePath() const { return m_folder.filePath(QStringLiteral("mountinfo")).toStdString(); }

  std::vector<Disk> list() {
    std::vector<Disk> found;
    EXPECT_EQ(m_volumes->disks(found), 0);
    return found;
  }
  DiskDescription describe(const std::string& path) {
    const auto description = m_volumes->description({"sdb", QString::fromStdString(path)});
    EXPECT_TRUE(description.has_value());
    return description.value_or(DiskDescription());
  }
  std::vector<MountedVolume> mounted() {
    std::vector<MountedVolume> volumes;
    EXPECT_EQ(m_volumes->mountedVolumes(volumes), 0);
    return volumes;
  }

  const QTemporaryDir m_folder;
  const std::unique_ptr<UdevVolumes> m_volumes =
      std::make_unique<UdevVolumes>(UdevVolumes::Source::Kernel, tablePath());
};

TEST_F(UdevVolumesTest, WithoutDisksThereAreNone) {
  EXPECT_THAT(list(), IsEmpty());
}

TEST_F(UdevVolumesTest, ADriveWithoutAMediumIsNoDisk) {
  addDisk("sda", "", "0");
  const std::string path = addDisk("sdb", "", "4096", {}, "8:32");
  const auto disks = list();
  ASSERT_THAT(disks, SizeIs(1));
  EXPECT_EQ(disks.front().bsdName, "sdb");
  EXPECT_EQ(disks.front().entryId.toStdString(), path);
}

TEST_F(UdevVolumesTest, TheDevicePathHoldsThePhonesNameAndItsLocationInLowerCaseHexadecimal) {
  const std::string bus =
      add("usb", "usb26", "", {"busnum", "26", "devpath", "0", "product", "Controller"}, {"DEVTYPE", "usb_device"});
  const std::string phone =
      add("usb", "26-11", bus, {"busnum", "26", "devpath", "11", "product", "Larkspur 5"}, {"DEVTYPE", "usb_device"});
  const std::string path = addDisk("sdb", phone);
  EXPECT_EQ(describe(path).devicePath, QStringLiteral("/Controller@1a000000/Larkspur 5@1ab00000/sdb"));
}

TEST_F(UdevVolumesTest, TheModelIsTheRulesDecodedAndTrimmed) {
  EXPECT_EQ(
      describe(addDisk("sdb", addDrive(), "4096", {"ID_MODEL_ENC", "Phone\\x20Internal\\x20\\x20", "ID_MODEL", "x"}))
          .deviceModel,
      QStringLiteral("Phone Internal"));
}

TEST_F(UdevVolumesTest, WithoutTheRulesTheModelIsTheDrives) {
  const std::string disk = addDisk("sdb", addDrive());
  EXPECT_EQ(describe(disk).deviceModel, QStringLiteral("Phone Card"));
  EXPECT_EQ(describe(add("block", "sdb1", disk, {"size", "2048"}, {"DEVTYPE", "partition"})).deviceModel,
            QStringLiteral("Phone Card"));
}

TEST_F(UdevVolumesTest, AMangledOrEmptyModelIsNoMoreThanThat) {
  EXPECT_EQ(describe(addDisk("sdb", "", "1", {"ID_MODEL_ENC", "a\\xzz\\x4"})).deviceModel,
            QStringLiteral("a\\xzz\\x4"));
  EXPECT_EQ(describe(addDisk("sdc", "", "1", {"ID_MODEL_ENC", "\\x20\\x20"}, "8:32")).deviceModel, std::nullopt);
  EXPECT_EQ(describe(addDisk("sdd", "", "1", {"ID_MODEL_ENC", "\\xff\\x41"}, "8:48")).deviceModel,
            QString(QChar(0xfffd)) + u'A');
  EXPECT_EQ(describe(addDisk("sde", "", "1", {"ID_MODEL", "Flash_Disk"}, "8:64")).deviceModel,
            QStringLiteral("Flash_Disk"));
  EXPECT_EQ(describe(addDisk("sdf", "", "1", {}, "8:80")).deviceModel, std::nullopt);
}

TEST_F(UdevVolumesTest, TheKindIsTheFileSystemsAndOpticalOnesHaveTheirOwnName) {
  EXPECT_EQ(describe(addDisk("sdb", "", "1", {"ID_FS_TYPE", "vfat"})).volumeKind, QStringLiteral("vfat"));
  EXPECT_EQ(describe(addDisk("sr0", "", "1", {"ID_FS_TYPE", "iso9660"}, "11:0")).volumeKind, QStringLiteral("cd9660"));
  EXPECT_EQ(describe(addDisk("sr1", "", "1", {"ID_FS_TYPE", "udf"}, "11:1")).volumeKind, QStringLiteral("udf"));
  EXPECT_EQ(describe(addDisk("sdc", "", "1", {}, "8:32")).volumeKind, std::nullopt);
}

TEST_F(UdevVolumesTest, AMountedDisksVolumePathIsAUrlOfItsMountPoint) {
  const std::string disk = addDisk();
  EXPECT_EQ(describe(disk).volumePath, std::nullopt);
  mountTable("30 1 8:16 / /media/me/50%\\040f\303\274ll rw,nosuid shared:9 - vfat /dev/sdb rw\n");
  EXPECT_EQ(describe(disk).volumePath, QByteArray("file:///media/me/50%25%20f%C3%BCll"));
}

TEST_F(UdevVolumesTest, ADiskThatHasGoneHasNoDescription) {
  const std::string disk = addDisk();
  drop(disk);
  EXPECT_FALSE(m_volumes->description({"sdb", QString::fromStdString(disk)}).has_value());
  EXPECT_FALSE(m_volumes->description({}).has_value());
}

TEST_F(UdevVolumesTest, MountedVolumesComeInTheTablesOrderWithoutWhatIsNoFileSystem) {
  addDisk();
  mountTable("20 1 0:5 / /proc rw - proc proc rw\n"
             "21 1 0:50 / /home/me/server rw - nfs4 server:/export rw\n"
             "22 1 8:16 / /second rw - vfat /dev/sdb rw\n"
             "23 1 0:40 / / rw - btrfs /dev/sda2 rw\n"
             "24 1 8:16 / /first rw - vfat /dev/sdb rw\n"
             "25 1 9:99 / /gone rw - ext4 /dev/gone rw\n");
  Texts seen;
  for (const MountedVolume& volume : mounted())
    seen.push_back(volume.url.toStdString() + (volume.error != 0 ? " error" : "") + (volume.local ? " local " : " ") +
                   volume.deviceName.toStdString());
  EXPECT_THAT(seen, ElementsAre("file:///home/me/server ", "file:///second local sdb", "file:/// local ",
                                "file:///first local sdb", "file:///gone error local "));
}

TEST_F(UdevVolumesTest, AMissingOrMangledTableMountsNoDisk) {
  std::vector<MountedVolume> volumes;
  UdevVolumes none(UdevVolumes::Source::Kernel, "/no/such/table");
  EXPECT_NE(none.mountedVolumes(volumes), 0);
  mountTable("what is this\n\n1 2 3\n" + std::string(200'000, 'x') + "\n30 1 8:16 /");
  m_volumes->mountedVolumes(volumes);
  for (const MountedVolume& volume : volumes)
    EXPECT_EQ(volume.deviceName, "");
}

class UdevDiskHotPlug : public UdevVolumesTest, public testing::WithParamInterface<UdevVolumes::Source> {
protected:
  void watch() {
    m_watched = std::make_unique<UdevVolumes>(GetParam(), tablePath());
    int error = 0;
    m_monitor = m_watched->monitor(error);
    ASSERT_NE(m_monitor, nullptr);
    EXPECT_EQ(error, 0);
  }
  // Messages are in the socket when the test bed's calls return.
  Texts told() {
    bool lost = false;
    Texts seen;
    pollfd poll{m_monitor->fd(), POLLIN, 0};
    ::poll(&poll, 1, 0);
    for (const DiskChange& change : m_monitor->take(lost))
      seen.push_back((change.kind == DiskChange::Kind::Present ? "+" : "-") + change.disk.bsdName.toStdString());
    EXPECT_FALSE(lost);
    return seen;
  }
  void setSize(const std::string& disk, const char* size) {
    setAttribute(disk, "size", size);
    tell(disk, "change");
  }

  std::unique_ptr<UdevVolumes> m_watched;
  std::unique_ptr<DiskMonitor> m_monitor;
};

TEST_P(UdevDiskHotPlug, ADiskComesAndGoes) {
  watch();
  EXPECT_THAT(told(), IsEmpty());
  const std::string disk = addDisk();
  EXPECT_THAT(told(), ElementsAre("+sdb"));
  remove(disk);
  EXPECT_THAT(told(), ElementsAre("-sdb"));
}

TEST_P(UdevDiskHotPlug, ADiskComesWithItsMediumAndGoesWithIt) {
  watch();
  const std::string disk = addDisk("sdb", "", "0");
  EXPECT_THAT(told(), ElementsAre("-sdb"));
  setSize(disk, "4096");
  EXPECT_THAT(told(), ElementsAre("+sdb"));
  setSize(disk, "0");
  EXPECT_THAT(told(), ElementsAre("-sdb"));
}

TEST_P(UdevDiskHotPlug, AMediumExchangedIsKnownByItsIdentityOrItsSize) {
  watch();
  const auto mediumTold = [this] {
    bool lost = false;
    const auto changes = m_monitor->take(lost);
    return changes.size() == 1 ? changes.front().disk.medium : QByteArray("none");
  };
  const std::string disk = addDisk("sdb", "", "4096");
  EXPECT_EQ(mediumTold(), "4096");
  setSize(disk, "8192");
  EXPECT_EQ(mediumTold(), "8192");
  setProperty(disk, "ID_PART_TABLE_UUID", "table");
  tell(disk, "change");
  EXPECT_EQ(mediumTold(), "table");
  setProperty(disk, "ID_FS_UUID", "0A1B-2C3D");
  tell(disk, "change");
  EXPECT_EQ(mediumTold(), "0A1B-2C3D");
}

TEST_P(UdevDiskHotPlug, OtherDevicesAreNoDisks) {
  watch();
  addDrive();
  EXPECT_THAT(told(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Sources, UdevDiskHotPlug,
                         testing::Values(UdevVolumes::Source::Udev, UdevVolumes::Source::Kernel), [](const auto& info) {
                           return info.param == UdevVolumes::Source::Udev ? "AfterRules" : "FromTheKernel";
                         });

} // namespace
