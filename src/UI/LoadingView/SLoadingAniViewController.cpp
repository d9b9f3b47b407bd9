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
    , circleBase(m_view->circleBase())
    , aniCircle(m_view->aniCircle()) {
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
    _imageArray.append(ui::loadingFrameName(number));
  }
  circleBase->setImage(ui::namedImage(QStringLiteral("back_up_pop_up_base")));
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
  _animationPaused = false;
  _currentIndex = 0;
  showCurrentImage();
  startTimer();
}

void SLoadingAniViewController::stopAnimation() {
  platform::assertMainThread();
  if (!m_started) {
    return;
  }
  changeImage();
  _timer.reset();
  m_started = false;
}

void SLoadingAniViewController::pauseAnimation() {
  platform::assertMainThread();
  _animationPaused = true;
}

void SLoadingAniViewController::resumeAnimation() {
  platform::assertMainThread();
  _animationPaused = false;
}

void SLoadingAniViewController::setVisible(bool visible) {
  if (!m_started) {
    return;
  }
  if (visible) {
    startTimer();
  } else {
    _timer.reset();
  }
}

void SLoadingAniViewController::startTimer() {
  _timer.reset();
  if (m_view != nullptr && m_view->isVisible()) {
    _timer = m_timers.repeating(kFrameTime, [this] { changeImage(); });
  }
}

void SLoadingAniViewController::changeImage() {
  if (_animationPaused) {
    return;
  }
  if (_currentIndex + 1 < _imageArray.size()) {
    ++_currentIndex;
    showCurrentImage();
    return;
  }
  _currentIndex = 0;
  // The last picture stays for the rest; a timer brings the first one, so that the window goes on living meanwhile.
  _timer = m_timers.oneShot(kLoopPause, [this] {
    if (!_animationPaused) {
      showCurrentImage();
    }
    startTimer();
  });
}

void SLoadingAniViewController::showCurrentImage() {
  if (aniCircle != nullptr) {
    aniCircle->setImage(ui::namedImage(_imageArray[_currentIndex]));
  }
}
