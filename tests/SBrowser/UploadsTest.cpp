#include "SBrowser/Uploads.h"

#include "UploadFixture.h"

#include <QFileDialog>

namespace {

class UploadsTest : public UploadFixture {
protected:
  void SetUp() override {
    UploadFixture::SetUp();
    connectPhone();
  }
  Uploads& uploads() const { return controller->uploads(); }
};

} // namespace

// ---- Where a drop is proposed ----

TEST_F(UploadsTest, WhatComesFromTheOutlineItselfIsRefused) {
  const auto proposal = uploads().validateDrop(itemNamed(QStringLiteral("DCIM")), -1, true);
  EXPECT_FALSE(proposal.copies);
  EXPECT_FALSE(controller->isDropOvering());
}

TEST_F(UploadsTest, AFolderIsProposedAsItIs) {
  const auto proposal = uploads().validateDrop(itemNamed(QStringLiteral("DCIM")), -1, false);
  EXPECT_TRUE(proposal.copies);
  EXPECT_EQ(proposal.item, itemNamed(QStringLiteral("DCIM")));
  EXPECT_TRUE(controller->isDropOvering());
}

TEST_F(UploadsTest, NothingAFileAnUnsetItemAndThePlaceBeforeTheFirstChildMeanTheWholeOutline) {
  for (const auto& proposal : {uploads().validateDrop(nullptr, 3, false),
                               uploads().validateDrop(itemNamed(QStringLiteral("readme.txt")), -1, false),
                               uploads().validateDrop(SItem::newObject(), -1, false),
                               uploads().validateDrop(itemNamed(QStringLiteral("DCIM")), 0, false)}) {
    EXPECT_TRUE(proposal.copies);
    EXPECT_EQ(proposal.item, nullptr);
    EXPECT_EQ(proposal.childIndex, -1);
  }
}

TEST_F(UploadsTest, WhileADropIsCopiedItsTargetIsKnownAndForgottenAfterwards) {
  const auto gate = std::make_shared<Gate>();
  sdk->setHook(Operation::SendFileEx, [gate] { gate->pass(); });
  drop({write(QStringLiteral("a"))}, itemNamed(QStringLiteral("DCIM")));
  EXPECT_EQ(uploads().dropTargetItem(), itemNamed(QStringLiteral("DCIM")));
  EXPECT_EQ(uploads().drapAndDropPath(), QStringLiteral("/M/Phone/DCIM"));
  gate->open();
  ASSERT_TRUE(finish());
  EXPECT_EQ(uploads().dropTargetItem(), nullptr);
  EXPECT_TRUE(uploads().drapAndDropPath().isNull());
}

// ---- The menu ----

TEST_F(UploadsTest, TheMenuHasFilesChosenAndCopiesThemIntoTheCurrentFolder) {
  const QString path = write(QStringLiteral("chosen.txt"));
  controller->performCommand(WindowCommand::Upload);
  QFileDialog* const dialog = uploads().dialog();
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(dialog->fileMode(), QFileDialog::ExistingFiles);
  Q_EMIT dialog->filesSelected({path});
  dialog->close();
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(phone).back(), "chosen.txt");
}

TEST_F(UploadsTest, TheMenuHasAFolderChosen) {
  write(QStringLiteral("F/x"));
  controller->performCommand(WindowCommand::UploadFolder);
  QFileDialog* const dialog = uploads().dialog();
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(dialog->fileMode(), QFileDialog::Directory);
  Q_EMIT dialog->filesSelected({computer.filePath(QStringLiteral("F/"))});
  dialog->close();
  ASSERT_TRUE(finish());
  EXPECT_EQ(onPhone(sdk->child(phone, QStringLiteral("F"))), Contents({"x"}));
}

TEST_F(UploadsTest, TheDialogBeginsWhereFilesWereChosenLast) {
  const QString place = makeFolder(QStringLiteral("place"));
  platform::userDefaults::setValue(QStringLiteral("UploadFolder"), place);
  controller->performCommand(WindowCommand::Upload);
  ASSERT_NE(uploads().dialog(), nullptr);
  EXPECT_EQ(uploads().dialog()->directory().absolutePath(), place);
}

TEST_F(UploadsTest, WhereFilesWereChosenLastBeingGoneTheDialogBeginsAtHome) {
  platform::userDefaults::setValue(QStringLiteral("UploadFolder"), computer.filePath(QStringLiteral("gone")));
  controller->performCommand(WindowCommand::Upload);
  ASSERT_NE(uploads().dialog(), nullptr);
  EXPECT_EQ(uploads().dialog()->directory().absolutePath(), QDir::homePath());
}

TEST_F(UploadsTest, ThePhoneGoneTheDialogGoes) {
  controller->performCommand(WindowCommand::Upload);
  ASSERT_NE(uploads().dialog(), nullptr);
  controller->deviceDisconnected();
  EXPECT_EQ(uploads().dialog(), nullptr);
}

TEST_F(UploadsTest, WithoutAPhoneThereIsNothingToUploadTo) {
  controller->deviceDisconnected();
  EXPECT_FALSE(controller->possibleCommands().contains(WindowCommand::Upload));
  EXPECT_FALSE(controller->possibleCommands().contains(WindowCommand::UploadFolder));
}

TEST_F(UploadsTest, TheTransferCanBeCanceledFromTheMenuWhileItRuns) {
  EXPECT_FALSE(controller->possibleCommands().contains(WindowCommand::CancelTransfer));
  const auto gate = std::make_shared<Gate>();
  sdk->setHook(Operation::SendFileEx, [gate] { gate->pass(); });
  drop({write(QStringLiteral("a"))});
  ASSERT_TRUE(waitUntil([&] { return gate->waiting() == 1; }));
  EXPECT_TRUE(controller->possibleCommands().contains(WindowCommand::CancelTransfer));
  controller->performCommand(WindowCommand::CancelTransfer);
  EXPECT_FALSE(controller->possibleCommands().contains(WindowCommand::CancelTransfer));
  gate->open();
  ASSERT_TRUE(finish());
  EXPECT_EQ(outcomes(), QStringList({"canceled a"}));
}
