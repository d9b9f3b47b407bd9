#include "SBrowser/DownloadRun.h"

#include "MTPCore/MTPSDKUtil.h"
#include "UI/Common/NSStringPredicate.h"

#include <QDir>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

/// Gives the file its date. Nothing happens for a date that is none, or when the system refuses. The moment the file
/// was made on this computer, which cannot be set, is the one of the copy anyway.
void setModificationDate(const QString& path, const QString& dateModified) {
  const auto date = ui::dateFromString(dateModified);
  if (!date)
    return;
  const auto seconds = std::chrono::floor<std::chrono::seconds>(*date);
  timespec times[2] = {};
  times[0].tv_nsec = UTIME_OMIT;
  times[1].tv_sec = seconds.time_since_epoch().count();
  times[1].tv_nsec = std::chrono::nanoseconds(*date - seconds).count();
  ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW);
}

} // namespace

DownloadRun::DownloadRun(TransferRun& run, DeviceSession& session, const QString& destination,
                         DownloadPlanner::Publisher publish)
    : m_run(run)
    , m_session(session)
    , m_destination(destination)
    , m_planner(run, session, destination, std::move(publish)) {}

void DownloadRun::drapItemsToTarget(const std::vector<ItemPointer>& items) {
  if (m_run.isDetached() || !m_planner.plan(items))
    return;
  for (const TransferRun::PlanEntry& planned : m_run.plan()) {
    const auto& entry = static_cast<const SItem&>(*planned);
    m_run.beginEntry(entry);
    m_run.reportProgress(0, entry.fileSize());
    const Next next = entry.objectType() == SObjectTypeFolder ? copyFolder(entry) : copyFile(entry);
    if (next == Next::End || m_run.isStopped())
      return;
  }
}

DownloadRun::Next DownloadRun::copyFolder(const SItem& folder) {
  const QString path = folder.desPath();
  if (!QFileInfo::exists(path) && !QDir().mkpath(path)) {
    record(folder, TransferOutcome::Failed, DGSTATUS_FILE_OPEN_FAILED);
    return Next::End;
  }
  record(folder, TransferOutcome::Copied);
  return Next::Entry;
}

bool DownloadRun::makeFoldersAbove(const SItem& file) const {
  const QString folder = QFileInfo(file.desPath()).path();
  return QFileInfo::exists(folder) || QDir().mkpath(folder);
}

DownloadRun::Next DownloadRun::copyFile(const SItem& file) {
  if (!makeFoldersAbove(file)) {
    record(file, TransferOutcome::Failed, DGSTATUS_FILE_OPEN_FAILED);
    return Next::Entry;
  }
  if (m_run.isStopped())
    return Next::End;
  std::uint32_t error = DGSTATUS_UNSUCCESSFUL;
  const bool copied = m_session.mtp->uploadFileFromMTP(file.nodeID(), file.filePath(), file.desPath(), QString(),
                                                       ProgressContentsCallback, &m_run, error);
  if (copied) {
    setModificationDate(file.desPath(), file.dateModified());
    record(file, TransferOutcome::Copied);
  } else {
    record(file, m_run.isStopped() ? TransferOutcome::Canceled : TransferOutcome::Failed, error);
  }
  if (error == DGSTATUS_STORAGE_FULL)
    return Next::End;
  m_run.finishEntry(file);
  return Next::Entry;
}

void DownloadRun::record(const SItem& entry, TransferOutcome::Kind kind, std::uint32_t status) {
  m_run.record(DownloadPlanner::shownName(entry, m_destination), kind, status);
}
