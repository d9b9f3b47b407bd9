#pragma once
// A browser window over a scripted phone, with a clock that stands still.
#include "MTPCore/FakeMtpSdk.h"
#include "MTPCore/MTPDextSDKWrapper.h"
#include "Platform/MainThread.h"
#include "Platform/Timers.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workers.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/SBrowserWindowController.h"
#include "SBrowser/WindowLayout.h"
#include "UI/Controls/SOutlineView.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

/// A door that threads wait at until it is opened. Waiting ends after a minute in any case.
class Gate {
public:
  void open() {
    const std::lock_guard lock(m_mutex);
    m_open = true;
    m_changed.notify_all();
  }
  void pass() {
    std::unique_lock lock(m_mutex);
    ++m_waiting;
    m_changed.wait_for(lock, std::chrono::minutes(1), [&] { return m_open; });
    --m_waiting;
  }
  int waiting() {
    const std::lock_guard lock(m_mutex);
    return m_waiting;
  }

private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  bool m_open = false;
  int m_waiting = 0;
};

class BrowserFixture : public testing::Test {
protected:
  using Operation = FakeMtpSdk::Operation;
  using ItemPointer = std::shared_ptr<SItem>;

  static constexpr int kPatience = 60'000; // ms, for a machine under load; the conditions hold long before

  void SetUp() override {
    platform::userDefaults::useFile(defaults.filePath(QStringLiteral("defaults.conf")));
    openWindow();
  }
  void TearDown() override {
    controller.reset();
    platform::userDefaults::useFile({});
    EXPECT_TRUE(waitUntil([] { return platform::runningWorkers() == 0; }));
  }
  /// Closes the window that there is, if any, and opens one as the next start of the program would.
  void openWindow() {
    controller.reset();
    SBrowserDependencies dependencies;
    dependencies.createAccessObject = [this] { return std::make_shared<MTPDextSDKWrapper>(sdk); };
    dependencies.timers = &timers;
    dependencies.sleep = [this](std::chrono::milliseconds pause) { slept += static_cast<int>(pause.count()); };
    dependencies.startWorker = [this](const char* name, std::function<void()> body) {
      return !refuseWorkers && platform::startWorker(name, std::move(body));
    };
    dependencies.inhibitSuspend = [this] {
      ++inhibitions;
      return std::shared_ptr<void>(nullptr, [this](void*) { --inhibitions; });
    };
    controller = std::make_unique<SBrowserWindowController>(dependencies);
    controller->showWindow();
  }

  /// Handles the window's events until `condition` holds.
  template <class Condition> static bool waitUntil(const Condition& condition) {
    return QTest::qWaitFor(condition, kPatience);
  }
  /// All workers have ended and what they reported has been handled.
  static bool settle() {
    const bool ended = waitUntil([] { return platform::runningWorkers() == 0; });
    QCoreApplication::sendPostedEvents();
    return ended;
  }

  /// A phone "M" ("Pat's phone") with the internal storage "Phone", holding the folders "DCIM" (with "a.jpg", "b.jpg"
  /// and the folder "Camera"), "Empty" and the file "readme.txt" of 1536 bytes.
  void addPhone() {
    device = sdk->addDevice(0x14200000, QStringLiteral("M"), QStringLiteral("Pat's phone"));
    phone = sdk->addStorage(device, 0x00010001, QStringLiteral("Phone"));
    dcim = sdk->addFolder(phone, QStringLiteral("DCIM"));
    camera = sdk->addFolder(dcim, QStringLiteral("Camera"));
    sdk->addFile(dcim, QStringLiteral("a.jpg"), 10);
    sdk->addFile(dcim, QStringLiteral("b.jpg"), 20);
    sdk->addFolder(phone, QStringLiteral("Empty"));
    readme = sdk->addFile(phone, QStringLiteral("readme.txt"), 1536);
  }
  void addCard() {
    card = sdk->addStorage(device, 0x00020001, QStringLiteral("Card"));
    sdk->addFolder(card, QStringLiteral("Backup"));
    sdk->addFile(card, QStringLiteral("song.mp3"), 5);
  }
  void connect() {
    controller->connectDevice(QStringLiteral("14200000"));
    ASSERT_TRUE(settle());
    ASSERT_NE(controller->currentFolderItem(), nullptr);
  }
  void connectPhone() {
    addPhone();
    connect();
  }

  SBrowserOutlineModel& model() const { return controller->outlineModel(); }
  SOutlineView& outline() const { return *controller->layout()._outlineView; }
  QStringList rows(const QModelIndex& parent = {}) const {
    QStringList names;
    for (int row = 0; row < model().rowCount(parent); ++row)
      names << model().index(row, kFileName, parent).data().toString();
    return names;
  }
  QModelIndex row(const QString& name, const QModelIndex& parent = {}) const {
    for (int row = 0; row < model().rowCount(parent); ++row)
      if (const QModelIndex index = model().index(row, kFileName, parent); index.data() == name)
        return index;
    return {};
  }
  ItemPointer itemNamed(const QString& name) const { return model().itemAtIndex(row(name)); }
  void doubleClick(const QString& name) { controller->outlineViewRowDoubleClicked(row(name)); }
  QString currentFolder() const {
    return controller->currentFolderItem() ? controller->currentFolderItem()->fileName() : QString();
  }

  QTemporaryDir defaults;
  std::shared_ptr<FakeMtpSdk> sdk = std::make_shared<FakeMtpSdk>();
  platform::ManualTimers timers;
  std::unique_ptr<SBrowserWindowController> controller;
  bool refuseWorkers = false; // main thread: the system has no thread to give
  int inhibitions = 0;        // main thread: what keeps the computer from suspending
  std::atomic<int> slept{0};  // milliseconds; written by the connecting worker
  FakeMtpSdk::Handle device = 0, phone = 0, card = 0, dcim = 0, camera = 0, readme = 0;
};
