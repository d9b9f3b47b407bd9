#include "Platform/DistributedNotifications.h"

#include "Platform/MainThread.h"
#include "support/LogCapture.h"
#include "support/PrivateBus.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>
#include <thread>

using platform::DistributedNotificationCenter;
using platform::Notification;
using testsupport::PrivateBus;

namespace {

constexpr int kLimit = 10'000; // ms

// Two programs on a bus: the one under test and a stranger.
class DistributedNotifications : public testing::Test {
protected:
  void SetUp() override {
    m_own.emplace(QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("own")));
    m_stranger.emplace(QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("stranger")));
    ASSERT_TRUE(m_own->isConnected() && m_stranger->isConnected());
    m_center = std::make_unique<DistributedNotificationCenter>(*m_own);
    // The bus serves one program's requests in order: after this answer it knows of the subscription.
    m_own->call(QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
                                               QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
    m_observation = m_center->observe(QStringLiteral("QX_DEVICECENTER_SUPPORTTOOL"), [this](const Notification& n) {
      EXPECT_TRUE(platform::isMainThread());
      m_got.append(n);
    });
  }
  void TearDown() override {
    m_observation.reset();
    m_center.reset();
    m_own.reset();
    m_stranger.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("own"));
    QDBusConnection::disconnectFromBus(QStringLiteral("stranger"));
  }

  // Signals of one sender arrive in order: after this one has come, all earlier ones were dealt with.
  void settle() {
    const qsizetype before = m_got.size();
    send(
        {QStringLiteral("QX_DEVICECENTER_SUPPORTTOOL"), QVariantMap{{QStringLiteral("TYPE"), QStringLiteral("last")}}});
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
          return m_got.size() > before &&
                 m_got.last().userInfo.value(QStringLiteral("TYPE")) == QVariant(QStringLiteral("last"));
        },
        kLimit));
    m_got.removeLast();
  }
  void send(const QVariantList& arguments, const QString& path = QStringLiteral("/any/path")) {
    QDBusMessage message =
        QDBusMessage::createSignal(path, QStringLiteral("org.mtpbrowser.Notifications"), QStringLiteral("Posted"));
    message.setArguments(arguments);
    ASSERT_TRUE(m_stranger->send(message));
  }
  void sendNotification(const QVariantMap& info) { send({QStringLiteral("QX_DEVICECENTER_SUPPORTTOOL"), info}); }

  PrivateBus m_bus;
  std::optional<QDBusConnection> m_own;
  std::optional<QDBusConnection> m_stranger;
  std::unique_ptr<DistributedNotificationCenter> m_center;
  std::unique_ptr<platform::NotificationObservation> m_observation;
  QList<Notification> m_got;
};

} // namespace

TEST_F(DistributedNotifications, APostOfAnotherProgramArrivesOnTheMainThread) {
  send({QStringLiteral("QX_DEVICECENTER_SUPPORTTOOL"),
        QVariantMap{{QStringLiteral("TYPE"), QStringLiteral("DEBUG_LEVEL")}, {QStringLiteral("VALUE"), 3}}},
       QStringLiteral("/"));
  settle();
  ASSERT_EQ(m_got.size(), 1);
  EXPECT_EQ(m_got.at(0).name, QStringLiteral("QX_DEVICECENTER_SUPPORTTOOL"));
  EXPECT_EQ(m_got.at(0).userInfo.value(QStringLiteral("TYPE")).toString(), QStringLiteral("DEBUG_LEVEL"));
  EXPECT_EQ(m_got.at(0).userInfo.value(QStringLiteral("VALUE")).toInt(), 3);
}

TEST_F(DistributedNotifications, APostOfThisProgramArrivesToo) {
  std::thread poster([&] {
    EXPECT_TRUE(m_center->post(QStringLiteral("QX_DEVICECENTER_SUPPORTTOOL"),
                               {{QStringLiteral("TYPE"), QStringLiteral("START_CAPTURE")}}));
  });
  poster.join();
  ASSERT_TRUE(QTest::qWaitFor([&] { return !m_got.isEmpty(); }, kLimit));
  EXPECT_EQ(m_got.at(0).userInfo.value(QStringLiteral("TYPE")).toString(), QStringLiteral("START_CAPTURE"));
}

TEST_F(DistributedNotifications, OtherNamesAndEndedObservationsAreNotCalled) {
  send({QStringLiteral("ANOTHER"), QVariantMap()});
  settle();
  EXPECT_TRUE(m_got.isEmpty());
  m_observation.reset();
  bool last = false;
  const auto end = m_center->observe(QStringLiteral("END"), [&](const Notification&) { last = true; });
  sendNotification({});
  send({QStringLiteral("END"), QVariantMap()});
  EXPECT_TRUE(QTest::qWaitFor([&] { return last; }, kLimit));
  EXPECT_TRUE(m_got.isEmpty());
}

