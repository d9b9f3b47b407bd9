// Uploading from the window, with the real engine and a phone on a wire in memory.
#include "MTPCore/MTPSDKUtil.h"
#include "SBrowser/TransferPresenter.h"
#include "SBrowser/WindowLayout.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/ProgressView/SProgressView.h"
#include "stringDefine/VornLocalStringDefine.h"
#include "support/WindowOnVirtualPhone.h"

#include <QMainWindow>
#include <QMessageBox>
#include <QMimeData>
#include <QUrl>

#include <gtest/gtest.h>

using testsupport::pattern;

namespace {

class UploadOnVirtualPhone : public testing::Test, protected testsupport::WindowOnVirtualPhone {
protected:
  void SetUp() override {
    write(onPhone, QStringLiteral("DCIM/old.jpg"), "old");
    write(onPhone, QStringLiteral("note.txt"), "note");
    showPhone(2);
  }
  QByteArray phoneHas(const QString& path) const { return read(onPhone, path); }
  void drop(const QStringList& paths, const QString& rowName = {}) {
    QMimeData info;
    QList<QUrl> urls;
    for (const QString& path : paths)
      urls.append(QUrl::fromLocalFile(path));
    info.setUrls(urls);
    const QModelIndex target = row(rowName);
    controller->acceptDrop(info, target.isValid() ? controller->outlineModel().itemAtIndex(target) : nullptr, -1);
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
};

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
  stopInMidFile(kSendObject);
  const QString large = write(computer, QStringLiteral("large.bin"), pattern(24 * 1024 * 1024));
  drop({large});
  const SProgressView& panel = *controller->layout()._progressView;
  ASSERT_TRUE(QTest::qWaitFor(
      [&] {
        return panel.progressIndicator() != nullptr && controller->transferRun() &&
               !panel.lbFileName()->text().isEmpty();
      },
      kPatience));
  controller->onProgressActionCanceled(controller->layout()._progressView);
  ASSERT_TRUE(finish());
  EXPECT_FALSE(QFileInfo::exists(onPhone.filePath(QStringLiteral("large.bin"))));
  drop({write(computer, QStringLiteral("after.txt"), "after")});
  ASSERT_TRUE(finish());
  EXPECT_EQ(phoneHas(QStringLiteral("after.txt")), QByteArray("after"));
}

TEST_F(UploadOnVirtualPhone, TheWindowClosedInMidFileNothingOfItStaysOnThePhone) {
  stopInMidFile(kSendObject);
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
  stopInMidFile(kSendObject);
  drop({write(computer, QStringLiteral("large.bin"), pattern(24 * 1024 * 1024)),
        write(computer, QStringLiteral("second.bin"), "second")});
  const SProgressView& panel = *controller->layout()._progressView;
  ASSERT_TRUE(QTest::qWaitFor([&] { return !panel.lbFileName()->text().isEmpty(); }, kPatience));
  phone->unplug();
  controller->deviceDisconnected();
  ASSERT_TRUE(settle());
  EXPECT_FALSE(panel.isVisible());
  EXPECT_FALSE(QFileInfo::exists(onPhone.filePath(QStringLiteral("second.bin"))));
}
