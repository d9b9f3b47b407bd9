#include "SBrowser/ItemMutations.h"

#include "MTPCore/DevicePath.h"
#include "MTPCore/MTPSDKUtil.h"
#include "MTPCore/PathWalk.h"
#include "Platform/MainThread.h"
#include "Platform/UserDefaults.h"
#include "SBrowser/OutlineState.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/SBrowserWindowController.h"
#include "SBrowser/TreeLoader.h"
#include "SBrowser/WindowLayout.h"
#include "UI/Common/NSStringPredicate.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/NoticeView/SNoticeView.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

/// What a worker needs to know of an item, so that it need not look at the tree.
struct ItemMutations::Target {
  bool isStorage = false;
  QString nodeID; // null when the item was listed anew since: the path counts
  QString filePath;
  QString rootPath;
};

struct ItemMutations::Creation {
  std::function<TreeLoader::Listing(DeviceSession&)> lister; // when the parent was not listed yet
  std::optional<TreeLoader::Listing> listing;
  std::optional<MtpItemInfo> folder; // the one that was made
};

namespace {

std::shared_ptr<SItem> makeFolder(const MtpItemInfo& folder, const std::shared_ptr<SItem>& parent) {
  auto item = SItem::newObject();
  item->setNodeID(folder.NodeID);
  item->setFileName(folder.FileName.value_or(QString()));
  item->setFilePath(folder.FilePath.value_or(QString()));
  item->setDateModified(ui::kUnknownDate.toString());
  item->setFileSize(0);
  item->setObjectType(SObjectTypeFolder);
  item->setRootPath(parent->rootPath());
  item->setParentItem(parent);
  return item;
}

} // namespace

/// One command under way, in the hands of its worker.
class ItemMutations::Run {
public:
  explicit Run(ItemMutations& self)
      : m_self(&self)
      , m_alive(self.m_alive)
      , m_session(self.m_session)
      , m_queue(self.m_queue) {}

  /// Runs `work` on the main thread and waits. False, and nothing is run, when the phone or the window is gone.
  bool onMain(const std::function<void(ItemMutations&)>& work) const {
    bool done = false;
    platform::runOnMainAndWait([&] {
      if (m_alive.expired() || m_session->ended)
        return;
      work(*m_self);
      done = true;
    });
    return done;
  }
  /// Runs `job` here when its turn comes. False when the phone is gone before or after it.
  bool onPhone(const DeviceQueue::Job& job) const { return m_queue->performHere(m_session, job) && !m_session->ended; }

private:
  ItemMutations* const m_self; // on the main thread only, and only while m_alive is
  const std::weak_ptr<char> m_alive;
  const std::shared_ptr<DeviceSession> m_session;
  const std::shared_ptr<DeviceQueue> m_queue;
};

ItemMutations::ItemMutations(SBrowserWindowController& window, std::shared_ptr<DeviceQueue> queue,
                             DeviceQueue::WorkerStarter startWorker, Sleeper sleep)
    : m_window(window)
    , m_queue(std::move(queue))
    , m_startWorker(std::move(startWorker))
    , m_sleep(std::move(sleep)) {}

ItemMutations::~ItemMutations() = default;

bool ItemMutations::canBegin() const {
  platform::assertMainThread();
  return m_session && !m_session->ended && !m_window.isBlocked();
}

bool ItemMutations::begin(const char* name, std::function<void(const Run&)> work) {
  return m_startWorker(name, [run = Run(*this), work = std::move(work)] { work(run); });
}

// ---- Items ----

std::vector<ItemMutations::ItemPointer> ItemMutations::selectedItems() const {
  std::vector<ItemPointer> items;
  for (const QModelIndex& index : m_window.layout()._outlineView->selectedRowIndexes())
    items.push_back(m_window.outlineModel().itemAtIndex(index));
  return items;
}

ItemMutations::ItemPointer ItemMutations::itemForNewFolder() const {
  const SOutlineView& outline = *m_window.layout()._outlineView;
  ItemPointer item = m_window.outlineModel().itemAtIndex(outline.indexAtRow(outline.getSelectedRowIndex()));
  if (!item)
    item = m_window.currentFolderItem();
  return item && !item->isExpandable() ? item->parentItem() : item;
}

