#include "SBrowser/DownloadDrag.h"

#include "BrowserFixture.h"
#include "SBrowser/TransferPresenter.h"
#include "SBrowser/TrashTarget.h"

#include <QApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QStandardPaths>

#include <algorithm>

namespace {

// Offscreen a drag ends as soon as it has begun, nothing having taken it.
class Dragging : public BrowserFixture {
protected:
  void SetUp() override {
    BrowserFixture::SetUp();
    connectPhone();
    sdk->setContent(readme, "read me");
    connect();
  }

  DownloadDrag& downloads() { return controller->downloads(); }
  void select(const QString& name) {
    outline().selectionModel()->select(row(name), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  }
  /// The window's dialog of this kind that is open; null when there is none.
  template <class Dialog> Dialog* dialog() const {
    const auto all = controller->window()->findChildren<Dialog*>();
    const auto found = std::find_if(all.begin(), all.end(), [](const Dialog* one) { return one->isVisible(); });
    return found != all.end() ? *found : nullptr;
  }
  /// Chooses the folder in the dialog that asks for one.
  bool choose(const QString& folder) {
    auto* const chooser = dialog<QFileDialog>();
    if (chooser == nullptr)
      return false;
    chooser->setDirectory(folder);
    QMetaObject::invokeMethod(chooser, "accept");
    return settle();
  }
  QString copiedText(const QString& name) const {
    QFile file(folder.filePath(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
  }

  QTemporaryDir folder;
};

} // namespace

TEST_F(Dragging, TheSelectedRowsAreDragged) {
  select(QStringLiteral("readme.txt"));
  outline().selectionModel()->select(row(QStringLiteral("DCIM")),
                                     QItemSelectionModel::Select | QItemSelectionModel::Rows);
  outline().startDrag(Qt::CopyAction);
  EXPECT_EQ(downloads().dragItems(),
            (DownloadDrag::Items{itemNamed(QStringLiteral("DCIM")), itemNamed(QStringLiteral("readme.txt"))}));
}

TEST_F(Dragging, RowsCanBeDraggedAndAreOfferedAsACopyOnly) {
  EXPECT_TRUE(outline().dragEnabled());
  EXPECT_TRUE(model().flags(row(QStringLiteral("readme.txt"))) & Qt::ItemIsDragEnabled);
}

TEST_F(Dragging, TenThousandRowsStartWithoutAskingThePhone) {
  const auto full = sdk->addFolder(phone, QStringLiteral("Full"));
  for (int i = 0; i < 10'000; ++i)
    sdk->addFile(full, QStringLiteral("file %1").arg(i), 1);
  connect();
  doubleClick(QStringLiteral("Full"));
  ASSERT_TRUE(settle());
  outline().selectAll();
  const int before = sdk->calls();
  outline().startDrag(Qt::CopyAction);
  EXPECT_EQ(sdk->calls(), before);
  EXPECT_EQ(downloads().dragItems().size(), 10'000U);
}

TEST_F(Dragging, NothingIsDraggedWhileTheWindowIsBlocked) {
  controller->setDisableCaptureEvent(true);
  EXPECT_FALSE(downloads().writeItems({itemNamed(QStringLiteral("readme.txt"))}));
  EXPECT_EQ(timers.pending(), 0);
}

TEST_F(Dragging, TheSelectionIsDraggedOnceMore) {
  EXPECT_FALSE(downloads().writeSelectionToPasteboard());
  EXPECT_TRUE(downloads().writeItems({itemNamed(QStringLiteral("readme.txt"))}));
  EXPECT_TRUE(downloads().writeSelectionToPasteboard());
  EXPECT_EQ(downloads().dragItems().size(), 1U);
}

TEST_F(Dragging, TheTrashIsThereOnlyWhileRowsAreDragged) {
  EXPECT_TRUE(downloads().trashTarget()->isHidden());
  downloads().writeItems({itemNamed(QStringLiteral("readme.txt"))});
  EXPECT_TRUE(downloads().trashTarget()->isHidden());
  downloads().trashTarget()->appear();
  const QRect content = controller->layout()._contentView->rect();
  const QRect target = downloads().trashTarget()->geometry();
  EXPECT_TRUE(content.contains(target));
  EXPECT_LE(qAbs(content.center().x() - target.center().x()), 1);
  EXPECT_GT(target.top(), content.center().y());
}

TEST_F(Dragging, TheTrashTakesNoOtherProgramsFiles) {
  TrashTarget& target = *downloads().trashTarget();
  target.appear();
  QMimeData files;
  files.setUrls({QUrl(QStringLiteral("file:///tmp/file"))});
  QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(&target, &enter);
  EXPECT_FALSE(enter.isAccepted());
}

// ---- Where no drop tells its folder ----

TEST_F(Dragging, ADropThatTellsNoFolderOffersToChooseOne) {
  downloads().writeItems({itemNamed(QStringLiteral("readme.txt"))});
  timers.advance(platform::DragSession::kPatience);
  auto* const box = dialog<QMessageBox>();
  ASSERT_NE(box, nullptr);
  box->defaultButton()->click();
  QCoreApplication::processEvents();
  EXPECT_EQ(dialog<QMessageBox>(), nullptr);
  ASSERT_TRUE(choose(folder.path()));
  EXPECT_EQ(copiedText(QStringLiteral("readme.txt")), QStringLiteral("read me"));
}

TEST_F(Dragging, NobodyIsAskedForAFolderAfterThePhoneHasGone) {
  downloads().writeItems({itemNamed(QStringLiteral("readme.txt"))});
  controller->deviceDisconnected();
  timers.advance(platform::DragSession::kPatience);
  EXPECT_EQ(dialog<QMessageBox>(), nullptr);
}

TEST_F(Dragging, WhatWasDraggedFromAPhoneThatHasGoneIsNotSoughtOnTheNextOne) {
  downloads().writeItems({itemNamed(QStringLiteral("readme.txt"))});
  controller->deviceDisconnected();
  connect(); // a phone with the same paths
  timers.advance(platform::DragSession::kPatience);
  ASSERT_TRUE(settle());
  EXPECT_EQ(dialog<QMessageBox>(), nullptr);
}

TEST_F(Dragging, TheQuestionGoesWithThePhone) {
  downloads().writeItems({itemNamed(QStringLiteral("readme.txt"))});
  timers.advance(platform::DragSession::kPatience);
  ASSERT_NE(dialog<QMessageBox>(), nullptr);
  controller->deviceDisconnected();
  EXPECT_EQ(dialog<QMessageBox>(), nullptr);
  EXPECT_EQ(dialog<QFileDialog>(), nullptr);
}

// ---- Copy to… ----

TEST_F(Dragging, CopyToAsksForAFolderAndRemembersIt) {
  EXPECT_FALSE(controller->possibleCommands().contains(WindowCommand::CopyTo));
  select(QStringLiteral("readme.txt"));
  EXPECT_TRUE(controller->possibleCommands().contains(WindowCommand::CopyTo));
  controller->performCommand(WindowCommand::CopyTo);
  ASSERT_TRUE(choose(folder.path()));
  EXPECT_EQ(copiedText(QStringLiteral("readme.txt")), QStringLiteral("read me"));
  select(QStringLiteral("DCIM"));
  controller->performCommand(WindowCommand::CopyTo);
  ASSERT_NE(dialog<QFileDialog>(), nullptr);
  EXPECT_EQ(dialog<QFileDialog>()->directory().absolutePath(), folder.path());
}

TEST_F(Dragging, WhatWasChosenIsCopiedWholeThoughTheTreeWasBuiltAnewMeanwhile) {
  select(QStringLiteral("DCIM"));
  controller->performCommand(WindowCommand::CopyTo);
  controller->updateMTPChangeProcess();
  ASSERT_TRUE(settle());
  ASSERT_TRUE(choose(folder.path()));
  EXPECT_TRUE(QFile::exists(folder.filePath(QStringLiteral("DCIM/a.jpg"))));
  EXPECT_TRUE(QFile::exists(folder.filePath(QStringLiteral("DCIM/Camera"))));
}

TEST_F(Dragging, CopyToATrashFolderCopies) {
  // A folder that was chosen in a dialog is meant as a folder.
  const QString trash =
      QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Trash/mtpbrowser-test");
  ASSERT_TRUE(QDir().mkpath(trash));
  select(QStringLiteral("readme.txt"));
  controller->performCommand(WindowCommand::CopyTo);
  EXPECT_TRUE(choose(trash));
  EXPECT_TRUE(QFile::exists(trash + QStringLiteral("/readme.txt")));
  EXPECT_EQ(sdk->calls(Operation::DeleteNode), 0);
  EXPECT_TRUE(QDir(trash).removeRecursively());
}

TEST_F(Dragging, ACanceledChoiceCopiesNothing) {
  select(QStringLiteral("readme.txt"));
  controller->performCommand(WindowCommand::CopyTo);
  ASSERT_NE(dialog<QFileDialog>(), nullptr);
  dialog<QFileDialog>()->reject();
  ASSERT_TRUE(settle());
  EXPECT_EQ(sdk->calls(Operation::GetFileEx), 0);
  EXPECT_EQ(controller->transferRun(), nullptr);
}
