// Uploading from the window, with the real engine and a phone on a wire in memory.
#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/MTPSDKUtil.h"
#include "MTPCore/TessalyMtpSdk.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workers.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/SBrowserWindowController.h"
#include "SBrowser/TransferPresenter.h"
#include "SBrowser/WindowLayout.h"
#include "TessalyMTPSdk/Engine.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/ProgressView/SProgressView.h"
#include "VirtualPhone/VirtualPhone.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QDir>
#include <QFile>
#include <QMainWindow>
#include <QMessageBox>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <gtest/gtest.h>

#include <memory>

namespace {

class UploadOnVirtualPhone : public testing::Test {
protected:
  static constexpr int kPatience = 60'000; // ms

  void SetUp() override {
    platform::userDefaults::useFile(defaults.filePath(QStringLiteral("defaults.conf")));
    mtp::setLog([](mtp::LogLevel, const std::string&) {});
    mtp::setUsbEnabled(false);
    write(onPhone, QStringLiteral("DCIM/old.jpg"), "old");
    write(onPhone, QStringLiteral("note.txt"), "note");
    vphone::Options options;
    options.model = "SM-X";
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
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller->outlineModel().rowCount() == 2; }, kPatience));
    ASSERT_TRUE(settle());
  }
  void TearDown() override {
    controller.reset();
    EXPECT_TRUE(settle());
    mtp::shutdown();
    mtp::setUsbEnabled(true);
    mtp::setLog({});
    platform::userDefaults::useFile({});
  }

  static QString write(const QTemporaryDir& place, const QString& path, const QByteArray& content) {
    const QFileInfo info(place.filePath(path));
    EXPECT_TRUE(QDir().mkpath(info.path()));
    QFile file(info.filePath());
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(file.write(content), content.size());
    return info.filePath();
  }
  QByteArray phoneHas(const QString& path) const {
    QFile file(onPhone.filePath(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
  }
  /// The phone takes no more of the next file's data after its first mebibyte, until the transfer is given up.
  void stopInMidFile() {
    phone->faults().add({.kind = vphone::FaultKind::Silence,
                         .phase = vphone::FaultPhase::Data,
                         .transaction = std::nullopt,
                         .operation = 0x100D, // SendObject
                         .atByte = 1 << 20});
  }
  static bool settle() {
    return QTest::qWaitFor([] { return platform::runningWorkers() == 0; }, kPatience);
  }
  void drop(const QStringList& paths, const QString& rowName = {}) {
    QMimeData info;
    QList<QUrl> urls;
    for (const QString& path : paths)
      urls.append(QUrl::fromLocalFile(path));
    info.setUrls(urls);
    const SBrowserOutlineModel& model = controller->outlineModel();
    std::shared_ptr<SItem> item;
    for (int row = 0; row < model.rowCount(); ++row)
      if (const QModelIndex index = model.index(row, kFileName); index.data() == rowName)
        item = model.itemAtIndex(index);
    controller->acceptDrop(info, item, -1);
  }
  bool finish() {
    return QTest::qWaitFor([this] { return !controller->transferRun(); }, kPatience) && settle();
  }
  QStringList rows() const {
    const SBrowserOutlineModel& model = controller->outlineModel();
    QStringList names;
    for (int row = 0; row < model.rowCount(); ++row)
      names.append(model.index(row, kFileName).data().toString());
    return names;
  }
  void answer(const char* key) {
    const auto alert = [this] { return controller->transfers().isExistsAlert(); };
    ASSERT_TRUE(QTest::qWaitFor([&] { return alert() != nullptr; }, kPatience));
    for (QAbstractButton* const button : alert()->buttons())
      if (button->text() == VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key))) {
        button->click();
        return;
      }
    FAIL() << key;
  }

  QTemporaryDir defaults, onPhone, computer;
  std::unique_ptr<vphone::VirtualPhone> phone;
  std::unique_ptr<SBrowserWindowController> controller;
};

QByteArray pattern(int size) {
  QByteArray bytes(size, '\0');
  for (int i = 0; i < size; ++i)
    bytes[i] = char(unsigned(i) * 131 + unsigned(i) / 251);
  return bytes;
}

} // namespace

TEST_F(UploadOnVirtualPhone, ATreeArrivesByteByByte) {
  const QByteArray large = pattern(3 * 1024 * 1024 + 7);
  write(computer, QStringLiteral("Tree/sub/large.bin"), large);
  write(computer, QStringLiteral("Tree/empty.txt"), "");
  write(computer, QStringLiteral("Tree/exact.bin"), pattern(512 * 1024));
  write(computer, QStringLiteral("Tree/odd 100% é.txt"), "odd");
  QDir().mkpath(computer.filePath(QStringLiteral("Tree/void")));
  drop({computer.filePath(QStringLiteral("Tree"))});
  ASSERT_TRUE(finish());
  EXPECT_EQ(phoneHas(QStringLiteral("Tree/sub/large.bin")), large);
  EXPECT_EQ(phoneHas(QStringLiteral("Tree/empty.txt")), QByteArray(""));
  EXPECT_EQ(phoneHas(QStringLiteral("Tree/exact.bin")), pattern(512 * 1024));
  EXPECT_EQ(phoneHas(QStringLiteral("Tree/odd 100% é.txt")), QByteArray("odd"));
  EXPECT_TRUE(QFileInfo(onPhone.filePath(QStringLiteral("Tree/void"))).isDir());
  EXPECT_EQ(rows(), QStringList({"DCIM", "Tree", "note.txt"}));
  for (const TransferOutcome& outcome : controller->transfers().lastTransfer())
    EXPECT_EQ(outcome.kind, TransferOutcome::Copied) << outcome.name.toStdString();
}

