#include "Platform/NotificationPort.h"
#include "support/ScriptedDeviceRegistry.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class NotificationPortTest : public testing::Test {
protected:
  static std::shared_ptr<scripted::Service> device(const QString& id) {
    auto made = std::make_shared<scripted::Service>(id);
    made->nodeName = id.toUtf8();
    return made;
  }
  void watch() {
    m_port = std::make_unique<NotificationPort>(m_registry);
    m_loop.addSource(m_port->runLoopSource());
    ASSERT_EQ(m_port->addMatchingNotification([this](ServiceIterator& found) { take(found); }, m_iterator), 0);
  }
  void take(ServiceIterator& found) {
    while (const auto service = found.next())
      m_told.push_back("came " + service->name().toStdString());
  }
  std::unique_ptr<InterestNotification> interest(const RegistryService& service) {
    std::unique_ptr<InterestNotification> made;
    EXPECT_EQ(m_port->addInterestNotification(
                  service,
                  [this](const auto& changed, std::uint32_t message) {
                    m_told.push_back((message == messageServiceIsTerminated ? "gone " : "changed ") +
                                     changed->name().toStdString());
                  },
                  made),
              0);
    return made;
  }
  std::vector<std::string> told() {
    m_loop.runFor(std::chrono::milliseconds(0));
    return std::exchange(m_told, {});
  }

  std::shared_ptr<scripted::Registry> m_registry = std::make_shared<scripted::Registry>();
  RunLoop m_loop;
  std::unique_ptr<NotificationPort> m_port;
  std::shared_ptr<ServiceIterator> m_iterator;
  std::vector<std::string> m_told;
};

TEST_F(NotificationPortTest, HandsOutTheAttachedDevicesFirst) {
  m_registry->devices = {device("a"), device("b")};
  watch();
  take(*m_iterator);
  EXPECT_THAT(told(), ElementsAre("came a", "came b"));
}

TEST_F(NotificationPortTest, TellsOfLaterDevicesOnTheRunLoopOnly) {
  watch();
  m_registry->present(device("a"));
  m_registry->present(device("b"));
  EXPECT_THAT(m_told, IsEmpty());
  EXPECT_THAT(told(), ElementsAre("came a", "came b"));
}

TEST_F(NotificationPortTest, ADeviceListedAndAnnouncedComesOnce) {
  m_port = std::make_unique<NotificationPort>(m_registry);
  m_loop.addSource(m_port->runLoopSource());
  m_registry->present(device("a"));
  ASSERT_EQ(m_port->addMatchingNotification([this](ServiceIterator& found) { take(found); }, m_iterator), 0);
  take(*m_iterator);
  EXPECT_THAT(told(), ElementsAre("came a"));
}

TEST_F(NotificationPortTest, AnInterestHearsOfItsServiceAlone) {
  const auto a = device("a"), b = device("b");
  m_registry->devices = {a, b};
  watch();
  take(*m_iterator);
  const auto kept = interest(*a);
  m_told.clear();
  m_registry->present(a);
  m_registry->present(b);
  m_registry->gone(b);
  m_registry->gone(a);
  m_registry->gone(a);
  EXPECT_THAT(told(), ElementsAre("changed a", "gone a"));
}

TEST_F(NotificationPortTest, AnEndedInterestHearsNothing) {
  const auto a = device("a");
  m_registry->devices = {a};
  watch();
  take(*m_iterator);
  m_told.clear();
  interest(*a).reset();
  m_registry->gone(a);
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(NotificationPortTest, AnInterestMayEndItselfAndItsNeighbourInItsCallback) {
  const auto a = device("a");
  m_registry->devices = {a};
  watch();
  take(*m_iterator);
  m_told.clear();
  std::unique_ptr<InterestNotification> first, second;
  const auto endBoth = [&](const auto&, std::uint32_t) {
    m_told.push_back("called");
    first.reset();
    second.reset();
  };
  ASSERT_EQ(m_port->addInterestNotification(*a, endBoth, first), 0);
  ASSERT_EQ(m_port->addInterestNotification(*a, endBoth, second), 0);
  m_registry->gone(a);
  EXPECT_THAT(told(), ElementsAre("called"));
}

TEST_F(NotificationPortTest, AnInterestMayOutliveItsPort) {
  const auto a = device("a");
  m_registry->devices = {a};
  watch();
  auto kept = interest(*a);
  m_port.reset();
  m_registry->gone(a);
  EXPECT_THAT(told(), IsEmpty());
  kept.reset();
}

TEST_F(NotificationPortTest, NoInterestInAServiceThatIsGone) {
  watch();
  std::unique_ptr<InterestNotification> none;
  EXPECT_EQ(m_port->addInterestNotification(
                *device("a"), [](const auto&, std::uint32_t) {}, none),
            ENODEV);
  EXPECT_EQ(none, nullptr);
}

TEST_F(NotificationPortTest, AfterLostChangesTheListIsReadAnew) {
  const auto a = device("a"), b = device("b");
  m_registry->devices = {a};
  watch();
  take(*m_iterator);
  const auto kept = interest(*a);
  m_told.clear();
  m_registry->devices = {b};
  m_registry->loseChanges();
  EXPECT_THAT(told(), ElementsAre("gone a", "came b"));
  m_registry->usbError = EIO; // the list cannot be read: nothing is taken for gone
  const auto keptB = interest(*b);
  m_registry->loseChanges();
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(NotificationPortTest, ThePortMayEndInTheCallbackOfAMatch) {
  m_port = std::make_unique<NotificationPort>(m_registry);
  m_loop.addSource(m_port->runLoopSource());
  ASSERT_EQ(m_port->addMatchingNotification(
                [this](ServiceIterator& found) {
                  m_port.reset();
                  take(found);
                },
                m_iterator),
            0);
  m_registry->present(device("a"));
  EXPECT_THAT(told(), ElementsAre("came a"));
  m_registry->present(device("b"));
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(NotificationPortTest, ARegistryThatCannotBeWatchedOrReadIsAnError) {
  m_registry->monitorError = EPERM;
  NotificationPort unwatched(m_registry);
  EXPECT_EQ(unwatched.addMatchingNotification([](ServiceIterator&) {}, m_iterator), EPERM);
  m_registry->monitorError = 0;
  m_registry->usbError = EIO;
  NotificationPort unread(m_registry);
  EXPECT_EQ(unread.addMatchingNotification([](ServiceIterator&) {}, m_iterator), EIO);
  EXPECT_EQ(m_iterator, nullptr);
}

} // namespace
