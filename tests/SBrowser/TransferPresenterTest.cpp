#include "SBrowser/TransferPresenter.h"

#include "MTPCore/FakeMtpSdk.h"
#include "MTPCore/MTPDextSDKWrapper.h"
#include "Platform/Timers.h"
#include "SBrowser/WindowLayout.h"
#include "UI/ProgressView/SProgressView.h"

#include <QCoreApplication>
#include <QMainWindow>
#include <QMessageBox>
#include <QTest>

#include <gtest/gtest.h>

#include <limits>
#include <thread>

namespace {

class TransferPresenterTest : public testing::Test {
protected:
  void SetUp() override {
    layout.window()->setWindowTitle(QStringLiteral("Phone"));
    layout.window()->show();
  }
  static std::shared_ptr<DeviceSession> newSession() {
    return std::make_shared<DeviceSession>(std::make_shared<MTPDextSDKWrapper>(std::make_shared<FakeMtpSdk>()),
                                           QStringLiteral("1"));
  }
  std::shared_ptr<TransferPresenter> newPresenter() {
    TransferPresenter::Window window;
    window.setDisableCaptureEvent = [this](bool disable) { isBlocked = disable; };
    window.setIsTransferProcess = [this](bool running) { isTransferProcess = running; };
    window.sleep = [](std::chrono::milliseconds) {};
    window.inhibitSuspend = [this] {
      ++inhibitions;
      return std::shared_ptr<void>(nullptr, [this](void*) { --inhibitions; });
    };
    return std::make_shared<TransferPresenter>(layout, window);
  }
  void end(const std::shared_ptr<TransferRun>& run) {
    run->end();
    QCoreApplication::sendPostedEvents();
  }
  bool isPanelShown() const { return layout._progressView->isVisible(); }
  QString title() const { return layout.window()->windowTitle(); }

  platform::ManualTimers timers;
  WindowLayout layout{timers};
  bool isBlocked = false;
  bool isTransferProcess = false;
  int inhibitions = 0;
  std::shared_ptr<DeviceSession> session = newSession();
  std::shared_ptr<TransferPresenter> presenter = newPresenter();
};

} // namespace

TEST_F(TransferPresenterTest, ATransferBlocksTheWindowShowsThePanelAndKeepsTheComputerAwake) {
  const auto run = presenter->begin(session);
  ASSERT_NE(run, nullptr);
  EXPECT_EQ(presenter->run(), run);
  EXPECT_TRUE(isBlocked);
  EXPECT_TRUE(isTransferProcess);
  EXPECT_TRUE(isPanelShown());
  EXPECT_EQ(inhibitions, 1);
}

TEST_F(TransferPresenterTest, WhenTheTransferHasEndedAllOfThatIsOver) {
  const auto run = presenter->begin(session);
  run->complete();
  EXPECT_FALSE(isTransferProcess);
  end(run);
  EXPECT_EQ(presenter->run(), nullptr);
  EXPECT_FALSE(isBlocked);
  EXPECT_FALSE(isPanelShown());
  EXPECT_EQ(inhibitions, 0);
}

TEST_F(TransferPresenterTest, ATransferThatEndsWithoutCompletingIsNoneForTheWindow) {
  const auto run = presenter->begin(session);
  end(run); // as every download does
  EXPECT_FALSE(isTransferProcess);
  EXPECT_TRUE(run->isTransferProcess());
}

TEST_F(TransferPresenterTest, ADetachedRunThatEndsLateDoesNotPutItsListOverALaterOnes) {
  const auto run = presenter->begin(session);
  run->record(QStringLiteral("old"), TransferOutcome::Copied);
  presenter->detach();
  const auto next = presenter->begin(newSession());
  next->record(QStringLiteral("new"), TransferOutcome::Copied);
  end(next);
  end(run);
  ASSERT_EQ(presenter->lastTransfer().size(), 1U);
  EXPECT_EQ(presenter->lastTransfer()[0].name, QStringLiteral("new"));
}

TEST_F(TransferPresenterTest, CanceledThePanelGoesAtOnceAndTheRestWhenTheRunHasEnded) {
  const auto run = presenter->begin(session);
  presenter->cancel();
  EXPECT_TRUE(run->isCanceled());
  EXPECT_FALSE(isTransferProcess);
  EXPECT_FALSE(isPanelShown());
  EXPECT_TRUE(isBlocked);
  EXPECT_EQ(inhibitions, 1); // it is still busy with the phone
  end(run);
  EXPECT_FALSE(isBlocked);
  EXPECT_EQ(inhibitions, 0);
}

TEST_F(TransferPresenterTest, DetachedTheComputerMaySleepAndTheRunIsTheWindowsNoMore) {
  const auto run = presenter->begin(session);
  presenter->detach();
  EXPECT_TRUE(run->isDetached());
  EXPECT_EQ(presenter->run(), nullptr);
  EXPECT_FALSE(isTransferProcess);
  EXPECT_EQ(inhibitions, 0);
  const auto next = presenter->begin(newSession());
  ASSERT_NE(next, nullptr);
  end(run); // the old one's end is not the new one's
  EXPECT_EQ(presenter->run(), next);
  EXPECT_TRUE(isBlocked);
  EXPECT_TRUE(isTransferProcess);
  EXPECT_EQ(inhibitions, 1);
}

