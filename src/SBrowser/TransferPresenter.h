#pragma once
// How a window shows the transfer that runs: panel, title, blocked controls; and what the last one came to.
#include "SBrowser/TransferRun.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

class WindowLayout;

/// At most one transfer is the window's at a time; one that was detached is the window's no more and changes nothing
/// there. Main thread. Held by std::shared_ptr; its end cancels what runs.
class TransferPresenter : public TransferOwner, public std::enable_shared_from_this<TransferPresenter> {
public:
  /// What the window does for it.
  struct Window {
    std::function<void(bool)> setDisableCaptureEvent;
    /// Whether a transfer runs: objects that come into being on the phone do not count then.
    std::function<void(bool)> setIsTransferProcess;
    /// Keeps the computer from suspending as long as what it returns lives; may return null.
    std::function<std::shared_ptr<void>()> inhibitSuspend;
    /// Pauses the calling thread; see TransferRun::pauseBeforeStop().
    std::function<void(std::chrono::milliseconds)> sleep;
  };

  /// `layout` must outlive the object.
  TransferPresenter(WindowLayout& layout, Window window);
  ~TransferPresenter() override;

  /// A new transfer over `session`: the window is blocked, the panel shown, getting ready. Null, and nothing happens,
  /// when there is one already or the session has ended. Work it off on one background thread; without one, call
  /// TransferRun::end() all the same.
  std::shared_ptr<TransferRun> begin(const std::shared_ptr<DeviceSession>& session);
  /// The transfer that the window shows; null when none.
  const std::shared_ptr<TransferRun>& run() const { return m_run; }

  /// The user or the closing window ends the transfer: the panel goes at once, the window stays blocked until the run
  /// has ended.
  void cancel();
  /// The phone is gone: its transfer is the window's no more. Hiding the panel and freeing the window is the caller's.
  void detach();

  /// The alert about a taken name while it is open, else null.
  QMessageBox* isExistsAlert() const { return m_question ? m_question->alert() : nullptr; }
  /// What the entries of the transfer that began last came to; of the one before until that has ended.
  const std::vector<TransferOutcome>& lastTransfer() const { return m_lastTransfer; }
  /// Called when lastTransfer() has changed.
  void setLastTransferHandler(std::function<void()> handler) { m_lastTransferHandler = std::move(handler); }

  // TransferOwner
  void setProgressInfo(const TransferRun& run, const QString& text, std::uint64_t currPos,
                       std::uint64_t totalPos) override;
  void transferCompleted(TransferRun& run) override;
  void transferEnded(TransferRun& run) override;

private:
  void showPercentage(int percentage);
  void forgetRun();

  WindowLayout& m_layout;
  const Window m_window;
  std::shared_ptr<TransferRun> m_run;
  std::weak_ptr<TransferRun> m_latestRun;    // also when it is the window's no more
  std::shared_ptr<ClashQuestion> m_question; // of m_run alone: what ends another run never ends what this one asks
  std::shared_ptr<void> m_inhibition;
  QString m_title; // the window's, without percentage; null while none is shown
  std::vector<TransferOutcome> m_lastTransfer;
  std::function<void()> m_lastTransferHandler;
};
