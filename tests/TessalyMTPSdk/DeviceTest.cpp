// Opening a phone and reading its storages, where the phone is a script.
#include "EngineFixture.h"
#include "ScriptedPhone.h"

#include "TessalyMTPSdk/ObjectDates.h"

using namespace testsupport;

namespace {

class Opening : public Engine {
protected:
  Opening() { mtp::addProvider(phone); }
  ~Opening() override { mtp::shutdown(); }

  uint32_t connect() { return mtpDextGetConnectedDeviceListHead(&device); }
  std::vector<std::string> storages(uint32_t expected = 0) {
    EXPECT_EQ(connect(), 0u) << log();
    _MTP_STORAGE_NODE* node = nullptr;
    EXPECT_EQ(mtpDextGetStorageListHead(device, &node), expected);
    std::vector<std::string> names;
    for (uint32_t status = node ? 0 : 2; status == 0; status = mtpDextGetNextStorageNode(node, &node))
      names.push_back(nameOf(node));
    return names;
  }

  std::shared_ptr<ScriptedPhone> phone = std::make_shared<ScriptedPhone>();
  _MTP_DEVICE_NODE* device = nullptr;
};

using Strings = std::vector<std::string>;

} // namespace

TEST_F(Opening, DatesAreReadInTheTimeZoneThatTheComputerHasWhenAPhoneComes) {
  tzset();
  setenv("TZ", "UTC-5", 1); // POSIX signs: five hours east of Greenwich
  EXPECT_EQ(connect(), 0u) << log();
  EXPECT_EQ(mtp::parseDate(u"20240101T050000"), 1704067200);
  unsetenv("TZ");
  tzset();
}

TEST_F(Opening, ACameraThatSpeaksPtpOnlyIsNoPhone) {
  phone->setDeviceInfo("'Acme' 0000", "05", "'M1' 0000", "03", "0B000000");
  EXPECT_EQ(connect(), 0x12000003u);
  EXPECT_EQ(device, nullptr);
  EXPECT_NE(log().find("choose \"File transfer\""), std::string::npos);
}

