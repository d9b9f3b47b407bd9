#pragma once
// What the user had open, and where they were, while the rows of a folder are shown anew.
#include "SBrowser/SItem.h"

#include <QModelIndex>
#include <memory>
#include <vector>

class SBrowserOutlineModel;
class SOutlineView;

/// Taken before the rows go, given back to those that came. Of rows that are gone nothing is given back; nothing is
/// listed, nothing selected. Main thread.
class OutlineState {
public:
  OutlineState(SOutlineView& outline, const SBrowserOutlineModel& model);
  /// Expands what was expanded, scrolls to where it was, puts the keyboard on the row of the same number.
  void restore();

private:
  void collectExpanded(const QModelIndex& parent);

  SOutlineView& m_outline;
  const SBrowserOutlineModel& m_model;
  std::vector<std::shared_ptr<SItem>> m_expanded; // a folder before those in it
  int m_scrolled;
  qint64 m_currentRow;
};
