#include "DeviceNotifier/BTVornDeviceNotifier.h"
#include "DeviceNotifier/DetectionTestSupport.h"
#include "Platform/DistributedNotifications.h"
#include "Platform/VirtualDeviceRegistry.h"
#include "Platform/Workers.h"
#include "support/PrivateBus.h"
#include "support/ScriptedDeviceRegistry.h"
#include "support/ScriptedVolumes.h"

#include <QDBusMessage>

#include <gmock/gmock.h>

#include <atomic>
#include <stdexcept>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// A bus whose devices cannot be listed until the test says so; then nothing is on it.
class StuckRegistry : public platform::VirtualDeviceRegistry {
public:
  int services(platform::ServiceClass, std::vector<std::shared_ptr<platform::RegistryService>>&) override {
    const platform::Lock lock(m_mutex);
    m_entered = true;
    while (!m_released)
      m_changed.wait(m_mutex);
    return 0;
  }
  bool entered() {
    const platform::Lock lock(m_mutex);
    return m_entered;
  }
  void release() {
    const platform::Lock lock(m_mutex);
    m_released = true;
    m_changed.notify_all();
  }

private:
  platform::Mutex m_mutex;
  platform::Condition m_changed;
  bool m_entered MTPB_GUARDED_BY(m_mutex) = false;
  bool m_released MTPB_GUARDED_BY(m_mutex) = false;
};

class ThrowingRegistry : public platform::VirtualDeviceRegistry {
public:
  int connect() override { throw std::runtime_error("the bus is upside down"); }
};

// Counts the threads that use it: from reaching it to letting go of its monitor.
class CountingRegistry : public platform::VirtualDeviceRegistry {
public:
  std::unique_ptr<platform::RegistryMonitor> monitor(int& error) override {
    class Monitor : public platform::RegistryMonitor {
    public:
      Monitor(std::unique_ptr<platform::RegistryMonitor> real, std::atomic<int>& users)
          : m_real(std::move(real))
          , m_users(users) {}
      ~Monitor() override { --m_users; }
      int fd() const override { return m_real->fd(); }
      std::vector<platform::RegistryChange> take(bool& lost) override { return m_real->take(lost); }

    private:
      const std::unique_ptr<platform::RegistryMonitor> m_real;
      std::atomic<int>& m_users;
    };
    if (++users > 1)
      ++overlaps;
    ++turns;
    return std::make_unique<Monitor>(VirtualDeviceRegistry::monitor(error), users);
  }
  std::atomic<int> users = 0, overlaps = 0, turns = 0; // written by the notifier threads, read by the test
};

class DeviceNotifier : public testing::Test {
protected:
  ~DeviceNotifier() override {
    m_notifier.reset();
    EXPECT_TRUE(platform::waitForWorkers(std::chrono::seconds(20)));
    platform::resumeWorkers();
    drainMainQueue();
  }
  BTVornDeviceNotifier& make(std::shared_ptr<platform::DeviceRegistry> registry) {
    m_parts.registry = std::move(registry);
    m_notifier = std::make_unique<BTVornDeviceNotifier>(m_parts);
    return *m_notifier;
  }
  static platform::VirtualUsbDevice phone(std::uint16_t productId, std::uint32_t locationId = 0x14200000) {
    platform::VirtualUsbDevice device;
    device.locationId = locationId;
    device.vendorId = detection::DeviceIdentityTable().kPhoneVendorId;
    device.productId = productId;
    device.product = QStringLiteral("Larkspur 5");
    device.interfaces.clear();
    return device;
  }

  LogLines m_log;
  PostedNotifications m_posted;
  BTVornDeviceNotifier::Parts m_parts;
  std::shared_ptr<platform::VirtualDeviceRegistry> m_bus = std::make_shared<platform::VirtualDeviceRegistry>();
  std::unique_ptr<BTVornDeviceNotifier> m_notifier;
};

constexpr std::uint16_t quickProduct = 0x4160; // its serial port is searched once
constexpr std::uint16_t slowProduct = 0x4100;

TEST_F(DeviceNotifier, MadeButNotRegisteredRunsNoThread) {
  make(m_bus);
  EXPECT_EQ(m_log.lines(), QStringList({QStringLiteral("ENTER"), QStringLiteral("EXIT")}));
  EXPECT_FALSE(m_notifier->usbNotiThread());
  EXPECT_FALSE(m_notifier->umsNotiThread());
  EXPECT_TRUE(m_notifier->unRegisterNotification());
}

