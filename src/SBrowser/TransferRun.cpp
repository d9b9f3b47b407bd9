#include "SBrowser/TransferRun.h"

#include "MTPCore/MTPSDKUtil.h"
#include "Platform/MainThread.h"
#include "SBrowser/SBrowserDependencies.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <limits>
#include <utility>

namespace {

std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
  return b > std::numeric_limits<std::uint64_t>::max() - a ? std::numeric_limits<std::uint64_t>::max() : a + b;
}

} // namespace

TransferRun::TransferRun(std::weak_ptr<TransferOwner> owner, std::shared_ptr<DeviceSession> session,
                         std::shared_ptr<ClashQuestion> question, Sleep sleep)
    : m_owner(std::move(owner))
    , m_session(std::move(session))
    , m_question(std::move(question))
    , m_sleep(std::move(sleep)) {}

void TransferRun::cancel() {
  _isCanceled = true;
  _isTransferProcess = false;
  m_question->cancel();
}

void TransferRun::detach() {
  _isDetached = true;
  m_question->cancel();
}

void TransferRun::addToTotalTransferSize(std::uint64_t bytes) {
  const platform::Lock lock(m_mutex);
  _totalTransferSize = sum(_totalTransferSize, bytes);
}

std::uint64_t TransferRun::totalTransferSize() const {
  const platform::Lock lock(m_mutex);
  return _totalTransferSize;
}

std::uint64_t TransferRun::currentTransferSize() const {
  const platform::Lock lock(m_mutex);
  return _currentTransferSize;
}

void TransferRun::beginEntry(const STransferItem& entry) {
  const QString copying = VornLocalStringDefine::QX_LocalizedStringWithKey(QStringLiteral("MSG_BnRTransfering"));
  ++m_counter;
  m_curFileName =
      QString::number(m_counter) + u'/' + QString::number(m_plan.size()) + u' ' + copying + u' ' + entry.fileName();
}

void TransferRun::finishEntry(const STransferItem& entry) {
  const platform::Lock lock(m_mutex);
  _currentTransferSize = sum(_currentTransferSize, entry.fileSize());
  m_progress.currPos = 0; // what is still queued counted the same bytes
}

ClashAnswer TransferRun::askAboutClash(const QString& name, std::size_t items, bool deletesFolder) {
  if (m_clashAnswer == ClashAnswerReplaceAll)
    return m_clashAnswer;
  if (const auto answer = m_question->ask(
          name, items > 1, [this] { return !isStopped(); }, deletesFolder))
    m_clashAnswer = *answer;
  else
    cancel();
  return m_clashAnswer;
}

void TransferRun::record(const QString& name, TransferOutcome::Kind kind, std::uint32_t status) {
  const platform::Lock lock(m_mutex);
  m_outcomes.push_back({name, kind, status});
}

std::vector<TransferOutcome> TransferRun::takeOutcomes() {
  const platform::Lock lock(m_mutex);
  return std::exchange(m_outcomes, {});
}

bool TransferRun::onMainThread(const std::function<void()>& work) {
  bool done = false;
  platform::runOnMainAndWait([&] {
    if (m_owner.lock()) {
      work();
      done = true;
    }
  });
  return done;
}

void TransferRun::complete() {
  onMainThread([this] {
    _isTransferProcess = false;
    m_owner.lock()->transferCompleted(*this);
  });
}

void TransferRun::end() {
  platform::runOnMain([self = shared_from_this()] {
    if (const auto owner = self->m_owner.lock())
      owner->transferEnded(*self);
  });
}

void TransferRun::reportProgress(std::uint64_t currPos, std::uint64_t totalPos) {
  {
    const platform::Lock lock(m_mutex);
    m_progress.text = m_curFileName;
    m_progress.currPos = currPos;
    m_progress.totalPos = totalPos;
    if (std::exchange(m_progress.isQueued, true))
      return;
  }
  platform::runOnMain([self = shared_from_this()] { self->showProgress(); });
}

void TransferRun::showProgress() {
  Progress progress;
  {
    const platform::Lock lock(m_mutex);
    m_progress.isQueued = false;
    progress = m_progress;
  }
  if (const auto owner = m_owner.lock())
    owner->setProgressInfo(*this, progress.text, progress.currPos, progress.totalPos);
}

std::uint32_t ProgressContentsCallback(std::uint64_t current, std::uint64_t total, void* context) {
  if (auto* const run = static_cast<TransferRun*>(context)) {
    run->reportProgress(current, total);
    if (!run->isDetached() && run->isTransferProcess() && !run->isCanceled())
      return DGSTATUS_SUCCESS;
    run->pauseBeforeStop();
  } else {
    SBrowserDependencies::ofProgram().sleep(TransferRun::kPauseBeforeStop);
  }
  return DGSTATUS_IO_CANCEL;
}
