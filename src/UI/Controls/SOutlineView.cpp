#include "UI/Controls/SOutlineView.h"

#include "Platform/MainThread.h"
#include "UI/Common/Images.h"
#include "UI/Common/LayoutDirection.h"
#include "UI/Controls/QXBrowserFileFieldCell.h"
#include "UI/Controls/SOutlineHeaderView.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QPainter>
#include <QPainterPath>
#include <QStyleHints>

#include <limits>
#include <map>
#include <utility>
#include <vector>

namespace {

constexpr int kIndentation = 18;

/// Where a row is: its number among its siblings, behind those of the rows it lies in.
std::vector<int> placeOf(QModelIndex index) {
  std::vector<int> place;
  for (; index.isValid(); index = index.parent()) {
    place.insert(place.begin(), index.row());
  }
  return place;
}

} // namespace

SOutlineMenuEntry contextMenuEntryTitled(QString title) {
  title.remove(u'&'); // the mark of a mnemonic, which the localized texts may gain in a menu
  const auto text = [](const char* key) {
    return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key)).remove(u'&');
  };
  if (title == text("MNU_AddNewFolder")) {
    return SOutlineMenuEntry::AddNewFolder;
  }
  if (title == text("MNU_EditName")) {
    return SOutlineMenuEntry::EditName;
  }
  return title == text("MNU_Delete") ? SOutlineMenuEntry::Delete : SOutlineMenuEntry::Other;
}

bool isContextMenuEntryEnabled(SOutlineMenuEntry entry, qsizetype selectedRows, int clickedType, bool anyProtected) {
  if (selectedRows >= 2) {
    return !anyProtected && entry == SOutlineMenuEntry::Delete;
  }
  switch (clickedType) {
  case kMenuTypeProtected:
    return entry == SOutlineMenuEntry::AddNewFolder;
  case kMenuTypeFile:
    return entry != SOutlineMenuEntry::AddNewFolder;
  default:
    return true;
  }
}

SOutlineView::SOutlineView(QWidget* parent)
    : QTreeView(parent)
    , m_header(new SOutlineHeaderView(this)) {
  platform::assertMainThread();
  setHeader(m_header);
  setFrameShape(QFrame::NoFrame);
  setUniformRowHeights(true);
  setRootIsDecorated(true);
  setIndentation(kIndentation);
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  setExpandsOnDoubleClick(false); // a double click enters the folder
  setTextElideMode(Qt::ElideRight);
  setDragEnabled(true);
  m_header->setSortIndicator(kFileName, Qt::AscendingOrder);
  setSortingEnabled(true);
  connect(this, &QTreeView::collapsed, this, &SOutlineView::deselectBelow);
}

void SOutlineView::awakeFromNib() {
  platform::assertMainThread();
  setLayoutDirection(ui::isRTLLayout() ? Qt::RightToLeft : Qt::LeftToRight);
  m_header->setColumns({{kOutlineFileName.toString(), QStringLiteral("MNU_FileName"), 416, 416, 0},
                        {kOutlineDateModified.toString(), QStringLiteral("MNU_DateOfModify"), 153, 153, 180},
                        {kOutlineFileSize.toString(), QStringLiteral("MSG_FileSize"), 95, 95, 95}});
  // New cells, as the direction of the layout may be another one.
  delete m_nameCell;
  delete m_textCell;
  m_nameCell = new QXBrowserFileFieldCell(this);
  m_textCell = new SOutlineTextCell(this);
  setItemDelegateForColumn(kFileName, m_nameCell);
  setItemDelegateForColumn(kDateModified, m_textCell);
  setItemDelegateForColumn(kFileSize, m_textCell);
  _mouseTrackingArea = true;
  setMouseTracking(true);
  viewport()->setMouseTracking(true);
  _selectedRowIndex = -1;
}