TEST_F(DistributedNotifications, EveryPlainKindOfValueArrives) {
  const QVariantMap info = {{QStringLiteral("bool"), true},
                            {QStringLiteral("int"), -5},
                            {QStringLiteral("long"), QVariant::fromValue(qint64(-1) << 40)},
                            {QStringLiteral("ulong"), QVariant::fromValue(~quint64(0))},
                            {QStringLiteral("double"), 1.5},
                            {QStringLiteral("text"), QStringLiteral("한국어")},
                            {QStringLiteral("list"), QStringList{QStringLiteral("a"), QStringLiteral("b")}}};
  sendNotification(info);
  settle();
  ASSERT_EQ(m_got.size(), 1);
  EXPECT_EQ(m_got.at(0).userInfo, info);
}

TEST_F(DistributedNotifications, ValuesOfOtherKindsAreLeftOut) {
  QVariantMap deep = {{QStringLiteral("leaf"), 1}};
  for (int i = 0; i < 10; ++i) // the bus itself refuses much deeper ones
    deep = {{QStringLiteral("in"), deep}};
  sendNotification(
      {{QStringLiteral("TYPE"), QStringLiteral("START_CAPTURE")},
       {QStringLiteral("map"), deep},
       {QStringLiteral("bytes"), QByteArray(1000, 'x')},
       {QStringLiteral("mixed"), QVariantList{1, QStringLiteral("a")}},
       {QStringLiteral("path"), QVariant::fromValue(QDBusObjectPath(QStringLiteral("/a")))},
       {QStringLiteral("variant"), QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(1))))}});
  settle();
  ASSERT_EQ(m_got.size(), 1);
  EXPECT_EQ(m_got.at(0).userInfo, (QVariantMap{{QStringLiteral("TYPE"), QStringLiteral("START_CAPTURE")}}));
}

TEST_F(DistributedNotifications, HugeTextsListsAndMapsAreBounded) {
  QVariantMap info;
  for (int i = 0; i < 5000; ++i)
    info.insert(QStringLiteral("key%1").arg(i, 4, 10, QChar(u'0')), i);
  sendNotification(info);
  sendNotification({{QStringLiteral("huge"), QString(1'000'000, u'x')},
                    {QStringLiteral("many"), QStringList(100'000, QStringLiteral("x"))},
                    {QString(100'000, u'k'), 1},
                    {QStringLiteral("largest"), QString(65'536, u'x')}});
  settle();
  ASSERT_EQ(m_got.size(), 2);
  EXPECT_EQ(m_got.at(0).userInfo.size(), 64);
  EXPECT_EQ(m_got.at(1).userInfo.keys(), QStringList{QStringLiteral("largest")});
}

TEST_F(DistributedNotifications, SignalsOfAnotherShapeAreDroppedWithALine) {
  const testsupport::LogCapture log;
  const QString name = QStringLiteral("QX_DEVICECENTER_SUPPORTTOOL");
  send({});
  send({name});
  send({name, QStringLiteral("no map")});
  send({1, QVariantMap()});
  send({name, QVariantMap(), 3});
  send({QVariantMap(), name});
  settle();
  EXPECT_TRUE(m_got.isEmpty());
  EXPECT_EQ(log.count(QStringLiteral("is no notification")), 6);
}

TEST_F(DistributedNotifications, AFloodOfSuchSignalsWritesTenLinesOfWhichTheLastSaysSo) {
  const testsupport::LogCapture log;
  for (int i = 0; i < 50; ++i)
    send({i});
  settle();
  EXPECT_EQ(log.count(QStringLiteral("is no notification")), 9);
  EXPECT_EQ(log.count(QStringLiteral("is no notification; more of them are passed over without a word")), 1);
}

TEST_F(DistributedNotifications, ABusThatGoesAwayIsNoMoreThanSilence) {
  m_bus.stop();
  EXPECT_TRUE(QTest::qWaitFor([&] { return !m_own->isConnected(); }, kLimit));
  EXPECT_FALSE(m_center->post(QStringLiteral("X")));
}

TEST(DistributedNotificationsWithoutABus, AreALogLineAndOtherwiseNothing) {
  const testsupport::LogCapture log;
  DistributedNotificationCenter center(QDBusConnection(QStringLiteral("no such connection")));
  EXPECT_EQ(log.lines().size(), 1);
  EXPECT_TRUE(log.lines().value(0).contains(QStringLiteral("no session bus")));
  bool called = false;
  const auto observation = center.observe(QStringLiteral("X"), [&](const Notification&) { called = true; });
  EXPECT_FALSE(center.post(QStringLiteral("X")));
  QCoreApplication::processEvents();
  EXPECT_FALSE(called);
}
