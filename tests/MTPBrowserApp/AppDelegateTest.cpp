#include "MTPBrowserApp/AppDelegate.h"

#include "MTPBrowser.h"
#include "Platform/Log.h"
#include "Platform/UserDefaults.h"
#include "SBrowser/SBrowserWindowController.h"

#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <deque>
#include <thread>

namespace {

struct Record {
  QStringList calls;
  std::deque<std::function<void()>> queue;
  SupportToolChannel::Handler supportTool;
  QString supportToolName;

  void drainMainQueue() {
    while (!queue.empty()) {
      auto work = std::move(queue.front());
      queue.pop_front();
      work();
    }
  }
};

class FakeNotifier : public DeviceNotifierService {
public:
  explicit FakeNotifier(Record& record)
      : m_record(record) {
    m_record.calls << QStringLiteral("create notifier");
  }
  void start() override { m_record.calls << QStringLiteral("start notifier"); }
  void stop() override { m_record.calls << QStringLiteral("stop notifier"); }

private:
  Record& m_record;
};

class FakeBrowser : public MTPBrowser {
public:
  explicit FakeBrowser(Record& record)
      : m_record(record) {
    m_record.calls << QStringLiteral("create browser");
  }
  void connectDevice(const QString& location) override { m_record.calls << QStringLiteral("connect ") + location; }
  void showWindow() override { m_record.calls << QStringLiteral("show window"); }
  void deviceDisconnected() override { m_record.calls << QStringLiteral("quit"); }

private:
  Record& m_record;
};

class FakeCapture : public CaptureLogService {
public:
  explicit FakeCapture(Record& record)
      : m_record(record) {}
  void start(const QString& path) override { m_record.calls << QStringLiteral("start capture ") + path; }
  void stop(const QString&) override { m_record.calls << QStringLiteral("stop capture"); }

private:
  Record& m_record;
};

class FakeSupport : public SupportToolChannel {
public:
  explicit FakeSupport(Record& record)
      : m_record(record) {}
  void observe(const QString& name, Handler handler) override {
    m_record.calls << QStringLiteral("observe ") + name;
    m_record.supportToolName = name;
    m_record.supportTool = std::move(handler);
  }

private:
  Record& m_record;
};

class AppDelegateTest : public testing::Test {
protected:
  void SetUp() override {
    platform::userDefaults::useFile(m_folder.filePath(QStringLiteral("defaults.conf")));
    platform::setLogSink([this](const QString& line) { m_log << line; });
  }
  void TearDown() override {
    platform::setLogSink({});
    platform::userDefaults::useFile({});
  }

  std::unique_ptr<AppDelegate> launched() {
    ApplicationParts parts;
    parts.createNotifier = [this] { return std::make_unique<FakeNotifier>(m_record); };
    parts.createBrowser = [this]() -> std::unique_ptr<MTPBrowser> { return std::make_unique<FakeBrowser>(m_record); };
    parts.supportTool = std::make_shared<FakeSupport>(m_record);
    parts.captureLog = std::make_shared<FakeCapture>(m_record);
    parts.mainQueue = [this](std::function<void()> work) { m_record.queue.push_back(std::move(work)); };
    parts.homeFolder = QStringLiteral("/home/ann");
    auto delegate = std::make_unique<AppDelegate>(std::move(parts));
    delegate->applicationDidFinishLaunching();
    return delegate;
  }

  static void postDeviceEvent(int type, const QString& location) {
    platform::NotificationCenter::defaultCenter().post(
        QStringLiteral("BTVORN_NOTI_DEVICE_NOTIFIER"),
        {{QStringLiteral("LocationId"), location}, {QStringLiteral("EventType"), type}});
  }