TEST_F(DeviceNotifier, RegistrationStartsTheUsbThreadAloneAndSaysWhatItWasGiven) {
  make(m_bus);
  EXPECT_TRUE(m_notifier->registerNotification(std::nullopt));
  EXPECT_TRUE(m_log.has(QStringLiteral("devieInfo=[(null)]")));
  EXPECT_TRUE(m_notifier->usbNotiThread());
  EXPECT_FALSE(m_notifier->umsNotiThread());
  EXPECT_FALSE(m_notifier->quitThread());
  EXPECT_TRUE(eventually([this] { return m_log.has(QStringLiteral("CFRunLoopRun")); }));
  EXPECT_TRUE(m_notifier->unRegisterNotification());
  EXPECT_FALSE(m_notifier->usbNotiThread());
  EXPECT_TRUE(m_notifier->quitThread());
}

TEST_F(DeviceNotifier, AnAttachedPhoneYieldsOneAttachOnTheMainThreadAndItsDepartureOneDetachOnAnother) {
  make(m_bus).registerNotification(std::nullopt);
  m_bus->attach(phone(quickProduct));
  ASSERT_TRUE(eventually([this] { return m_posted.types() == std::vector<int>{1}; }));
  EXPECT_TRUE(m_posted.take().front().onMainThread);
  m_bus->detach(0x14200000);
  ASSERT_TRUE(eventually([this] { return m_posted.all().size() == 2; }));
  const auto all = m_posted.take();
  EXPECT_EQ(all[0].type(), 2);
  EXPECT_FALSE(all[0].onMainThread);
  EXPECT_TRUE(all[1].isDetach());
  EXPECT_FALSE(all[1].hasUserInfo);
  m_notifier->unRegisterNotification();
  drainMainQueue();
  EXPECT_THAT(m_posted.all(), IsEmpty());
}

TEST_F(DeviceNotifier, AnAttachIsPostedAfterTheDetectorsCallbackHasReturned) {
  // The phone's arrival is handled while its serial port is searched for; nothing is announced in between.
  std::atomic<bool> asleep = false, wakeUp = false; // asleep: notifier thread to test; wakeUp: the other way
  m_parts.sleep = [&](std::chrono::seconds) {
    asleep = true;
    while (!wakeUp)
      std::this_thread::yield();
    return true;
  };
  m_bus->attach(phone(quickProduct, 1));
  m_bus->attach(phone(slowProduct, 2));
  make(m_bus).registerNotification(std::nullopt);
  ASSERT_TRUE(eventually([&] { return asleep.load(); }));
  drainMainQueue();
  EXPECT_THAT(m_posted.types(), ElementsAre(14)); // the first phone's attach waits for the callback of both to end
  wakeUp = true;
  ASSERT_TRUE(eventually([this] { return m_posted.types().size() == 3; }));
  EXPECT_THAT(m_posted.types(), ElementsAre(14, 1, 1));
  m_notifier->unRegisterNotification();
}

TEST_F(DeviceNotifier, APtpPhoneYieldsEvent12OnTheMainThread) {
  m_bus->attach(phone(m_parts.identities.kPtpNoSearchProductIds.front()));
  make(m_bus).registerNotification(std::nullopt);
  ASSERT_TRUE(eventually([this] { return m_posted.types() == std::vector<int>{12}; }));
  EXPECT_TRUE(m_posted.all().front().onMainThread);
  m_notifier->unRegisterNotification();
}

TEST_F(DeviceNotifier, StoppingWakesAThreadThatWaitsForASerialPort) {
  // The wait would last for hours.
  m_parts.now = [] { return std::chrono::steady_clock::now() + std::chrono::hours(9); };
  m_bus->attach(phone(slowProduct));
  make(m_bus).registerNotification(std::nullopt);
  ASSERT_TRUE(eventually([this] { return m_posted.types() == std::vector<int>{14}; }));
  m_notifier->unRegisterNotification();
  EXPECT_FALSE(m_notifier->usbNotiThread());
  drainMainQueue();
  EXPECT_THAT(m_posted.types(), ElementsAre(14));
}

