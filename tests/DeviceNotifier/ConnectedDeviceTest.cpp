#include "DeviceNotifier/ConnectedDevice.h"
#include "DeviceNotifier/DetectionTestSupport.h"
#include "support/ScriptedDeviceRegistry.h"

#include <gmock/gmock.h>

using namespace detection;
using testing::ElementsAre;

namespace {

class CountedInterest : public platform::InterestNotification {
public:
  explicit CountedInterest(int& ended)
      : m_ended(ended) {}
  ~CountedInterest() override { ++m_ended; }

private:
  int& m_ended;
};

TEST(DeviceQueue, KeepsTheOrderOfArrivalAndGivesRecordsBackByAddress) {
  DeviceQueue queue;
  auto* const first = queue.append(std::make_unique<_connected_device>());
  auto* const second = queue.append(std::make_unique<_connected_device>());
  first->locationID = 1;
  second->locationID = 2;
  std::vector<std::uint32_t> seen;
  queue.find([&seen](const _connected_device& record) {
    seen.push_back(record.locationID);
    return false;
  });
  EXPECT_THAT(seen, ElementsAre(1, 2));
  const auto removed = queue.remove(first);
  EXPECT_EQ(removed.get(), first);
  EXPECT_EQ(queue.remove(first), nullptr);
  EXPECT_EQ(queue.size(), 1u);
}

TEST(DeviceQueue, StopsLookingAtTheFirstMatch) {
  DeviceQueue queue;
  queue.append(std::make_unique<_connected_device>());
  queue.append(std::make_unique<_connected_device>());
  int visits = 0;
  queue.find([&visits](const _connected_device&) { return ++visits > 0; });
  EXPECT_EQ(visits, 1);
}

TEST(ConnectedDeviceFree, ClosesTheDeviceAndEndsTheInterestAndSaysSo) {
  const LogLines log;
  int ended = 0;
  auto record = std::make_unique<_connected_device>();
  record->deviceInterface = std::make_unique<scripted::Interface>(scripted::Service("a"));
  record->notification = std::make_unique<CountedInterest>(ended);
  record->firstVolume = std::make_unique<VolumeSlot>();
  ConnectedDeviceFree(std::move(record));
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(
      log.lines(),
      QStringList({QStringLiteral("ENTER"),
                   QStringLiteral("(*pConnectedDevice->deviceInterface)->Release( pConnectedDevice->deviceInterface )"),
                   QStringLiteral("IOObjectRelease( pConnectedDevice->notification ) result= 0"),
                   QStringLiteral("EXIT")}));
}

TEST(ConnectedDeviceFree, OfAnEmptyRecordSaysNothingOfItsParts) {
  const LogLines log;
  ConnectedDeviceFree(std::make_unique<_connected_device>());
  EXPECT_EQ(log.lines(), QStringList({QStringLiteral("ENTER"), QStringLiteral("EXIT")}));
}

TEST(ConnectedDeviceFree, OfNoRecordSaysSo) {
  const LogLines log;
  ConnectedDeviceFree(nullptr);
  EXPECT_EQ(log.lines(), QStringList({QStringLiteral("ENTER"), QStringLiteral("pConnectedDevice is NULL.")}));
}

} // namespace
