#include "VirtualPhone/Initiator.h"

#include <thread>

namespace {

using namespace testing_phone;
using VirtualPhone = PhoneTest;

TEST_F(VirtualPhone, IsListedWhileItIsPlugged) {
  options.locationId = 0x14200000;
  options.vendorId = 0x1234;
  options.productId = 0x5678;
  phone = std::make_unique<vphone::VirtualPhone>(options);
  auto provider = phone->provider();
  EXPECT_TRUE(provider->list().empty());
  phone->plug();
  auto list = provider->list();
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0].locationId, 0x14200000u);
  EXPECT_EQ(list[0].vendorId, 0x1234);
  EXPECT_EQ(list[0].productId, 0x5678);
  phone->unplug();
  EXPECT_TRUE(provider->list().empty());
}

TEST_F(VirtualPhone, EachPluggingInIsAnAttachmentOfItsOwn) {
  start();
  auto first = phone->provider()->list()[0].attachment;
  phone->plug();
  EXPECT_EQ(phone->provider()->list()[0].attachment, first) << "it was plugged in already";
  phone->unplug();
  phone->plug();
  EXPECT_NE(phone->provider()->list()[0].attachment, first);
}

TEST_F(VirtualPhone, ASecondOpeningIsBusyUntilTheFirstIsClosed) {
  start();
  auto candidate = phone->provider()->list()[0];
  auto second = candidate.open();
  EXPECT_FALSE(second.transport);
  EXPECT_EQ(second.failure, mtp::OpenFailure::Busy);
  host.reset();
  EXPECT_TRUE(candidate.open().transport);
}

TEST_F(VirtualPhone, AnOpeningOfAnOlderAttachmentIsGone) {
  start();
  auto candidate = phone->provider()->list()[0];
  phone->unplug();
  EXPECT_EQ(candidate.open().failure, mtp::OpenFailure::Gone);
  phone->plug();
  EXPECT_EQ(candidate.open().failure, mtp::OpenFailure::Gone);
}

TEST_F(VirtualPhone, ItsProviderMayOutliveIt) {
  start();
  auto provider = phone->provider();
  auto candidate = provider->list()[0];
  host.reset();
  phone.reset();
  EXPECT_TRUE(provider->list().empty());
  EXPECT_EQ(candidate.open().failure, mtp::OpenFailure::Gone);
}

TEST_F(VirtualPhone, MayBeDestroyedWhileAHostTalksToIt) {
  internal.file("f", std::string(5 << 20, 'x'));
  start();
  auto handle = find(u"f");
  std::jthread talking([&] {
    for (;;) {
      auto result = host->run(0x1009, {handle});
      if (result.status != mtp::IoStatus::Ok) {
        EXPECT_EQ(result.status, mtp::IoStatus::Gone);
        return;
      }
    }
  });
  phone.reset();
}

TEST_F(VirtualPhone, ManyPluggingsAndOpeningsDoNotWedgeIt) {
  internal.file("f");
  start();
  for (int i = 0; i < 100; ++i) {
    connect();
    EXPECT_EQ(handles().size(), 1u);
    if (i % 10 == 0) {
      phone->unplug();
      phone->plug();
    }
  }
}

TEST_F(VirtualPhone, CountsWhatItWasAskedFor) {
  start();
  auto before = phone->statistics();
  host->run(0x1004);
  host->run(0x1004);
  auto after = phone->statistics();
  EXPECT_EQ(after.transactions - before.transactions, 2u);
  EXPECT_EQ(after.operations.at(0x1004), 2u);
}

TEST_F(VirtualPhone, StoragesGetTheIdsOfAndroidUnlessTheyBringTheirOwn) {
  options.storages[0].storageId = 0x00020001;
  start();
  EXPECT_EQ(host->run(0x1004).in().list(4), (std::vector<std::uint32_t>{0x00020001, 0x00010001}));
}

TEST_F(VirtualPhone, AStorageAddedWhileUnpluggedIsThereAtTheNextPluggingIn) {
  start();
  phone->unplug();
  TemporaryFolder other;
  EXPECT_EQ(phone->addStorage({other.path(), "Late"}), 0x00030001u);
  phone->plug();
  connect();
  EXPECT_EQ(host->run(0x1004).in().list(4).size(), 3u);
}

TEST_F(VirtualPhone, ServesAWireMadeElsewhere) {
  phone = std::make_unique<vphone::VirtualPhone>(options);
  auto wire = mtp::makeMemoryWire(1024);
  EXPECT_FALSE(phone->serve(*wire.device)) << "not plugged in";
  wire = mtp::makeMemoryWire(1024);
  phone->plug();
  std::jthread serving([&] { EXPECT_TRUE(phone->serve(*wire.device)); });
  host = std::make_unique<Initiator>(std::move(wire.initiator));
  host->open();
  EXPECT_EQ(host->run(0x1004).in().n(4), 2u);
  EXPECT_EQ(phone->provider()->list()[0].open().failure, mtp::OpenFailure::Busy);
  host.reset();
}

TEST_F(VirtualPhone, MayBeUsedFromManyThreads) {
  internal.file("d/f");
  start();
  auto d = find(u"d");
  std::jthread files([&] {
    for (int i = 0; i < 200; ++i) {
      auto path = internal.file("d/n" + std::to_string(i));
      if (i % 2)
        std::filesystem::remove(path);
    }
  });
  std::jthread cards([&] {
    TemporaryFolder other;
    for (int i = 0; i < 50; ++i) {
      auto id = phone->addStorage({other.path(), "x"});
      phone->setLocked(i % 2 == 0);
      phone->removeStorage(id);
      phone->statistics();
    }
    phone->setLocked(false);
  });
  for (int i = 0; i < 200; ++i) {
    auto result = host->run(0x1007, {Internal, 0, d});
    ASSERT_EQ(result.status, mtp::IoStatus::Ok);
    result = host->run(0x9805, {d, 0, 0xDC04, 0, 1});
    ASSERT_EQ(result.status, mtp::IoStatus::Ok);
  }
  files.join();
  cards.join();
  EXPECT_EQ(handles(Internal, d).size(), 101u);
}

} // namespace