ItemMutations::Target ItemMutations::targetOf(const ItemPointer& item) const {
  return {item->isStorageRoot(), isInTree(*item) ? item->nodeID() : QString(), item->filePath(), item->rootPath()};
}

bool ItemMutations::isInTree(const SItem& item) const {
  if (const ItemPointer parent = item.parentItem())
    return parent->childObjects() && parent->childObjects()->indexOf(item) >= 0 && isInTree(*parent);
  // What a storage holds while it waits to be listed anew is about to go.
  return std::any_of(m_window.staticSource().begin(), m_window.staticSource().end(),
                     [&](const ItemPointer& root) { return root.get() == &item && root->isListed(); });
}

ItemMutations::ItemPointer ItemMutations::itemInTree(const ItemPointer& item) const {
  if (isInTree(*item))
    return item;
  for (const ItemPointer& root : m_window.staticSource()) {
    if (root->rootPath() != item->rootPath() || !root->isListed())
      continue;
    ItemPointer found = root;
    const QStringList names = devicePath::components(item->filePath());
    for (qsizetype i = devicePath::components(root->filePath()).size(); found && i < names.size(); ++i) {
      const bool isLast = i == names.size() - 1;
      const auto children = found->childObjects();
      found = nullptr;
      for (int child = 0; children && !found && child < children->count(); ++child)
        if (children->at(child)->fileName() == names[i] &&
            children->at(child)->isExpandable() == (!isLast || item->isExpandable()))
          found = children->at(child);
    }
    return found;
  }
  return nullptr;
}

// ---- New folder ----

void ItemMutations::createItemProc() {
  if (!canBegin())
    return;
  const ItemPointer parent = itemForNewFolder();
  if (!parent)
    return;
  m_window.setDisableCaptureEvent(true);
  const bool begun = begin("mtp-ask-name", [ask = m_window.layout()._fileNameView->asker(), parent](const Run& run) {
    QVariant name;
    const bool isConfirmed = ask({}, &name) == ui::ModalQuestion::kConfirmed;
    run.onMain([&](ItemMutations& self) {
      if (isConfirmed)
        self.__onCreateItemActionOnBackgroundThread(name.toString(), parent);
      else
        self.m_window.setDisableCaptureEvent(false);
    });
  });
  if (!begun)
    m_window.setDisableCaptureEvent(false);
}

void ItemMutations::__onCreateItemActionOnBackgroundThread(const QString& name, const ItemPointer& parent) {
  Creation creation;
  if (!parent->isListed())
    creation.lister = TreeLoader::lister(parent);
  const bool begun = begin("mtp-create", [name, parent, target = targetOf(parent), creation](const Run& run) mutable {
    if (run.onPhone([&](DeviceSession& session) { create(session, name, target, creation); }))
      run.onMain([&](ItemMutations& self) { self.folderCreated(parent, creation); });
  });
  if (!begun)
    m_window.setDisableCaptureEvent(false);
}

void ItemMutations::create(DeviceSession& session, const QString& name, const Target& parent, Creation& creation) {
  MTPDextSDKWrapper& mtp = *session._mtpSDKWrapper;
  if (creation.lister)
    creation.listing = creation.lister(session);
  session.selectStorage(parent.rootPath);
  _MTP_COMMON_NODE* node = nullptr;
  if (parent.isStorage)
    node = reinterpret_cast<_MTP_COMMON_NODE*>(session._currentStorageNode);
  else
    node = mtp.getCommonNodeFromNodeID(parent.nodeID);
  if (node == nullptr)
    node = PathWalk::nodeAt(mtp, mtp.getCurrentDeviceNode(), mtp.knownStorageHead(), parent.filePath);
  if (node == nullptr)
    return;
  std::uint32_t error = DGSTATUS_UNSUCCESSFUL;
  _MTP_FOLDER_NODE* const folder = mtp.createFolder(node, name, error);
  if (error == DGSTATUS_SUCCESS)
    creation.folder = mtp.getFolderNodeInfo(folder, parent.filePath);
}

void ItemMutations::folderCreated(const ItemPointer& wanted, const Creation& creation) {
  const ItemPointer parent = itemInTree(wanted);
  if (parent == wanted && creation.listing && !parent->isListed()) {
    parent->setIsListed(creation.listing->isListed());
    if (creation.listing->children)
      m_window.publishChildren(parent, creation.listing->children);
  }
  if (parent && creation.folder)
    insertFolder(parent, *creation.folder);
  m_window.setDisableCaptureEvent(false);
}

