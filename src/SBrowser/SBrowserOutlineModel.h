#pragma once
// The outline's data: the current folder's children at the top level, their children below them.
#include "SBrowser/SItem.h"
#include "SBrowser/SItemArray.h"

#include <QAbstractItemModel>

#include <memory>
#include <vector>

/// Shows items, never lists them: a folder that was not listed yet has a triangle and no rows, and whoever expands it
/// sees to the listing. Columns as in SOutlineColumnIndex. Rows: the top level is an array of its own, filled from the
/// folder by reloadData() and sorted when the descriptor changes; the children of an item are its `childObjects`, which
/// are sorted in place, once, before they are shown. While an item's children are shown (item below the current
/// folder), change them through this model only.
///
/// Main thread only. Nothing blocks; sorting 100,000 rows takes a tenth of a second.
class SBrowserOutlineModel : public QAbstractItemModel {
  Q_OBJECT
public:
  using ItemPointer = std::shared_ptr<SItem>;
  using ArrayPointer = std::shared_ptr<SItemArray>;

  explicit SBrowserOutlineModel(QObject* parent = nullptr);

  /// Shows `folder`'s children as the top level, in the order they stand in. Null: leaves the top level as it is and
  /// only tells the view to look at everything anew.
  void reloadData(const ItemPointer& folder);
  /// Shows nothing.
  void removeAll();
  /// Gives `item` these children (null: none), telling the view when the item is shown.
  void setChildren(const ItemPointer& item, ArrayPointer children);
  /// Puts `child` among `parent`'s children, at `place` of their array as it stands. Where they are shown sorted the
  /// row comes to stand where its name belongs; at the top level it comes with the next reloadData(). The parent must
  /// have children (an empty array are some).
  void insertChild(const ItemPointer& parent, int place, ItemPointer child);
  /// Takes the item from its parent's children. A row of the top level goes with the next reloadData().
  void removeItem(const ItemPointer& item) { removeItems({item}); }
  /// The same with many at once: those that follow one another, here and among their parent's rows, go in one step.
  void removeItems(const std::vector<ItemPointer>& items);
  /// The item got another name: its row stays where it is until somebody sorts.
  void itemRenamed(const SItem& item);
  /// The item's texts may have changed; with its children also theirs.
  void reloadItem(const SItem& item, bool reloadChildren);

  /// The item of a row; null for the invalid index.
  ItemPointer itemAtIndex(const QModelIndex& index) const;
  /// Where the item is shown (column 0); invalid when it is not.
  QModelIndex indexOfItem(const SItem& item) const;
  /// Whether the item has a triangle: storages and folders.
  bool isExpandable(const SItem& item) const { return item.isExpandable(); }
  /// The folder whose children are the top level; null at first.
  const ItemPointer& folder() const { return m_folder; }
  /// What rows are sorted by.
  const SSortDescriptor& sortDescriptor() const { return m_sortDescriptor; }
  /// While true no row can be selected: the rows are being replaced.
  bool isReloadingData() const { return _isReloadingData; }

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  bool hasChildren(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  /// New sort descriptor: sorts the top level at once, children when they are looked at. Column -1: no sorting.
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

private:
  SItem* item(const QModelIndex& index) const;
  /// The shown children of an item (null: the top level), sorted; null when there are none.
  SItemArray* rowsBelow(SItem* parent) const;
  QString text(const SItem& item, int column) const;

  ItemPointer m_folder;
  std::shared_ptr<SItemArray> _itemSource; // the top level
  SSortDescriptor m_sortDescriptor;
  bool _isReloadingData = false;
};
