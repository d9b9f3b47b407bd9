#include "SBrowser/TransferPresenter.h"

#include "Platform/MainThread.h"
#include "SBrowser/WindowLayout.h"
#include "UI/ProgressView/SProgressView.h"
#include "UI/ProgressView/SProgressViewIndicator.h"

#include <QLocale>
#include <QMainWindow>

#include <algorithm>
#include <limits>

TransferPresenter::TransferPresenter(WindowLayout& layout, Window window)
    : m_layout(layout)
    , m_window(std::move(window)) {}

TransferPresenter::~TransferPresenter() {
  platform::assertMainThread();
  if (!m_run)
    return;
  m_run->cancel();
  m_question->close();
}

std::shared_ptr<TransferRun> TransferPresenter::begin(const std::shared_ptr<DeviceSession>& session) {
  platform::assertMainThread();
  if (m_run || !session || session->ended)
    return nullptr;
  m_question = std::make_shared<ClashQuestion>(*m_layout.window());
  m_run = std::make_shared<TransferRun>(weak_from_this(), session, m_question, m_window.sleep);
  m_latestRun = m_run;
  m_inhibition = m_window.inhibitSuspend ? m_window.inhibitSuspend() : nullptr;
  m_window.setIsTransferProcess(true);
  m_window.setDisableCaptureEvent(true);
  m_layout._progressView->animationHidden(false, {});
  m_layout._progressView->show();
  m_title = m_layout.window()->windowTitle();
  return m_run;
}

void TransferPresenter::cancel() {
  platform::assertMainThread();
  if (!m_run)
    return;
  m_run->cancel();
  m_window.setIsTransferProcess(false);
  m_layout._progressView->hide();
}

void TransferPresenter::detach() {
  platform::assertMainThread();
  if (!m_run)
    return;
  m_run->detach();
  m_window.setIsTransferProcess(false);
  forgetRun();
}

void TransferPresenter::setProgressInfo(const TransferRun& run, const QString& text, std::uint64_t currPos,
                                        std::uint64_t) {
  platform::assertMainThread();
  if (&run != m_run.get() || run.isStopped())
    return;
  SProgressView& panel = *m_layout._progressView;
  panel.setFileStatus(text);
  const std::uint64_t before = run.currentTransferSize();
  panel.setProgressInfo(before + std::min(currPos, std::numeric_limits<std::uint64_t>::max() - before),
                        run.totalTransferSize());
  showPercentage(panel.progressIndicator()->percentage());
}

void TransferPresenter::showPercentage(int percentage) {
  const QLocale locale;
  m_layout.window()->setWindowTitle(locale.toString(percentage) + locale.percent() + QStringLiteral(" – ") + m_title);
}

void TransferPresenter::transferCompleted(TransferRun& run) {
  platform::assertMainThread();
  if (&run == m_run.get())
    m_window.setIsTransferProcess(false);
}

void TransferPresenter::transferEnded(TransferRun& run) {
  platform::assertMainThread();
  if (&run == m_latestRun.lock().get()) { // an older one's list may be another phone's
    m_lastTransfer = run.takeOutcomes();
    if (m_lastTransferHandler)
      m_lastTransferHandler();
  }
  if (&run != m_run.get())
    return;
  m_window.setIsTransferProcess(false); // a download never says that it is complete
  forgetRun();
  m_layout._progressView->hide();
  m_window.setDisableCaptureEvent(false);
}

void TransferPresenter::forgetRun() {
  m_run.reset();
  m_question->close();
  m_question.reset();
  m_inhibition.reset();
  m_layout.window()->setWindowTitle(m_title);
}
