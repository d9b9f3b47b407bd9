#include "SBrowser/DownloadPlanner.h"

#include "MTPCore/MTPSDKUtil.h"
#include "SBrowser/SItemArray.h"
#include "SBrowser/TreeLoader.h"
#include "UI/Common/NSStringPredicate.h"

#include <QFileInfo>

#include <algorithm>
#include <limits>
#include <utility>

namespace {

// How many items are looked at in one go of the main thread, which has a window to draw.
constexpr std::size_t kItemsAtOnce = 500;

bool existsOnComputer(const QString& path) {
  const QFileInfo info(path);
  return info.exists() || info.isSymLink();
}

bool isFolder(const SItem& item) {
  return item.objectType() == SObjectTypeFolder;
}

/// Whether two lists are of the same objects by the same names, in whatever order.
bool isSame(const std::vector<DownloadPlanner::Entry>& shown, const SItemArray& listed) {
  if (shown.size() != std::size_t(listed.count()))
    return false;
  const auto key = [](const SItem& item) { return std::pair(item.nodeID(), item.fileName()); };
  QSet<std::pair<QString, QString>> keys;
  keys.reserve(listed.count());
  for (const auto& item : listed)
    keys.insert(key(*item));
  return std::all_of(shown.begin(), shown.end(), [&](const auto& entry) { return keys.contains(key(*entry.item)); });
}

/// Puts folders that the tree has already, perhaps with what they hold, where the phone tells of the same ones.
void keepKnown(const SItemArray& known, SItemArray& listed) {
  QHash<QString, std::shared_ptr<SItem>> folders;
  for (const auto& item : known)
    if (isFolder(*item))
      folders.insert(item->fileName(), item);
  for (int place = 0; place < listed.count(); ++place) {
    const auto item = listed.at(place);
    const auto before = isFolder(*item) ? folders.take(item->fileName()) : nullptr;
    if (!before)
      continue;
    before->setNodeID(item->nodeID());
    listed.removeAt(place);
    listed.insert(place, before);
  }
}

std::shared_ptr<SItem> entryFor(const SItem& item) {
  auto entry = std::static_pointer_cast<SItem>(item.mutableCopyWithZone());
  entry->setObjectType(item.objectType());
  entry->setChildObjects(nullptr); // the tree's
  if (isFolder(*entry))
    entry->setFileSize(0);
  return entry;
}

} // namespace

DownloadPlanner::DownloadPlanner(TransferRun& run, DeviceSession& session, QString destination, Publisher publish)
    : m_run(run)
    , m_session(session)
    , m_destination(std::move(destination))
    , m_publish(std::move(publish)) {}

bool DownloadPlanner::plan(const std::vector<ItemPointer>& draggedItems) {
  const auto dragged = copies(draggedItems);
  if (!dragged)
    return false;
  download::NamesInFolder names = namesIn(m_destination);
  QStringList unplanned;
  for (const Entry& entry : *dragged)
    if (m_run.isStopped() || !planItem(entry, names.claim(entry.item->fileName()), dragged->size()))
      unplanned.append(entry.item->fileName());
  if (!m_run.isStopped())
    return true;
  for (const TransferRun::PlanEntry& entry : m_run.plan())
    m_run.record(shownName(static_cast<const SItem&>(*entry), m_destination), TransferOutcome::Canceled);
  for (const QString& name : std::as_const(unplanned))
    m_run.record(name, TransferOutcome::Canceled);
  return false;
}

bool DownloadPlanner::planItem(const Entry& entry, const QString& nameOnComputer, std::size_t items) {
  SItem& item = *entry.item;
  item.setDesPath(download::pathOnComputer(m_destination, nameOnComputer));
  const bool isSkipped = lookAtDestination(item) && m_run.askAboutClash(item.fileName(), items) == ClashAnswerSkip;
  if (m_run.isStopped())
    return false;
  if (isSkipped) {
    m_run.record(shownName(item, m_destination), TransferOutcome::Skipped);
    return true;
  }
  m_run.plan().push_back(entry.item);
  std::uint64_t totalSize = item.fileSize();
  if (isFolder(item)) {
    const auto below = getListFileInDeviceFolder(entry, totalSize);
    if (below)
      m_run.plan().insert(m_run.plan().end(), below->begin(), below->end());
  }
  m_run.addToTotalTransferSize(totalSize);
  return true;
}

