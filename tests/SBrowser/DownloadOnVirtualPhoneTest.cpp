// Downloading from the window, with the real engine and a phone on a wire in memory.
#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/TessalyMtpSdk.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workers.h"
#include "SBrowser/DownloadDrag.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/SBrowserWindowController.h"
#include "SBrowser/TransferPresenter.h"
#include "SBrowser/WindowLayout.h"
#include "TessalyMTPSdk/Engine.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/ProgressView/SProgressView.h"
#include "VirtualPhone/VirtualPhone.h"

#include <QDir>
#include <QFile>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace {

QByteArray pattern(int size) {
  QByteArray bytes(size, '\0');
  for (int i = 0; i < size; ++i)
    bytes[i] = char(unsigned(i) * 131 + unsigned(i) / 251);
  return bytes;
}

class DownloadOnVirtualPhone : public testing::Test {
protected:
  static constexpr int kPatience = 60'000; // ms
  static constexpr std::uint16_t kGetObject = 0x1009;

  void SetUp() override {
    platform::userDefaults::useFile(defaults.filePath(QStringLiteral("defaults.conf")));
    mtp::setLog([](mtp::LogLevel, const std::string&) {});
    mtp::setUsbEnabled(false);
    write(onPhone, QStringLiteral("DCIM/Camera/2024/deep.jpg"), "deep");
    write(onPhone, QStringLiteral("DCIM/Camera/one.jpg"), "one");
    write(onPhone, QStringLiteral("DCIM/two.jpg"), "two");
    ASSERT_TRUE(QDir(onPhone.path()).mkpath(QStringLiteral("Void 1")));
    ASSERT_TRUE(QDir(onPhone.path()).mkpath(QStringLiteral("Void 2")));
    write(onPhone, QStringLiteral("large.bin"), pattern(24 * 1024 * 1024));
    write(onPhone, QStringLiteral("note.txt"), "note");
    vphone::Options options;
    options.model = "SM-X";
    options.locationId = 0x14200000;
    options.storages = {{.folder = onPhone.path().toStdString(), .description = "Phone"}};
    phone = std::make_unique<vphone::VirtualPhone>(options);
    phone->plug();
    mtp::addProvider(phone->provider());
    SBrowserDependencies dependencies = SBrowserDependencies::ofProgram();
    dependencies.inhibitSuspend = nullptr;
    dependencies.createAccessObject = [] {
      return std::make_shared<MTPDextSDKWrapper>(std::make_shared<TessalyMtpSdk>());
    };
    controller = std::make_unique<SBrowserWindowController>(dependencies);
    controller->showWindow();
    connect();
  }
  void TearDown() override {
    controller.reset();
    EXPECT_TRUE(settle());
    mtp::shutdown();
    mtp::setUsbEnabled(true);
    mtp::setLog({});
    platform::userDefaults::useFile({});
  }
  static void write(const QTemporaryDir& place, const QString& path, const QByteArray& content) {
    const QFileInfo info(place.filePath(path));
    ASSERT_TRUE(QDir().mkpath(info.path()));
    QFile file(info.filePath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(content), content.size());
  }
  void connect() {
    controller->connectDevice(QStringLiteral("14200000"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller->outlineModel().rowCount() == 5; }, kPatience));
    ASSERT_TRUE(settle());
  }
  static bool settle() {
    return QTest::qWaitFor([] { return platform::runningWorkers() == 0; }, kPatience);
  }
  DownloadDrag::Items items(const QStringList& names) const {
    const SBrowserOutlineModel& model = controller->outlineModel();
    DownloadDrag::Items found;
    for (int row = 0; row < model.rowCount(); ++row)
      if (const QModelIndex index = model.index(row, kFileName); names.contains(index.data().toString()))
        found.push_back(model.itemAtIndex(index));
    EXPECT_EQ(found.size(), std::size_t(names.size()));
    return found;
  }
  void drop(const QStringList& names) {
    controller->downloads().namesOfPromisedFilesDroppedAtDestination(computer.path(), items(names));
  }
  bool finish() {
    return QTest::qWaitFor([this] { return !controller->transferRun(); }, kPatience) && settle();
  }
  /// The phone gives no more of the next file's data after its first mebibyte, until the transfer is given up.
  void stopInMidFile() {
    phone->faults().add({.kind = vphone::FaultKind::Silence,
                         .phase = vphone::FaultPhase::Data,
                         .transaction = std::nullopt,
                         .operation = kGetObject,
                         .atByte = 1 << 20});
  }
  bool isInMidFile() {
    return QTest::qWaitFor([this] { return phone->faults().struck() > 0; }, kPatience);
  }
  QByteArray computerHas(const QString& path) const {
    QFile file(computer.filePath(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
  }
  QStringList onComputer() const {
    return QDir(computer.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
  }
  bool replace() {
    const auto alert = [this] { return controller->transfers().isExistsAlert(); };
    if (!QTest::qWaitFor([&] { return alert() != nullptr; }, kPatience))
      return false;
    for (QAbstractButton* const button : alert()->buttons())
      if (button->property("answer").toInt() == ClashAnswerReplace) {
        button->click();
        return true;
      }
    return false;
  }

  QTemporaryDir defaults, onPhone, computer;
  std::unique_ptr<vphone::VirtualPhone> phone;
  std::unique_ptr<SBrowserWindowController> controller;
};

} // namespace

TEST_F(DownloadOnVirtualPhone, AFolderThatIsCopiedIsListedAsOftenAsOneThatIsOpened) {
  const auto transactions = [this] { return phone->statistics().transactions; };
  const std::uint64_t before = transactions();
  controller->expandFolder(items({QStringLiteral("Void 1")}).front());
  ASSERT_TRUE(settle());
  const std::uint64_t opened = transactions();
  EXPECT_GT(opened, before);
  drop({QStringLiteral("Void 2")});
  ASSERT_TRUE(finish());
  EXPECT_EQ(onComputer(), QStringList({"Void 2"}));
  EXPECT_EQ(transactions() - opened, opened - before);
}

TEST_F(DownloadOnVirtualPhone, ATreeArrivesByteByByte) {
  drop({QStringLiteral("DCIM"), QStringLiteral("large.bin"), QStringLiteral("note.txt")});
  ASSERT_TRUE(finish());
  EXPECT_EQ(computerHas(QStringLiteral("DCIM/Camera/2024/deep.jpg")), "deep");
  EXPECT_EQ(computerHas(QStringLiteral("DCIM/Camera/one.jpg")), "one");
  EXPECT_EQ(computerHas(QStringLiteral("DCIM/two.jpg")), "two");
  EXPECT_EQ(computerHas(QStringLiteral("large.bin")), pattern(24 * 1024 * 1024));
  EXPECT_EQ(onComputer(), QStringList({"DCIM", "large.bin", "note.txt"}));
}

TEST_F(DownloadOnVirtualPhone, CanceledInMidFileTheOldFileStaysAndTheNextCopyWorks) {
  write(computer, QStringLiteral("large.bin"), "the old one");
  stopInMidFile();
  drop({QStringLiteral("large.bin")});
  ASSERT_TRUE(replace());
  ASSERT_TRUE(isInMidFile());
  controller->onProgressActionCanceled(controller->layout().progressView);
  ASSERT_TRUE(finish());
  EXPECT_EQ(onComputer(), QStringList({"large.bin"}));
  EXPECT_EQ(computerHas(QStringLiteral("large.bin")), "the old one");
  drop({QStringLiteral("note.txt")});
  ASSERT_TRUE(finish());
  EXPECT_EQ(computerHas(QStringLiteral("note.txt")), "note");
}

TEST_F(DownloadOnVirtualPhone, UnpluggedInMidFileNothingOfItStaysAndThePhoneCanComeAgain) {
  stopInMidFile();
  drop({QStringLiteral("large.bin")});
  ASSERT_TRUE(isInMidFile());
  phone->unplug();
  controller->deviceDisconnected();
  ASSERT_TRUE(settle());
  EXPECT_EQ(onComputer(), QStringList());
  EXPECT_FALSE(controller->isBlocked());
  phone->faults().clear();
  phone->plug();
  ASSERT_NO_FATAL_FAILURE(connect());
  drop({QStringLiteral("large.bin")});
  ASSERT_TRUE(finish());
  EXPECT_EQ(computerHas(QStringLiteral("large.bin")), pattern(24 * 1024 * 1024));
}

TEST_F(DownloadOnVirtualPhone, TheWindowClosedInMidFileNothingOfItStays) {
  stopInMidFile();
  drop({QStringLiteral("large.bin")});
  ASSERT_TRUE(isInMidFile());
  controller->window()->close();
  ASSERT_TRUE(settle());
  EXPECT_EQ(onComputer(), QStringList());
}
