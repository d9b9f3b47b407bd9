#include "VirtualPhone/Initiator.h"

#include <algorithm>

namespace {

using namespace testing_phone;
using Responder = PhoneTest;

struct Info {
  std::uint16_t version, extensionVersion, mode;
  std::uint32_t extension;
  std::u16string description, manufacturer, model, deviceVersion, serial;
  std::vector<std::uint32_t> operations, events, properties;
};

Info readInfo(const Result& result) {
  auto in = result.in();
  Info info;
  info.version = std::uint16_t(in.n(2));
  info.extension = std::uint32_t(in.n(4));
  info.extensionVersion = std::uint16_t(in.n(2));
  info.description = in.text();
  info.mode = std::uint16_t(in.n(2));
  info.operations = in.list(2);
  info.events = in.list(2);
  info.properties = in.list(2);
  in.list(2);
  in.list(2);
  info.manufacturer = in.text();
  info.model = in.text();
  info.deviceVersion = in.text();
  info.serial = in.text();
  EXPECT_TRUE(in.done());
  return info;
}

bool has(const std::vector<std::uint32_t>& codes, std::uint32_t code) {
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

Bytes hex(std::string_view text) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 3)
    bytes.push_back(std::byte(std::stoi(std::string(text.substr(i, 2)), nullptr, 16)));
  return bytes;
}

TEST_F(Responder, AnswersAnOpenedSessionWithTheseVeryBytes) {
  phone = std::make_unique<vphone::VirtualPhone>(options);
  phone->plug();
  host = std::make_unique<Initiator>(phone->provider()->list()[0].open().transport);
  ASSERT_EQ(host->wire->write(hex("10 00 00 00 01 00 02 10 00 00 00 00 01 00 00 00"), true, 20s), mtp::IoStatus::Ok);
  Bytes answer;
  host->transfer(answer);
  EXPECT_EQ(answer, hex("0c 00 00 00 03 00 01 20 00 00 00 00"));
}

TEST_F(Responder, ListsItsStoragesWithTheseVeryBytes) {
  start();
  host->wire->write(hex("0c 00 00 00 01 00 04 10 07 00 00 00"), true, 20s);
  Bytes data, answer;
  host->transfer(data);
  host->transfer(answer);
  EXPECT_EQ(data, hex("18 00 00 00 02 00 04 10 07 00 00 00 02 00 00 00 01 00 01 00 01 00 02 00"));
  EXPECT_EQ(answer, hex("0c 00 00 00 03 00 01 20 07 00 00 00"));
}

TEST_F(Responder, TellsWhatItIsAsAndroidDoes) {
  options.manufacturer = "Maker";
  options.model = "Model Ω";
  options.serial = "S1";
  start();
  auto info = readInfo(host->run(0x1001));
  EXPECT_EQ(info.version, 100);
  EXPECT_EQ(info.extension, 6u);
  EXPECT_EQ(info.description, u"microsoft.com: 1.0; android.com: 1.0;");
  EXPECT_EQ(info.manufacturer, u"Maker");
  EXPECT_EQ(info.model, u"Model Ω");
  EXPECT_EQ(info.serial, u"S1");
  for (auto operation : {0x1001, 0x1007, 0x1019, 0x101A, 0x9805, 0x95C1, 0x95C5})
    EXPECT_TRUE(has(info.operations, std::uint32_t(operation))) << operation;
  EXPECT_FALSE(has(info.operations, 0x9808)) << "Android has no SendObjectPropList";
  for (auto event : {0x4002, 0x4003, 0x4004, 0x4005, 0x4007})
    EXPECT_TRUE(has(info.events, std::uint32_t(event))) << event;
  EXPECT_TRUE(has(info.properties, 0xD402));
}

TEST_F(Responder, AnswersGetDeviceInfoWithoutASessionAndNothingElse) {
  start();
  EXPECT_EQ(host->run(0x1003).code, 0x2001);
  EXPECT_EQ(host->run(0x1001).code, 0x2001);
  EXPECT_EQ(host->run(0x1004).code, 0x2003);
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 1)).code, 0x2003);
  host->open();
  EXPECT_EQ(host->run(0x1004).code, 0x2001);
}

TEST_F(Responder, ASecondOpenSessionIsHarmless) {
  start();
  auto again = host->run(0x1002, {2});
  EXPECT_EQ(again.code, 0x201E);
  EXPECT_EQ(again.parameters, std::vector<std::uint32_t>{1});
  EXPECT_EQ(host->run(0x1004).code, 0x2001);
}

TEST_F(Responder, ASessionNumberedZeroIsRefused) {
  start();
  host->run(0x1003);
  EXPECT_EQ(host->run(0x1002, {0}).code, 0x201D);
}

TEST_F(Responder, UnknownOperationsAreNotSupportedWithOrWithoutData) {
  start();
  EXPECT_EQ(host->run(0x9FFF).code, 0x2005);
  EXPECT_EQ(host->send(0x9808, {Internal, Root}, Bytes(5000)).code, 0x2005);
  EXPECT_EQ(host->run(0x1004).code, 0x2001) << "the unwanted data did not confuse it";
}

