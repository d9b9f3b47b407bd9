// In every language: what the window says, whether it stands whole, and the direction it runs in.
#include "SBrowser/WindowLayout.h"

#include "Platform/UserDefaults.h"
#include "SBrowser/ClashQuestion.h"
#include "SBrowser/LastTransferDialog.h"
#include "SBrowser/NavigationButton.h"
#include "SBrowser/WindowMenus.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/NoticeView/SNoticeView.h"
#include "UI/ProgressView/SProgressView.h"
#include "stringDefine/VornLocalStringDefine.h"
#include "support/Languages.h"
#include "support/TextFit.h"

#include <QDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

QString shown(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

/// The texts of the table's cells that are cut off.
QStringList cutOffCells(const QTableView& table) {
  QStringList found;
  for (int row = 0; row < table.model()->rowCount(); ++row)
    for (int column = 0; column < table.model()->columnCount(); ++column) {
      const QModelIndex cell = table.model()->index(row, column);
      const QSize wanted = table.sizeHintForIndex(cell);
      if (wanted.width() > table.columnWidth(column) || wanted.height() > table.rowHeight(row))
        found.append(cell.data().toString());
    }
  return found;
}

/// The window as it opens, in one language.
class WindowInALanguage : public testing::TestWithParam<const char*> {
protected:
  void SetUp() override {
    platform::userDefaults::useFile(m_folder.filePath(QStringLiteral("defaults.conf")));
    VornLocalStringDefine::loadTables({QString::fromLatin1(GetParam())});
  }
  void TearDown() override {
    VornLocalStringDefine::loadTables({QStringLiteral("en")});
    platform::userDefaults::useFile({});
  }

private:
  QTemporaryDir m_folder;
};

} // namespace

TEST_P(WindowInALanguage, WelcomesWithThreeWholeLines) {
  WindowLayout layout(platform::Timers::mainThread());
  layout.showWelcome(shown("MSG_WelcomToVBX2"));
  layout.window()->show();
  ASSERT_TRUE(layout.welcomeTfield->isVisible());
  EXPECT_EQ(testsupport::cutOffTexts(*layout.window()), QStringList());
  EXPECT_TRUE(testsupport::fitsLines(layout.welcomeTfield->text(), layout.welcomeTfield->font(),
                                     layout.welcomeTfield->width(), 3));
}

TEST_P(WindowInALanguage, CutsNothingOffInTheToolbar) {
  WindowLayout layout(platform::Timers::mainThread());
  layout.showBrowser(QStringLiteral("Phone"));
  layout.window()->show();
  ASSERT_TRUE(layout.toolbar->isVisible());
  EXPECT_EQ(testsupport::cutOffTexts(*layout.toolbar), QStringList());
}

TEST_P(WindowInALanguage, HoldsAWholePanelHoweverSmallItIsMade) {
  WindowLayout layout(platform::Timers::mainThread());
  layout.showBrowser(QStringLiteral("Phone"));
  layout.window()->show();
  layout.window()->resize(1, 1);
  QCoreApplication::processEvents();
  const QSize room = layout._contentView->size();
  EXPECT_LT(room.width(), 600);
  for (QWidget* const panel :
       std::initializer_list<QWidget*>{layout._fileNameView, layout._noticeView, layout._progressView}) {
    EXPECT_GT(panel->x(), 0) << panel->metaObject()->className();
    EXPECT_LT(panel->geometry().right(), room.width()) << panel->metaObject()->className();
    EXPECT_LT(panel->height(), room.height()) << panel->metaObject()->className();
    panel->show();
    EXPECT_EQ(testsupport::cutOffTexts(*panel), QStringList());
  }
}

