#pragma once
// The list of what the entries of the last transfer came to.
#include "SBrowser/TransferRun.h"

#include <QDialog>

#include <vector>

class QLabel;
class QTableView;

/// One row an entry, name and result, in the order they came to pass; above it how many of each. Main thread.
class LastTransferDialog : public QDialog {
  Q_OBJECT
public:
  LastTransferDialog(std::vector<TransferOutcome> outcomes, QWidget* parent);

  /// What the result column says: "Copied", "Failed: DGSTATUS_STORAGE_FULL - 0x1000000a". Any thread.
  static QString resultText(const TransferOutcome& outcome);

  // Owned by the dialog.
  QTableView* table() const { return m_table; }
  QLabel* summary() const { return m_summary; }

private:
  QLabel* m_summary;
  QTableView* m_table;
};
