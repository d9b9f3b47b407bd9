#include "UI/LoadingView/SLoadingAniViewController.h"

#include "Platform/MainThread.h"
#include "UI/Common/Images.h"
#include "UI/LoadingView/LoadingFrames.h"
#include "UI/LoadingView/SLoadingAniView.h"

SLoadingAniViewController::SLoadingAniViewController(const QRect& frame, QWidget* viewParent, platform::Timers& timers,
                                                     QObject* parent)
    : QObject(parent)
    , m_timers(timers)
    , m_view(new SLoadingAniView(viewParent))
    , m_circleBase(m_view->circleBase())
    , m_aniCircle(m_view->aniCircle()) {
  platform::assertMainThread();
  m_view->hide();
  m_view->setGeometry(frame);
  connect(m_view, &SLoadingAniView::visibilityChanged, this, &SLoadingAniViewController::setVisible);
  awakeFromNib();
}

SLoadingAniViewController::~SLoadingAniViewController() = default;

void SLoadingAniViewController::awakeFromNib() {
  ui::registerLoadingFrames();
  for (int number = 1; number <= ui::kLoadingFrameCount; ++number) {
    m_imageArray.append(ui::loadingFrameName(number));
  }
  m_circleBase->setImage(ui::namedImage(QStringLiteral("back_up_pop_up_base")));
  showCurrentImage();
}

SLoadingAniView* SLoadingAniViewController::view() const {
  return m_view;
}

void SLoadingAniViewController::setLoadingFrame(const QRect& frame) {
  platform::assertMainThread();
  if (m_view != nullptr) {
    m_view->setGeometry(frame);
  }
}

void SLoadingAniViewController::startAnimation() {
  platform::assertMainThread();
  m_started = true;
  m_animationPaused = false;
  m_currentIndex = 0;
  showCurrentImage();
  startTimer();
}

void SLoadingAniViewController::stopAnimation() {
  platform::assertMainThread();
  if (!m_started) {
    return;
  }
  changeImage();
  m_timer.reset();
  m_started = false;
}

void SLoadingAniViewController::pauseAnimation() {
  platform::assertMainThread();
  m_animationPaused = true;
}

void SLoadingAniViewController::resumeAnimation() {
  platform::assertMainThread();
  m_animationPaused = false;
}

void SLoadingAniViewController::setVisible(bool visible) {
  if (!m_started) {
    return;
  }
  if (visible) {
    startTimer();
  } else {
    m_timer.reset();
  }
}

void SLoadingAniViewController::startTimer() {
  m_timer.reset();
  if (m_view != nullptr && m_view->isVisible()) {
    m_timer = m_timers.repeating(kFrameTime, [this] { changeImage(); });
  }
}

void SLoadingAniViewController::changeImage() {
  if (m_animationPaused) {
    return;
  }
  if (m_currentIndex + 1 < m_imageArray.size()) {
    ++m_currentIndex;
    showCurrentImage();
    return;
  }
  m_currentIndex = 0;
  // The last picture stays for the rest; a timer brings the first one, so that the window goes on living meanwhile.
  m_timer = m_timers.oneShot(kLoopPause, [this] {
    if (!m_animationPaused) {
      showCurrentImage();
    }
    startTimer();
  });
}

void SLoadingAniViewController::showCurrentImage() {
  if (m_aniCircle != nullptr) {
    m_aniCircle->setImage(ui::namedImage(m_imageArray[m_currentIndex]));
  }
}
