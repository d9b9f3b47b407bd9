// Creating, renaming and deleting in the window, with the real engine and a phone on a wire in memory.
#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/TessalyMtpSdk.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workers.h"
#include "SBrowser/ItemMutations.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/SBrowserWindowController.h"
#include "SBrowser/WindowLayout.h"
#include "TessalyMTPSdk/Engine.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/NoticeView/SNoticeView.h"
#include "VirtualPhone/VirtualPhone.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace {

class ItemMutationsOnVirtualPhone : public testing::Test {
protected:
  static constexpr int kPatience = 60'000; // ms

  void SetUp() override {
    platform::userDefaults::useFile(defaults.filePath(QStringLiteral("defaults.conf")));
    mtp::setLog([](mtp::LogLevel, const std::string&) {});
    mtp::setUsbEnabled(false);
    write(QStringLiteral("DCIM/Camera/one.jpg"));
    write(QStringLiteral("DCIM/Camera/two.jpg"));
    write(QStringLiteral("Papers/letter.txt"));
    write(QStringLiteral("Papers/old/receipt.txt"));
    write(QStringLiteral("note.txt"));
    vphone::Options options;
    options.model = "SM-X";
    options.locationId = 0x14200000;
    options.storages = {{.folder = folder.path().toStdString(), .description = "Phone"}};
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
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller->outlineModel().rowCount() == 3; }, kPatience));
    ASSERT_TRUE(settle());
  }
  void TearDown() override {
    controller.reset();
    EXPECT_TRUE(QTest::qWaitFor([] { return platform::runningWorkers() == 0; }, kPatience));
    mtp::shutdown();
    mtp::setUsbEnabled(true);
    mtp::setLog({});
    platform::userDefaults::useFile({});
  }

  void write(const QString& path) {
    const QFileInfo info(folder.filePath(path));
    ASSERT_TRUE(QDir().mkpath(info.path()));
    QFile file(info.filePath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write("content"), 7);
  }
  bool exists(const QString& path) const { return QFileInfo::exists(folder.filePath(path)); }
  static bool settle() {
    return QTest::qWaitFor([] { return platform::runningWorkers() == 0; }, kPatience);
  }

  SOutlineView& outline() const { return *controller->layout().outlineView; }
  QModelIndex row(const QString& name, const QModelIndex& parent = {}) const {
    const SBrowserOutlineModel& model = controller->outlineModel();
    for (int row = 0; row < model.rowCount(parent); ++row)
      if (const QModelIndex index = model.index(row, kFileName, parent); index.data() == name)
        return index;
    return {};
  }
  void select(const QList<QModelIndex>& indexes) {
    outline().selectionModel()->clearSelection();
    for (const QModelIndex& index : indexes) {
      ASSERT_TRUE(index.isValid());
      outline().selectionModel()->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
  }
  void expand(const QModelIndex& index) {
    outline().expand(index);
    ASSERT_TRUE(settle());
  }
  void enterName(const QString& name) {
    SFileNameView& panel = *controller->layout().fileNameView;
    ASSERT_TRUE(QTest::qWaitFor([&] { return panel.isReachable() && panel.isAsking(); }, kPatience));
    panel.txtNewName()->selectAll();
    if (name.isEmpty())
      QTest::keyClick(panel.txtNewName(), Qt::Key_Delete);
    else
      QTest::keyClicks(panel.txtNewName(), name);
    QTest::mouseClick(panel.btnOK(), Qt::LeftButton);
    ASSERT_TRUE(settle());
    EXPECT_FALSE(controller->isBlocked());
  }
  void deleteSelected() {
    QTest::keyClick(&outline(), Qt::Key_Delete);
    SNoticeView& panel = *controller->layout().noticeView;
    ASSERT_TRUE(QTest::qWaitFor([&] { return panel.isReachable() && panel.isAsking(); }, kPatience));
    QTest::mouseClick(panel.btnOK(), Qt::LeftButton);
    ASSERT_TRUE(settle());
    EXPECT_FALSE(controller->isBlocked());
  }

  QTemporaryDir defaults, folder;
  std::unique_ptr<vphone::VirtualPhone> phone;
  std::unique_ptr<SBrowserWindowController> controller;
};

