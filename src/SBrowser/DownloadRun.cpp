#include "SBrowser/DownloadRun.h"

#include "MTPCore/MTPSDKUtil.h"
#include "Platform/Dates.h"
#include "UI/Common/NSStringPredicate.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>

namespace {

/// Gives the file its date. Nothing happens for a date that is none, or when the system refuses. The moment the file
/// was made on this computer, which cannot be set, is the one of the copy anyway.
/// A file that shows that date already keeps its own, which the engine may know better than a text can tell it.
void setModificationDate(const QString& path, const QString& dateModified) {
  const auto date = ui::dateFromString(dateModified);
  if (!date)
    return;
  const platform::dates::Instant now(std::chrono::milliseconds(QFileInfo(path).lastModified().toMSecsSinceEpoch()));
  if (platform::dates::text(now) == dateModified)
    return;
  const auto seconds = std::chrono::floor<std::chrono::seconds>(*date);
  timespec times[2] = {};
  times[0].tv_nsec = UTIME_OMIT;
  times[1].tv_sec = seconds.time_since_epoch().count();
  times[1].tv_nsec = std::chrono::nanoseconds(*date - seconds).count();
  ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW);
}

/// Makes the folder and those above it, where they are missing.
std::uint32_t makeFolder(const QString& path) {
  std::error_code error;
  std::filesystem::create_directories(QFile::encodeName(path).toStdString(), error);
  if (!error)
    return DGSTATUS_SUCCESS;
  const bool isFull = error == std::errc::no_space_on_device || error.value() == EDQUOT;
  return isFull ? DGSTATUS_STORAGE_FULL : DGSTATUS_FILE_OPEN_FAILED;
}

} // namespace

DownloadRun::DownloadRun(TransferRun& run, DeviceSession& session, const QString& destination,
                         DownloadPlanner::Publisher publish)
    : m_run(run)
    , m_session(session)
    , m_destination(destination)
    , m_planner(run, session, destination, std::move(publish)) {}

void DownloadRun::drapItemsToTarget(const std::vector<ItemPointer>& items) {
  if (!m_planner.plan(items))
    return;
  const std::vector<TransferRun::PlanEntry>& plan = m_run.plan();
  const auto entry = [&](std::size_t place) -> const SItem& { return static_cast<const SItem&>(*plan[place]); };
  std::size_t next = 0;
  for (bool goesOn = true; goesOn && next < plan.size() && !m_run.isStopped(); ++next)
    goesOn = copyEntry(entry(next));
  for (; next < plan.size(); ++next)
    record(entry(next), TransferOutcome::Canceled);
}

bool DownloadRun::copyEntry(const SItem& entry) {
  m_run.beginEntry(entry);
  m_run.reportProgress(0, entry.fileSize());
  return entry.objectType() == SObjectTypeFolder ? copyFolder(entry) : copyFile(entry);
}

bool DownloadRun::copyFolder(const SItem& folder) {
  const QFileInfo place(folder.desPath());
  if (place.exists() && !place.isDir()) { // it stays, and nothing below it can come
    record(folder, TransferOutcome::Failed, DGSTATUS_NODE_FILE_DUPNAME_EXISTED);
    return true;
  }
  if (const std::uint32_t status = makeFolder(folder.desPath()); status != DGSTATUS_SUCCESS) {
    record(folder, TransferOutcome::Failed, status);
    return false;
  }
  const std::uint32_t failure = m_planner.listingFailure(folder);
  record(folder, failure == DGSTATUS_SUCCESS ? TransferOutcome::Copied : TransferOutcome::Failed, failure);
  return true;
}

bool DownloadRun::copyFile(const SItem& file) {
  const QFileInfo place(file.desPath());
  if (const std::uint32_t status = makeFolder(place.path()); status != DGSTATUS_SUCCESS) {
    record(file, TransferOutcome::Failed, status);
    return true;
  }
  // What came there since the question, or what the computer takes for the same name: nobody has agreed to lose it.
  if (!m_planner.existedBefore(file) && (place.exists() || place.isSymLink())) {
    record(file, TransferOutcome::Failed, DGSTATUS_NODE_FILE_DUPNAME_EXISTED);
    m_run.finishEntry(file);
    return true;
  }
  if (m_run.isStopped()) {
    record(file, TransferOutcome::Canceled);
    return false;
  }
  std::uint32_t error = DGSTATUS_UNSUCCESSFUL;
  const bool copied = m_session._mtpSDKWrapper->uploadFileFromMTP(file.nodeID(), file.filePath(), file.desPath(),
                                                                  QString(), ProgressContentsCallback, &m_run, error);
  if (copied) {
    setModificationDate(file.desPath(), file.dateModified());
    record(file, TransferOutcome::Copied);
  } else {
    record(file, m_run.isStopped() ? TransferOutcome::Canceled : TransferOutcome::Failed, error);
  }
  if (error == DGSTATUS_STORAGE_FULL)
    return false;
  m_run.finishEntry(file);
  return true;
}

void DownloadRun::record(const SItem& entry, TransferOutcome::Kind kind, std::uint32_t status) {
  m_run.record(DownloadPlanner::shownName(entry, m_destination), kind, status);
}
