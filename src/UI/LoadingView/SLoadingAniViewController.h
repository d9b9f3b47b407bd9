#pragma once
// Runs the loading animation.
#include "Platform/Timers.h"

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QStringList>

#include <memory>

class SImageView;
class SLoadingAniView;

/// Shows 186 pictures one after the other, 30 a second, with half a second's rest after the last. A timer runs only
/// while the animation is started and its view can be seen. Main thread.
class SLoadingAniViewController : public QObject {
  Q_OBJECT
public:
  /// How long a picture stays.
  static constexpr std::chrono::milliseconds kFrameTime{33};
  /// How long the animation rests between the last picture and the first.
  static constexpr std::chrono::milliseconds kLoopPause{500};

  /// `initWithFrame:` Makes the view, a child of `viewParent` (which owns it), hidden, with that frame. `timers` must
  /// outlive the controller.
  SLoadingAniViewController(const QRect& frame, QWidget* viewParent,
                            platform::Timers& timers = platform::Timers::mainThread(), QObject* parent = nullptr);
  ~SLoadingAniViewController() override;

  /// The overlay; nullptr once its parent has destroyed it. Show, hide, raise and focus it as any widget.
  SLoadingAniView* view() const;

  /// `setLoadingFrame:` The view's frame in its parent.
  void setLoadingFrame(const QRect& frame);
  /// Starts from the first picture, not paused.
  void startAnimation();
  /// Ends the animation, after one last change of the picture; no timer runs afterwards. Nothing when not started.
  void stopAnimation();
  /// Freezes the picture.
  void pauseAnimation();
  /// Goes on from the frozen picture.
  void resumeAnimation();

  /// Which picture is shown, from 0.
  qint64 currentIndex() const { return _currentIndex; }
  /// The names of the pictures in their order.
  const QStringList& imageArray() const { return _imageArray; }

private:
  void awakeFromNib();
  void changeImage();
  void showCurrentImage();
  void startTimer();
  void setVisible(bool visible);

  platform::Timers& m_timers;
  QPointer<SLoadingAniView> m_view;
  QPointer<SImageView> circleBase;
  QPointer<SImageView> aniCircle;
  std::unique_ptr<platform::Timer> _timer;
  QStringList _imageArray;
  qint64 _currentIndex = 0;
  bool m_started = false;
  bool _animationPaused = false;
};