void SOutlineView::setOwnerDelegate(SOutlineViewOwner* owner) {
  platform::assertMainThread();
  _pOwnerDelegate = owner;
  if (owner == nullptr) {
    _mouseTrackingArea = false;
    setMouseTracking(false);
    viewport()->setMouseTracking(false);
    setHoveredRow(-1);
  }
}

void SOutlineView::setOwnerMenu(QMenu* menu) {
  platform::assertMainThread();
  if (_ownerMenu != nullptr) {
    _ownerMenu->removeEventFilter(this);
  }
  _ownerMenu = menu;
  if (menu != nullptr) {
    menu->installEventFilter(this);
  }
}

void SOutlineView::setSelectedRowIndex(qint64 row) {
  platform::assertMainThread();
  _selectedRowIndex = row;
  if (selectionModel() == nullptr) {
    return;
  }
  const QModelIndex index = indexAtRow(row);
  if (!index.isValid()) {
    selectionModel()->clearSelection();
    return;
  }
  selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void SOutlineView::setCurrentRow(qint64 row) {
  platform::assertMainThread();
  if (row < 0 || model() == nullptr) {
    return;
  }
  QModelIndex index = indexAtRow(row);
  if (!index.isValid()) {
    for (int last = model()->rowCount() - 1; last >= 0; last = model()->rowCount(index) - 1) {
      index = model()->index(last, kFileName, index);
      if (!isExpanded(index)) {
        break;
      }
    }
  }
  if (index.isValid()) {
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
  }
}

qint64 SOutlineView::rowOfIndex(const QModelIndex& index) const {
  platform::assertMainThread();
  const QRect rect = index.isValid() ? visualRect(index.siblingAtColumn(kFileName)) : QRect();
  return rect.isValid() ? (rect.top() + verticalOffset()) / kRowHeight : -1;
}

QModelIndex SOutlineView::indexAtRow(qint64 row) const {
  platform::assertMainThread();
  if (row < 0 || row > std::numeric_limits<int>::max() / kRowHeight || m_header->count() == 0) {
    return {};
  }
  const qint64 top = row * kRowHeight - verticalOffset();
  // Any column will do, but a point beyond the last one belongs to no index.
  const QModelIndex index = indexAt(QPoint(columnViewportPosition(kFileName) + 1, int(top)));
  return index.siblingAtColumn(kFileName);
}

qint64 SOutlineView::rowAtPoint(const QPoint& viewportPoint) const {
  const qint64 y = qint64(viewportPoint.y()) + verticalOffset();
  const qint64 row = y < 0 ? -1 : y / kRowHeight;
  return indexAtRow(row).isValid() ? row : -1;
}

qsizetype SOutlineView::numberOfSelectedRows() const {
  platform::assertMainThread();
  if (selectionModel() == nullptr) {
    return 0;
  }
  // Ranges, not rows: all of a folder's rows may be selected.
  qsizetype rows = 0;
  for (const QItemSelectionRange& range : selectionModel()->selection()) {
    rows += range.left() <= kFileName ? range.height() : 0;
  }
  return rows;
}

int SOutlineView::widthOfColumn(int column) const {
  return m_header->widthOfColumn(column);
}

QModelIndexList SOutlineView::selectedRowIndexes() const {
  platform::assertMainThread();
  std::map<std::vector<int>, QModelIndex> inOrder; // a folder comes before what it holds
  if (selectionModel() != nullptr) {
    for (const QModelIndex& index : selectionModel()->selectedRows(kFileName)) {
      inOrder.emplace(placeOf(index), index);
    }
  }
  QModelIndexList indexes;
  for (const auto& entry : inOrder) {
    indexes.append(entry.second);
  }
  return indexes;
}

void SOutlineView::deselectBelow(const QModelIndex& folder) {
  // What is done with the selected rows must not be done with rows that nobody sees.
  QItemSelection hidden;
  for (const QItemSelectionRange& range : selectionModel()->selection()) {
    for (QModelIndex parent = range.parent(); parent.isValid(); parent = parent.parent()) {
      if (parent == folder) {
        hidden.append(range);
        break;
      }
    }
  }
  if (!hidden.isEmpty()) {
    selectionModel()->select(hidden, QItemSelectionModel::Deselect);
  }
}

QMenu* SOutlineView::menuForEvent(const QPoint& viewportPoint) {
  platform::assertMainThread();
  return menuForRow(rowAtPoint(viewportPoint));
}

QMenu* SOutlineView::menuForRow(qint64 row) {
  _selectedRowIndex = row;
  const QModelIndex clicked = indexAtRow(row);
  if (clicked.isValid() && !selectionModel()->isSelected(clicked)) {
    selectionModel()->select(clicked, QItemSelectionModel::Select | QItemSelectionModel::Rows);
  }
  if (_ownerMenu != nullptr) {
    enableMenuEntries(clicked);
  }
  return _ownerMenu;
}

void SOutlineView::enableMenuEntries(const QModelIndex& clicked) {
  const qsizetype selectedRows = numberOfSelectedRows();
  const bool isOne = selectedRows < 2;
  const int type = isOne && _pOwnerDelegate != nullptr ? _pOwnerDelegate->menuTypeForItem(clicked) : kMenuTypeFolder;
  const bool anyProtected = !isOne && isAnySelectedRowProtected();
  for (QAction* action : _ownerMenu->actions()) {
    action->setEnabled(
        isContextMenuEntryEnabled(contextMenuEntryTitled(action->text()), selectedRows, type, anyProtected));
  }
}

bool SOutlineView::isAnySelectedRowProtected() const {
  if (_pOwnerDelegate == nullptr) {
    return false;
  }
  for (const QItemSelectionRange& range : selectionModel()->selection()) {
    for (int row = range.top(); range.left() <= kFileName && row <= range.bottom(); ++row) {
      const QModelIndex item = model()->index(row, kFileName, range.parent());
      if (_pOwnerDelegate->menuTypeForItem(item) == kMenuTypeProtected) {
        return true;
      }
    }
  }
  return false;
}

void SOutlineView::draggedImage(const QPoint&, quint32 operation) {
  platform::assertMainThread();
  if (operation == kDragOperationDelete && _pOwnerDelegate != nullptr) {
    _pOwnerDelegate->performDragOperationDelete();
  }
}

void SOutlineView::startDrag(Qt::DropActions) {
  if (_pOwnerDelegate != nullptr) {
    _pOwnerDelegate->writeItems(selectedRowIndexes());
  }
}

void SOutlineView::contextMenuEvent(QContextMenuEvent* event) {
  event->accept();
  if (event->reason() != QContextMenuEvent::Keyboard) {
    openMenuSoon(event->pos());
    return;
  }
  // The menu key has no point: it means the row the keyboard is on.
  const QModelIndex current = currentIndex();
  scrollTo(current);
  if (QMenu* const menu = menuForRow(rowOfIndex(current)); menu != nullptr) {
    m_openedMenu.reset();
    menu->popup(viewport()->mapToGlobal(visualRect(current).bottomLeft()));
  }
}

void SOutlineView::openMenuSoon(const QPoint& viewportPoint) {
  if (menuForEvent(viewportPoint) == nullptr) {
    return;
  }
  // Not now: a second press within the time of a double click is told once more, as the double click, and a menu that
  // is open by then takes that for a click beside it and closes.
  m_awaitedMenu = viewport()->mapToGlobal(viewportPoint);
  QMetaObject::invokeMethod(this, &SOutlineView::openAwaitedMenu, Qt::QueuedConnection);
}

void SOutlineView::openAwaitedMenu() {
  const std::optional<QPoint> at = std::exchange(m_awaitedMenu, std::nullopt);
  if (at && _ownerMenu != nullptr) {
    _ownerMenu->setAttribute(Qt::WA_NoMouseReplay, false);
    _ownerMenu->popup(*at);
    m_openedMenu = at;
  }
}

bool SOutlineView::isWhereMenuOpened(const QPoint& global) const {
  return m_openedMenu &&
         (global - *m_openedMenu).manhattanLength() <= QGuiApplication::styleHints()->mouseDoubleClickDistance();
}

void SOutlineView::closeContextMenu() {
  platform::assertMainThread();
  m_awaitedMenu.reset();
  if (_ownerMenu != nullptr) {
    _ownerMenu->close();
  }
}

bool SOutlineView::eventFilter(QObject* watched, QEvent* event) {
  const bool isPress = event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick;
  if (!isPress || watched != _ownerMenu) { // asked in this order: a menu that is ending is no menu any more
    return QTreeView::eventFilter(watched, event);
  }
  // The open menu gets all presses, those on the rows, too. The right button means a menu for them then, also where
  // the menu opened: whoever clicks twice there has not looked for an entry below the pointer.
  const auto& press = static_cast<const QMouseEvent&>(*event);
  const QPoint global = press.globalPosition().toPoint();
  const QPoint point = viewport()->mapFromGlobal(global);
  const bool isOnEntry = !isWhereMenuOpened(global) && _ownerMenu->actionAt(press.position().toPoint()) != nullptr;
  if (press.button() != Qt::RightButton || isOnEntry || !viewport()->rect().contains(point)) {
    return QTreeView::eventFilter(watched, event);
  }
  _ownerMenu->setAttribute(Qt::WA_NoMouseReplay); // where the desktop would hand the press on, the menu opened twice
  _ownerMenu->close();
  const QWidget* const pressed = QApplication::widgetAt(global);
  if (pressed == viewport() || viewport()->isAncestorOf(pressed)) { // and not another window in front of the rows
    openMenuSoon(point);
  }
  return true;
}

void SOutlineView::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::RightButton) {
    event->accept();
    return;
  }
  QTreeView::mousePressEvent(event);
}

