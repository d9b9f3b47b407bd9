#include "SBrowser/TreeLoader.h"

#include "MTPCore/MTPSDKUtil.h"
#include "MTPCore/MtpItemInfo.h"
#include "MTPCore/PathWalk.h"
#include "Platform/MainThread.h"
#include "UI/Common/NSStringPredicate.h"

#include <malloc.h>

#include <atomic>
#include <optional>

namespace {

// From so many entries on, the memory of the phone's answer is worth giving back to the system at once.
constexpr int kManyEntries = 5000;
constexpr int kListAttempts = 3;

} // namespace

/// What a listing needs of an item, so that the worker need not look at the tree.
struct TreeLoader::Source {
  std::int32_t objectType = SObjectTypeUnset;
  QString rootPath;
  QString filePath;
  QString nodeID;
};

struct TreeLoader::Request {
  enum Kind { Enter, Expand };
  ItemPointer item;
  Kind kind = Enter;
  std::shared_ptr<DeviceSession> session;
  std::uint64_t treeGeneration = 0;
  std::atomic<bool> overtaken{false}; // written by the main thread, read by the request's worker
};

namespace {

std::shared_ptr<SItem> makeItem(MtpItemInfo& entry, const QString& rootPath, const std::shared_ptr<SItem>& parent) {
  auto item = SItem::newObject();
  item->setNodeID(entry.NodeID);
  item->setFileName(entry.FileName.value_or(QString()));
  item->setFilePath(entry.FilePath.value_or(QString()));
  if (entry.ObjectType == MtpObjectFolder) {
    item->setDateModified(ui::kUnknownDate.toString());
    item->setFileSize(0);
    item->setObjectType(SObjectTypeFolder);
  } else {
    item->setMtpDate(entry.DateModify.value_or(QString()));
    item->setFileSize(entry.FileLength);
    item->setObjectType(SObjectTypeFile);
  }
  item->setRootPath(rootPath);
  item->setParentItem(parent);
  entry = MtpItemInfo(); // its texts are not needed any more: their memory serves the next items
  return item;
}

std::shared_ptr<SItemArray> makeItems(QList<MtpItemInfo> entries, const QString& rootPath,
                                      const std::shared_ptr<SItem>& parent) {
  auto items = std::make_shared<SItemArray>();
  items->reserve(static_cast<int>(entries.size()));
  for (MtpItemInfo& entry : entries)
    if (entry.FileName != QStringLiteral(".."))
      items->append(makeItem(entry, rootPath, parent));
  return items;
}

std::uint32_t askWhetherWanted(std::uint64_t, std::uint64_t, void* context) {
  return (*static_cast<const std::function<bool()>*>(context))() ? DGSTATUS_SUCCESS : DGSTATUS_IO_CANCEL;
}

} // namespace

TreeLoader::TreeLoader(std::shared_ptr<DeviceQueue> queue, TreeLoaderOwner& owner)
    : m_queue(std::move(queue))
    , m_owner(owner) {}

TreeLoader::~TreeLoader() = default;

void TreeLoader::setSession(std::shared_ptr<DeviceSession> session) {
  platform::assertMainThread();
  forgetRequests();
  m_session = std::move(session);
}

void TreeLoader::gotoNewFolder(const ItemPointer& item) {
  platform::assertMainThread();
  if (folderBeingEntered() == item)
    return;
  overtakeAll();
  if (!m_session || m_session->ended)
    return;
  if (item->isListed()) {
    // Nothing is needed of the phone to show it; it only has to learn which storage is in use.
    m_queue->perform("mtp-storage", m_session,
                     [root = item->rootPath()](DeviceSession& session) { session.selectStorage(root); });
    m_owner.hideLoadingView();
    m_owner.folderEntered(item);
    return;
  }
  m_owner.showLoadingView();
  auto request = std::make_shared<Request>();
  request->item = item;
  request->kind = Request::Enter;
  start(request);
}