TEST_F(Opening, AnUnreadableDeviceInfoIsAStatusAndTheNextListTriesAgain) {
  const ByteVector right = phone->datasets[0x1001 << 16];
  for (std::size_t size = 0; size < right.size(); ++size) {
    phone->datasets[0x1001 << 16] = ByteVector(right.begin(), right.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(connect(), 0x12000003u) << size;
  }
  EXPECT_EQ(phone->opened, static_cast<int>(right.size()));
  phone->datasets[0x1001 << 16] = right;
  EXPECT_EQ(connect(), 0u);
}

TEST_F(Opening, AnOpenPhoneIsNotOpenedTwice) {
  EXPECT_EQ(connect(), 0u);
  EXPECT_EQ(connect(), 0u);
  EXPECT_EQ(phone->opened, 1);
}

TEST_F(Opening, AnotherAttachmentAtTheSamePlaceIsAnotherPhone) {
  EXPECT_EQ(connect(), 0u);
  const _MTP_DEVICE_NODE* before = device;
  phone->script->gone = true;
  phone->attachment = 2;
  EXPECT_EQ(connect(), 0u);
  EXPECT_EQ(phone->opened, 2);
  EXPECT_NE(device, before);
  EXPECT_EQ(kindOf(before), 0x12000001u);
}

TEST_F(Opening, APhoneThatDiedIsOpenedAnewAtTheNextList) {
  EXPECT_EQ(connect(), 0u);
  const auto answering = phone->script->otherwise;
  phone->script->otherwise = nullptr;
  _MTP_STORAGE_NODE* node = nullptr;
  EXPECT_EQ(mtpDextGetStorageListHead(device, &node), 0x13000008u);
  phone->script->otherwise = answering;
  EXPECT_EQ(connect(), 0u);
  EXPECT_EQ(phone->opened, 2);
}

TEST_F(Opening, AModelWithoutNameIsCalledByItsMaker) {
  phone->setDeviceInfo("'Acme' 0000", "05", "", "00", "06000000");
  EXPECT_EQ(connect(), 0u);
  uint32_t size = 0;
  char16_t name[64];
  ASSERT_EQ(mtpDextGetModelName(device, nullptr, &size), 1u);
  ASSERT_EQ(mtpDextGetModelName(device, name, &size), 0u);
  EXPECT_EQ(std::u16string_view(name), u"Acme");
}

TEST_F(Opening, AModelNameEndsAtAZeroUnit) {
  phone->setDeviceInfo("'Acme' 0000", "05", "'M' 0000 '1' 0000", "04", "06000000");
  EXPECT_EQ(connect(), 0u);
  uint32_t size = 0;
  ASSERT_EQ(mtpDextGetModelName(device, nullptr, &size), 1u);
  EXPECT_EQ(size, 4u);
}

TEST_F(Opening, SlotsWithoutMediumAndImpossibleStoragesAreNotAskedFor) {
  phone->datasets[0x1004 << 16] = hex("05000000 00000000 01000100 00000200 FFFFFFFF 01000300");
  phone->setStorage(1, "06 'Phone' 0000");
  phone->setStorage(3, "05 'Card' 0000");
  EXPECT_EQ(storages(), (Strings{"Phone", "Card"}));
  for (const ByteVector& command : phone->script->commands) {
    if (command[6] == std::byte{0x05} && command[7] == std::byte{0x10}) {
      EXPECT_NE(ByteVector(command.begin() + 12, command.end()), hex("00000000"));
      EXPECT_NE(ByteVector(command.begin() + 12, command.end()), hex("FFFFFFFF"));
    }
  }
}

TEST_F(Opening, AnUnreadableStorageDoesNotHideTheOthers) {
  phone->datasets[0x1004 << 16] = hex("02000000 01000100 01000200");
  phone->datasets[0x1005 << 16 | 1] = hex("0300");
  phone->setStorage(2, "05 'Card' 0000");
  EXPECT_EQ(storages(), Strings{"Card"});
}

TEST_F(Opening, OnlyUnreadableStoragesAreAFailure) {
  phone->datasets[0x1004 << 16] = hex("01000000 01000100");
  phone->datasets[0x1005 << 16 | 1] = hex("0300");
  EXPECT_TRUE(storages(0x13000005).empty());
}

TEST_F(Opening, AStorageWithoutDescriptionStillHasAName) {
  phone->datasets[0x1004 << 16] = hex("01000000 01000100");
  phone->setStorage(1, "00");
  EXPECT_EQ(storages(), Strings{"Storage"});
}

TEST_F(Opening, StoragesOfOneNameAreGivenNamesOfTheirOwn) {
  phone->datasets[0x1004 << 16] = hex("04000000 01000100 01000200 01000300 01000400");
  phone->setStorage(1, "05 'Card' 0000");
  phone->setStorage(2, "05 'CARD' 0000");
  phone->setStorage(3, "00");
  phone->setStorage(4, "05 'card' 0000");
  EXPECT_EQ(storages(), (Strings{"Card", "CARD 2", "Storage", "card 3"}));
}

TEST_F(Opening, AStoragesNameHoldsNoSlash) {
  phone->datasets[0x1004 << 16] = hex("01000000 01000100");
  phone->setStorage(1, "04 'A/B' 0000");
  EXPECT_EQ(storages(), Strings{"A-B"});
}

TEST_F(Opening, NoStorageIdsAreALockedPhone) {
  phone->datasets[0x1004 << 16] = hex("00000000");
  EXPECT_TRUE(storages(0x12000002).empty());
  EXPECT_NE(log().find("unlock the phone"), std::string::npos);
}

TEST_F(Opening, StorageIdsThatAreCutOffAreAStatus) {
  for (const char* bytes : {"", "01", "01000000", "FFFFFFFF 01000100", "02000000 01000100 010002"}) {
    phone->datasets[0x1004 << 16] = hex(bytes);
    storages(0x13000005);
  }
}

TEST_F(Opening, GarbageOnTheEventPipeIsIgnoredAndEventsAreHandedOn) {
  EXPECT_EQ(connect(), 0u);
  Signal events;
  const auto callback = [](int32_t, uint64_t, uint64_t, void* context) -> uint32_t {
    static_cast<Signal*>(context)->raise();
    return 0;
  };
  ASSERT_EQ(mtpDextRequestEventNotifyEx(device, callback, &events), 0u);
  for (const char* bytes : {"", "FF", "0C000000 0300 0240 00000000", "FFFFFFFF 0400 0240 00000000"})
    phone->script->eventHandler(hex(bytes));
  phone->script->eventHandler(hex("10000000 0400 0240 00000000 05000000"));
  ASSERT_TRUE(events.waitFor(1));
  EXPECT_EQ(mtpDextRequestEventNotifyEx(device, nullptr, nullptr), 0u);
  EXPECT_EQ(events.count(), 1);
}
