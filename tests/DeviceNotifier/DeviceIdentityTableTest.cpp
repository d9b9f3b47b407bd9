#include "DeviceNotifier/DeviceIdentityTable.h"
#include "DeviceNotifier/DetectionTestSupport.h"
#include "Platform/UserDefaults.h"

#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

using namespace detection;

namespace {

std::optional<DeviceIdentityTable> parsed(const QByteArray& text, DeviceTableMistake* mistake = nullptr) {
  DeviceTableMistake ignored;
  return parseDeviceIdentityTable(text, DeviceIdentityTable(), mistake == nullptr ? ignored : *mistake);
}

int badRow(const QByteArray& text) {
  DeviceTableMistake mistake;
  EXPECT_FALSE(parsed(text, &mistake).has_value()) << text.constData();
  EXPECT_FALSE(mistake.what.isEmpty());
  return mistake.row;
}

class TableFiles : public testing::Test {
protected:
  TableFiles() { platform::userDefaults::useFile(m_folder.filePath(QStringLiteral("defaults.conf"))); }
  ~TableFiles() override { platform::userDefaults::useFile({}); }

  QString write(const QString& name, const QByteArray& text) {
    QFile file(m_folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
    return file.fileName();
  }
  static DeviceIdentityTable shipped() { return loadDeviceIdentityTable({QString(), QString()}); }

  QTemporaryDir m_folder;
  LogLines m_log;
};

TEST(DeviceIdentityTable, HasARangeOf768ProductsAndEightPtpProductsInIt) {
  const DeviceIdentityTable table;
  EXPECT_EQ(table.kPhoneProductIdLast - table.kPhoneProductIdFirst + 1, 768);
  const auto ptp = table.kPtpProductIds();
  EXPECT_EQ(std::set<std::uint16_t>(ptp.begin(), ptp.end()).size(), 8u);
  EXPECT_EQ(table.kPtpNoSearchProductIds.size(), 6u);
  EXPECT_EQ(table.kPtpSkipSearchProductIds.size(), 2u);
  for (const auto id : ptp)
    EXPECT_TRUE(table.isPhone(table.kPhoneVendorId, id));
  EXPECT_TRUE(table.isPhone(table.kPhoneVendorId, table.kSingleSearchProductIdFrom));
}

TEST(DeviceIdentityTable, AcceptsForeignDevicesOnlyWhereTheTableSaysSo) {
  EXPECT_FALSE(DeviceIdentityTable().AcceptAnyMtpDevice);
  QFile file(QStringLiteral(MTPB_SHIPPED_TABLE));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const auto shipped = parsed(file.readAll());
  ASSERT_TRUE(shipped.has_value());
  DeviceIdentityTable expected; // and nothing else differs
  expected.AcceptAnyMtpDevice = true;
  EXPECT_EQ(*shipped, expected);
}

TEST(DeviceIdentityTable, ReadsEveryKeyInDecimalAndHexadecimal) {
  const auto table = parsed("# ours\n"
                            "kPhoneVendorId = 0x1234 # comment\n"
                            "\tkPhoneProductIdFirst=100\r\n"
                            "kPhoneProductIdLast = 0X00C8\n\n"
                            "kPtpNoSearchProductIds = 101, 0x66\n"
                            "kPtpSkipSearchProductIds =\n"
                            "kSingleSearchProductIdFrom = 150\n"
                            "AcceptAnyMtpDevice = true");
  ASSERT_TRUE(table.has_value());
  EXPECT_EQ(table->kPhoneVendorId, 0x1234);
  EXPECT_EQ(table->kPhoneProductIdFirst, 100);
  EXPECT_EQ(table->kPhoneProductIdLast, 200);
  EXPECT_EQ(table->kPtpProductIds(), (std::vector<std::uint16_t>{101, 102}));
  EXPECT_EQ(table->kSingleSearchProductIdFrom, 150);
  EXPECT_TRUE(table->AcceptAnyMtpDevice);
}

TEST(DeviceIdentityTable, KeepsWhatTheTextDoesNotName) {
  DeviceIdentityTable expected;
  expected.kPhoneVendorId = 7;
  EXPECT_EQ(parsed("kPhoneVendorId = 7"), expected);
  EXPECT_EQ(parsed(""), DeviceIdentityTable());
}

TEST(DeviceIdentityTable, NamesTheRowOfAMistake) {
  EXPECT_EQ(badRow("\n\nwhat is this"), 3);
  EXPECT_EQ(badRow("NoSuchKey = 1"), 1);
  EXPECT_EQ(badRow("# fine\nkPhoneVendorId = 0x10000"), 2);
  EXPECT_EQ(badRow("kPhoneVendorId = -1"), 1);
  EXPECT_EQ(badRow("kPhoneVendorId ="), 1);
  EXPECT_EQ(badRow("kPhoneVendorId = 12 13"), 1);
  EXPECT_EQ(badRow("kPtpNoSearchProductIds = 1,,2"), 1);
  EXPECT_EQ(badRow("AcceptAnyMtpDevice = perhaps"), 1);
  EXPECT_EQ(badRow("kPhoneVendorId = 1\nkPhoneVendorId = 2"), 2);
}

TEST(DeviceIdentityTable, RefusesValuesThatDoNotFitTogether) {
  EXPECT_EQ(badRow("kPhoneProductIdFirst = 0x5000\n# more"), 1);
  EXPECT_EQ(badRow("kSingleSearchProductIdFrom = 1"), 1);
  EXPECT_EQ(badRow("# PTP\nkPtpSkipSearchProductIds = 0x4400"), 2);
  EXPECT_EQ(badRow("kPtpSkipSearchProductIds = 0x4165"), 1);
}

TEST(DeviceIdentityTable, NamesTheRowOfAKeyInvolvedNotTheFilesLastOne) {
  EXPECT_EQ(badRow("kPhoneProductIdFirst = 0x5000\nAcceptAnyMtpDevice = true"), 1);
  EXPECT_EQ(badRow("AcceptAnyMtpDevice = true\nkSingleSearchProductIdFrom = 1\nkPhoneVendorId = 1"), 2);
  EXPECT_EQ(badRow("kPtpNoSearchProductIds = 1\nkPtpSkipSearchProductIds = 0x4122"), 1);
  EXPECT_EQ(badRow("kPtpNoSearchProductIds = 0x4122\nkPtpSkipSearchProductIds = 0x4122\nkPhoneVendorId = 1"), 2);
  // Fine in themselves, but the range leaves the shipped products outside.
  EXPECT_EQ(badRow("kPhoneVendorId = 1\nkPhoneProductIdLast = 0x4120\nAcceptAnyMtpDevice = true"), 2);
}

TEST(DeviceIdentityTable, TakesAnyBytesWithoutHarm) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    QByteArray text("kPtpNoSearchProductIds = 0x4165, 0x4167\nAcceptAnyMtpDevice = true\n");
    for (int change = 0; change < 4; ++change)
      text[int(random() % unsigned(text.size()))] = char(random());
    DeviceTableMistake mistake;
    EXPECT_TRUE(parsed(text, &mistake).has_value() || mistake.row > 0);
  }
}

