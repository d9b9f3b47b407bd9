#pragma once
// The browser's tree: three columns, a context menu that fits the rows it is opened on, hover and drag reports.
//
// The model is any QAbstractItemModel with the columns SOutlineColumnIndex. Of column kFileName the tree reads
// Qt::DisplayRole (the name) and Qt::DecorationRole (a QIcon, see ui::iconForItem()), of the others Qt::DisplayRole, of
// visible rows only. Sorting goes to QAbstractItemModel::sort() with the column and the order of the clicked header.
#include <QMenu>
#include <QPointer>
#include <QTreeView>

#include <optional>

class SOutlineHeaderView;
class SOutlineTextCell;

/// The model's columns, in this order.
enum SOutlineColumnIndex { kFileName = 0, kDateModified = 1, kFileSize = 2, kOutlineColumnCount = 3 };

/// The columns' identifiers.
inline constexpr QStringView kOutlineFileName = u"outline_FileName";
inline constexpr QStringView kOutlineDateModified = u"outline_DateModified";
inline constexpr QStringView kOutlineFileSize = u"outline_FileSize";

/// What the context menu may do with an item; the answers of menuTypeForItem().
enum SOutlineMenuType { kMenuTypeProtected = 0, kMenuTypeFile = 1, kMenuTypeFolder = 2 };

/// The context menu's entries, told by their titles.
enum class SOutlineMenuEntry { AddNewFolder, EditName, Delete, Other };

/// The entry with this title; Other for any other text.
SOutlineMenuEntry contextMenuEntryTitled(QString title);

/// Whether a context menu entry is enabled. `selectedRows`: how many rows are selected; `clickedType`: the
/// SOutlineMenuType of the clicked row, kMenuTypeFolder over empty space, counting while fewer than two rows are
/// selected; `anyProtected`: whether one of the selected rows is of kMenuTypeProtected, counting with two or more.
/// Pure.
bool isContextMenuEntryEnabled(SOutlineMenuEntry entry, qsizetype selectedRows, int clickedType, bool anyProtected);

/// Whom the tree reports to: the window. Called on the main thread.
class SOutlineViewOwner {
public:
  virtual ~SOutlineViewOwner() = default;

  /// `menuTypeForItem:` A SOutlineMenuType; an invalid index is the empty space. Must be quick: with several rows
  /// selected it is asked for each of them, until one is protected.
  virtual int menuTypeForItem(const QModelIndex& item) = 0;
  /// `mouseEntered:` The pointer has come over the tree.
  virtual void mouseEntered(QEvent& event) { Q_UNUSED(event) }
  /// `mouseExited:` The pointer has left the tree.
  virtual void mouseExited(QEvent& event) { Q_UNUSED(event) }
  /// `outlineView:writeItems:toPasteboard:` The pointer moves away with the button held on these selected rows (column
  /// kFileName, from the first row to the last): they are to be dragged. Returns when the button was released.
  virtual void writeItems(const QModelIndexList& rows) { Q_UNUSED(rows) }
  /// `performDragOperationDelete` Rows were dragged onto the Trash.
  virtual void performDragOperationDelete() {}
};

/// Rows are numbered as they are seen, from 0, children of expanded rows included. Main thread.
class SOutlineView : public QTreeView {
  Q_OBJECT
public:
  /// How high every row is.
  static constexpr int kRowHeight = 22;
  /// The drag operation "delete": the rows went to the Trash.
  static constexpr quint32 kDragOperationDelete = 32;

  /// `initWithFrame:` No owner, no remembered row.
  explicit SOutlineView(QWidget* parent = nullptr);

  /// `awakeFromNib` Sets the header, its cells and the columns up, with localized titles, switches mouse tracking on
  /// and forgets the remembered row. Call once, before or after setModel(); again to take up another language.
  void awakeFromNib();

  /// `setOwnerDelegate:` Whom to report to; not owned, must be set to nullptr before the owner goes. nullptr also ends
  /// mouse tracking until awakeFromNib() is called again.
  void setOwnerDelegate(SOutlineViewOwner* owner);