TEST_F(UploadOnVirtualPhone, AnOpenedAndAnUnopenedFolderTakeFiles) {
  drop({write(computer, QStringLiteral("new.jpg"), "new")}, QStringLiteral("DCIM"));
  ASSERT_TRUE(finish());
  EXPECT_EQ(phoneHas(QStringLiteral("DCIM/new.jpg")), QByteArray("new"));
  drop({write(computer, QStringLiteral("newer.jpg"), "newer")}, QStringLiteral("DCIM"));
  ASSERT_TRUE(finish());
  EXPECT_EQ(phoneHas(QStringLiteral("DCIM/newer.jpg")), QByteArray("newer"));
  EXPECT_EQ(phoneHas(QStringLiteral("DCIM/old.jpg")), QByteArray("old"));
}

TEST_F(UploadOnVirtualPhone, ReplaceAndSkipDoWhatTheySay) {
  drop({write(computer, QStringLiteral("note.txt"), "replacement")});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(phoneHas(QStringLiteral("note.txt")), QByteArray("replacement"));
  drop({write(computer, QStringLiteral("NOTE.TXT"), "other")});
  answer("MNU_Skip");
  ASSERT_TRUE(finish());
  EXPECT_EQ(phoneHas(QStringLiteral("note.txt")), QByteArray("replacement"));
  EXPECT_EQ(rows(), QStringList({"DCIM", "note.txt"}));
}

TEST_F(UploadOnVirtualPhone, CanceledInMidFileNothingOfItStaysAndTheNextUploadWorks) {
  stopInMidFile();
  const QString large = write(computer, QStringLiteral("large.bin"), pattern(24 * 1024 * 1024));
  drop({large});
  const SProgressView& panel = *controller->layout().progressView;
  ASSERT_TRUE(QTest::qWaitFor(
      [&] {
        return panel.progressIndicator() != nullptr && controller->transferRun() &&
               !panel.lbFileName()->text().isEmpty();
      },
      kPatience));
  controller->onProgressActionCanceled(controller->layout().progressView);
  ASSERT_TRUE(finish());
  EXPECT_FALSE(QFileInfo::exists(onPhone.filePath(QStringLiteral("large.bin"))));
  drop({write(computer, QStringLiteral("after.txt"), "after")});
  ASSERT_TRUE(finish());
  EXPECT_EQ(phoneHas(QStringLiteral("after.txt")), QByteArray("after"));
}

TEST_F(UploadOnVirtualPhone, TheWindowClosedInMidFileNothingOfItStaysOnThePhone) {
  stopInMidFile();
  drop({write(computer, QStringLiteral("large.bin"), pattern(24 * 1024 * 1024)),
        write(computer, QStringLiteral("second.bin"), "second")});
  ASSERT_TRUE(QTest::qWaitFor([&] { return phone->faults().struck() > 0; }, kPatience));
  controller->window()->close();
  ASSERT_TRUE(settle());
  EXPECT_FALSE(QFileInfo::exists(onPhone.filePath(QStringLiteral("large.bin"))));
  EXPECT_FALSE(QFileInfo::exists(onPhone.filePath(QStringLiteral("second.bin"))));
}

TEST_F(UploadOnVirtualPhone, WithoutRoomOnThePhoneTheOldFileStays) {
  const QByteArray before = pattern(300'000);
  const QTemporaryDir other;
  ASSERT_TRUE(other.isValid());
  write(other, QStringLiteral("song.mp3"), before);
  phone->addStorage({.folder = other.path().toStdString(),
                     .description = "Card",
                     .storageId = 0x00020001,
                     .capacity = 1'000'000,
                     .removable = true});
  controller->connectDevice(QStringLiteral("14200000"));
  ASSERT_TRUE(QTest::qWaitFor([&] { return controller->staticSource().size() == 2; }, kPatience));
  ASSERT_TRUE(settle());
  controller->setSelectedStorage(2);
  ASSERT_TRUE(settle());
  ASSERT_EQ(rows(), QStringList({"song.mp3"}));
  const auto content = [&] {
    QFile file(other.filePath(QStringLiteral("song.mp3")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("absent");
  };
  drop({write(computer, QStringLiteral("song.mp3"), pattern(1'200'000))});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(content(), before);
  ASSERT_EQ(controller->transfers().lastTransfer().size(), 1U);
  EXPECT_EQ(controller->transfers().lastTransfer()[0].status, std::uint32_t(DGSTATUS_STORAGE_FULL));
  // With the old one gone this one fits.
  const QByteArray larger = pattern(800'000);
  drop({write(computer, QStringLiteral("song.mp3"), larger)});
  answer("MNU_Replace");
  ASSERT_TRUE(finish());
  EXPECT_EQ(content(), larger);
}

TEST_F(UploadOnVirtualPhone, UnpluggedInMidFileTheWindowWelcomesAgain) {
  stopInMidFile();
  drop({write(computer, QStringLiteral("large.bin"), pattern(24 * 1024 * 1024)),
        write(computer, QStringLiteral("second.bin"), "second")});
  const SProgressView& panel = *controller->layout().progressView;
  ASSERT_TRUE(QTest::qWaitFor([&] { return !panel.lbFileName()->text().isEmpty(); }, kPatience));
  phone->unplug();
  controller->deviceDisconnected();
  ASSERT_TRUE(settle());
  EXPECT_FALSE(panel.isVisible());
  EXPECT_FALSE(QFileInfo::exists(onPhone.filePath(QStringLiteral("second.bin"))));
}
