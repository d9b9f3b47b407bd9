#include "Platform/RunLoop.h"

#include <gmock/gmock.h>

#include <string>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>

using namespace platform;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Clock = RunLoopTimer::Clock;

class RunLoopTest : public testing::Test {
protected:
  ~RunLoopTest() override {
    for (const auto& source : m_sources)
      ::close(source->fd);
  }
  // A source that says `name` when it is readable.
  std::shared_ptr<RunLoopSource> source(const std::string& name) {
    auto made = std::make_shared<RunLoopSource>();
    made->fd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    made->perform = [this, name, fd = made->fd] {
      eventfd_t count = 0;
      ::eventfd_read(fd, &count);
      m_said.push_back(name);
    };
    m_sources.push_back(made);
    return made;
  }
  static void wake(const std::shared_ptr<RunLoopSource>& source) { ::eventfd_write(source->fd, 1); }
  std::function<void()> say(const std::string& text) {
    return [this, text] { m_said.push_back(text); };
  }
  std::vector<std::string> said() { return std::exchange(m_said, {}); }

  RunLoop m_loop;
  std::vector<std::string> m_said;
  std::vector<std::shared_ptr<RunLoopSource>> m_sources;
};

TEST_F(RunLoopTest, AReadableSourceIsCalledAndAQuietOneIsNot) {
  const auto loud = source("loud"), quiet = source("quiet");
  m_loop.addSource(loud);
  m_loop.addSource(quiet);
  wake(loud);
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), ElementsAre("loud"));
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(RunLoopTest, ASourceAddedTwiceIsCalledOnce) {
  const auto only = source("only");
  m_loop.addSource(only);
  m_loop.addSource(only);
  wake(only);
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), ElementsAre("only"));
}

TEST_F(RunLoopTest, ARemovedSourceIsNotCalledEvenInThePassThatRemovesIt) {
  const auto first = source("first"), second = source("second");
  first->perform = [this, second] { m_loop.removeSource(second); };
  m_loop.addSource(first);
  m_loop.addSource(second);
  wake(first);
  wake(second);
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(RunLoopTest, ASourceMayEndItselfWhileItIsCalled) {
  const auto only = source("only");
  only->perform = [this, only = only.get()] {
    only->perform = [] {};
    m_said.push_back("ended");
  };
  m_loop.addSource(only);
  wake(only);
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), ElementsAre("ended"));
}

TEST_F(RunLoopTest, ASourceWhoseDescriptorHasEndedIsDropped) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ::close(ends[1]);
  const auto ended = std::make_shared<RunLoopSource>();
  ended->fd = ends[0];
  ended->perform = say("called");
  m_loop.addSource(ended);
  m_loop.runFor(0ms);
  const auto live = source("live");
  m_loop.addSource(live);
  wake(live);
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), ElementsAre("live"));
  ::close(ends[0]);
}

TEST_F(RunLoopTest, ATimerOfThePastFiresOnceAfterTheSourcesOfThePass) {
  const auto loud = source("source");
  m_loop.addSource(loud);
  m_loop.addTimer(Clock::now() - 1s, say("timer"));
  wake(loud);
  m_loop.runFor(0ms);
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), ElementsAre("source", "timer"));
}

TEST_F(RunLoopTest, ATimerMadeInASourcesCallbackFiresInTheSamePassAfterAllSources) {
  const auto first = source("first"), second = source("second");
  first->perform = [this] { m_loop.addTimer(Clock::now(), say("timer")); };
  m_loop.addSource(first);
  m_loop.addSource(second);
  wake(first);
  wake(second);
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), ElementsAre("second", "timer"));
}

TEST_F(RunLoopTest, TimersFireInTheOrderOfTheirDates) {
  const auto now = Clock::now();
  m_loop.addTimer(now - 1ms, say("later"));
  m_loop.addTimer(now - 2ms, say("sooner"));
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), ElementsAre("sooner", "later"));
}

TEST_F(RunLoopTest, AnInvalidatedTimerDoesNotFire) {
  m_loop.addTimer(Clock::now() - 1ms, say("timer"))->invalidate();
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(RunLoopTest, InvalidatedTimersOfALoopThatIsNeverDrivenDoNotPileUp) {
  const auto held = std::make_shared<int>();
  for (int i = 0; i < 3; ++i)
    m_loop.addTimer(Clock::now(), [held] {})->invalidate();
  EXPECT_EQ(held.use_count(), 2); // the latest alone
}

TEST_F(RunLoopTest, ATimerOfTheFutureWaits) {
  m_loop.addTimer(Clock::now() + 1h, say("timer"));
  m_loop.runFor(0ms);
  EXPECT_THAT(said(), IsEmpty());
}

TEST_F(RunLoopTest, ATimerEndsTheWaitOfARunningLoop) {
  m_loop.addTimer(Clock::now() + 1ms, [this] { m_loop.stop(); });
  const auto begin = Clock::now();
  m_loop.runFor(60s);
  EXPECT_LT(Clock::now() - begin, 30s);
}

TEST_F(RunLoopTest, ARunReturnsWhenItsTimeIsOver) {
  const auto begin = Clock::now();
  m_loop.runFor(2ms);
  EXPECT_GE(Clock::now() - begin, 2ms);
}

TEST_F(RunLoopTest, StopFromAnotherThreadEndsTheRun) {
  std::thread other([this] { m_loop.stop(); });
  const auto begin = Clock::now();
  m_loop.runFor(60s);
  EXPECT_LT(Clock::now() - begin, 30s);
  other.join();
}

TEST_F(RunLoopTest, EachThreadHasALoopOfItsOwn) {
  const auto mine = RunLoop::current();
  EXPECT_EQ(mine, RunLoop::current());
  std::shared_ptr<RunLoop> others;
  std::thread([&others] { others = RunLoop::current(); }).join();
  EXPECT_NE(others, mine);
}

} // namespace
