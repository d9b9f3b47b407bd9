#include "SBrowser/LastTransferDialog.h"

#include "MTPCore/MTPSDKUtil.h"
#include "Platform/MainThread.h"
#include "SBrowser/WindowMenus.h"
#include "UI/Common/DisplayText.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QAbstractTableModel>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QTableView>
#include <QVBoxLayout>

#include <array>

namespace {

constexpr std::array kKinds{TransferOutcome::Copied, TransferOutcome::Skipped, TransferOutcome::Failed,
                            TransferOutcome::Canceled};

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

QString kindText(TransferOutcome::Kind kind) {
  switch (kind) {
  case TransferOutcome::Copied:
    return localized("MSG_TransferCopied");
  case TransferOutcome::Skipped:
    return localized("MSG_TransferSkipped");
  case TransferOutcome::Failed:
    return localized("MSG_TransferFailed");
  case TransferOutcome::Canceled:
    break;
  }
  return localized("MSG_TransferNotCopied");
}

/// The entries as rows; there may be as many as a phone holds files.
class OutcomeModel : public QAbstractTableModel {
public:
  OutcomeModel(std::vector<TransferOutcome> outcomes, QObject* parent)
      : QAbstractTableModel(parent)
      , m_outcomes(std::move(outcomes)) {}

  int rowCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : int(m_outcomes.size()); }
  int columnCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : 2; }
  QVariant data(const QModelIndex& index, int role) const override {
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole))
      return {};
    const TransferOutcome& outcome = m_outcomes[std::size_t(index.row())];
    const QString text =
        index.column() == 0 ? ui::singleLineText(outcome.name) : LastTransferDialog::resultText(outcome);
    return role == Qt::ToolTipRole ? text.toHtmlEscaped() : text;
  }
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
      return {};
    return localized(section == 0 ? "MNU_FileName" : "MSG_TransferResult");
  }

private:
  const std::vector<TransferOutcome> m_outcomes;
};

/// "Copied: 3 · Failed: 1"; of kinds that there are none of only "Copied" is named.
QString summaryOf(const std::vector<TransferOutcome>& outcomes) {
  if (outcomes.empty())
    return localized("MSG_TransferNone");
  std::array<qlonglong, kKinds.size()> counts{};
  for (const TransferOutcome& outcome : outcomes)
    ++counts[outcome.kind];
  QStringList parts;
  for (const TransferOutcome::Kind kind : kKinds)
    if (counts[kind] > 0 || kind == TransferOutcome::Copied)
      parts.append(kindText(kind) + QStringLiteral(": ") + QLocale().toString(counts[kind]));
  return parts.join(QStringLiteral(" · "));
}

} // namespace

QString LastTransferDialog::resultText(const TransferOutcome& outcome) {
  const QString text = kindText(outcome.kind);
  return outcome.status == DGSTATUS_SUCCESS ? text
                                            : text + QStringLiteral(": ") + MTPSDKUtil::statusString(outcome.status);
}

LastTransferDialog::LastTransferDialog(std::vector<TransferOutcome> outcomes, QWidget* parent)
    : QDialog(parent)
    , m_summary(new QLabel(this))
    , m_table(new QTableView(this)) {
  platform::assertMainThread();
  setWindowTitle(textWithoutMnemonic(localized("menu_view_last_transfer")));
  if (parent != nullptr)
    setLayoutDirection(parent->layoutDirection());
  m_summary->setText(summaryOf(outcomes));
  m_summary->setTextFormat(Qt::PlainText);
  m_summary->setWordWrap(true);
  m_table->setModel(new OutcomeModel(std::move(outcomes), m_table));
  m_table->setAccessibleName(windowTitle());
  m_table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
  m_table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Interactive);
  m_table->horizontalHeader()->resizeSection(1, 300); // a failure's name and number
  m_table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
  m_table->verticalHeader()->hide();
  m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  m_table->setShowGrid(false);
  m_table->setWordWrap(false);
  m_table->setTextElideMode(Qt::ElideMiddle);
  m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
  m_table->setTabKeyNavigation(false);
  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* const column = new QVBoxLayout(this);
  column->addWidget(m_summary);
  column->addWidget(m_table);
  column->addWidget(buttons);
  resize(640, 420);
}