void SOutlineView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton && !isOnMark(event->position().toPoint())) {
    QTreeView::mouseDoubleClickEvent(event);
  } else {
    mousePressEvent(event);
  }
}

bool SOutlineView::isOnMark(const QPoint& viewportPoint) const {
  const QModelIndex item = indexAtRow(rowAtPoint(viewportPoint));
  if (!item.isValid() || !model()->hasChildren(item)) {
    return false;
  }
  const QRect name = visualRect(item);
  const int left = isRightToLeft() ? name.right() + 1 : name.left() - indentation();
  return viewportPoint.x() >= left && viewportPoint.x() < left + indentation();
}

void SOutlineView::enterEvent(QEnterEvent* event) {
  if (_mouseTrackingArea && _pOwnerDelegate != nullptr &&
      QGuiApplication::applicationState() == Qt::ApplicationActive) {
    _pOwnerDelegate->mouseEntered(*event);
  }
  QTreeView::enterEvent(event);
}

void SOutlineView::leaveEvent(QEvent* event) {
  if (_mouseTrackingArea && _pOwnerDelegate != nullptr) {
    _pOwnerDelegate->mouseExited(*event);
  }
  QTreeView::leaveEvent(event);
}

bool SOutlineView::viewportEvent(QEvent* event) {
  if (event->type() == QEvent::MouseMove && _mouseTrackingArea) {
    setHoveredRow(rowAtPoint(static_cast<QMouseEvent*>(event)->position().toPoint()));
  } else if (event->type() == QEvent::Leave || event->type() == QEvent::Wheel) {
    setHoveredRow(-1);
  }
  return QTreeView::viewportEvent(event);
}

