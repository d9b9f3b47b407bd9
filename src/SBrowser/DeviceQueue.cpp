#include "SBrowser/DeviceQueue.h"

void DeviceSession::bind(const QString& root) {
  if (root.isNull())
    _mtpSDKWrapper->setLocationID(locationID);
  else
    _mtpSDKWrapper->setLocationID(locationID, root);
  if (ended)
    _mtpSDKWrapper->setIsDetached(true); // binding has cleared it
}

void DeviceSession::selectStorage(const QString& root) {
  _rootPath = root;
  const bool known = _mtpSDKWrapper->nodeKind(_currentStorageNode) == MTPDEXT_NODE_STORAGE;
  if (known && root == _mtpSDKWrapper->getCurrentRootPath())
    return;
  bind(root);
  _mtpSDKWrapper->initializeNodeInfo(nullptr, &_currentStorageNode, &_currentFolderNode);
}

/// A place in the line, from its making to its end, whichever thread it ends on and whether it was used or not.
class DeviceQueue::Turn {
public:
  explicit Turn(std::shared_ptr<DeviceQueue> queue)
      : m_queue(std::move(queue)) {
    const platform::Lock lock(m_queue->m_mutex);
    m_number = m_queue->m_nextTurn++;
    m_queue->m_turns.insert(m_number);
  }
  ~Turn() {
    const platform::Lock lock(m_queue->m_mutex);
    m_queue->m_turns.erase(m_number);
    m_queue->m_changed.notify_all();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  /// Ends because every job before it does: each of its calls to the phone is bounded by a time-out.
  void await() {
    const platform::Lock lock(m_queue->m_mutex);
    while (*m_queue->m_turns.begin() != m_number)
      m_queue->m_changed.wait(m_queue->m_mutex);
  }

private:
  const std::shared_ptr<DeviceQueue> m_queue;
  std::uint64_t m_number = 0;
};

DeviceQueue::DeviceQueue(WorkerStarter startWorker)
    : m_startWorker(std::move(startWorker)) {}

bool DeviceQueue::perform(const char* name, const SessionPointer& session, Job job) {
  return start(name, session, std::move(job), false);
}

bool DeviceQueue::performLast(const char* name, const SessionPointer& session, Job job) {
  return start(name, session, std::move(job), true);
}

bool DeviceQueue::start(const char* name, const SessionPointer& session, Job job, bool evenIfEnded) {
  // The place is taken now, not when the thread runs: jobs keep the order they were asked for in.
  auto turn = std::make_shared<Turn>(shared_from_this());
  return m_startWorker(name, [turn = std::move(turn), session, job = std::move(job), evenIfEnded] {
    turn->await();
    if (evenIfEnded || !session->ended)
      job(*session);
  });
}

bool DeviceQueue::performHere(const SessionPointer& session, const Job& job) {
  Turn turn(shared_from_this());
  turn.await();
  if (session->ended)
    return false;
  job(*session);
  return true;
}