void ItemMutations::insertFolder(const ItemPointer& parent, const MtpItemInfo& folder) {
  const auto children = parent->childObjects();
  if (!children)
    return;
  const auto firstWhere = [&](const auto& condition) {
    return static_cast<int>(std::find_if(children->begin(), children->end(), condition) - children->begin());
  };
  const int listed = firstWhere([&](const ItemPointer& child) { return child->nodeID() == folder.NodeID; });
  const bool isListed = listed < children->count(); // the phone's change brought it here first
  const ItemPointer item = isListed ? children->at(listed) : makeFolder(folder, parent);
  SOutlineView& outline = *m_window.layout()._outlineView;
  OutlineState state(outline, m_window.outlineModel());
  if (!isListed)
    m_window.outlineModel().insertChild(
        parent, firstWhere([](const ItemPointer& child) { return child->objectType() == SObjectTypeFile; }), item);
  m_window.expandItem(parent);
  state.restore();
  if (const QModelIndex index = m_window.outlineModel().indexOfItem(*item); index.isValid()) {
    outline.selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate); // the keyboard is there now
    outline.scrollTo(index);
  }
}

// ---- Rename ----

void ItemMutations::changeItemNameProc() {
  if (!canBegin())
    return;
  const std::vector<ItemPointer> items = selectedItems();
  if (items.empty())
    return;
  m_window.setDisableCaptureEvent(true);
  const bool begun = begin("mtp-rename", [ask = m_window.layout()._fileNameView->asker(), items](const Run& run) {
    for (const ItemPointer& item : items)
      if (!rename(run, item, ask))
        return;
    run.onMain([](ItemMutations& self) { self.m_window.setDisableCaptureEvent(false); });
  });
  if (!begun)
    m_window.setDisableCaptureEvent(false);
}

bool ItemMutations::rename(const Run& run, const ItemPointer& item, const Asker& ask) {
  QString oldName;
  if (!run.onMain([&](ItemMutations&) { oldName = item->fileName(); }))
    return false;
  QVariant answer;
  const bool isConfirmed = ask(oldName, &answer) == ui::ModalQuestion::kConfirmed;
  const QString newName = answer.toString();
  if (!isConfirmed || newName == oldName)
    return true;
  Target target;
  const bool isThere = run.onMain([&](ItemMutations& self) {
    target = self.targetOf(item);
    self.m_window.layout()._outlineView->collapse(self.m_window.outlineModel().indexOfItem(*item));
  });
  bool isRenamed = false;
  const auto renameOnPhone = [&](DeviceSession& session) {
    session.selectStorage(target.rootPath);
    MTPDextSDKWrapper& mtp = *session._mtpSDKWrapper;
    std::uint32_t error = DGSTATUS_UNSUCCESSFUL;
    isRenamed =
        mtp.renameItemAtPath(mtp.getCurrentDeviceNode(), mtp.getCurrentStorageNode(), target.filePath, newName, error);
  };
  if (!isThere || !run.onPhone(renameOnPhone))
    return false;
  return !isRenamed || run.onMain([&](ItemMutations& self) { self.itemRenamed(item, newName); });
}

void ItemMutations::itemRenamed(const ItemPointer& item, const QString& newName) {
  const ItemPointer renamed = itemInTree(item);
  if (!renamed)
    return;
  const QString folderPath = devicePath::withoutLastComponent(renamed->filePath());
  renamed->setFileName(newName);
  renamed->setFilePath(devicePath::joined(folderPath, newName));
  renamed->setIsListed(false);
  if (renamed->childObjects())
    m_window.publishChildren(renamed, nullptr); // their paths are no more
  m_window.outlineModel().itemRenamed(*renamed);
}

// ---- Delete ----

void ItemMutations::deleteItemsProc() {
  deleteDrapItemsProc(selectedItems());
}

