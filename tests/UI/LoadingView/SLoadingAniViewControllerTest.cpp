#include "UI/LoadingView/SLoadingAniViewController.h"

#include "UI/LoadingView/SLoadingAniView.h"

#include <QTest>

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

class LoadingAnimation : public testing::Test {
protected:
  void SetUp() override {
    m_window.resize(300, 200);
    m_window.show();
    m_controller.view()->show();
  }
  void advanceFrames(int count) {
    for (int i = 0; i < count; ++i) {
      m_timers.advance(SLoadingAniViewController::kFrameTime);
    }
  }
  qint64 shownImage() const { return m_controller.view()->aniCircle()->image().cacheKey(); }

  platform::ManualTimers m_timers;
  QWidget m_window;
  SLoadingAniViewController m_controller{QRect(0, 0, 300, 200), &m_window, m_timers};
};

} // namespace

TEST_F(LoadingAnimation, HasItsPicturesByName) {
  ASSERT_EQ(m_controller.imageArray().size(), 186);
  EXPECT_EQ(m_controller.imageArray().front(), "back_up_pop_up_dot_01");
  EXPECT_EQ(m_controller.imageArray().back(), "back_up_pop_up_dot_186");
}

TEST(SLoadingAniViewController, MakesAHiddenViewWithTheFrameAskedFor) {
  platform::ManualTimers timers;
  QWidget window;
  window.show();
  SLoadingAniViewController controller(QRect(1, 2, 30, 40), &window, timers);
  EXPECT_TRUE(controller.view()->isHidden());
  EXPECT_EQ(controller.view()->geometry(), QRect(1, 2, 30, 40));
  EXPECT_EQ(controller.view()->parentWidget(), &window);
  controller.setLoadingFrame(QRect(0, 0, 200, 100));
  EXPECT_EQ(controller.view()->geometry(), QRect(0, 0, 200, 100));
  EXPECT_EQ(timers.pending(), 0);
}

TEST_F(LoadingAnimation, ShowsAPictureEveryThirtiethOfASecond) {
  m_controller.startAnimation();
  EXPECT_EQ(m_controller.currentIndex(), 0);
  const qint64 first = shownImage();
  m_timers.advance(32ms);
  EXPECT_EQ(m_controller.currentIndex(), 0);
  m_timers.advance(1ms);
  EXPECT_EQ(m_controller.currentIndex(), 1);
  EXPECT_NE(shownImage(), first);
  advanceFrames(10);
  EXPECT_EQ(m_controller.currentIndex(), 11);
}

TEST_F(LoadingAnimation, PausesHalfASecondAfterThe186thFrameBeforeFrame1Again) {
  m_controller.startAnimation();
  const qint64 first = shownImage();
  advanceFrames(185);
  EXPECT_EQ(m_controller.currentIndex(), 185);
  const qint64 last = shownImage();
  advanceFrames(1);
  EXPECT_EQ(shownImage(), last);
  m_timers.advance(499ms);
  EXPECT_EQ(shownImage(), last);
  m_timers.advance(1ms);
  EXPECT_EQ(shownImage(), first);
  EXPECT_EQ(m_controller.currentIndex(), 0);
  advanceFrames(1);
  EXPECT_EQ(m_controller.currentIndex(), 1);
}

TEST_F(LoadingAnimation, LetsTheEventLoopRunDuringItsPause) {
  m_controller.startAnimation();
  advanceFrames(186);
  // The pause is a timer's, not a sleep: the call has come back and one timer is left.
  EXPECT_EQ(m_timers.pending(), 1);
}

TEST_F(LoadingAnimation, FreezesWhilePausedAndGoesOnFromThere) {
  m_controller.startAnimation();
  advanceFrames(5);
  m_controller.pauseAnimation();
  const qint64 frozen = shownImage();
  advanceFrames(20);
  EXPECT_EQ(shownImage(), frozen);
  m_controller.resumeAnimation();
  advanceFrames(1);
  EXPECT_EQ(m_controller.currentIndex(), 6);
}

TEST_F(LoadingAnimation, FreezesThePictureWhenPausedBetweenTheRounds) {
  m_controller.startAnimation();
  advanceFrames(186);
  const qint64 last = shownImage();
  m_controller.pauseAnimation();
  m_timers.advance(SLoadingAniViewController::kLoopPause);
  advanceFrames(3);
  EXPECT_EQ(shownImage(), last);
  m_controller.resumeAnimation();
  advanceFrames(1);
  EXPECT_NE(shownImage(), last);
}

TEST_F(LoadingAnimation, StopsWithOneLastChangeAndNoTimer) {
  m_controller.startAnimation();
  advanceFrames(5);
  m_controller.stopAnimation();
  EXPECT_EQ(m_controller.currentIndex(), 6);
  EXPECT_EQ(m_timers.pending(), 0);
  m_controller.stopAnimation();
  EXPECT_EQ(m_controller.currentIndex(), 6);
}

TEST_F(LoadingAnimation, StopsAtTheLastFrameAndDuringThePauseToo) {
  m_controller.startAnimation();
  advanceFrames(185);
  m_controller.stopAnimation();
  EXPECT_EQ(m_timers.pending(), 0);
  m_controller.startAnimation();
  advanceFrames(186);
  m_controller.stopAnimation();
  EXPECT_EQ(m_timers.pending(), 0);
}

TEST_F(LoadingAnimation, StartsFromTheFirstPictureUnpaused) {
  m_controller.startAnimation();
  advanceFrames(7);
  m_controller.pauseAnimation();
  m_controller.startAnimation();
  EXPECT_EQ(m_controller.currentIndex(), 0);
  EXPECT_EQ(m_timers.pending(), 1);
  advanceFrames(1);
  EXPECT_EQ(m_controller.currentIndex(), 1);
}

TEST_F(LoadingAnimation, RunsNoTimerWhileItsViewIsHidden) {
  m_controller.startAnimation();
  m_controller.view()->hide();
  EXPECT_EQ(m_timers.pending(), 0);
  m_controller.view()->show();
  EXPECT_EQ(m_timers.pending(), 1);
  m_window.hide();
  EXPECT_EQ(m_timers.pending(), 0);
  m_controller.stopAnimation();
  m_window.show();
  EXPECT_EQ(m_timers.pending(), 0);
}

TEST(SLoadingAniViewController, OutlivesItsView) {
  platform::ManualTimers timers;
  auto window = std::make_unique<QWidget>();
  window->show();
  SLoadingAniViewController controller(QRect(0, 0, 30, 40), window.get(), timers);
  controller.view()->show();
  controller.startAnimation();
  window.reset();
  EXPECT_EQ(controller.view(), nullptr);
  timers.advance(100ms);
  controller.setLoadingFrame(QRect(0, 0, 1, 1));
  controller.startAnimation();
  controller.stopAnimation();
  EXPECT_EQ(timers.pending(), 0);
}

TEST(SLoadingAniViewController, GoneBeforeItsViewLeavesNoTimer) {
  platform::ManualTimers timers;
  QWidget window;
  window.show();
  {
    SLoadingAniViewController controller(QRect(0, 0, 30, 40), &window, timers);
    controller.view()->show();
    controller.startAnimation();
    EXPECT_EQ(timers.pending(), 1);
  }
  EXPECT_EQ(timers.pending(), 0);
  window.hide();
}