TEST_P(WindowInALanguage, CutsNothingOffInTheQuestionAboutANameThatIsTaken) {
  WindowLayout layout(platform::Timers::mainThread());
  layout.window()->show();
  const auto question = std::make_shared<ClashQuestion>(*layout.window());
  std::atomic<bool> ended{false}; // written by the asker
  std::thread asker([&] {
    question->ask(QString(200, u'W') + QStringLiteral(".jpg"), true, [] { return true; });
    ended = true;
  });
  EXPECT_TRUE(QTest::qWaitFor([&] { return question->alert() != nullptr; }, 60'000));
  if (QMessageBox* const alert = question->alert()) {
    EXPECT_EQ(alert->buttons().size(), 3);
    EXPECT_EQ(testsupport::cutOffTexts(*alert), QStringList());
    EXPECT_LE(alert->width(), layout.window()->width());
  }
  question->close();
  EXPECT_TRUE(QTest::qWaitFor([&] { return ended.load(); }, 60'000));
  asker.join();
}

TEST_P(WindowInALanguage, CutsNothingOffInTheReportOfTheLastTransfer) {
  std::vector<TransferOutcome> outcomes;
  for (const auto kind :
       {TransferOutcome::Copied, TransferOutcome::Skipped, TransferOutcome::Failed, TransferOutcome::Canceled})
    outcomes.push_back({QStringLiteral("photo.jpg"), kind, 0});
  LastTransferDialog dialog(outcomes, nullptr);
  dialog.show();
  EXPECT_EQ(testsupport::cutOffTexts(dialog), QStringList());
  EXPECT_EQ(cutOffCells(*dialog.table()), QStringList());
  const QHeaderView& header = *dialog.table()->horizontalHeader();
  for (int section = 0; section < header.count(); ++section)
    EXPECT_LE(header.sectionSizeHint(section), header.sectionSize(section));
}

TEST_P(WindowInALanguage, CutsNothingOffInTheListOfKeysNorInTheAbout) {
  WindowLayout layout(platform::Timers::mainThread());
  layout.menus->showKeys();
  layout.menus->showAbout();
  const auto dialogs = layout.window()->findChildren<QDialog*>();
  EXPECT_EQ(dialogs.size(), 2);
  for (QDialog* const dialog : dialogs) {
    EXPECT_EQ(testsupport::cutOffTexts(*dialog), QStringList());
    for (const QTableView* const table : dialog->findChildren<QTableView*>()) {
      EXPECT_GT(table->model()->rowCount(), 15);
      EXPECT_EQ(cutOffCells(*table), QStringList());
    }
  }
}

TEST_P(WindowInALanguage, NamesItsPartsInThatLanguage) {
  WindowLayout layout(platform::Timers::mainThread());
  EXPECT_EQ(layout._btn_Previous->accessibleName(), shown("accessible_back"));
  EXPECT_EQ(layout._btn_Previous->toolTip(), shown("accessible_back"));
  EXPECT_EQ(layout._btn_Next->accessibleName(), shown("accessible_next"));
  EXPECT_EQ(layout._btn_AddNewFolder->accessibleName(), shown("MNU_AddNewFolder"));
  EXPECT_EQ(layout.toolbar->accessibleName(), shown("accessible_toolbar"));
  EXPECT_EQ(layout.paths->accessibleName(), shown("accessible_path"));
  EXPECT_EQ(layout._outlineView->accessibleName(), shown("accessible_files"));
}

TEST_P(WindowInALanguage, RunsInTheLanguagesDirectionUnlessTheUserSaysOtherwise) {
  const std::string language = GetParam();
  const Qt::LayoutDirection own = language == "ar" || language == "he" ? Qt::RightToLeft : Qt::LeftToRight;
  EXPECT_EQ(WindowLayout(platform::Timers::mainThread()).window()->layoutDirection(), own);
  platform::userDefaults::setValue(QStringLiteral("RTLLayout"), own == Qt::LeftToRight);
  WindowLayout other(platform::Timers::mainThread());
  EXPECT_NE(other.window()->layoutDirection(), own);
  EXPECT_NE(other._outlineView->layoutDirection(), own);
  EXPECT_NE(other.toolbar->layoutDirection(), own);
  EXPECT_TRUE(other.paths->alignment().testFlag(own == Qt::LeftToRight ? Qt::AlignRight : Qt::AlignLeft));
}

INSTANTIATE_TEST_SUITE_P(Language, WindowInALanguage, testing::ValuesIn(testsupport::kLanguages),
                         testsupport::languageName);
