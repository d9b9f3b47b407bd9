// Ending the program in the middle of a transfer, with the real window, engine and a phone on a wire in memory.
#include "MTPBrowserApp/Farewell.h"

#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/TessalyMtpSdk.h"
#include "Platform/MainThread.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workers.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/SBrowserWindowController.h"
#include "TessalyMTPSdk/Engine.h"
#include "VirtualPhone/VirtualPhone.h"

#include <QDir>
#include <QFile>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <gtest/gtest.h>

#include <memory>

namespace {

constexpr int kPatience = 60'000; // ms
constexpr std::uint16_t kSendObject = 0x100D;
constexpr std::uint16_t kCloseSession = 0x1003;

class Farewell : public testing::Test {
protected:
  void SetUp() override {
    platform::userDefaults::useFile(m_defaults.filePath(QStringLiteral("defaults.conf")));
    mtp::setLog([](mtp::LogLevel, const std::string&) {});
    mtp::setUsbEnabled(false);
    QFile note(onPhone.filePath(QStringLiteral("note.txt")));
    ASSERT_TRUE(note.open(QIODevice::WriteOnly));
    vphone::Options options;
    options.locationId = 0x14200000;
    options.storages = {{.folder = onPhone.path().toStdString(), .description = "Phone"}};
    phone = std::make_unique<vphone::VirtualPhone>(options);
    phone->plug();
    mtp::addProvider(phone->provider());
    SBrowserDependencies dependencies = SBrowserDependencies::ofProgram();
    dependencies.createAccessObject = [] {
      return std::make_shared<MTPDextSDKWrapper>(std::make_shared<TessalyMtpSdk>());
    };
    controller = std::make_unique<SBrowserWindowController>(dependencies);
    controller->showWindow();
    controller->connectDevice(QStringLiteral("14200000"));
    ASSERT_TRUE(QTest::qWaitFor([this] { return controller->outlineModel().rowCount() == 1; }, kPatience));
    ASSERT_TRUE(QTest::qWaitFor([] { return platform::runningWorkers() == 0; }, kPatience));
  }
  void TearDown() override {
    controller.reset();
    platform::refuseWaiting(false);
    platform::resumeWorkers();
    mtp::shutdown();
    mtp::setLog({});
    platform::userDefaults::useFile({});
  }
  std::uint64_t asked(std::uint16_t operation) const {
    const auto operations = phone->statistics().operations;
    const auto found = operations.find(operation);
    return found != operations.end() ? found->second : 0;
  }

  QTemporaryDir m_defaults, onPhone, computer;
  std::unique_ptr<vphone::VirtualPhone> phone;
  std::unique_ptr<SBrowserWindowController> controller;
};

} // namespace

TEST_F(Farewell, AnUploadUnderWayLeavesNothingOnThePhoneAndTheSessionEndsInOrder) {
  QFile source(computer.filePath(QStringLiteral("film.mp4")));
  ASSERT_TRUE(source.open(QIODevice::WriteOnly));
  ASSERT_TRUE(source.resize(64 << 20));
  source.close();
  // The phone takes no more after the first mebibyte, until the transfer is given up.
  phone->faults().add({.kind = vphone::FaultKind::Silence,
                       .phase = vphone::FaultPhase::Data,
                       .transaction = std::nullopt,
                       .operation = kSendObject,
                       .atByte = 1 << 20});
  QMimeData info;
  info.setUrls({QUrl::fromLocalFile(source.fileName())});
  controller->acceptDrop(info, nullptr, -1);
  ASSERT_TRUE(QTest::qWaitFor(
      [this] { return QFileInfo(onPhone.filePath(QStringLiteral("film.mp4"))).size() >= 1 << 19; }, kPatience));

  controller->closeAllWindows();
  bool detached = false;
  EXPECT_TRUE(endWork([&] {
    detached = true;
    EXPECT_EQ(platform::runningWorkers(), 0) << "the transfer is over before the phone is let go";
    EXPECT_FALSE(QFile::exists(onPhone.filePath(QStringLiteral("film.mp4"))));
    EXPECT_EQ(asked(kCloseSession), 0u);
  }));
  EXPECT_TRUE(detached);
  EXPECT_EQ(QDir(onPhone.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
            QStringList(QStringLiteral("note.txt")));
  EXPECT_EQ(asked(kCloseSession), 1u) << "the next program finds a phone that listens";
  EXPECT_FALSE(platform::startWorker("late", [] {}));
}