TEST_F(DeviceNotifier, StoppingReturnsAfterAHundredSlicesWhenTheThreadNeverEnds) {
  const auto stuck = std::make_shared<StuckRegistry>();
  std::vector<int> slices;
  m_parts.runMainLoop = [&slices](std::chrono::milliseconds limit, const std::function<bool()>& done) {
    slices.push_back(int(limit.count()));
    EXPECT_FALSE(done());
  };
  make(stuck).registerNotification(std::nullopt);
  ASSERT_TRUE(eventually([&] { return stuck->entered(); }));
  EXPECT_TRUE(m_notifier->unRegisterNotification());
  EXPECT_EQ(slices, std::vector<int>(100, 100));
  EXPECT_TRUE(m_notifier->usbNotiThread());
  m_notifier.reset(); // the thread must do without it from here on
  stuck->release();
}

TEST_F(DeviceNotifier, TheMainThreadHandlesEventsWhileItWaitsForTheThread) {
  m_parts.sleep = [](std::chrono::seconds) {
    // Ends only when the main thread comes to this call.
    return platform::runOnMainAndWait([] {}) && false;
  };
  m_bus->attach(phone(slowProduct));
  make(m_bus).registerNotification(std::nullopt);
  m_notifier->unRegisterNotification();
  EXPECT_FALSE(m_notifier->usbNotiThread());
}

TEST_F(DeviceNotifier, RegisteringAgainAfterAStopStartsAFreshThreadThatAnnouncesWhatIsAttached) {
  m_bus->attach(phone(quickProduct));
  make(m_bus).registerNotification(std::nullopt);
  ASSERT_TRUE(eventually([this] { return m_posted.types().size() == 1; }));
  m_notifier->unRegisterNotification();
  EXPECT_TRUE(m_notifier->registerNotification(QVariantList{QStringLiteral("a"), 2}));
  EXPECT_TRUE(m_log.has(QStringLiteral("devieInfo=[a, 2]")));
  EXPECT_FALSE(m_notifier->quitThread());
  ASSERT_TRUE(eventually([this] { return m_posted.types().size() == 2; }));
  m_notifier->unRegisterNotification();
}

TEST_F(DeviceNotifier, RegisteringTwiceLeavesOneThreadWatching) {
  make(m_bus).registerNotification(std::nullopt);
  m_notifier->registerNotification(std::nullopt);
  ASSERT_TRUE(eventually([] { return platform::runningWorkers() == 1; }));
  m_bus->attach(phone(quickProduct));
  ASSERT_TRUE(eventually([this] { return !m_posted.types().empty(); }));
  m_notifier->unRegisterNotification();
  drainMainQueue();
  EXPECT_THAT(m_posted.types(), ElementsAre(1));
}

TEST_F(DeviceNotifier, RegisteringAgainAndAgainNeverHasTwoThreadsUseTheRegistry) {
  const auto bus = std::make_shared<CountingRegistry>();
  make(bus);
  for (int turn = 1; turn <= 20; ++turn) {
    m_notifier->registerNotification(std::nullopt);
    ASSERT_TRUE(eventually([&] { return bus->turns == turn; }));
  }
  m_notifier->unRegisterNotification();
  ASSERT_TRUE(eventually([] { return platform::runningWorkers() == 0; }));
  EXPECT_EQ(bus->overlaps, 0);
  EXPECT_EQ(bus->users, 0);
}

TEST_F(DeviceNotifier, AnExceptionEndsTheThreadWithALogLine) {
  make(std::make_shared<ThrowingRegistry>()).registerNotification(std::nullopt);
  ASSERT_TRUE(eventually([this] { return !m_notifier->usbNotiThread(); }));
  EXPECT_TRUE(m_log.has(QStringLiteral("NSException : the bus is upside down")));
  EXPECT_TRUE(m_notifier->unRegisterNotification());
}

TEST_F(DeviceNotifier, AnotherMakersMtpDeviceIsAnnouncedWhenItsInterfaceComes) {
  m_parts.identities.AcceptAnyMtpDevice = true;
  make(m_bus).registerNotification(std::nullopt);
  auto other = phone(1);
  other.vendorId = 0x1234;
  m_bus->attach(other);
  ASSERT_TRUE(eventually([this] { return m_log.has(QStringLiteral("CONTINUE")); }));
  EXPECT_THAT(m_posted.all(), IsEmpty());
  other.interfaces = {platform::VirtualUsbDevice::Interface{}};
  m_bus->change(other);
  ASSERT_TRUE(eventually([this] { return m_posted.types() == std::vector<int>{1}; }));
  m_notifier->unRegisterNotification();
}

