#pragma once
// The program's window with the real engine and a phone on a wire in memory, for fixtures to derive from beside
// testing::Test. Main thread.
#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/TessalyMtpSdk.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workers.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/SBrowserWindowController.h"
#include "TessalyMTPSdk/Engine.h"
#include "VirtualPhone/VirtualPhone.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace testsupport {

/// Bytes that tell where they stand.
inline QByteArray pattern(int size) {
  QByteArray bytes(size, '\0');
  for (int i = 0; i < size; ++i)
    bytes[i] = char(unsigned(i) * 131 + unsigned(i) / 251);
  return bytes;
}

class WindowOnVirtualPhone {
protected:
  static constexpr int kPatience = 60'000; // ms
  static constexpr std::uint16_t kCloseSession = 0x1003, kGetObject = 0x1009, kSendObject = 0x100D;

  WindowOnVirtualPhone() {
    platform::userDefaults::useFile(defaults.filePath(QStringLiteral("defaults.conf")));
    mtp::setLog([](mtp::LogLevel, const std::string&) {});
    mtp::setUsbEnabled(false);
  }
  ~WindowOnVirtualPhone() {
    controller.reset();
    EXPECT_TRUE(settle());
    mtp::shutdown();
    mtp::setUsbEnabled(true);
    mtp::setLog({});
    platform::userDefaults::useFile({});
  }
  WindowOnVirtualPhone(const WindowOnVirtualPhone&) = delete;
  WindowOnVirtualPhone& operator=(const WindowOnVirtualPhone&) = delete;

  /// Plugs in the phone whose storage is the folder `onPhone`, and shows it in a window: `rows` of them.
  void showPhone(int rows) {
    vphone::Options options;
    options.model = "SM-X";
    options.locationId = 0x14200000;
    options.storages = {{.folder = onPhone.path().toStdString(), .description = "Phone"}};
    phone = std::make_unique<vphone::VirtualPhone>(options);
    phone->plug();
    mtp::addProvider(phone->provider());
    SBrowserDependencies dependencies = SBrowserDependencies::ofProgram();
    dependencies.inhibitSuspend = nullptr; // this computer may
    dependencies.createAccessObject = [] {
      return std::make_shared<MTPDextSDKWrapper>(std::make_shared<TessalyMtpSdk>());
    };
    controller = std::make_unique<SBrowserWindowController>(dependencies);
    controller->showWindow();
    connect(rows);
  }
  void connect(int rows) {
    controller->connectDevice(QStringLiteral("14200000"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller->outlineModel().rowCount() == rows; }, kPatience));
    ASSERT_TRUE(settle());
  }
  static bool settle() {
    return QTest::qWaitFor([] { return platform::runningWorkers() == 0; }, kPatience);
  }
  /// Waits for the transfer under way to end.
  bool finish() {
    return QTest::qWaitFor([this] { return !controller->transferRun(); }, kPatience) && settle();
  }
  /// The first file that this operation moves stops after its first mebibyte, until the transfer is given up.
  void stopInMidFile(std::uint16_t operation) {
    phone->faults().add({.kind = vphone::FaultKind::Silence,
                         .phase = vphone::FaultPhase::Data,
                         .transaction = std::nullopt,
                         .operation = operation,
                         .atByte = 1 << 20});
  }
  /// An entry of the tree; not valid where there is none of that name.
  QModelIndex row(const QString& name, const QModelIndex& parent = {}) const {
    const SBrowserOutlineModel& model = controller->outlineModel();
    for (int row = 0; row < model.rowCount(parent); ++row)
      if (const QModelIndex index = model.index(row, kFileName, parent); index.data() == name)
        return index;
    return {};
  }

  /// Makes a file, and the folders above it, below `place`. Its path.
  static QString write(const QTemporaryDir& place, const QString& path, const QByteArray& content) {
    const QFileInfo info(place.filePath(path));
    EXPECT_TRUE(QDir().mkpath(info.path()));
    QFile file(info.filePath());
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write(content), content.size());
    return info.filePath();
  }
  /// The content of a file below `place`; "absent" without one.
  static QByteArray read(const QTemporaryDir& place, const QString& path) {
    QFile file(place.filePath(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
  }

  QTemporaryDir defaults, onPhone, computer;
  std::unique_ptr<vphone::VirtualPhone> phone;
  std::unique_ptr<SBrowserWindowController> controller;
};

} // namespace testsupport
