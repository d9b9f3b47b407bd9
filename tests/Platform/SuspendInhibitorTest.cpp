#include "Platform/SuspendInhibitor.h"

#include "support/LogCapture.h"
#include "support/PrivateBus.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QTest>

#include <gtest/gtest.h>

#include <optional>

#include <fcntl.h>
#include <unistd.h>

using platform::SuspendInhibitor;

namespace {

constexpr int kLimit = 10'000; // ms
const QString kUnconnected = QStringLiteral("no such connection");

// The seat's manager: a lock is the open end of a pipe.
class Login1 : public QObject, protected QDBusContext {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")

public:
  ~Login1() override {
    if (m_pipe >= 0)
      ::close(m_pipe);
  }
  /// Nobody holds the lock (any more).
  bool isFree() const {
    char byte = 0;
    return m_pipe < 0 || ::read(m_pipe, &byte, 1) == 0;
  }
  /// Answers the question that was kept waiting.
  void answer(const QDBusConnection& bus) { bus.send(m_waiting->createReply(QVariant::fromValue(newLock()))); }

  bool refuses = false;
  bool keepsWaiting = false;
  QStringList asked;

public Q_SLOTS:
  Q_SCRIPTABLE QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why,
                                               const QString& mode) {
    asked = {what, who, why, mode};
    if (keepsWaiting) {
      setDelayedReply(true);
      m_waiting = message();
      return {};
    }
    if (refuses) {
      sendErrorReply(QDBusError::AccessDenied, QStringLiteral("no"));
      return {};
    }
    return newLock();
  }

private:
  QDBusUnixFileDescriptor newLock() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    m_pipe = ends[0];
    QDBusUnixFileDescriptor lock(ends[1]); // a copy
    ::close(ends[1]);
    return lock;
  }
  int m_pipe = -1;
  std::optional<QDBusMessage> m_waiting;
};

class PowerManagement : public QObject, protected QDBusContext {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.PowerManagement.Inhibit")

public:
  void answer(const QDBusConnection& bus) { bus.send(m_waiting->createReply(uint(7))); }

  bool keepsWaiting = false;
  QStringList asked;
  QList<uint> released;

public Q_SLOTS:
  Q_SCRIPTABLE uint Inhibit(const QString& program, const QString& reason) {
    asked = {program, reason};
    if (keepsWaiting) {
      setDelayedReply(true);
      m_waiting = message();
    }
    return 7;
  }
  Q_SCRIPTABLE void UnInhibit(uint cookie) { released << cookie; }

private:
  std::optional<QDBusMessage> m_waiting;
};

class Suspending : public testing::Test {
protected:
  void SetUp() override {
    m_own.emplace(QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("own")));
    m_desktop.emplace(QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("desktop")));
    ASSERT_TRUE(m_own->isConnected() && m_desktop->isConnected());
  }
  void TearDown() override {
    m_inhibitor.reset();
    m_own.reset();
    m_desktop.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("own"));
    QDBusConnection::disconnectFromBus(QStringLiteral("desktop"));
  }
  void offerLogin1() {
    ASSERT_TRUE(m_desktop->registerService(QStringLiteral("org.freedesktop.login1")));
    ASSERT_TRUE(m_desktop->registerObject(QStringLiteral("/org/freedesktop/login1"), &m_login1,
                                          QDBusConnection::ExportScriptableSlots));
  }
  void offerPowerManagement() {
    ASSERT_TRUE(m_desktop->registerService(QStringLiteral("org.freedesktop.PowerManagement")));
    ASSERT_TRUE(m_desktop->registerObject(QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"),
                                          &m_powerManagement, QDBusConnection::ExportScriptableSlots));
  }
  void inhibit() { m_inhibitor = std::make_unique<SuspendInhibitor>(QStringLiteral("copying"), *m_own, *m_own); }
  template <class Condition> static bool comes(const Condition& condition) {
    return QTest::qWaitFor(condition, kLimit);
  }

  qsizetype reports() const {
    return m_log.lines().filter(QStringLiteral("the computer may suspend meanwhile: ")).size();
  }

  testsupport::PrivateBus m_bus;
  std::optional<QDBusConnection> m_own, m_desktop;
  Login1 m_login1;
  PowerManagement m_powerManagement;
  std::unique_ptr<SuspendInhibitor> m_inhibitor;
  testsupport::LogCapture m_log;
};

} // namespace

