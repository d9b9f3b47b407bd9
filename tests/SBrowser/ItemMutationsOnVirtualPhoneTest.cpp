// Creating, renaming and deleting in the window, with the real engine and a phone on a wire in memory.
#include "SBrowser/ItemMutations.h"
#include "SBrowser/WindowLayout.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/NoticeView/SNoticeView.h"
#include "support/WindowOnVirtualPhone.h"

#include <QLineEdit>
#include <QPushButton>

#include <gtest/gtest.h>

namespace {

class ItemMutationsOnVirtualPhone : public testing::Test, protected testsupport::WindowOnVirtualPhone {
protected:
  void SetUp() override {
    for (const char* path :
         {"DCIM/Camera/one.jpg", "DCIM/Camera/two.jpg", "Papers/letter.txt", "Papers/old/receipt.txt", "note.txt"})
      write(onPhone, QString::fromLatin1(path), "content");
    showPhone(3);
  }
  bool exists(const QString& path) const { return QFileInfo::exists(onPhone.filePath(path)); }
  SOutlineView& outline() const { return *controller->layout()._outlineView; }
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
    SFileNameView& panel = *controller->layout()._fileNameView;
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
    SNoticeView& panel = *controller->layout()._noticeView;
    ASSERT_TRUE(QTest::qWaitFor([&] { return panel.isReachable() && panel.isAsking(); }, kPatience));
    QTest::mouseClick(panel.btnOK(), Qt::LeftButton);
    ASSERT_TRUE(settle());
    EXPECT_FALSE(controller->isBlocked());
  }
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
  EXPECT_EQ(QDir(onPhone.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 3);
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
  SNoticeView& panel = *controller->layout()._noticeView;
  ASSERT_TRUE(QTest::qWaitFor([&] { return panel.isReachable() && panel.isAsking(); }, kPatience));
  phone->unplug();
  QTest::mouseClick(panel.btnOK(), Qt::LeftButton);
  ASSERT_TRUE(settle());
  EXPECT_TRUE(exists(QStringLiteral("note.txt")));
  EXPECT_FALSE(controller->isBlocked());
}

} // namespace
