#include "SBrowser/SBrowserOutlineModel.h"

#include "Platform/MainThread.h"
#include "UI/Common/DisplayText.h"
#include "UI/Common/Images.h"
#include "UI/Common/NSStringPredicate.h"
#include "UI/Common/SizeText.h"
#include "UI/Controls/SOutlineView.h"
#include "stringDefine/VornLocalStringDefine.h"

namespace {

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

SSortDescriptor::Key keyOfColumn(int column) {
  static constexpr SSortDescriptor::Key keys[] = {SSortDescriptor::FileName, SSortDescriptor::DateModified,
                                                  SSortDescriptor::FileSize};
  return column >= 0 && column < kOutlineColumnCount ? keys[column] : SSortDescriptor::None;
}

} // namespace

SBrowserOutlineModel::SBrowserOutlineModel(QObject* parent)
    : QAbstractItemModel(parent)
    , _itemSource(std::make_shared<SItemArray>()) {}

void SBrowserOutlineModel::reloadData(const ItemPointer& folder) {
  platform::assertMainThread();
  beginResetModel();
  _isReloadingData = true;
  const auto before = _itemSource; // whoever still looks finds its items until the reset is over
  if (folder) {
    m_folder = folder;
    _itemSource =
        folder->childObjects() ? std::make_shared<SItemArray>(*folder->childObjects()) : std::make_shared<SItemArray>();
    _itemSource->contentsChanged(); // a name may have changed since the array was sorted
  }
  endResetModel();
  _isReloadingData = false;
}

void SBrowserOutlineModel::removeAll() {
  platform::assertMainThread();
  beginResetModel();
  const auto before = _itemSource;
  m_folder.reset();
  _itemSource = std::make_shared<SItemArray>();
  endResetModel();
}

void SBrowserOutlineModel::setChildren(const ItemPointer& item, ArrayPointer children) {
  platform::assertMainThread();
  const QModelIndex shown = indexOfItem(*item);
  if (!shown.isValid()) {
    item->setChildObjects(std::move(children));
    return;
  }
  if (const int before = rowCount(shown); before > 0) {
    const ArrayPointer old = item->childObjects();
    beginRemoveRows(shown, 0, before - 1);
    item->setChildObjects(nullptr);
    endRemoveRows();
  }
  if (!children || children->isEmpty()) {
    item->setChildObjects(std::move(children));
    return;
  }
  // Not sorted yet: who looks at the first of them gets them sorted, who enters the item finds the phone's order.
  beginInsertRows(shown, 0, children->count() - 1);
  item->setChildObjects(std::move(children));
  endInsertRows();
}

void SBrowserOutlineModel::insertChild(const ItemPointer& parent, int place, ItemPointer child) {
  platform::assertMainThread();
  const ArrayPointer children = parent->childObjects();
  setChildren(parent, nullptr); // the new row's place among sorted ones is known when they are sorted again
  children->insert(place, std::move(child));
  setChildren(parent, children);
}

void SBrowserOutlineModel::removeItems(const std::vector<ItemPointer>& items) {
  platform::assertMainThread();
  // From the last to the first: the places of those before stay as they are known.
  for (std::size_t left = items.size(); left > 0;) {
    const SItem& lastItem = *items[--left];
    const ItemPointer parent = lastItem.parentItem();
    if (!parent || !parent->childObjects())
      continue;
    const QModelIndex shown = indexOfItem(*parent);
    SItemArray& children = shown.isValid() ? *rowsBelow(parent.get()) : *parent->childObjects();
    const int last = children.indexOf(lastItem);
    if (last < 0)
      continue;
    int first = last;
    while (left > 0 && first > 0 && children.at(first - 1) == items[left - 1]) {
      --first;
      --left;
    }
    if (shown.isValid())
      beginRemoveRows(shown, first, last);
    children.removeAt(first, last - first + 1);
    if (shown.isValid())
      endRemoveRows();
  }
}

void SBrowserOutlineModel::itemRenamed(const SItem& item) {
  platform::assertMainThread();
  const ItemPointer parent = item.parentItem();
  if (parent && parent == m_folder) {
    _itemSource->contentsChanged();
    if (parent->childObjects())
      parent->childObjects()->contentsChanged();
  }
  reloadItem(item, false);
}

void SBrowserOutlineModel::reloadItem(const SItem& item, bool reloadChildren) {
  platform::assertMainThread();
  const QModelIndex shown = indexOfItem(item);
  if (!shown.isValid())
    return;
  Q_EMIT dataChanged(shown, shown.siblingAtColumn(kOutlineColumnCount - 1));
  if (const int rows = rowCount(shown); reloadChildren && rows > 0)
    Q_EMIT dataChanged(index(0, 0, shown), index(rows - 1, kOutlineColumnCount - 1, shown));
}

SBrowserOutlineModel::ItemPointer SBrowserOutlineModel::itemAtIndex(const QModelIndex& index) const {
  SItem* const found = item(index);
  return found != nullptr ? found->copyWithZone() : nullptr;
}