TEST_F(Suspending, TheSeatsLockIsHeldAsLongAsTheInhibitorLives) {
  offerLogin1();
  inhibit();
  EXPECT_FALSE(m_inhibitor->isActive()); // nobody has waited
  ASSERT_TRUE(comes([&] { return m_inhibitor->isActive(); }));
  EXPECT_EQ(m_login1.asked, (QStringList{QStringLiteral("sleep:idle"), QStringLiteral("MTP Browser"),
                                         QStringLiteral("copying"), QStringLiteral("block")}));
  EXPECT_FALSE(m_login1.isFree());
  m_inhibitor.reset();
  EXPECT_TRUE(comes([&] { return m_login1.isFree(); }));
}

TEST_F(Suspending, TheDesktopIsNotAskedWhereTheSeatsManagerAgrees) {
  offerLogin1();
  offerPowerManagement();
  inhibit();
  ASSERT_TRUE(comes([&] { return m_inhibitor->isActive(); }));
  EXPECT_TRUE(m_powerManagement.asked.isEmpty());
}

TEST_F(Suspending, TheDesktopIsAskedWhereTheSeatsManagerRefuses) {
  offerLogin1();
  m_login1.refuses = true;
  offerPowerManagement();
  inhibit();
  ASSERT_TRUE(comes([&] { return m_inhibitor->isActive(); }));
  EXPECT_EQ(m_powerManagement.asked, (QStringList{QStringLiteral("MTP Browser"), QStringLiteral("copying")}));
  m_inhibitor.reset();
  ASSERT_TRUE(comes([&] { return !m_powerManagement.released.isEmpty(); }));
  EXPECT_EQ(m_powerManagement.released, QList<uint>{7});
}

TEST_F(Suspending, TheDesktopIsAskedWhereThereIsNoSystemBus) {
  offerPowerManagement();
  m_inhibitor = std::make_unique<SuspendInhibitor>(QStringLiteral("copying"), QDBusConnection(kUnconnected), *m_own);
  EXPECT_TRUE(comes([&] { return m_inhibitor->isActive(); }));
}

TEST_F(Suspending, NobodyToAskIsALineInTheLog) {
  inhibit();
  ASSERT_TRUE(comes([&] { return reports() == 1; }));
  EXPECT_FALSE(m_inhibitor->isActive());
}

TEST_F(Suspending, WithoutAnyBusTheComputerMaySuspend) {
  const QDBusConnection none(kUnconnected);
  m_inhibitor = std::make_unique<SuspendInhibitor>(QStringLiteral("copying"), none, none);
  EXPECT_FALSE(m_inhibitor->isActive());
  EXPECT_EQ(reports(), 1);
}

TEST_F(Suspending, ALockThatComesTooLateIsLetGo) {
  offerLogin1();
  m_login1.keepsWaiting = true;
  inhibit();
  ASSERT_TRUE(comes([&] { return !m_login1.asked.isEmpty(); }));
  m_inhibitor.reset();
  m_login1.answer(*m_desktop);
  EXPECT_FALSE(m_login1.isFree());
  EXPECT_TRUE(comes([&] { return m_login1.isFree(); }));
}

TEST_F(Suspending, TheDesktopsConsentThatComesTooLateIsGivenBack) {
  offerPowerManagement();
  m_powerManagement.keepsWaiting = true;
  inhibit();
  ASSERT_TRUE(comes([&] { return !m_powerManagement.asked.isEmpty(); }));
  m_inhibitor.reset();
  m_powerManagement.answer(*m_desktop);
  EXPECT_TRUE(comes([&] { return m_powerManagement.released == QList<uint>{7}; }));
}

#include "SuspendInhibitorTest.moc"
