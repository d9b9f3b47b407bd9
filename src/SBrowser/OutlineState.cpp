#include "SBrowser/OutlineState.h"

#include "Platform/MainThread.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "UI/Controls/SOutlineView.h"

#include <QScrollBar>

OutlineState::OutlineState(SOutlineView& outline, const SBrowserOutlineModel& model)
    : m_outline(outline)
    , m_model(model)
    , m_scrolled(outline.verticalScrollBar()->value())
    , m_currentRow(outline.currentIndex().isValid() ? outline.rowOfIndex(outline.currentIndex()) : -1) {
  platform::assertMainThread();
  collectExpanded({});
}

void OutlineState::collectExpanded(const QModelIndex& parent) {
  for (int row = 0; row < m_model.rowCount(parent); ++row) {
    const QModelIndex index = m_model.index(row, kFileName, parent);
    if (m_model.rowCount(index) == 0 || !m_outline.isExpanded(index))
      continue;
    m_expanded.push_back(m_model.itemAtIndex(index));
    collectExpanded(index);
  }
}

void OutlineState::restore() {
  for (const auto& item : m_expanded)
    if (const QModelIndex index = m_model.indexOfItem(*item); index.isValid())
      m_outline.expand(index);
  m_outline.doItemsLayout();             // else it still scrolls as far as before
  m_outline.setCurrentRow(m_currentRow); // scrolls there
  m_outline.verticalScrollBar()->setValue(m_scrolled);
}
