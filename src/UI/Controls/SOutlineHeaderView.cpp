#include "UI/Controls/SOutlineHeaderView.h"

#include "Platform/MainThread.h"
#include "UI/Common/Images.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QPaintEvent>
#include <QPainter>
#include <QScopedValueRollback>

SOutlineHeaderView::SOutlineHeaderView(QWidget* parent)
    : QHeaderView(Qt::Horizontal, parent) {
  platform::assertMainThread();
  setFixedHeight(kHeight);
  setStretchLastSection(false);
  setSectionsClickable(true);
  setSectionsMovable(false);
  setHighlightSections(false);
  setSortIndicatorShown(true);
  connect(this, &QHeaderView::sectionResized, this, &SOutlineHeaderView::keepWithinLimits);
  // A model that is reset may take its columns away and bring them back.
  connect(this, &QHeaderView::sectionCountChanged, this, &SOutlineHeaderView::applyColumns);
}

void SOutlineHeaderView::setColumns(std::vector<SOutlineColumn> columns) {
  platform::assertMainThread();
  m_columns = std::move(columns);
  m_cells.assign(m_columns.size(), BrowserHeaderCell());
  for (size_t section = 0; section < m_columns.size(); ++section) {
    m_cells[section].title = VornLocalStringDefine::QX_LocalizedStringWithKey(m_columns[section].headerKey);
  }
  m_firstColumnFits = true;
  applyColumns();
  viewport()->update();
}

BrowserHeaderCell* SOutlineHeaderView::headerCell(int section) {
  return section >= 0 && size_t(section) < m_cells.size() ? &m_cells[size_t(section)] : nullptr;
}

int SOutlineHeaderView::widthOfColumn(int section) const {
  return qMax(0, sectionSize(section) - kColumnSpacing);
}

void SOutlineHeaderView::setWidthOfColumn(int section, int width) {
  platform::assertMainThread();
  resizeSection(section, limited(section, width) + kColumnSpacing);
  if (section == 0)
    m_firstColumnFits = false;
}

QSize SOutlineHeaderView::sizeHint() const {
  return {QHeaderView::sizeHint().width(), kHeight};
}

void SOutlineHeaderView::applyColumns() {
  {
    const QScopedValueRollback adjusting(m_adjusting, true);
    for (int section = 0; section < count() && size_t(section) < m_columns.size(); ++section) {
      const SOutlineColumn& column = m_columns[size_t(section)];
      setSectionResizeMode(section, column.minWidth == column.maxWidth ? Fixed : Interactive);
      resizeSection(section, column.width + kColumnSpacing);
    }
  }
  fitFirstColumn();
}

int SOutlineHeaderView::limited(int section, int width) const {
  if (section < 0 || size_t(section) >= m_columns.size()) {
    return width;
  }
  const SOutlineColumn& column = m_columns[size_t(section)];
  return column.maxWidth > 0 ? qBound(column.minWidth, width, column.maxWidth) : qMax(column.minWidth, width);
}

void SOutlineHeaderView::keepWithinLimits(int section, int, int newSize) {
  if (m_adjusting) {
    return;
  }
  {
    const QScopedValueRollback adjusting(m_adjusting, true);
    resizeSection(section, limited(section, newSize - kColumnSpacing) + kColumnSpacing);
  }
  if (section == 0) {
    m_firstColumnFits = length() == width();
  }
  fitFirstColumn();
}

void SOutlineHeaderView::fitFirstColumn() {
  if (!m_firstColumnFits || count() == 0 || m_columns.empty()) {
    return;
  }
  const QScopedValueRollback adjusting(m_adjusting, true);
  const int others = length() - sectionSize(0);
  resizeSection(0, limited(0, width() - others - kColumnSpacing) + kColumnSpacing);
}

void SOutlineHeaderView::resizeEvent(QResizeEvent* event) {
  QHeaderView::resizeEvent(event);
  fitFirstColumn();
}

void SOutlineHeaderView::mouseDoubleClickEvent(QMouseEvent* event) {
  bool isOnTitle = false; // and not between two of them
  const auto connection = connect(this, &QHeaderView::sectionDoubleClicked, this, [&] { isOnTitle = true; });
  QHeaderView::mouseDoubleClickEvent(event);
  disconnect(connection);
  if (isOnTitle) {
    mousePressEvent(event);
  }
}

void SOutlineHeaderView::paintSection(QPainter* painter, const QRect& rect, int section) const {
  if (section < 0 || size_t(section) >= m_cells.size()) {
    QHeaderView::paintSection(painter, rect, section);
    return;
  }
  BrowserHeaderCell& cell = m_cells[size_t(section)];
  const bool isPrimary = isSortIndicatorShown() && sortIndicatorSection() == section;
  cell.drawSortIndicatorWithFrame(sortIndicatorOrder() == Qt::AscendingOrder, isPrimary ? 0 : 1);
  cell.drawWithFrame(QRectF(rect), *painter, palette());
}

void SOutlineHeaderView::paintEvent(QPaintEvent* event) {
  QPainter(viewport()).fillRect(event->rect(), ui::namedColor(QStringLiteral("Paper"), palette()));
  QHeaderView::paintEvent(event);
  QPainter painter(viewport());
  painter.setPen(QPen(ui::namedColor(QStringLiteral("Frame"), palette()), 1));
  painter.setRenderHint(QPainter::Antialiasing);
  for (int i = 0; i < count(); ++i) {
    const int section = logicalIndex(isRightToLeft() ? count() - 1 - i : i);
    // A section is its column and the spacing of 5, so that each line starts where the one before has ended.
    painter.drawRect(QRectF(sectionViewportPosition(section) + 0.5, 0.5, sectionSize(section), height() - 1));
  }
}