TEST_F(DeviceNotifier, DestroyedWhileRegisteredEndsItsThread) {
  make(m_bus).registerNotification(std::nullopt);
  m_notifier.reset();
  EXPECT_TRUE(eventually([] { return platform::runningWorkers() == 0; }));
}

// The mass-storage and network thread beside the USB thread, with a bus and disks of the test's.
class VolumeAndNetworkThread : public DeviceNotifier {
protected:
  VolumeAndNetworkThread() {
    m_bus.emplace(QDBusConnection::connectToBus(m_daemon.address(), QStringLiteral("notifier")));
    m_center = std::make_unique<platform::DistributedNotificationCenter>(*m_bus);
    m_parts.volumes = m_volumes;
    m_parts.distributedCenter = m_center.get();
    m_parts.sleep = [](std::chrono::seconds) { return true; };
    make(m_usb);
  }
  ~VolumeAndNetworkThread() override {
    m_notifier->unRegisterNotification();
    drainMainQueue();
    m_center.reset();
    m_bus.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("notifier"));
  }
  // Both threads run and the network's observes.
  void start() {
    m_notifier->registerNotification(std::nullopt);
    ASSERT_TRUE(m_notifier->startUMSNotifierThread());
    ASSERT_TRUE(eventually([this] { return m_log.count(QStringLiteral("CFRunLoopRun")) == 2; }));
    drainMainQueue();
  }
  platform::DiskDescription phoneDisk() const {
    platform::DiskDescription description;
    description.volumePath = "file:///media/card";
    description.devicePath = QStringLiteral("/usb20@14000000/Larkspur 5@14200000/6:0:0:0/sdb");
    description.deviceModel = QStringLiteral("Phone Card");
    return description;
  }

  testsupport::PrivateBus m_daemon;
  std::optional<QDBusConnection> m_bus;
  std::unique_ptr<platform::DistributedNotificationCenter> m_center;
  std::shared_ptr<scripted::Volumes> m_volumes = std::make_shared<scripted::Volumes>();
  const std::shared_ptr<platform::VirtualDeviceRegistry> m_usb = std::make_shared<platform::VirtualDeviceRegistry>();
};

TEST_F(VolumeAndNetworkThread, IsNotStartedByTheRegistration) {
  EXPECT_FALSE(m_notifier->startUMSNotifierThread());
  m_notifier->registerNotification(std::nullopt);
  EXPECT_FALSE(m_notifier->umsNotiThread());
  EXPECT_TRUE(eventually([this] { return m_log.has(QStringLiteral("CFRunLoopRun")); }));
  EXPECT_EQ(m_volumes->monitors(), 0);
  EXPECT_FALSE(m_log.has(QStringLiteral("Registered with notification center")));
}

TEST_F(VolumeAndNetworkThread, StartsItsPartsInOrderAndStopsThemInTheOther) {
  std::vector<QString> order;
  m_volumes->onMonitor([&](bool begins) {
    const bool network = m_log.has(begins ? QStringLiteral("Registered with notification center")
                                          : QStringLiteral("Unregistered with notification center"));
    order.push_back(begins ? QStringLiteral("disks") : QStringLiteral("no disks"));
    order.push_back(network ? QStringLiteral("network before") : QStringLiteral("network after"));
  });
  start();
  EXPECT_TRUE(m_notifier->umsNotiThread());
  EXPECT_FALSE(m_notifier->startUMSNotifierThread()); // it runs already
  EXPECT_EQ(m_volumes->monitors(), 1);
  EXPECT_TRUE(m_log.has(QStringLiteral("Registered with notification center")));
  m_log.clear();
  m_notifier->unRegisterNotification();
  EXPECT_FALSE(m_notifier->umsNotiThread());
  EXPECT_FALSE(m_notifier->usbNotiThread());
  EXPECT_TRUE(m_log.has(QStringLiteral("Unregistered with notification center")));
  EXPECT_EQ(m_volumes->monitors(), 0);
  EXPECT_EQ(order, (std::vector<QString>{"disks", "network after", "no disks", "network before"}));
  EXPECT_FALSE(m_notifier->startUMSNotifierThread()); // not registered any more
}

TEST_F(VolumeAndNetworkThread, TiesADiskToThePhoneOfTheUsbThread) {
  start();
  m_usb->attach(phone(quickProduct));
  ASSERT_TRUE(eventually([this] { return m_posted.types() == std::vector<int>{1}; }));
  const auto disk = scripted::Volumes::disk("sdb");
  m_volumes->insert(disk, phoneDisk());
  ASSERT_TRUE(eventually([this] { return m_posted.types() == std::vector<int>({1, 7}); }));
  EXPECT_TRUE(m_posted.all().back().onMainThread);
  m_volumes->remove(disk);
  ASSERT_TRUE(eventually([this] { return m_posted.types() == std::vector<int>({1, 7, 8}); }));
}