TEST_F(TransferPresenterTest, TheWindowsEndCancelsTheTransferAndLetsTheComputerSleep) {
  const auto run = presenter->begin(session);
  presenter.reset();
  EXPECT_TRUE(run->isCanceled());
  EXPECT_EQ(inhibitions, 0);
  end(run);
}

TEST_F(TransferPresenterTest, WithNothingToKeepTheComputerAwakeTransfersRunAllTheSame) {
  TransferPresenter::Window window;
  window.setDisableCaptureEvent = [](bool) {};
  window.setIsTransferProcess = [](bool) {};
  const auto other = std::make_shared<TransferPresenter>(layout, window);
  const auto run = other->begin(session);
  ASSERT_NE(run, nullptr);
  end(run);
  EXPECT_EQ(other->run(), nullptr);
}

TEST_F(TransferPresenterTest, OneTransferAtATimeAndNoneOverASessionThatHasEnded) {
  const auto run = presenter->begin(session);
  EXPECT_EQ(presenter->begin(session), nullptr);
  EXPECT_EQ(presenter->run(), run);
  end(run);
  session->end();
  EXPECT_EQ(presenter->begin(session), nullptr);
  EXPECT_EQ(presenter->begin(nullptr), nullptr);
  EXPECT_FALSE(isBlocked);
  EXPECT_EQ(inhibitions, 0);
}

TEST_F(TransferPresenterTest, TheTitleTellsThePercentageOfTheWholePlanAndIsItselfAgainAfterwards) {
  const auto run = presenter->begin(session);
  run->addToTotalTransferSize(400);
  presenter->setProgressInfo(*run, QStringLiteral("1/2 Copying a"), 100, 200);
  EXPECT_EQ(title(), QStringLiteral("25% – Phone"));
  presenter->setProgressInfo(*run, QStringLiteral("1/2 Copying a"), 200, 200);
  EXPECT_EQ(title(), QStringLiteral("50% – Phone"));
  end(run);
  EXPECT_EQ(title(), QStringLiteral("Phone"));
}

TEST_F(TransferPresenterTest, OfARunThatIsNotTheWindowsOrIsStoppedNothingIsShown) {
  const auto old = presenter->begin(session);
  old->addToTotalTransferSize(10);
  presenter->detach();
  const auto run = presenter->begin(newSession());
  run->addToTotalTransferSize(10);
  presenter->setProgressInfo(*old, QStringLiteral("old"), 5, 10);
  EXPECT_EQ(title(), QStringLiteral("Phone"));
  presenter->cancel();
  presenter->setProgressInfo(*run, QStringLiteral("late"), 5, 10);
  EXPECT_EQ(title(), QStringLiteral("Phone"));
  end(run);
}

TEST_F(TransferPresenterTest, SizesBeyondAllNumbersShowNoMoreThanEverything) {
  constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
  const auto run = presenter->begin(session);
  run->addToTotalTransferSize(largest);
  auto entry = STransferItem::newObject();
  entry->setFileSize(largest - 1);
  run->finishEntry(*entry);
  presenter->setProgressInfo(*run, QStringLiteral("x"), largest, largest);
  EXPECT_EQ(title(), QStringLiteral("100% – Phone"));
  end(run);
}

TEST_F(TransferPresenterTest, WhatTheLastTransferCameToIsToldWhenItHasEnded) {
  int told = 0;
  presenter->setLastTransferHandler([&] { ++told; });
  const auto run = presenter->begin(session);
  run->record(QStringLiteral("a"), TransferOutcome::Copied);
  EXPECT_TRUE(presenter->lastTransfer().empty());
  end(run);
  ASSERT_EQ(presenter->lastTransfer().size(), 1U);
  EXPECT_EQ(presenter->lastTransfer().front().name, QStringLiteral("a"));
  EXPECT_EQ(told, 1);
}

TEST_F(TransferPresenterTest, ALateCancelOfAnOldRunLeavesTheQuestionOfTheNextOneOpen) {
  const auto old = presenter->begin(session);
  presenter->detach();
  const auto run = presenter->begin(newSession());
  std::thread worker([&] { run->askAboutClash(QStringLiteral("a.txt"), 1); });
  const bool isAsked = QTest::qWaitFor([&] { return presenter->isExistsAlert() != nullptr; }, 60'000);
  old->cancel();
  old->detach();
  QCoreApplication::processEvents();
  EXPECT_NE(presenter->isExistsAlert(), nullptr);
  EXPECT_FALSE(run->isStopped());
  if (isAsked)
    presenter->isExistsAlert()->reject();
  else
    presenter->cancel();
  EXPECT_TRUE(isAsked);
  EXPECT_TRUE(QTest::qWaitFor([&] { return presenter->isExistsAlert() == nullptr; }, 60'000));
  // The worker waits for the main thread once more, to have the alert hidden.
  std::atomic<bool> joined{false};
  std::thread joiner([&] {
    worker.join();
    joined = true;
  });
  EXPECT_TRUE(QTest::qWaitFor([&] { return joined.load(); }, 60'000));
  joiner.join();
  EXPECT_EQ(run->clashAnswer(), ClashAnswerSkip);
  end(run);
}