  /// The context menu. Not owned; its actions' enabling is set before every opening, the rest is its owner's.
  void setOwnerMenu(QMenu* menu);
  QMenu* ownerMenu() const { return _ownerMenu; }

  /// The row that was right-clicked last, or set; -1: none.
  qint64 getSelectedRowIndex() const { return _selectedRowIndex; }
  /// `setSelectedRowIndex:` Remembers the row and selects exactly it; -1 (or a row there is not) clears the selection.
  void setSelectedRowIndex(qint64 row);

  /// Puts the keyboard on the row, or on the last one when there are not so many; selects nothing. -1: leaves it.
  void setCurrentRow(qint64 row);

  /// The row of an index; -1 when it is not shown (a parent is collapsed).
  qint64 rowOfIndex(const QModelIndex& index) const;
  /// The index (of column kFileName) of a row; invalid when there is no such row.
  QModelIndex indexAtRow(qint64 row) const;
  /// The row below a point of the viewport, anywhere in its width; -1 over empty space.
  qint64 rowAtPoint(const QPoint& viewportPoint) const;
  /// How many rows are selected. A row that goes out of sight as its folder is collapsed is no longer selected.
  qsizetype numberOfSelectedRows() const;
  /// The selected rows' indexes (of column kFileName), from the first row to the last.
  QModelIndexList selectedRowIndexes() const;

  /// A column's width in device-independent pixels, without the spacing between columns.
  int widthOfColumn(int column) const;

  /// `menuForEvent:` The context menu for a click at a point of the viewport, its entries enabled to fit: remembers the
  /// clicked row and adds it to the selection. nullptr when the owner gave no menu.
  QMenu* menuForEvent(const QPoint& viewportPoint);
  /// Closes the context menu, also one that is about to open.
  void closeContextMenu();

  /// `draggedImage:endedAt:operation:` A drag of rows has ended with `operation`.
  void draggedImage(const QPoint& endedAt, quint32 operation);
  /// Leaves dragging to the owner, which need not look at every row.
  void startDrag(Qt::DropActions supportedActions) override;

protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  bool viewportEvent(QEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  /// A press of the right button selects nothing: menuForEvent() does.
  void mousePressEvent(QMouseEvent* event) override;
  /// Only the left button's double click enters a folder, and not on the mark that expands it; else it is a press like
  /// any.
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  /// A row's plate is as wide as the tree, which is more than the base class draws anew.
  void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
  void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
  void drawRow(QPainter* painter, const QStyleOptionViewItem& options, const QModelIndex& index) const override;
  void drawBranches(QPainter* painter, const QRect& rect, const QModelIndex& index) const override;

private:
  QMenu* menuForRow(qint64 row);
  void openMenuSoon(const QPoint& viewportPoint);
  void openAwaitedMenu();
  bool isWhereMenuOpened(const QPoint& global) const;
  bool isOnMark(const QPoint& viewportPoint) const;
  void deselectBelow(const QModelIndex& folder);
  bool isAnySelectedRowProtected() const;
  void enableMenuEntries(const QModelIndex& clicked);
  void setHoveredRow(qint64 row);
  void updateRow(qint64 row);
  void drawRowBackground(QPainter* painter, const QRectF& row, const QModelIndex& index) const;

  SOutlineHeaderView* m_header;
  QPointer<SOutlineTextCell> m_nameCell;
  QPointer<SOutlineTextCell> m_textCell;
  SOutlineViewOwner* _pOwnerDelegate = nullptr;
  QPointer<QMenu> _ownerMenu;
  qint64 _selectedRowIndex = -1;
  std::optional<QPoint> m_awaitedMenu; // where the context menu is about to open, on the screen
  std::optional<QPoint> m_openedMenu;  // where it opened for a click
  qint64 m_hoveredRow = -1;
  bool _mouseTrackingArea = false;
};