std::optional<std::vector<DownloadPlanner::ItemPointer>>
DownloadPlanner::getListFileInDeviceFolder(const Entry& folder, std::uint64_t& totalSize) {
  totalSize = 0;
  if (!isFolder(*folder.item))
    return std::nullopt;
  std::vector<ItemPointer> entries;
  if (m_run.isStopped())
    return entries;
  std::uint32_t failure = DGSTATUS_SUCCESS;
  const auto children = contentsOf(folder.original, failure);
  if (!children)
    return std::nullopt;
  if (failure != DGSTATUS_SUCCESS)
    m_listingFailures.insert(folder.item.get(), failure);
  if (m_run.isStopped())
    return entries;
  const QString path = folder.item->desPath();
  download::NamesInFolder names = namesIn(path);
  for (const Entry& child : *children) {
    SItem& item = *child.item;
    item.setDesPath(download::pathOnComputer(path, names.claim(item.fileName())));
    if (item.desPath().toUtf8().size() >= download::kLongestPath) {
      // Nothing could be made there; and a folder that held itself, as a broken phone may tell, ends here.
      m_run.record(shownName(item, m_destination), TransferOutcome::Failed, DGSTATUS_FILE_OPEN_FAILED);
      continue;
    }
    lookAtDestination(item);
    entries.push_back(child.item);
    std::uint64_t size = item.fileSize();
    if (isFolder(item)) {
      const auto below = getListFileInDeviceFolder(child, size);
      if (below)
        entries.insert(entries.end(), below->begin(), below->end());
    }
    totalSize += std::min(size, std::numeric_limits<std::uint64_t>::max() - totalSize);
    if (m_run.isStopped())
      return entries;
  }
  return entries;
}

bool DownloadPlanner::lookAtDestination(const SItem& entry) {
  const bool exists = existsOnComputer(entry.desPath());
  if (exists)
    m_existing.insert(&entry);
  return exists;
}

/// The phone is asked about every folder, which costs nothing while the engine knows it: the tree may show less than
/// there is. It stays as it is when it shows the same.
std::optional<std::vector<DownloadPlanner::Entry>> DownloadPlanner::contentsOf(const ItemPointer& folder,
                                                                               std::uint32_t& failure) {
  std::vector<ItemPointer> shown;
  bool isShown = false;
  std::function<TreeLoader::Listing(DeviceSession&)> lister;
  const auto look = [&] {
    lister = TreeLoader::lister(folder, [this] { return !m_run.isStopped(); });
    isShown = folder->isListed() && folder->childObjects();
    if (isShown)
      shown.assign(folder->childObjects()->begin(), folder->childObjects()->end());
  };
  if (!m_run.onMainThread(look))
    return std::nullopt;
  TreeLoader::Listing listing = lister(m_session);
  failure = listing.status;
  const auto entries = copies(shown);
  if (!entries || failure != DGSTATUS_SUCCESS || (isShown && isSame(*entries, *listing.children)))
    return entries; // of one that could not be listed: whoever opens it later may have more luck
  const auto publish = [&] {
    if (folder->childObjects())
      keepKnown(*folder->childObjects(), *listing.children);
    shown.assign(listing.children->begin(), listing.children->end());
    folder->setIsListed(true);
    m_publish(folder, std::move(listing.children));
  };
  if (!m_run.onMainThread(publish))
    return std::nullopt;
  return copies(shown);
}

std::optional<std::vector<DownloadPlanner::Entry>> DownloadPlanner::copies(const std::vector<ItemPointer>& items) {
  std::vector<Entry> entries;
  entries.reserve(items.size());
  while (entries.size() < items.size()) {
    const std::size_t end = std::min(items.size(), entries.size() + kItemsAtOnce);
    const auto copy = [&] {
      for (std::size_t i = entries.size(); i < end; ++i)
        entries.push_back({entryFor(*items[i]), items[i]});
    };
    if (!m_run.onMainThread(copy))
      return std::nullopt;
  }
  return entries;
}

download::NamesInFolder DownloadPlanner::namesIn(const QString& folder) {
  const auto ignoresCase = [this] {
    if (!m_ignoresCase)
      m_ignoresCase = download::ignoresCase(m_destination);
    return *m_ignoresCase;
  };
  return {ignoresCase, [folder](const QString& name) { return existsOnComputer(folder + u'/' + name); }};
}

bool DownloadPlanner::file(const QString& name, const QStringList& existInMediaFileList) {
  return ui::isExistInArray(name, existInMediaFileList);
}

QString DownloadPlanner::shownName(const SItem& entry, const QString& destination) {
  const QString path = entry.desPath();
  const QString folder = download::pathOnComputer(destination, QString());
  return path.startsWith(folder) ? path.sliced(folder.size()) : path;
}
