#pragma once
// A question that a background thread asks and the main thread answers.
#include "Platform/ThreadSafety.h"

#include <QVariant>

#include <cstdint>
#include <functional>

namespace ui {

/// Every asker gets exactly one answer, and always gets one: what the user chose, or "canceled" when nobody can choose
/// any more. One question is open at a time; further askers wait for their turn. Hold it by std::shared_ptr, one
/// reference with the asker: the panel it belongs to may be destroyed while somebody waits.
class ModalQuestion {
public:
  static constexpr std::int32_t kConfirmed = 0;
  static constexpr std::int32_t kCanceled = 1;

  struct Answer {
    std::int32_t returnCode = kCanceled;
    QVariant result;
  };
  using Work = std::function<void()>;

  /// Asks: runs `show` on the main thread, waits for the answer, runs `hide` on the main thread, returns. Neither is
  /// run after close() or for a question that is canceled before it is shown. Background threads only: on the main
  /// thread, which has to answer, it is canceled with a log line.
  Answer ask(const Work& show, const Work& hide);

  /// Gives the open question its answer; false, and nothing happens, when none is open: only the first answer counts.
  /// Main thread.
  bool answer(Answer answer);
  /// Cancels the open question and those that wait for their turn. Any thread.
  void cancel();
  /// Cancels all questions, now and in future. Main thread.
  void close();
  /// Whether a question waits for its answer now. Any thread.
  bool isOpen() const;

private:
  enum class State : std::uint8_t { Idle, Open, Answered };
  bool waitForTurn();
  Answer waitForAnswer();
  void endTurn();
  bool performOnMainThread(const Work& work);
  bool answerLocked(Answer answer) MTPB_REQUIRES(m_mutex);

  mutable platform::Mutex m_mutex;
  platform::Condition m_changed;
  State m_state MTPB_GUARDED_BY(m_mutex) = State::Idle;
  Answer m_answer MTPB_GUARDED_BY(m_mutex);
  std::uint64_t m_cancels MTPB_GUARDED_BY(m_mutex) = 0; // who waits since before the last one is canceled
  bool m_closed MTPB_GUARDED_BY(m_mutex) = false;
};

} // namespace ui
