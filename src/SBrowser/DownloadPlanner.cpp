#include "SBrowser/DownloadPlanner.h"

#include "MTPCore/MTPSDKUtil.h"
#include "SBrowser/SItemArray.h"
#include "SBrowser/TreeLoader.h"
#include "UI/Common/NSStringPredicate.h"

#include <QFileInfo>

#include <algorithm>

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
  for (const Entry& entry : *dragged) {
    SItem& item = *entry.item;
    item.setDesPath(download::pathOnComputer(m_destination, names.claim(item.fileName())));
    const bool isSkipped =
        existsOnComputer(item.desPath()) && m_run.askAboutClash(item.fileName(), dragged->size()) == ClashAnswerSkip;
    if (m_run.isStopped())
      return false;
    if (isSkipped) {
      m_run.record(shownName(item, m_destination), TransferOutcome::Skipped);
      continue;
    }
    m_run.plan().push_back(entry.item);
    std::uint64_t totalSize = item.fileSize();
    if (isFolder(item)) {
      const auto below = getListFileInDeviceFolder(entry, totalSize);
      if (below)
        m_run.plan().insert(m_run.plan().end(), below->begin(), below->end());
    }
    m_run.addToTotalTransferSize(totalSize);
    if (m_run.isStopped())
      return false;
  }
  return true;
}

std::optional<std::vector<DownloadPlanner::ItemPointer>>
DownloadPlanner::getListFileInDeviceFolder(const Entry& folder, std::uint64_t& totalSize) {
  totalSize = 0;
  if (!isFolder(*folder.item))
    return std::nullopt;
  const auto originals = contentsOf(folder.original);
  if (!originals)
    return std::nullopt;
  std::vector<ItemPointer> entries;
  if (m_run.isStopped())
    return entries;
  const auto children = copies(*originals);
  if (!children)
    return std::nullopt;
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
    entries.push_back(child.item);
    std::uint64_t size = item.fileSize();
    if (isFolder(item)) {
      const auto below = getListFileInDeviceFolder(child, size);
      if (below)
        entries.insert(entries.end(), below->begin(), below->end());
    }
    totalSize += size;
    if (m_run.isStopped())
      return entries;
  }
  return entries;
}

std::optional<std::vector<DownloadPlanner::ItemPointer>> DownloadPlanner::contentsOf(const ItemPointer& folder) {
  std::vector<ItemPointer> children;
  std::function<TreeLoader::Listing(DeviceSession&)> lister;
  const auto collect = [&](const std::shared_ptr<SItemArray>& array) {
    if (array)
      children.assign(array->begin(), array->end());
  };
  const auto look = [&] {
    if (folder->isListed())
      collect(folder->childObjects());
    else
      lister = TreeLoader::lister(folder);
  };
  if (!m_run.onMainThread(look))
    return std::nullopt;
  if (!lister)
    return children;
  TreeLoader::Listing listing = lister(m_session);
  const auto publish = [&] {
    collect(listing.children);
    folder->setIsListed(true);
    if (listing.children)
      m_publish(folder, std::move(listing.children));
  };
  if (!m_run.onMainThread(publish))
    return std::nullopt;
  return children;
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
