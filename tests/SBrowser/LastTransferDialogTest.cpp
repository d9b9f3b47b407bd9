#include "SBrowser/LastTransferDialog.h"

#include "MTPCore/MTPSDKUtil.h"
#include "UploadFixture.h"
#include "support/Languages.h"

#include <QAbstractItemModel>
#include <QLabel>
#include <QTableView>

namespace {

class LastTransferTest : public UploadFixture {
protected:
  LastTransferDialog* shownDialog() const { return controller->window()->findChild<LastTransferDialog*>(); }
};

QStringList lines(const LastTransferDialog& dialog) {
  const QAbstractItemModel& model = *dialog.table()->model();
  QStringList result;
  for (int row = 0; row < model.rowCount(); ++row)
    result.append(model.index(row, 0).data().toString() + u'|' + model.index(row, 1).data().toString());
  return result;
}

} // namespace

TEST(LastTransferDialog, ListsEachEntryWithWhatItCameTo) {
  const LastTransferDialog dialog({{QStringLiteral("a"), TransferOutcome::Copied, 0},
                                   {QStringLiteral("b"), TransferOutcome::Skipped, 0},
                                   {QStringLiteral("F/c"), TransferOutcome::Failed, DGSTATUS_STORAGE_FULL},
                                   {QStringLiteral("d"), TransferOutcome::Canceled, 0}},
                                  nullptr);
  EXPECT_EQ(lines(dialog),
            QStringList({"a|Copied", "b|Skipped", "F/c|Failed: DGSTATUS_STORAGE_FULL - 0x1000000a", "d|Not copied"}));
  EXPECT_EQ(dialog.summary()->text(), QStringLiteral("Copied: 1 · Skipped: 1 · Failed: 1 · Not copied: 1"));
}

TEST(LastTransferDialog, CountsNothingThatThereIsNoneOf) {
  const LastTransferDialog dialog({{QStringLiteral("b"), TransferOutcome::Failed, 0x10000001}}, nullptr);
  EXPECT_EQ(dialog.summary()->text(), QStringLiteral("Copied: 0 · Failed: 1"));
}

TEST(LastTransferDialog, BeforeTheFirstTransferSaysSo) {
  const LastTransferDialog dialog({}, nullptr);
  EXPECT_EQ(dialog.summary()->text(), QStringLiteral("Nothing has been copied yet."));
  EXPECT_EQ(dialog.table()->model()->rowCount(), 0);
}

TEST(LastTransferDialog, ShowsHostileNamesOnOneLineAsPlainText) {
  const LastTransferDialog dialog({{QStringLiteral("<b>x</b>\n\u202Ey"), TransferOutcome::Copied, 0}}, nullptr);
  const QString shown = dialog.table()->model()->index(0, 0).data().toString();
  EXPECT_FALSE(shown.contains(u'\n'));
  EXPECT_FALSE(shown.contains(QChar(0x202E)));
  EXPECT_FALSE(dialog.table()->model()->index(0, 0).data(Qt::ToolTipRole).toString().contains(u'<'));
}

TEST_F(LastTransferTest, TheMenuEntryShowsTheLastRun) {
  connectPhone();
  dropAndFinish({write(QStringLiteral("new.txt"))});
  ASSERT_TRUE(controller->possibleCommands().contains(WindowCommand::LastTransfer));
  controller->performCommand(WindowCommand::LastTransfer);
  ASSERT_NE(shownDialog(), nullptr);
  EXPECT_EQ(lines(*shownDialog()), QStringList({"new.txt|Copied"}));
}

TEST_F(LastTransferTest, TheNextRunTakesTheListsPlace) {
  connectPhone();
  dropAndFinish({write(QStringLiteral("1.txt"))});
  dropAndFinish({write(QStringLiteral("2.txt"))});
  EXPECT_EQ(outcomes(), QStringList({"copied 2.txt"}));
}