TEST_F(Responder, OperationsTakenAwayAreNeitherAdvertisedNorAnswered) {
  options.manners.missingOperations = {0x9805};
  start();
  EXPECT_FALSE(has(readInfo(host->run(0x1001)).operations, 0x9805));
  EXPECT_EQ(host->run(0x9805, {0, 0, 0xDC07, 0, 1}).code, 0x2005);
}

TEST_F(Responder, StorageInfoShowsCapacityKindAndAccess) {
  options.storages[0].capacity = 1000000;
  options.storages[1].readOnly = true;
  internal.file("a/b/c.bin", std::string(1234, 'x'));
  start();
  auto in = host->run(0x1005, {Internal}).in();
  EXPECT_EQ(in.n(2), 3u);
  EXPECT_EQ(in.n(2), 2u);
  EXPECT_EQ(in.n(2), 0u);
  EXPECT_EQ(in.n(8), 1000000u);
  EXPECT_EQ(in.n(8), 1000000u - 1234);
  in.n(4);
  EXPECT_EQ(in.text(), u"Internal storage");
  in.text();
  EXPECT_TRUE(in.done());
  in = host->run(0x1005, {Card}).in();
  EXPECT_EQ(in.n(2), 4u);
  in.n(2);
  EXPECT_EQ(in.n(2), 1u);
  EXPECT_GT(in.n(8), 0u) << "as the file system below";
}

TEST_F(Responder, UnknownStoragesAreRefused) {
  start();
  for (std::uint32_t id : {0u, 1u, 0x00030001u, 0xFFFFFFFFu})
    EXPECT_EQ(host->run(0x1005, {id}).code, 0x2008) << id;
}

TEST_F(Responder, TheFriendlyNameCanBeReadChangedAndReset) {
  options.friendlyName = "My phone";
  start();
  EXPECT_EQ(host->run(0x1015, {0xD402}).in().text(), u"My phone");
  EXPECT_EQ(host->send(0x1016, {0xD402}, Out().text(u"Other").bytes).code, 0x2001);
  EXPECT_EQ(host->run(0x1015, {0xD402}).in().text(), u"Other");
  auto in = host->run(0x1014, {0xD402}).in();
  EXPECT_EQ(in.n(2), 0xD402u);
  EXPECT_EQ(in.n(2), 0xFFFFu);
  EXPECT_EQ(in.n(1), 1u);
  EXPECT_EQ(in.text(), u"My phone");
  EXPECT_EQ(in.text(), u"Other");
  EXPECT_EQ(host->run(0x1017, {0xD402}).code, 0x2001);
  EXPECT_EQ(host->run(0x1015, {0xD402}).in().text(), u"My phone");
}

TEST_F(Responder, DevicePropertiesItHasNotAreNotSupported) {
  start();
  EXPECT_EQ(host->run(0x1014, {0x5005}).code, 0x200A);
  EXPECT_EQ(host->run(0x1015, {0x5005}).code, 0x200A);
  EXPECT_EQ(host->send(0x1016, {0x5005}, Out().text(u"x").bytes).code, 0x200A);
  EXPECT_EQ(host->send(0x1016, {0x5001}, Out().n(5, 1).bytes).code, 0x200F);
  for (std::uint32_t property : {0xD401u, 0xD402u, 0x5001u, 0x5003u, 0xD407u}) {
    EXPECT_EQ(host->run(0x1014, {property}).code, 0x2001) << property;
    EXPECT_EQ(host->run(0x1015, {property}).code, 0x2001) << property;
  }
}

TEST_F(Responder, ATextCutShortIsNoDevicePropertyValue) {
  start();
  EXPECT_EQ(host->send(0x1016, {0xD402}, Out().n(200, 1).n('a', 2).bytes).code, 0x201C);
}

TEST_F(Responder, ALockedPhoneShowsNoStorages) {
  internal.file("a.txt");
  start();
  auto handle = find(u"a.txt");
  phone->setLocked(true);
  EXPECT_TRUE(host->waitFor(0x4005, Internal));
  EXPECT_EQ(host->run(0x1004).in().list(4).size(), 0u);
  EXPECT_EQ(host->run(0x1007, {0xFFFFFFFF, 0, Root}).code, 0x2008);
  EXPECT_EQ(host->run(0x1008, {handle}).code, 0x2009);
  EXPECT_EQ(host->run(0x9805, {0, 0, 0xDC07, 0, 1}).in().n(4), 0u);
  phone->setLocked(false);
  EXPECT_TRUE(host->waitFor(0x4004, Card));
  EXPECT_EQ(host->run(0x1004).in().list(4).size(), 2u);
}

TEST_F(Responder, AResetRequestEndsTheSession) {
  start();
  EXPECT_EQ(host->wire->controlOut(0x66, {}, 1s), mtp::IoStatus::Ok);
  EXPECT_EQ(host->run(0x1004).code, 0x2003);
  host->open();
}

} // namespace
