#include "UI/Common/ModalQuestion.h"

#include "Platform/MainThread.h"
#include "support/LogCapture.h"

#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr int kLimit = 10'000; // ms
using ui::ModalQuestion;

class Question : public testing::Test {
protected:
  /// Asks on a thread of its own; joined at the end.
  void ask(
      ModalQuestion::Work show = [] {}, ModalQuestion::Work hide = [] {}) {
    m_threads.emplace_back([this, question = m_question, show, hide] {
      const ModalQuestion::Answer answer = question->ask(show, hide);
      m_confirmed += answer.returnCode == ModalQuestion::kConfirmed ? 1 : 0;
      m_sum += answer.result.toInt();
      ++m_answers;
    });
  }
  bool waitUntilOpen() {
    return QTest::qWaitFor([this] { return m_question->isOpen(); }, kLimit);
  }
  bool waitForAnswers(int count) {
    return QTest::qWaitFor([this, count] { return m_answers == count; }, kLimit);
  }
  void TearDown() override {
    m_question->close();
    EXPECT_TRUE(waitForAnswers(int(m_threads.size())));
    for (std::thread& thread : m_threads)
      thread.join();
  }

  std::shared_ptr<ModalQuestion> m_question = std::make_shared<ModalQuestion>();
  std::vector<std::thread> m_threads;
  std::atomic<int> m_answers{0};   // written by the askers, read by the test
  std::atomic<int> m_confirmed{0}; // likewise
  std::atomic<int> m_sum{0};       // likewise
};

} // namespace

TEST_F(Question, GetsTheFirstAnswerAndNoOther) {
  ask();
  ASSERT_TRUE(waitUntilOpen());
  EXPECT_TRUE(m_question->answer({ModalQuestion::kConfirmed, 7}));
  EXPECT_FALSE(m_question->answer({ModalQuestion::kCanceled, 9}));
  ASSERT_TRUE(waitForAnswers(1));
  EXPECT_EQ(m_confirmed, 1);
  EXPECT_EQ(m_sum, 7);
}

TEST_F(Question, IsNotAnsweredByWhatCameBeforeItWasAsked) {
  EXPECT_FALSE(m_question->answer({ModalQuestion::kConfirmed, 7}));
  m_question->cancel();
  ask();
  ASSERT_TRUE(waitUntilOpen());
  EXPECT_EQ(m_answers, 0);
  m_question->answer({ModalQuestion::kConfirmed, {}});
  ASSERT_TRUE(waitForAnswers(1));
  EXPECT_EQ(m_confirmed, 1);
}

TEST_F(Question, AnsweredBeforeItsAskerBeginsToWaitIsNotLost) {
  ask([this] { m_question->answer({ModalQuestion::kConfirmed, 3}); });
  ASSERT_TRUE(waitForAnswers(1));
  EXPECT_EQ(m_confirmed, 1);
  EXPECT_EQ(m_sum, 3);
}

TEST_F(Question, ShowsAndHidesOnTheMainThreadAroundItsAnswer) {
  std::vector<int> steps;
  ask(
      [&] {
        EXPECT_TRUE(platform::isMainThread());
        steps.push_back(1);
      },
      [&] {
        EXPECT_TRUE(platform::isMainThread());
        EXPECT_FALSE(m_question->isOpen());
        EXPECT_EQ(m_answers, 0);
        steps.push_back(2);
      });
  ASSERT_TRUE(QTest::qWaitFor([&] { return steps.size() == 1; }, kLimit));
  m_question->answer({});
  ASSERT_TRUE(waitForAnswers(1));
  EXPECT_EQ(steps, std::vector({1, 2}));
}

TEST_F(Question, IsAskedOneAfterTheOther) {
  int shown = 0;
  int most = 0;
  for (int i = 0; i < 3; ++i)
    ask([&] { most = qMax(most, ++shown); }, [&] { --shown; });
  for (int i = 1; i <= 3; ++i) {
    ASSERT_TRUE(QTest::qWaitFor([&] { return shown == 1 && m_question->isOpen(); }, kLimit));
    EXPECT_EQ(m_answers, i - 1);
    m_question->answer({ModalQuestion::kConfirmed, 1});
    ASSERT_TRUE(waitForAnswers(i));
  }
  EXPECT_EQ(most, 1);
  EXPECT_EQ(m_sum, 3);
}

TEST_F(Question, CanceledFromAnotherThreadIsAnsweredAndCanBeAskedAgain) {
  ask();
  ASSERT_TRUE(waitUntilOpen());
  std::thread([this] { m_question->cancel(); }).join();
  ASSERT_TRUE(waitForAnswers(1));
  EXPECT_EQ(m_confirmed, 0);
  ask();
  ASSERT_TRUE(waitUntilOpen());
  m_question->answer({ModalQuestion::kConfirmed, {}});
  ASSERT_TRUE(waitForAnswers(2));
  EXPECT_EQ(m_confirmed, 1);
}

TEST_F(Question, CanceledBeforeTheMainThreadComesToItIsNeitherShownNorHidden) {
  int shown = 0;
  int hidden = 0;
  ask([&] { ++shown; }, [&] { ++hidden; });
  while (!m_question->isOpen()) // the main thread takes no work meanwhile
    std::this_thread::yield();
  m_question->cancel();
  ASSERT_TRUE(waitForAnswers(1));
  EXPECT_EQ(m_confirmed, 0);
  EXPECT_EQ(shown, 0);
  EXPECT_EQ(hidden, 0);
}

TEST_F(Question, ClosedAnswersEverybodyAndShowsNothingMore) {
  int shown = 0;
  int hidden = 0;
  for (int i = 0; i < 4; ++i)
    ask([&] { ++shown; }, [&] { ++hidden; });
  ASSERT_TRUE(QTest::qWaitFor([&] { return shown == 1; }, kLimit));
  m_question->close();
  ask([&] { ++shown; }, [&] { ++hidden; });
  ASSERT_TRUE(waitForAnswers(5));
  EXPECT_EQ(shown, 1);
  EXPECT_EQ(hidden, 0);
  EXPECT_EQ(m_confirmed, 0);
}

TEST_F(Question, IsCanceledWhenTheMainThreadTakesNoWorkAnyMore) {
  platform::refuseWaiting(true);
  ask();
  EXPECT_TRUE(waitForAnswers(1));
  platform::refuseWaiting(false);
  EXPECT_EQ(m_confirmed, 0);
}

TEST_F(Question, OnTheMainThreadIsRefusedWithALogLine) {
  const testsupport::LogCapture log;
  EXPECT_EQ(m_question->ask([] {}, [] {}).returnCode, ModalQuestion::kCanceled);
  EXPECT_EQ(log.count("a question cannot wait on the thread that answers it"), 1);
}

TEST_F(Question, OfManyThreadsAnsweredAndCanceledInAnyOrderGetsExactlyOneAnswerEach) {
  constexpr int askers = 40;
  std::atomic<bool> over{false}; // written here, polled by the thread that cancels
  for (int i = 0; i < askers; ++i)
    ask();
  std::thread canceler([&] {
    while (!over) {
      m_question->cancel();
      std::this_thread::yield();
    }
  });
  int given = 0;
  const bool all = QTest::qWaitFor(
      [&] {
        given += m_question->answer({ModalQuestion::kConfirmed, 1}) ? 1 : 0;
        return m_answers == askers;
      },
      kLimit);
  over = true;
  canceler.join();
  EXPECT_TRUE(all);
  EXPECT_EQ(m_confirmed, given);
  EXPECT_EQ(m_sum, given);
}