void ItemMutations::deleteDrapItemsProc(const std::vector<ItemPointer>& items) {
  if (!canBegin() || items.empty())
    return;
  SNoticeView& notice = *m_window.layout()._noticeView;
  m_window.changeEventRecieverObject(&notice);
  const bool begun = begin("mtp-delete", [ask = notice.asker(), sleep = m_sleep, items](const Run& run) {
    if (isDeletionWanted(ask, sleep))
      remove(run, items);
    else
      run.onMain([](ItemMutations& self) { self.m_window.changeEventRecieverObject(nullptr); });
  });
  if (!begun)
    m_window.changeEventRecieverObject(nullptr);
}

bool ItemMutations::isDeletionWanted(const Asker& ask, const Sleeper& sleep) {
  const QString key = QString::fromLatin1(kDeleteWithoutAsking);
  if (platform::userDefaults::boolForKey(key))
    return true;
  QVariant withoutAsking;
  const bool isConfirmed = ask({}, &withoutAsking) == ui::ModalQuestion::kConfirmed;
  sleep(kPauseAfterQuestion);
  if (isConfirmed && withoutAsking.toBool()) {
    platform::userDefaults::setValue(key, true);
    platform::userDefaults::synchronize();
  }
  return isConfirmed;
}

void ItemMutations::remove(const Run& run, const std::vector<ItemPointer>& items) {
  std::set<ItemPointer> deleted;
  std::vector<ItemPointer> unshown; // of them those whose rows are still there
  std::vector<ItemPointer> parents;
  auto shown = std::chrono::steady_clock::now();
  qint64 firstRow = -1;
  run.onMain([&](ItemMutations& self) {
    firstRow =
        self.m_window.layout()._outlineView->rowOfIndex(self.m_window.outlineModel().indexOfItem(*items.front()));
  });
  for (const ItemPointer& item : items) {
    Target target;
    bool isGone = false; // with a folder that was deleted
    const bool isThere = run.onMain([&](ItemMutations& self) {
      for (ItemPointer folder = item->parentItem(); folder && !isGone; folder = folder->parentItem())
        isGone = deleted.contains(folder);
      target = self.targetOf(item);
    });
    if (!isThere)
      return;
    if (isGone)
      continue;
    bool isDeleted = false;
    const auto deleteOnPhone = [&](DeviceSession& session) {
      session.selectStorage(target.rootPath);
      MTPDextSDKWrapper& mtp = *session._mtpSDKWrapper;
      std::uint32_t error = DGSTATUS_UNSUCCESSFUL;
      isDeleted = mtp.deleteItemAtPath(mtp.getCurrentDeviceNode(), mtp.getStorageHeadNode(), target.nodeID,
                                       target.filePath, error);
    };
    if (!run.onPhone(deleteOnPhone))
      return;
    if (!isDeleted)
      continue;
    deleted.insert(item);
    unshown.push_back(item);
    if (const auto now = std::chrono::steady_clock::now(); now - shown >= kShowInterval) {
      run.onMain([&](ItemMutations& self) { self.itemsDeleted(std::exchange(unshown, {}), parents); });
      shown = now;
    }
  }
  run.onMain([&](ItemMutations& self) {
    self.itemsDeleted(unshown, parents);
    self.showDeletions(parents, firstRow);
  });
}

void ItemMutations::itemsDeleted(const std::vector<ItemPointer>& items, std::vector<ItemPointer>& parents) {
  std::vector<ItemPointer> gone;
  for (const ItemPointer& item : items) {
    const ItemPointer found = itemInTree(item);
    const ItemPointer parent = found ? found->parentItem() : nullptr;
    if (!parent)
      continue;
    gone.push_back(found);
    // Showing the current folder anew is all that is done, whatever else was to be refreshed.
    if (parent == m_window.currentFolderItem())
      parents = {parent};
    const bool isAll = parents.size() == 1 && parents.front() == m_window.currentFolderItem();
    if (!isAll && std::find(parents.begin(), parents.end(), parent) == parents.end())
      parents.push_back(parent);
  }
  m_window.outlineModel().removeItems(gone);
}

void ItemMutations::showDeletions(const std::vector<ItemPointer>& parents, qint64 firstRow) {
  for (const ItemPointer& parent : parents)
    m_window.expandItem(parent);
  if (!parents.empty())
    m_window.layout()._outlineView->setCurrentRow(firstRow); // what follows the deleted rows
  m_window.changeEventRecieverObject(nullptr);
}