void TreeLoader::expandFolder(const ItemPointer& item) {
  platform::assertMainThread();
  if (!m_session || m_session->ended || item->childObjects()) {
    if (m_requests.empty())
      m_owner.hideLoadingView();
    return;
  }
  for (const RequestPointer& request : m_requests)
    if (request->kind == Request::Expand && request->item == item)
      return; // collapsed and expanded again while it is being listed
  auto request = std::make_shared<Request>();
  request->item = item;
  request->kind = Request::Expand;
  start(request);
}

void TreeLoader::forgetRequests() {
  platform::assertMainThread();
  ++m_treeGeneration;
  const bool any = !m_requests.empty();
  overtakeAll();
  if (any)
    m_owner.hideLoadingView();
}

TreeLoader::ItemPointer TreeLoader::folderBeingEntered() const {
  platform::assertMainThread();
  for (const RequestPointer& request : m_requests)
    if (request->kind == Request::Enter)
      return request->item;
  return nullptr;
}

TreeLoader::ArrayPointer TreeLoader::getContentsOfItem(const ItemPointer& item) {
  Source source;
  std::shared_ptr<DeviceSession> session;
  const bool told = platform::runOnMainAndWait([&] {
    source = sourceOf(*item);
    session = m_session;
  });
  if (!told || !session)
    return nullptr;
  Listing listing;
  m_queue->performHere(session, [&](DeviceSession& current) { listing = list(current, source, item); });
  if (!listing.nodeID.isNull())
    platform::runOnMainAndWait([&] { item->setNodeID(listing.nodeID); });
  return listing.children;
}

std::function<TreeLoader::Listing(DeviceSession&)> TreeLoader::lister(const ItemPointer& item,
                                                                      std::function<bool()> isWanted) {
  platform::assertMainThread();
  return [item, source = sourceOf(*item), isWanted = std::move(isWanted)](DeviceSession& session) {
    return list(session, source, item, isWanted);
  };
}

TreeLoader::Source TreeLoader::sourceOf(const SItem& item) {
  return {item.objectType(), item.rootPath(), item.filePath(), item.nodeID()};
}

bool TreeLoader::Listing::isListed() const {
  // Where the path leads nowhere there is nothing to ask again.
  return status == DGSTATUS_SUCCESS || status == DGSTATUS_NODE_IS_NOT_EXISTED;
}

std::uint32_t TreeLoader::listingStatus(DeviceSession& session, _MTP_FOLDER_NODE* folder,
                                        const std::function<bool()>& isWanted) {
  MTPDextSDKWrapper& mtp = *session._mtpSDKWrapper;
  const mtpDextProgressCallback callback = isWanted ? askWhetherWanted : nullptr;
  void* const context = const_cast<std::function<bool()>*>(&isWanted); // which only calls it
  const auto isFailure = [](std::uint32_t status) {
    return status != DGSTATUS_SUCCESS && status != DGSTATUS_NO_MORE_DATA; // the latter where there is nothing
  };
  _MTP_FOLDER_NODE* child = nullptr;
  const std::uint32_t status = mtp.getMTPFolderListHead(folder, session._currentStorageNode, &child, callback, context);
  if (isFailure(status))
    return status;
  _MTP_FILE_NODE* file = nullptr;
  auto* const parent = folder != nullptr ? reinterpret_cast<_MTP_COMMON_NODE*>(folder)
                                         : reinterpret_cast<_MTP_COMMON_NODE*>(session._currentStorageNode);
  const std::uint32_t fileStatus = mtp.getMTPFileListHead(parent, &file, callback, context);
  return isFailure(fileStatus) ? fileStatus : DGSTATUS_SUCCESS;
}

