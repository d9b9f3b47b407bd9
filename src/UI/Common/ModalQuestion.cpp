#include "UI/Common/ModalQuestion.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"

#include <utility>

namespace ui {

ModalQuestion::Answer ModalQuestion::ask(const Work& show, const Work& hide) {
  if (platform::isMainThread()) {
    MTPB_LOG("a question cannot wait on the thread that answers it");
    return {};
  }
  if (!waitForTurn())
    return {};
  // Open before it is shown: an answer that comes while the panel is still sliding in counts. What was canceled on the
  // way to the main thread is not shown at all.
  bool isShown = false; // the main thread's
  const Work showOpen = [&] {
    isShown = isOpen();
    if (isShown)
      show();
  };
  const Work hideShown = [&] {
    if (isShown)
      hide();
  };
  if (!performOnMainThread(showOpen))
    cancel();
  Answer answer = waitForAnswer();
  performOnMainThread(hideShown);
  endTurn();
  return answer;
}

bool ModalQuestion::performOnMainThread(const Work& work) {
  return platform::runOnMainAndWait([&] {
    {
      const platform::Lock lock(m_mutex);
      if (m_closed) // by this thread: the panel is gone
        return;
    }
    work();
  });
}

bool ModalQuestion::waitForTurn() {
  const platform::Lock lock(m_mutex);
  const std::uint64_t cancels = m_cancels;
  while (m_state != State::Idle && !m_closed && m_cancels == cancels)
    m_changed.wait(m_mutex);
  if (m_closed || m_cancels != cancels)
    return false;
  m_state = State::Open;
  return true;
}

ModalQuestion::Answer ModalQuestion::waitForAnswer() {
  const platform::Lock lock(m_mutex);
  while (m_state == State::Open)
    m_changed.wait(m_mutex);
  return std::exchange(m_answer, {});
}

void ModalQuestion::endTurn() {
  const platform::Lock lock(m_mutex);
  m_state = State::Idle;
  m_changed.notify_all();
}

bool ModalQuestion::answer(Answer answer) {
  const platform::Lock lock(m_mutex);
  return answerLocked(std::move(answer));
}

bool ModalQuestion::answerLocked(Answer answer) {
  if (m_state != State::Open)
    return false;
  m_answer = std::move(answer);
  m_state = State::Answered;
  m_changed.notify_all();
  return true;
}

void ModalQuestion::cancel() {
  const platform::Lock lock(m_mutex);
  ++m_cancels;
  answerLocked({});
  m_changed.notify_all();
}

void ModalQuestion::close() {
  {
    const platform::Lock lock(m_mutex);
    m_closed = true;
  }
  cancel();
}

bool ModalQuestion::isOpen() const {
  const platform::Lock lock(m_mutex);
  return m_state == State::Open;
}

} // namespace ui