TEST_F(VolumeAndNetworkThread, APhonePulledWithItsDiskIsDetachedOnceAndItsDiskGoesAtMostOnce) {
  start();
  m_usb->attach(phone(quickProduct));
  ASSERT_TRUE(eventually([this] { return m_posted.types().size() == 1; }));
  const auto disk = scripted::Volumes::disk("sdb");
  m_volumes->insert(disk, phoneDisk());
  ASSERT_TRUE(eventually([this] { return m_posted.types().size() == 2; }));
  m_volumes->remove(disk);
  m_usb->detach(0x14200000);
  ASSERT_TRUE(eventually([this] { return testing::Value(m_posted.types(), testing::Contains(2)); }));
  m_notifier->unRegisterNotification();
  drainMainQueue();
  const std::vector<int> types = m_posted.types();
  EXPECT_EQ(std::count(types.begin(), types.end(), 2), 1);
  EXPECT_LE(std::count(types.begin(), types.end(), 8), 1);
}

TEST_F(VolumeAndNetworkThread, HearsAnotherProgramsAnnouncementOverTheBus) {
  start();
  auto stranger = QDBusConnection::connectToBus(m_daemon.address(), QStringLiteral("stranger"));
  QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/"), QStringLiteral("org.mtpbrowser.Notifications"),
                                                   QStringLiteral("Posted"));
  signal << QStringLiteral("BTVORN_NOTI_UPNP_DEVICE_NOTIFIER")
         << QVariantMap{{QStringLiteral("ModelName"), QStringLiteral("PHONE")},
                        {QStringLiteral("Wifi_IP"), QStringLiteral("10.0.0.5")},
                        {QStringLiteral("Wifi_PORT"), 42000},
                        {QStringLiteral("PinNumber"), QByteArray("no text")}};
  EXPECT_TRUE(stranger.send(signal));
  ASSERT_TRUE(eventually([this] { return m_posted.types() == std::vector<int>{10}; }));
  EXPECT_FALSE(m_posted.all().front().onMainThread);
  EXPECT_EQ(m_posted.all().front().text("LocationId"), QStringLiteral("10.0.0.5_42000"));
  EXPECT_TRUE(m_log.has(QStringLiteral("CRTICAL - PinNumber is nil !!!")));
  m_posted.take();
  platform::NotificationCenter::defaultCenter().post(
      QStringLiteral("WIFI_DISCONNECT"), {{QStringLiteral("LocationId"), QStringLiteral("10.0.0.5_42000")}});
  EXPECT_EQ(m_posted.all().size(), 5u);
  QDBusConnection::disconnectFromBus(QStringLiteral("stranger"));
}

TEST_F(VolumeAndNetworkThread, StoppingWakesItWhileItWaitsForAMount) {
  m_parts.sleep = {};
  make(m_usb);
  platform::DiskDescription unmounted = phoneDisk();
  unmounted.volumePath.reset();
  for (int i = 0; i < 30; ++i)
    m_volumes->insert({"sd" + QByteArray::number(i), QString::number(i)}, unmounted);
  m_notifier->registerNotification(std::nullopt);
  ASSERT_TRUE(m_notifier->startUMSNotifierThread());
  ASSERT_TRUE(eventually([this] { return m_log.has(QStringLiteral("sd0 DiskAdded")); }));
  m_notifier->unRegisterNotification(); // gives up after ten seconds
  EXPECT_FALSE(m_notifier->umsNotiThread());
  EXPECT_TRUE(m_log.has(QStringLiteral("sd29 DiskAdded")));
}

TEST_F(VolumeAndNetworkThread, CanBeStartedAgainAfterAStop) {
  for (int i = 0; i < 3; ++i) {
    m_log.clear();
    start();
    m_notifier->unRegisterNotification();
    EXPECT_FALSE(m_notifier->umsNotiThread());
  }
}

TEST_F(VolumeAndNetworkThread, DestroyedWhileItRunsItEndsByItself) {
  start();
  make(m_usb);
  EXPECT_TRUE(eventually([] { return platform::runningWorkers() == 0; }));
}

} // namespace