TreeLoader::Listing TreeLoader::list(DeviceSession& session, const Source& source, const ItemPointer& parent,
                                     const std::function<bool()>& isWanted) {
  session._currentMemoryType = source.objectType;
  session.selectStorage(source.rootPath);
  MTPDextSDKWrapper& mtp = *session._mtpSDKWrapper;
  Listing listing;
  const bool isRoot =
      source.objectType == SObjectTypeInternalStorage || source.objectType == SObjectTypeExternalStorage;
  void* node = isRoot ? static_cast<void*>(session._currentStorageNode)
                      : static_cast<void*>(mtp.getCommonNodeFromNodeID(source.nodeID));
  if (node == nullptr && !isRoot) // the tree was built anew since: the path still names it
    node = PathWalk::nodeAt(mtp, mtp.getCurrentDeviceNode(), mtp.knownStorageHead(), source.filePath);
  const std::int32_t kind = node != nullptr ? mtp.nodeKind(node) : 0;
  if (kind == 0) {
    listing.status = DGSTATUS_NODE_IS_NOT_EXISTED;
    return listing;
  }
  if (isRoot)
    listing.nodeID = MTPDextSDKWrapper::nodeIDOf(node);
  std::optional<QList<MtpItemInfo>> entries;
  if (kind == MTPDEXT_NODE_STORAGE || kind == MTPDEXT_NODE_FOLDER) {
    auto* const folder = kind == MTPDEXT_NODE_FOLDER ? static_cast<_MTP_FOLDER_NODE*>(node) : nullptr;
    session._currentFolderNode = folder;
    listing.status = listingStatus(session, folder, isWanted);
    if (listing.status != DGSTATUS_SUCCESS)
      return listing;
    // A list breaks off where the phone takes an object away meanwhile; the next one is whole as a rule.
    for (int attempt = 0; attempt < kListAttempts; ++attempt) {
      entries = mtp.getFilesAtFolder(folder, session._currentStorageNode, source.filePath, &listing.status);
      if (!entries || listing.status == DGSTATUS_SUCCESS)
        break;
    }
  } else {
    entries.emplace();
    if (source.objectType == SObjectTypeFolder) // a file took its place
      listing.status = DGSTATUS_NODE_IS_NOT_EXISTED;
  }
  if (!entries) {
    listing.status = DGSTATUS_UNSUCCESSFUL;
    return listing;
  }
  listing.children = makeItems(std::move(*entries), source.rootPath, parent);
  return listing;
}

void TreeLoader::start(const RequestPointer& request) {
  request->session = m_session;
  request->treeGeneration = m_treeGeneration;
  m_requests.insert(request);
  const auto report = [this, alive = std::weak_ptr<char>(m_alive), request](Listing& listing) {
    platform::runOnMainAndWait([&] {
      if (!alive.expired())
        finish(request, std::move(listing));
    });
  };
  const bool started = m_queue->perform(
      "mtp-list", m_session, [request, report, source = sourceOf(*request->item)](DeviceSession& session) {
        if (request->overtaken)
          return; // nobody waits for it, and the phone may be slow
        Listing listing = list(session, source, request->item);
        const bool many = listing.children && listing.children->count() >= kManyEntries;
        report(listing);
        if (many)
          malloc_trim(0);
      });
  if (!started)
    end(request); // nothing was listed; the window stays usable
}

void TreeLoader::finish(const RequestPointer& request, Listing listing) {
  platform::assertMainThread();
  if (request->treeGeneration != m_treeGeneration || request->session->ended)
    return;
  if (!listing.nodeID.isNull())
    request->item->setNodeID(listing.nodeID);
  if (request->kind == Request::Enter)
    __gotoNewFolderProc(request, std::move(listing));
  else
    finishExpanding(request, std::move(listing));
}

void TreeLoader::__gotoNewFolderProc(const RequestPointer& request, Listing listing) {
  const ItemPointer& item = request->item;
  if (request->overtaken && !listing.children)
    return;
  item->setIsListed(listing.isListed());
  if (listing.children)
    m_owner.publishChildren(item, std::move(listing.children));
  if (request->overtaken)
    return;
  end(request);
  m_owner.folderEntered(item);
}

void TreeLoader::finishExpanding(const RequestPointer& request, Listing listing) {
  const ItemPointer& item = request->item;
  if (listing.children && !item->childObjects()) {
    m_owner.publishChildren(item, std::move(listing.children));
    item->setIsListed(true);
    m_owner.folderExpanded(item);
  }
  end(request);
}

void TreeLoader::overtakeAll() {
  for (const RequestPointer& request : m_requests)
    request->overtaken = true;
  m_requests.clear();
}

void TreeLoader::end(const RequestPointer& request) {
  m_requests.erase(request);
  if (m_requests.empty())
    m_owner.hideLoadingView();
}