  QTemporaryDir m_folder;
  Record m_record;
  QStringList m_log;
};

TEST_F(AppDelegateTest, LaunchCreatesTheNotifierSubscribesStartsItAndThenShowsTheWindow) {
  const auto delegate = launched();
  EXPECT_EQ(
      m_record.calls,
      QStringList({QStringLiteral("create notifier"), QStringLiteral("observe QX_DEVICECENTER_SUPPORTTOOL"),
                   QStringLiteral("start notifier"), QStringLiteral("create browser"), QStringLiteral("show window")}));
  EXPECT_EQ(delegate->defaultAppDataPath(), QStringLiteral("/home/ann/Tessaly/Larkspur/AppDatas"));
}

TEST_F(AppDelegateTest, CaptureDoesNotStartAtLaunchWhenTheDefaultIsAbsentOrFalse) {
  { const auto delegate = launched(); }
  platform::userDefaults::setValue(QStringLiteral("START_CAPTURE"), false);
  const auto delegate = launched();
  EXPECT_TRUE(m_record.calls.filter(QStringLiteral("capture")).isEmpty());
}

TEST_F(AppDelegateTest, CaptureStartsAfterTheWindowIsShownWhenTheDefaultIsTrue) {
  platform::userDefaults::setValue(QStringLiteral("START_CAPTURE"), true);
  const auto delegate = launched();
  EXPECT_EQ(m_record.calls.last(), QStringLiteral("start capture /home/ann/Tessaly/Larkspur/AppDatas"));
}

TEST_F(AppDelegateTest, AnAttachEventConnectsTheWindowOnTheMainQueueAndNotBefore) {
  const auto delegate = launched();
  m_record.calls.clear();
  postDeviceEvent(1, QStringLiteral("14200000"));
  EXPECT_TRUE(m_record.calls.isEmpty());
  EXPECT_EQ(delegate->locationId(), QStringLiteral("14200000"));
  m_record.drainMainQueue();
  EXPECT_EQ(m_record.calls, QStringList{QStringLiteral("connect 14200000")});
}

TEST_F(AppDelegateTest, AnAttachWhileADeviceIsShownReconnectsToTheStoredDevice) {
  const auto delegate = launched();
  postDeviceEvent(1, QStringLiteral("14200000"));
  m_record.drainMainQueue();
  m_record.calls.clear();
  postDeviceEvent(1, QStringLiteral("1A"));
  m_record.drainMainQueue();
  EXPECT_EQ(m_record.calls, QStringList{QStringLiteral("connect 14200000")});
}

TEST_F(AppDelegateTest, ADetachOfADeviceNeverShownQuitsTheApplication) {
  const auto delegate = launched();
  postDeviceEvent(1, QStringLiteral("14200000"));
  m_record.drainMainQueue();
  m_record.calls.clear();
  postDeviceEvent(2, QStringLiteral("99"));
  EXPECT_TRUE(delegate->locationId().isNull());
  m_record.drainMainQueue();
  EXPECT_EQ(m_record.calls, QStringList{QStringLiteral("quit")});
}

TEST_F(AppDelegateTest, ADetachForgetsTheDeviceSoThatTheNextAttachIsANewOne) {
  const auto delegate = launched();
  postDeviceEvent(1, QStringLiteral("14200000"));
  postDeviceEvent(2, QStringLiteral("14200000"));
  postDeviceEvent(1, QStringLiteral("1A"));
  EXPECT_EQ(delegate->locationId(), QStringLiteral("1A"));
}

TEST_F(AppDelegateTest, DisconnectDeviceDoesNothing) {
  const auto delegate = launched();
  postDeviceEvent(1, QStringLiteral("14200000"));
  m_record.drainMainQueue();
  m_record.calls.clear();
  delegate->disconnectDevice();
  m_record.drainMainQueue();
  EXPECT_TRUE(m_record.calls.isEmpty());
  EXPECT_EQ(delegate->locationId(), QStringLiteral("14200000"));
}

TEST_F(AppDelegateTest, EveryEventTypeOtherThanOneQuits) {
  for (const int type : {-2, -1, 0, 2, 3, 4, 5, 10, 12, 14}) {
    m_record = {};
    const auto delegate = launched();
    m_record.calls.clear();
    postDeviceEvent(type, QStringLiteral("14200000"));
    m_record.drainMainQueue();
    EXPECT_EQ(m_record.calls, QStringList{QStringLiteral("quit")}) << type;
  }
}

TEST_F(AppDelegateTest, AnAttachOvertakenByADetachConnectsNothing) {
  const auto delegate = launched();
  m_record.calls.clear();
  postDeviceEvent(1, QStringLiteral("14200000"));
  postDeviceEvent(2, QStringLiteral("14200000"));
  m_record.drainMainQueue();
  EXPECT_EQ(m_record.calls, QStringList{QStringLiteral("quit")});
}

TEST_F(AppDelegateTest, ADetachPostedOnTheDetectorsThreadQuitsOnTheMainQueue) {
  const auto delegate = launched();
  m_record.calls.clear();
  std::thread([] { postDeviceEvent(2, QStringLiteral("14200000")); }).join();
  EXPECT_TRUE(m_record.calls.isEmpty());
  m_record.drainMainQueue();
  EXPECT_EQ(m_record.calls, QStringList{QStringLiteral("quit")});
}

TEST_F(AppDelegateTest, ANotificationOfAnotherNameIsOnlyLogged) {
  const auto delegate = launched();
  m_record.calls.clear();
  m_log.clear();
  delegate->OnReceiveDeviceNotifierNotification({QStringLiteral("ELSE"), {{QStringLiteral("EventType"), 2}}, true});
  m_record.drainMainQueue();
  EXPECT_TRUE(m_record.calls.isEmpty());
  ASSERT_EQ(m_log.size(), 1);
  EXPECT_TRUE(m_log.first().endsWith(QStringLiteral("Not a DeviceNotifier Event")));
}

TEST_F(AppDelegateTest, AReceivedEventIsLoggedWithItsUserInfo) {
  const auto delegate = launched();
  m_log.clear();
  postDeviceEvent(1, QStringLiteral("14200000"));
  ASSERT_EQ(m_log.size(), 1);
  EXPECT_TRUE(
      m_log.first().startsWith(QStringLiteral("[AppDelegate.cpp:AppDelegate::OnReceiveDeviceNotifierNotification-(")));
  EXPECT_TRUE(m_log.first().contains(QStringLiteral("Device Event Received, ")));
  EXPECT_TRUE(m_log.first().contains(QStringLiteral("14200000")));
}

TEST_F(AppDelegateTest, TheDebugLevelCommandOnlyWritesItsPlainLine) {
  const auto delegate = launched();
  m_record.calls.clear();
  m_log.clear();
  m_record.supportTool(m_record.supportToolName,
                       {{QStringLiteral("TYPE"), QStringLiteral("DEBUG_LEVEL")}, {QStringLiteral("VALUE"), 3}});
  EXPECT_TRUE(m_record.calls.isEmpty());
  EXPECT_EQ(m_log, QStringList{QStringLiteral("Receive Log level = 3")});
}

TEST_F(AppDelegateTest, TheSupportToolStartsAndStopsTheCapture) {
  const auto delegate = launched();
  m_record.calls.clear();
  for (const auto& command : {QStringLiteral("START_CAPTURE"), QStringLiteral("STOP_CAPTURE"), QStringLiteral("ELSE")})
    m_record.supportTool(m_record.supportToolName, {{QStringLiteral("TYPE"), command}});
  EXPECT_EQ(m_record.calls, QStringList({QStringLiteral("start capture /home/ann/Tessaly/Larkspur/AppDatas"),
                                         QStringLiteral("stop capture")}));
}

TEST_F(AppDelegateTest, ASupportToolNotificationOfAnotherNameOrKindDoesNothing) {
  const auto delegate = launched();
  m_record.calls.clear();
  m_record.supportTool(QStringLiteral("OTHER"), {{QStringLiteral("TYPE"), QStringLiteral("START_CAPTURE")}});
  m_record.supportTool(m_record.supportToolName, {{QStringLiteral("TYPE"), QVariantList{1, 2}}});
  m_record.supportTool(m_record.supportToolName,
                       {{QStringLiteral("TYPE"), QStringList{QStringLiteral("START_CAPTURE")}}});
  m_record.supportTool(m_record.supportToolName, {});
  EXPECT_TRUE(m_record.calls.isEmpty());
}

TEST_F(AppDelegateTest, ClosingTheLastWindowEndsTheApplicationAndTerminationIsNeverRefused) {
  const auto delegate = launched();
  EXPECT_TRUE(delegate->applicationShouldTerminateAfterLastWindowClosed());
  EXPECT_TRUE(delegate->applicationShouldTerminate());
}

TEST_F(AppDelegateTest, TerminationStopsTheDetectionAndNoLaterEventArrives) {
  const auto delegate = launched();
  m_record.calls.clear();
  delegate->applicationWillTerminate();
  postDeviceEvent(1, QStringLiteral("14200000"));
  m_record.drainMainQueue();
  EXPECT_EQ(m_record.calls, QStringList{QStringLiteral("stop notifier")});
}

TEST_F(AppDelegateTest, WithoutAWindowEventsAreHarmless) {
  ApplicationParts parts;
  parts.createNotifier = [this] { return std::make_unique<FakeNotifier>(m_record); };
  parts.createBrowser = [] { return std::unique_ptr<MTPBrowser>(); };
  parts.supportTool = std::make_shared<FakeSupport>(m_record);
  parts.captureLog = std::make_shared<FakeCapture>(m_record);
  parts.mainQueue = [this](std::function<void()> work) { m_record.queue.push_back(std::move(work)); };
  AppDelegate delegate(std::move(parts));
  delegate.applicationDidFinishLaunching();
  postDeviceEvent(1, QStringLiteral("1"));
  postDeviceEvent(2, QStringLiteral("1"));
  m_record.drainMainQueue();
  EXPECT_TRUE(m_record.calls.filter(QStringLiteral("show")).isEmpty());
}

} // namespace