TEST_F(ItemMutationsOnVirtualPhone, AFolderIsMadeRenamedFilledAndDeleted) {
  controller->performCommand(WindowCommand::NewFolder);
  enterName(QStringLiteral("Trip"));
  EXPECT_TRUE(exists(QStringLiteral("Trip")));
  select({row(QStringLiteral("Trip"))});
  QTest::keyClick(&outline(), Qt::Key_F2);
  enterName(QStringLiteral("Journey"));
  EXPECT_FALSE(exists(QStringLiteral("Trip")));
  EXPECT_TRUE(exists(QStringLiteral("Journey")));
  ASSERT_TRUE(row(QStringLiteral("Journey")).isValid());
  controller->outlineViewRowDoubleClicked(row(QStringLiteral("Journey")));
  ASSERT_TRUE(settle());
  controller->performCommand(WindowCommand::NewFolder);
  enterName(QStringLiteral("Day 1"));
  EXPECT_TRUE(exists(QStringLiteral("Journey/Day 1")));
  ASSERT_TRUE(row(QStringLiteral("Day 1")).isValid());
  select({row(QStringLiteral("Day 1"))});
  deleteSelected();
  EXPECT_FALSE(exists(QStringLiteral("Journey/Day 1")));
  EXPECT_EQ(controller->outlineModel().rowCount(), 0);
}

TEST_F(ItemMutationsOnVirtualPhone, ARenamedFoldersFilesCanBeRenamedToo) {
  expand(row(QStringLiteral("Papers")));
  select({row(QStringLiteral("Papers"))});
  QTest::keyClick(&outline(), Qt::Key_F2);
  enterName(QStringLiteral("Documents"));
  expand(row(QStringLiteral("Documents")));
  select({row(QStringLiteral("letter.txt"), row(QStringLiteral("Documents")))});
  QTest::keyClick(&outline(), Qt::Key_F2);
  enterName(QStringLiteral("brief.txt"));
  EXPECT_TRUE(exists(QStringLiteral("Documents/brief.txt")));
  EXPECT_FALSE(exists(QStringLiteral("Papers")));
}

TEST_F(ItemMutationsOnVirtualPhone, AnEmptyNameMakesNothingAndRenamesNothing) {
  controller->performCommand(WindowCommand::NewFolder);
  enterName(QString());
  EXPECT_EQ(controller->outlineModel().rowCount(), 3);
  select({row(QStringLiteral("note.txt"))});
  QTest::keyClick(&outline(), Qt::Key_F2);
  enterName(QString());
  EXPECT_TRUE(row(QStringLiteral("note.txt")).isValid());
  EXPECT_TRUE(exists(QStringLiteral("note.txt")));
  EXPECT_EQ(QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 3);
}

TEST_F(ItemMutationsOnVirtualPhone, ANameThatExistsIsNotTakenTwice) {
  select({row(QStringLiteral("note.txt"))});
  QTest::keyClick(&outline(), Qt::Key_F2);
  enterName(QStringLiteral("Papers"));
  EXPECT_TRUE(exists(QStringLiteral("note.txt")));
  EXPECT_TRUE(exists(QStringLiteral("Papers/letter.txt")));
  EXPECT_TRUE(row(QStringLiteral("note.txt")).isValid());
}

TEST_F(ItemMutationsOnVirtualPhone, FoldersAreDeletedWithWhatTheyHoldAndNothingElse) {
  expand(row(QStringLiteral("Papers")));
  select({row(QStringLiteral("old"), row(QStringLiteral("Papers"))), row(QStringLiteral("note.txt"))});
  deleteSelected();
  EXPECT_FALSE(exists(QStringLiteral("Papers/old")));
  EXPECT_FALSE(exists(QStringLiteral("note.txt")));
  EXPECT_TRUE(exists(QStringLiteral("Papers/letter.txt")));
  EXPECT_TRUE(exists(QStringLiteral("DCIM/Camera/one.jpg")));
  EXPECT_EQ(controller->outlineModel().rowCount(), 2);
  EXPECT_EQ(controller->outlineModel().rowCount(row(QStringLiteral("Papers"))), 1);
}

TEST_F(ItemMutationsOnVirtualPhone, APhoneUnpluggedWhileAQuestionIsOpenLeavesTheWindowUsable) {
  select({row(QStringLiteral("note.txt"))});
  QTest::keyClick(&outline(), Qt::Key_Delete);
  SNoticeView& panel = *controller->layout().noticeView;
  ASSERT_TRUE(QTest::qWaitFor([&] { return panel.isReachable() && panel.isAsking(); }, kPatience));
  phone->unplug();
  QTest::mouseClick(panel.btnOK(), Qt::LeftButton);
  ASSERT_TRUE(settle());
  EXPECT_TRUE(exists(QStringLiteral("note.txt")));
  EXPECT_FALSE(controller->isBlocked());
}

} // namespace