QModelIndex SBrowserOutlineModel::indexOfItem(const SItem& item) const {
  platform::assertMainThread();
  const ItemPointer parent = item.parentItem();
  if (!parent)
    return {};
  const bool isTop = parent == m_folder;
  if (!isTop && !indexOfItem(*parent).isValid())
    return {};
  const SItemArray* const rows = rowsBelow(isTop ? nullptr : parent.get());
  const int row = rows != nullptr ? rows->indexOf(item) : -1;
  return row >= 0 ? createIndex(row, 0, const_cast<SItem*>(&item)) : QModelIndex();
}

QModelIndex SBrowserOutlineModel::index(int row, int column, const QModelIndex& parent) const {
  if (!hasIndex(row, column, parent))
    return {};
  return createIndex(row, column, rowsBelow(item(parent))->at(row).get());
}

QModelIndex SBrowserOutlineModel::parent(const QModelIndex& child) const {
  const SItem* const item = this->item(child);
  const ItemPointer parent = item != nullptr ? item->parentItem() : nullptr;
  if (!parent || parent == m_folder)
    return {};
  return indexOfItem(*parent);
}

int SBrowserOutlineModel::rowCount(const QModelIndex& parent) const {
  if (parent.column() > 0)
    return 0;
  const SItem* const item = this->item(parent);
  const SItemArray* const rows = item != nullptr ? item->childObjects().get() : _itemSource.get();
  return rows != nullptr ? rows->count() : 0;
}

int SBrowserOutlineModel::columnCount(const QModelIndex&) const {
  return kOutlineColumnCount;
}

bool SBrowserOutlineModel::hasChildren(const QModelIndex& parent) const {
  if (parent.column() > 0)
    return false;
  const SItem* const item = this->item(parent);
  return item != nullptr ? isExpandable(*item) : !_itemSource->isEmpty();
}

QString SBrowserOutlineModel::text(const SItem& item, int column) const {
  switch (column) {
  case kFileName:
    return ui::singleLineText(item.fileName());
  case kDateModified:
    return item.dateModified();
  case kFileSize:
    return item.objectType() == SObjectTypeFile ? ui::convertFileSizeFromInt(item.fileSize())
                                                : ui::kUnknownDate.toString();
  default:
    return QString();
  }
}

QVariant SBrowserOutlineModel::data(const QModelIndex& index, int role) const {
  const SItem* const item = this->item(index);
  if (item == nullptr)
    return {};
  switch (role) {
  case Qt::DisplayRole: {
    const QString shown = text(*item, index.column());
    return shown.isNull() ? QString::fromLatin1("") : shown;
  }
  case Qt::DecorationRole:
    return index.column() == kFileName ? QVariant(ui::iconForItem(item->objectType(), item->fileName())) : QVariant();
  case Qt::ToolTipRole:
    // As plain text whatever it looks like.
    return index.column() == kFileName ? QVariant(text(*item, kFileName).toHtmlEscaped()) : QVariant();
  case Qt::AccessibleDescriptionRole:
    return index.column() == kFileName
               ? QVariant(localized(isExpandable(*item) ? "accessible_folder" : "accessible_file"))
               : QVariant();
  default:
    return {};
  }
}

QVariant SBrowserOutlineModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal)
    return {};
  if (role == Qt::AccessibleDescriptionRole && m_sortDescriptor.key != SSortDescriptor::None &&
      m_sortDescriptor.key == keyOfColumn(section))
    return localized(m_sortDescriptor.ascending ? "accessible_sorted_ascending" : "accessible_sorted_descending");
  if (role != Qt::DisplayRole)
    return {};
  switch (section) {
  case kFileName:
    return localized("MNU_FileName");
  case kDateModified:
    return localized("MNU_DateOfModify");
  case kFileSize:
    return localized("MSG_FileSize");
  default:
    return {};
  }
}

Qt::ItemFlags SBrowserOutlineModel::flags(const QModelIndex& index) const {
  const SItem* const item = this->item(index);
  if (item == nullptr)
    return Qt::NoItemFlags;
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsDragEnabled;
  flags.setFlag(Qt::ItemIsSelectable, !_isReloadingData);
  flags.setFlag(Qt::ItemNeverHasChildren, !isExpandable(*item));
  return flags;
}

void SBrowserOutlineModel::sort(int column, Qt::SortOrder order) {
  platform::assertMainThread();
  const SSortDescriptor descriptor{keyOfColumn(column), order == Qt::AscendingOrder};
  Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
  const QModelIndexList before = persistentIndexList();
  m_sortDescriptor = descriptor;
  _itemSource->sort(m_sortDescriptor);
  QModelIndexList after;
  after.reserve(before.size());
  for (const QModelIndex& index : before)
    after.push_back(indexOfItem(*item(index)).siblingAtColumn(index.column()));
  changePersistentIndexList(before, after);
  Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

SItem* SBrowserOutlineModel::item(const QModelIndex& index) const {
  return index.isValid() ? static_cast<SItem*>(index.internalPointer()) : nullptr;
}

SItemArray* SBrowserOutlineModel::rowsBelow(SItem* parent) const {
  if (parent == nullptr)
    return _itemSource.get();
  SItemArray* const children = parent->childObjects().get();
  if (children != nullptr)
    children->sort(m_sortDescriptor);
  return children;
}
