#pragma once
// What a copy from the phone to a folder of the computer consists of.
#include "SBrowser/DeviceQueue.h"
#include "SBrowser/DownloadNames.h"
#include "SBrowser/SItem.h"
#include "SBrowser/TransferRun.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class SItemArray;
class TreeLoader;

/// Walks the dragged rows and everything below them into an ordered plan. The plan's entries are copies of the tree's
/// items with `desPath` set: the tree itself is read and filled on the main thread only. Belongs to the transfer's
/// thread, within a job of the queue; every operation blocks, on the main thread and, for folders that the engine does
/// not know (any more), on the phone.
class DownloadPlanner {
public:
  using ItemPointer = std::shared_ptr<SItem>;
  /// Gives a folder that has just been listed its children. Main thread.
  using Publisher = std::function<void(const ItemPointer& folder, std::shared_ptr<SItemArray> children)>;
  struct Entry {
    ItemPointer item;     ///< of the plan
    ItemPointer original; ///< of the tree: looked at on the main thread only
  };

  /// A plan for `run`, into the folder `destination` of the computer, an absolute path.
  DownloadPlanner(TransferRun& run, DeviceSession& session, QString destination, Publisher publish);

  /// Fills the run's plan and its total size with the dragged items of the tree, asking about each whose destination
  /// exists. False when the run was stopped meanwhile: nothing is to be copied then, and that is recorded.
  bool plan(const std::vector<ItemPointer>& draggedItems);

  /// `getListFileInDeviceFolder:totalSize:currentDrapItem:` The plan's entries below `folder`, in the phone's order,
  /// each folder before what it holds; `totalSize` becomes the sum of their sizes. A folder that was not listed yet, or
  /// has changed since, is listed, and stays so. Nothing for a file, and when the window is gone; less when the run is
  /// stopped meanwhile. The dragged folder is known by the `desPath` that its descendants' begins with.
  std::optional<std::vector<ItemPointer>> getListFileInDeviceFolder(const Entry& folder, std::uint64_t& totalSize);

  /// Why nothing is known of what a planned folder holds: the SDK's status; 0 when all is well.
  std::uint32_t listingFailure(const SItem& folder) const { return m_listingFailures.value(&folder); }
  /// Whether there was something at a planned entry's destination when it was planned.
  bool existedBefore(const SItem& entry) const { return m_existing.contains(&entry); }

  /// `file:existInMediaFileList:` Whether some element matches the name, as ui::isExistInArray() says. Any thread.
  static bool file(const QString& name, const QStringList& existInMediaFileList);
  /// What the user knows an entry as: its place below the destination.
  static QString shownName(const SItem& entry, const QString& destination);

private:
  /// False when the run was stopped before the item was planned.
  bool planItem(const Entry& entry, const QString& nameOnComputer, std::size_t items);
  bool lookAtDestination(const SItem& entry);
  std::optional<std::vector<Entry>> copies(const std::vector<ItemPointer>& items);
  /// What the phone tells of a folder; `failure` becomes the SDK's status when it tells nothing, and what the tree
  /// shows of it is all there is.
  std::optional<std::vector<Entry>> contentsOf(const ItemPointer& folder, std::uint32_t& failure);
  download::NamesInFolder namesIn(const QString& folder);

  TransferRun& m_run;
  DeviceSession& m_session;
  const QString m_destination;
  const Publisher m_publish;
  QHash<const SItem*, std::uint32_t> m_listingFailures;
  QSet<const SItem*> m_existing;
  std::optional<bool> m_ignoresCase; // of the destination, once it was asked
};