void SOutlineView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) {
  QTreeView::selectionChanged(selected, deselected);
  viewport()->update();
}

void SOutlineView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
  QTreeView::currentChanged(current, previous);
  viewport()->update();
}

void SOutlineView::setHoveredRow(qint64 row) {
  if (row != m_hoveredRow) {
    updateRow(m_hoveredRow);
    m_hoveredRow = row;
    updateRow(m_hoveredRow);
  }
}

void SOutlineView::updateRow(qint64 row) {
  const qint64 top = row * kRowHeight - verticalOffset();
  if (row >= 0 && top > -kRowHeight && top < viewport()->height()) {
    viewport()->update(0, int(top), viewport()->width(), kRowHeight);
  }
}

void SOutlineView::drawRowBackground(QPainter* painter, const QRectF& row, const QModelIndex& index) const {
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setPen(Qt::NoPen);
  const QRectF plate = row.adjusted(2, 0.5, -2, -0.5);
  if (selectionModel()->isSelected(index)) {
    painter->setBrush(ui::namedColor(QStringLiteral("RowSelected"), palette()));
    painter->drawRoundedRect(plate, 4, 4);
  } else if (m_hoveredRow >= 0 && (row.top() + verticalOffset()) / kRowHeight == qreal(m_hoveredRow)) {
    painter->setBrush(ui::namedColor(QStringLiteral("RowHovered"), palette()));
    painter->drawRoundedRect(plate, 4, 4);
  }
  if (hasFocus() && currentIndex().isValid() && currentIndex().siblingAtColumn(kFileName) == index) {
    painter->setBrush(Qt::NoBrush);
    painter->setPen(QPen(ui::namedColor(QStringLiteral("FocusLine"), palette()), 1));
    painter->drawRoundedRect(plate.adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
  }
  painter->restore();
}

void SOutlineView::drawRow(QPainter* painter, const QStyleOptionViewItem& options, const QModelIndex& index) const {
  const QModelIndex item = index.siblingAtColumn(kFileName);
  const QRect row(0, options.rect.top(), viewport()->width(), kRowHeight);
  drawRowBackground(painter, QRectF(row), item);

  int depth = 0;
  for (QModelIndex parent = item.parent(); parent.isValid() && parent != rootIndex(); parent = parent.parent()) {
    ++depth;
  }
  QStyleOptionViewItem option = options;
  for (int visual = 0; visual < m_header->count(); ++visual) {
    const int column = m_header->logicalIndex(visual);
    QRect cell(columnViewportPosition(column), row.top(), columnWidth(column), row.height());
    if (!cell.intersects(row) || m_header->isSectionHidden(column)) {
      continue;
    }
    if (column == kFileName) {
      const int indent = qMin((depth + 1) * indentation(), cell.width());
      QRect branches = cell;
      branches.setWidth(indent);
      if (isRightToLeft()) {
        branches.moveRight(cell.right());
        cell.setRight(cell.right() - indent);
      } else {
        cell.setLeft(cell.left() + indent);
      }
      drawBranches(painter, branches, item);
    }
    option.rect = cell;
    itemDelegateForIndex(item.siblingAtColumn(column))->paint(painter, option, item.siblingAtColumn(column));
  }
}

void SOutlineView::drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const {
  if (!model()->hasChildren(index)) {
    return;
  }
  // A chevron in the last step of the indentation: towards the text while collapsed, down when expanded.
  const qreal middle = isRightToLeft() ? rect.left() + indentation() / 2.0 : rect.right() + 1 - indentation() / 2.0;
  QPainterPath chevron;
  chevron.moveTo(-2, -4);
  chevron.lineTo(2, 0);
  chevron.lineTo(-2, 4);
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->translate(middle, rect.top() + kRowHeight / 2.0);
  painter->rotate(isExpanded(index) ? 90 : isRightToLeft() ? 180 : 0);
  QColor color = ui::namedColor(QStringLiteral("ItemText"), palette());
  color.setAlphaF(0.65F);
  painter->strokePath(chevron, QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter->restore();
}
