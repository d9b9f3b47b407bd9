// Downloading from the window, with the real engine and a phone on a wire in memory.
#include "SBrowser/DownloadDrag.h"
#include "SBrowser/TransferPresenter.h"
#include "SBrowser/WindowLayout.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/ProgressView/SProgressView.h"
#include "support/WindowOnVirtualPhone.h"

#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>

#include <gtest/gtest.h>

using testsupport::pattern;

namespace {

class DownloadOnVirtualPhone : public testing::Test, protected testsupport::WindowOnVirtualPhone {
protected:
  static constexpr int kRows = 5;

  void SetUp() override {
    write(onPhone, QStringLiteral("DCIM/Camera/2024/deep.jpg"), "deep");
    write(onPhone, QStringLiteral("DCIM/Camera/one.jpg"), "one");
    write(onPhone, QStringLiteral("DCIM/two.jpg"), "two");
    ASSERT_TRUE(QDir(onPhone.path()).mkpath(QStringLiteral("Void 1")));
    ASSERT_TRUE(QDir(onPhone.path()).mkpath(QStringLiteral("Void 2")));
    write(onPhone, QStringLiteral("large.bin"), pattern(24 * 1024 * 1024));
    write(onPhone, QStringLiteral("note.txt"), "note");
    showPhone(kRows);
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
  bool isInMidFile() {
    return QTest::qWaitFor([this] { return phone->faults().struck() > 0; }, kPatience);
  }
  QByteArray computerHas(const QString& path) const { return read(computer, path); }
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
  stopInMidFile(kGetObject);
  drop({QStringLiteral("large.bin")});
  ASSERT_TRUE(replace());
  ASSERT_TRUE(isInMidFile());
  controller->onProgressActionCanceled(controller->layout()._progressView);
  ASSERT_TRUE(finish());
  EXPECT_EQ(onComputer(), QStringList({"large.bin"}));
  EXPECT_EQ(computerHas(QStringLiteral("large.bin")), "the old one");
  drop({QStringLiteral("note.txt")});
  ASSERT_TRUE(finish());
  EXPECT_EQ(computerHas(QStringLiteral("note.txt")), "note");
}

TEST_F(DownloadOnVirtualPhone, UnpluggedInMidFileNothingOfItStaysAndThePhoneCanComeAgain) {
  stopInMidFile(kGetObject);
  drop({QStringLiteral("large.bin")});
  ASSERT_TRUE(isInMidFile());
  phone->unplug();
  controller->deviceDisconnected();
  ASSERT_TRUE(settle());
  EXPECT_EQ(onComputer(), QStringList());
  EXPECT_FALSE(controller->isBlocked());
  phone->faults().clear();
  phone->plug();
  ASSERT_NO_FATAL_FAILURE(connect(kRows));
  drop({QStringLiteral("large.bin")});
  ASSERT_TRUE(finish());
  EXPECT_EQ(computerHas(QStringLiteral("large.bin")), pattern(24 * 1024 * 1024));
}

TEST_F(DownloadOnVirtualPhone, TheWindowClosedInMidFileNothingOfItStays) {
  stopInMidFile(kGetObject);
  drop({QStringLiteral("large.bin")});
  ASSERT_TRUE(isInMidFile());
  controller->window()->close();
  ASSERT_TRUE(settle());
  EXPECT_EQ(onComputer(), QStringList());
}
