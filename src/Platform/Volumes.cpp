#include "Platform/Volumes.h"

#include "Platform/Log.h"

#include <cerrno>
#include <cstring>

namespace platform {

DiskSession::DiskSession(std::shared_ptr<Volumes> volumes, std::chrono::milliseconds listAgain)
    : m_volumes(std::move(volumes))
    , m_listAgain(listAgain) {}

DiskSession::~DiskSession() {
  unschedule();
}

void DiskSession::unregisterCallbacks() {
  m_appeared = {};
  m_disappeared = {};
}

int DiskSession::schedule(std::shared_ptr<RunLoop> runLoop) {
  unschedule();
  int error = 0;
  m_monitor = m_volumes->monitor(error);
  if (m_monitor == nullptr)
    return error != 0 ? error : EIO;
  m_runLoop = std::move(runLoop);
  m_source = std::make_shared<RunLoopSource>();
  m_source->fd = m_monitor->fd();
  m_source->perform = [this] { perform(); };
  m_runLoop->addSource(m_source);
  // After the monitor: a disk that comes in between is seen by one of the two, or by both and told once.
  m_listFailed = false;
  readAnewAfter({});
  return 0;
}

void DiskSession::unschedule() {
  if (m_runLoop == nullptr)
    return;
  m_nextList->invalidate();
  m_runLoop->removeSource(m_source);
  m_monitor.reset();
  m_runLoop.reset();
  m_known.clear();
}

void DiskSession::perform() {
  bool lost = false;
  for (const DiskChange& change : m_monitor->take(lost)) {
    if (change.kind == DiskChange::Kind::Present)
      present(change.disk);
    else
      gone(change.disk);
  }
  if (lost)
    readAnew();
}

void DiskSession::readAnew() {
  std::vector<Disk> disks;
  if (const int error = m_volumes->disks(disks); error != 0) {
    if (!m_listFailed)
      MTPB_LOG("disks cannot be listed: %s", std::strerror(error));
    m_listFailed = true;
    readAnewAfter(m_listAgain);
    return;
  }
  m_listFailed = false;
  const std::set<Disk> now(disks.begin(), disks.end());
  const std::set<Disk> known = m_known;
  for (const Disk& disk : known)
    if (!now.contains(disk))
      gone(disk);
  for (const Disk& disk : disks)
    present(disk);
}

void DiskSession::readAnewAfter(std::chrono::milliseconds delay) {
  if (m_nextList)
    m_nextList->invalidate();
  m_nextList = m_runLoop->addTimer(RunLoopTimer::Clock::now() + delay, [this] { readAnew(); });
}

void DiskSession::present(const Disk& disk) {
  if (const auto known = m_known.find(disk); known != m_known.end() && known->medium != disk.medium)
    gone(Disk(*known));
  if (m_known.insert(disk).second && m_appeared)
    m_appeared(disk);
}

void DiskSession::gone(const Disk& disk) {
  if (m_known.erase(disk) > 0 && m_disappeared)
    m_disappeared(disk);
}

} // namespace platform
