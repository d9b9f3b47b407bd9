#pragma once
// All work with the phone, one job at a time, in the order it was asked for, each on a background thread of its own.
#include "MTPCore/MTPDextSDKWrapper.h"
#include "Platform/ThreadSafety.h"

#include <QString>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>

/// One connection to a phone. What the browser keeps beside the access object belongs to the job whose turn it is.
struct DeviceSession {
  DeviceSession(std::shared_ptr<MTPDextSDKWrapper> accessObject, QString location)
      : _mtpSDKWrapper(std::move(accessObject))
      , locationID(std::move(location)) {}

  const std::shared_ptr<MTPDextSDKWrapper> _mtpSDKWrapper; ///< any thread; blocking operations in a job only
  const QString locationID;                                ///< hexadecimal text

  /// The phone is gone or the connection was given up: work stops as soon as it can. Any thread.
  void end() {
    ended = true;
    _mtpSDKWrapper->setIsDetached(true);
  }
  std::atomic<bool> ended{false}; // written by the main thread, once; polled by jobs

  /// Binds the access object to the phone and its storage `root` (null: to the phone alone). Blocks; in a job only.
  void bind(const QString& root = QString());
  /// Makes the storage with the path `root` the current one, unless it is. Blocks; in a job only.
  void selectStorage(const QString& root);

  // In a job only.
  QString _rootPath;                                ///< the storage in use
  std::int32_t _currentMemoryType = 0;              ///< `objectType` of the item last listed
  _MTP_STORAGE_NODE* _currentStorageNode = nullptr; ///< a name, never followed
  _MTP_FOLDER_NODE* _currentFolderNode = nullptr;   ///< the folder last listed; a name, never followed
};

/// Hands out turns. Jobs of all sessions of a window stand in one line, so that one connection's last work is over
/// before the next one's begins.
class DeviceQueue : public std::enable_shared_from_this<DeviceQueue> {
public:
  using Job = std::function<void(DeviceSession&)>;
  using WorkerStarter = std::function<bool(const char* name, std::function<void()> body)>;
  using SessionPointer = std::shared_ptr<DeviceSession>;

  explicit DeviceQueue(WorkerStarter startWorker);

  /// Runs `job` on a new thread named `name` when its turn comes; not at all when the session has ended by then or no
  /// thread can be had (false). Any thread; does not block.
  bool perform(const char* name, const SessionPointer& session, Job job);
  /// As perform(), also when the session has ended: for giving back what it holds.
  bool performLast(const char* name, const SessionPointer& session, Job job);
  /// Runs `job` on the calling thread when its turn comes. False when the session has ended by then. Blocks; never from
  /// within a job, nor on the main thread.
  bool performHere(const SessionPointer& session, const Job& job);

private:
  class Turn;
  bool start(const char* name, const SessionPointer& session, Job job, bool evenIfEnded);

  const WorkerStarter m_startWorker;
  platform::Mutex m_mutex;
  platform::Condition m_changed;
  std::set<std::uint64_t> m_turns MTPB_GUARDED_BY(m_mutex); // the lowest one is on
  std::uint64_t m_nextTurn MTPB_GUARDED_BY(m_mutex) = 0;
};