TEST_F(TableFiles, WithoutFilesTheShippedTableCounts) {
  EXPECT_TRUE(shipped().AcceptAnyMtpDevice);
  EXPECT_EQ(shipped().kPhoneVendorId, DeviceIdentityTable().kPhoneVendorId);
  EXPECT_EQ(loadDeviceIdentityTable({m_folder.filePath("no"), m_folder.filePath("neither")}), shipped());
  EXPECT_TRUE(m_log.lines().isEmpty());
}

TEST_F(TableFiles, TheUsersTableChangesSingleKeysOfTheSystems) {
  const auto table = loadDeviceIdentityTable(
      {write("system", "kPhoneVendorId = 1\nAcceptAnyMtpDevice = false\n"), write("user", "kPhoneVendorId = 2\n")});
  EXPECT_EQ(table.kPhoneVendorId, 2);
  EXPECT_FALSE(table.AcceptAnyMtpDevice);
}

TEST_F(TableFiles, ABadUserTableIsLoggedWithFileAndRowAndLeftOutAsAWhole) {
  const QString user = write("user", "kPhoneVendorId = 2\nrubbish\n");
  EXPECT_EQ(loadDeviceIdentityTable({QString(), user}), shipped());
  const auto lines = m_log.containing(user);
  ASSERT_EQ(lines.size(), 1);
  EXPECT_TRUE(lines.front().contains(QStringLiteral("row 2"))) << qPrintable(lines.front());
}

