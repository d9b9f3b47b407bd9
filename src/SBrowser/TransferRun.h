#pragma once
// One copy of files and folders between the computer and the phone, in either direction.
#include "Platform/ThreadSafety.h"
#include "SBrowser/ClashQuestion.h"
#include "SBrowser/DeviceQueue.h"
#include "SBrowser/STransferItem.h"

#include <QString>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class TransferRun;

/// What an entry of a transfer came to.
struct TransferOutcome {
  enum Kind : std::uint8_t {
    Copied,
    Skipped,  ///< the user's wish, or nothing that could be copied
    Failed,   ///< `status` tells why
    Canceled, ///< the transfer ended before it was whole
  };
  QString name; ///< as the user knows it: the file's name, below a folder with the folder's path
  Kind kind = Copied;
  std::uint32_t status = 0; ///< of the SDK, see MTPSDKUtil::statusString()
};

/// Whom a transfer reports to: the window. Called on the main thread.
class TransferOwner {
public:
  virtual ~TransferOwner() = default;
  /// `setProgressInfo:CurrPos:TotalPos:` Shows the text and how much of the whole plan is done, `currPos` bytes of the
  /// current file included; the current file's size, `totalPos`, does not count. Of a run that is not the window's any
  /// more nothing is shown.
  virtual void setProgressInfo(const TransferRun& run, const QString& text, std::uint64_t currPos,
                               std::uint64_t totalPos) = 0;
  /// The run has done all it could (see TransferRun::complete()).
  virtual void transferCompleted(TransferRun& run) = 0;
  /// The run does nothing more: the panel goes, the window is free again.
  virtual void transferEnded(TransferRun& run) = 0;
};

/// A transfer with its own plan, counters, cancel state and clash answer: what happens to one never touches another.
/// Made on the main thread by TransferPresenter::begin(), which blocks the window and shows the panel; then one
/// background thread works it off, and calls end() whichever way that went. Operations are for that thread, except
/// where another is said; none of them blocks unless it says so.
class TransferRun : public std::enable_shared_from_this<TransferRun> {
public:
  using PlanEntry = std::shared_ptr<STransferItem>;

  /// Pauses the calling thread.
  using Sleep = std::function<void(std::chrono::milliseconds)>;
  /// Between a report that is to stop the transfer and its answer.
  static constexpr std::chrono::milliseconds kPauseBeforeStop{50};

  TransferRun(std::weak_ptr<TransferOwner> owner, std::shared_ptr<DeviceSession> session,
              std::shared_ptr<ClashQuestion> question, Sleep sleep);

  const std::shared_ptr<DeviceSession>& session() const { return m_session; }

  // ---- How it stands; any thread ----

  /// The user, or a closing window, ends the transfer. Whoever waits for the clash question is let go.
  void cancel();
  /// The phone is gone.
  void detach();
  bool isCanceled() const { return _isCanceled; }
  bool isDetached() const { return _isDetached || m_session->ended; }
  /// Either of them: nothing further is to be done.
  bool isStopped() const { return isCanceled() || isDetached(); }
  /// From the beginning to complete() or cancel(). A download is never complete in this sense: end() is its end.
  bool isTransferProcess() const { return _isTransferProcess; }

  // ---- Plan and counters ----

  std::vector<PlanEntry>& plan() { return m_plan; }
  /// Adds to the bytes of the whole plan; they stay at the largest number there is when it gets beyond.
  void addToTotalTransferSize(std::uint64_t bytes);
  /// Bytes of the whole plan. Any thread.
  std::uint64_t totalTransferSize() const;
  /// Bytes of the entries that are finished. Any thread.
  std::uint64_t currentTransferSize() const;
  /// The next entry of the plan begins: it is counted, and `curFileName` becomes "<number>/<entries> Copying <name>".
  void beginEntry(const STransferItem& entry);
  /// The entry is done with, well or not: its bytes count as finished.
  void finishEntry(const STransferItem& entry);
  const QString& curFileName() const { return m_curFileName; }

  // ---- Clashes ----

  /// The answer so far: it stays from one clash of the run to the next.
  ClashAnswer clashAnswer() const { return m_clashAnswer; }
  /// Asks the user about an item whose name is taken, unless "replace all" was answered before, and returns the answer
  /// as it is then. `deletesFolder`: replacing costs a folder with all that is in it, which the question says. When
  /// nobody can answer, the run is canceled: look at isStopped() first. Blocks.
  ClashAnswer askAboutClash(const QString& name, std::size_t items, bool deletesFolder = false);

  // ---- Telling the window ----

  /// What became of an entry, for the list of the last transfer.
  void record(const QString& name, TransferOutcome::Kind kind, std::uint32_t status = 0);
  /// What was recorded; leaves nothing behind. Main thread, from transferEnded() on.
  std::vector<TransferOutcome> takeOutcomes();
  /// Runs `work` on the main thread and waits for it; false when the window is gone or the program ends: `work` has not
  /// run then, and what it would have touched may be gone. Blocks.
  bool onMainThread(const std::function<void()>& work);
  /// The run has come to its regular end: no transfer is in process any more. Blocks.
  void complete();
  /// Nothing more will be done. Call last. Returns at once: the window is told when the main thread comes to it.
  void end();

  /// Before the engine is told to stop: not in a tight row of calls. On the thread that transfers, which it pauses.
  void pauseBeforeStop() const { m_sleep(kPauseBeforeStop); }
  /// Bytes done of the current file, of so many. Any thread; the window is told when the main thread comes to it, with
  /// the latest numbers only.
  void reportProgress(std::uint64_t currPos, std::uint64_t totalPos);

private:
  void showProgress();

  const std::weak_ptr<TransferOwner> m_owner; // locked on the main thread only
  const std::shared_ptr<DeviceSession> m_session;
  const std::shared_ptr<ClashQuestion> m_question;
  const Sleep m_sleep;
  std::atomic<bool> _isCanceled{false};       // written by the main thread and the worker, polled by both
  std::atomic<bool> _isDetached{false};       // written by the main thread, polled by the worker
  std::atomic<bool> _isTransferProcess{true}; // written by the main thread and the worker, polled by both
  // The worker's.
  std::vector<PlanEntry> m_plan;
  std::size_t m_counter = 0;
  QString m_curFileName;
  ClashAnswer m_clashAnswer = ClashAnswerNone;

  struct Progress {
    QString text;
    std::uint64_t currPos = 0;
    std::uint64_t totalPos = 0;
    bool isQueued = false; // for the main thread
  };
  mutable platform::Mutex m_mutex;
  std::uint64_t _totalTransferSize MTPB_GUARDED_BY(m_mutex) = 0;
  std::uint64_t _currentTransferSize MTPB_GUARDED_BY(m_mutex) = 0;
  Progress m_progress MTPB_GUARDED_BY(m_mutex);
  std::vector<TransferOutcome> m_outcomes MTPB_GUARDED_BY(m_mutex);
};

/// `ProgressContentsCallback` The progress callback of both directions, called on the thread that transfers. `context`
/// is the TransferRun, which must live as long as the call that reports; null always stops the transfer. Returns 0 to
/// go on, and, after a pause of 50 ms, DGSTATUS_IO_CANCEL (0x10000007) to stop.
std::uint32_t ProgressContentsCallback(std::uint64_t current, std::uint64_t total, void* context);
