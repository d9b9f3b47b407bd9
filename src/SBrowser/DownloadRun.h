#pragma once
// Copying items of the phone to a folder of the computer.
#include "SBrowser/DownloadPlanner.h"
#include "SBrowser/TransferRun.h"

#include <QString>

#include <memory>
#include <vector>

/// One copy out of the phone, on the transfer's thread, within a job of the queue: whatever else is to be done with the
/// phone, building the tree anew for instance, waits until the copy has ended, the questions to the user included.
class DownloadRun {
public:
  using ItemPointer = std::shared_ptr<SItem>;

  /// Of `run`, over `session`, into the folder `destination` of the computer, an absolute path; it need not exist.
  DownloadRun(TransferRun& run, DeviceSession& session, const QString& destination, DownloadPlanner::Publisher publish);

  /// `drapItemsToTarget:` Plans the copy of the tree's items and carries it out: folders are made, with everything
  /// below them; each file gets the phone's date. What cannot be copied is passed over; a folder that cannot be made
  /// and a full disk end it. Blocks until all is done or the run is stopped. The run's end is the caller's to tell.
  void drapItemsToTarget(const std::vector<ItemPointer>& items);

private:
  /// False when the copy ends with this entry.
  bool copyEntry(const SItem& entry);
  bool copyFolder(const SItem& folder);
  bool copyFile(const SItem& file);
  void record(const SItem& entry, TransferOutcome::Kind kind, std::uint32_t status = 0);

  TransferRun& m_run;
  DeviceSession& m_session;
  const QString m_destination;
  DownloadPlanner m_planner;
};