TEST_F(TableFiles, ABadSystemTableStillLetsTheUsersCount) {
  const auto table = loadDeviceIdentityTable({write("system", "\x7f"
                                                              "ELF\0\1\2"),
                                              write("user", "kPhoneVendorId = 2")});
  EXPECT_EQ(table.kPhoneVendorId, 2);
  EXPECT_TRUE(table.AcceptAnyMtpDevice);
  EXPECT_EQ(m_log.containing(QStringLiteral("row 1")).size(), 1);
}

TEST_F(TableFiles, ATableThatCannotBeReadIsLoggedAndTheDefaultsCount) {
  EXPECT_EQ(loadDeviceIdentityTable({QString(), m_folder.path()}), shipped());
  EXPECT_EQ(m_log.containing(m_folder.path()).size(), 1);
}

TEST_F(TableFiles, ATableWhoseReadingFailsIsLoggedAndTheDefaultsCount) {
  const QString path = QStringLiteral("/proc/self/mem"); // opens, but has nothing to read at its beginning
  EXPECT_EQ(loadDeviceIdentityTable({QString(), path}), shipped());
  ASSERT_EQ(m_log.containing(path).size(), 1);
  EXPECT_TRUE(m_log.containing(path).front().contains(QStringLiteral("row 1")));
}

TEST_F(TableFiles, APipeInATablesPlaceDoesNotHoldUpTheStart) {
  const QString path = m_folder.filePath(QStringLiteral("pipe"));
  ASSERT_EQ(::mkfifo(qPrintable(path), 0600), 0);
  EXPECT_EQ(loadDeviceIdentityTable({path, QString()}), shipped());
  EXPECT_EQ(m_log.containing(path).size(), 1);
}

TEST_F(TableFiles, ALinkThatLeadsNowhereIsLoggedAndTheDefaultsCount) {
  const QString path = m_folder.filePath(QStringLiteral("link"));
  ASSERT_TRUE(QFile::link(m_folder.filePath(QStringLiteral("nowhere")), path));
  EXPECT_EQ(loadDeviceIdentityTable({QString(), path}), shipped());
  EXPECT_EQ(m_log.containing(path).size(), 1);
}

TEST_F(TableFiles, ATablePathThatCannotBeFollowedIsLoggedAndTheDefaultsCount) {
  const QString loop = m_folder.filePath(QStringLiteral("loop"));
  ASSERT_TRUE(QFile::link(loop, loop));
  const QString path = loop + QStringLiteral("/devices.conf");
  EXPECT_EQ(loadDeviceIdentityTable({QString(), path}), shipped());
  EXPECT_EQ(m_log.containing(path).size(), 1);
}

TEST_F(TableFiles, AnOversizedTableIsLoggedAndTheDefaultsCount) {
  const QString user = write("user", "kPhoneVendorId = 2\n" + QByteArray(70'000, '#'));
  EXPECT_EQ(loadDeviceIdentityTable({QString(), user}), shipped());
  EXPECT_EQ(m_log.containing(user).size(), 1);
}

TEST_F(TableFiles, TheUserDefaultHasTheLastWordOnForeignDevices) {
  const DeviceTablePaths paths{write("system", "AcceptAnyMtpDevice = true"), QString()};
  EXPECT_TRUE(loadDeviceIdentityTable(paths).AcceptAnyMtpDevice);
  platform::userDefaults::setValue(QStringLiteral("AcceptAnyMtpDevice"), false);
  EXPECT_FALSE(loadDeviceIdentityTable(paths).AcceptAnyMtpDevice);
  write("system", "AcceptAnyMtpDevice = false");
  platform::userDefaults::setValue(QStringLiteral("AcceptAnyMtpDevice"), true);
  EXPECT_TRUE(loadDeviceIdentityTable(paths).AcceptAnyMtpDevice);
}

} // namespace
