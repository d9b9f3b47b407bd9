#include "SBrowser/TransferRun.h"

#include "MTPCore/FakeMtpSdk.h"
#include "MTPCore/MTPSDKUtil.h"
#include "Platform/MainThread.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTest>
#include <QWidget>

#include <gtest/gtest.h>

#include <limits>
#include <thread>

namespace {

class RecordingOwner : public TransferOwner {
public:
  void setProgressInfo(const TransferRun&, const QString& text, std::uint64_t currPos,
                       std::uint64_t totalPos) override {
    progress.append(text + u'|' + QString::number(currPos) + u'|' + QString::number(totalPos));
  }
  void transferCompleted(TransferRun&) override { ++completed; }
  void transferEnded(TransferRun& run) override { outcomes = run.takeOutcomes(); }

  QStringList progress;
  int completed = 0;
  std::vector<TransferOutcome> outcomes;
};

class TransferRunTest : public testing::Test {
protected:
  static std::shared_ptr<STransferItem> entry(const QString& path, std::uint64_t size) {
    auto item = STransferItem::newObject();
    item->setSrcPath(path);
    item->setFileSize(size);
    return item;
  }
  void events() { QCoreApplication::sendPostedEvents(); }
  QString copying() const {
    return VornLocalStringDefine::QX_LocalizedStringWithKey(QStringLiteral("MSG_BnRTransfering"));
  }

  QWidget window;
  std::chrono::milliseconds slept{0};
  TransferRun::Sleep sleep = [this](std::chrono::milliseconds pause) { slept += pause; };
  std::shared_ptr<RecordingOwner> owner = std::make_shared<RecordingOwner>();
  std::shared_ptr<DeviceSession> session = std::make_shared<DeviceSession>(
      std::make_shared<MTPDextSDKWrapper>(std::make_shared<FakeMtpSdk>()), QStringLiteral("1"));
  std::shared_ptr<TransferRun> run =
      std::make_shared<TransferRun>(owner, session, std::make_shared<ClashQuestion>(window), sleep);
};

} // namespace

TEST_F(TransferRunTest, WithANullContextTheFirstReportStopsTheTransfer) {
  EXPECT_EQ(ProgressContentsCallback(0, 10, nullptr), 0x10000007U);
}

TEST_F(TransferRunTest, AReportIsAnsweredWithGoOnAndShownWithTheCurrentLine) {
  run->plan() = {entry(QStringLiteral("/x/a.txt"), 10), entry(QStringLiteral("/x/b.txt"), 20)};
  run->beginEntry(*run->plan()[0]);
  EXPECT_EQ(ProgressContentsCallback(3, 10, run.get()), 0U);
  events();
  EXPECT_EQ(owner->progress, QStringList({QStringLiteral("1/2 ") + copying() + QStringLiteral(" a.txt|3|10")}));
}

TEST_F(TransferRunTest, OfManyReportsTheLatestIsShownOnce) {
  run->plan() = {entry(QStringLiteral("/x/a.txt"), 1000)};
  run->beginEntry(*run->plan()[0]);
  for (std::uint64_t done = 0; done <= 1000; ++done)
    ProgressContentsCallback(done, 1000, run.get());
  events();
  ASSERT_EQ(owner->progress.size(), 1);
  EXPECT_TRUE(owner->progress[0].endsWith(QStringLiteral("|1000|1000")));
  ProgressContentsCallback(1, 1000, run.get());
  events();
  EXPECT_EQ(owner->progress.size(), 2);
}

TEST_F(TransferRunTest, CanceledOrDetachedTheNextReportStopsTheTransfer) {
  run->cancel();
  EXPECT_EQ(ProgressContentsCallback(0, 10, run.get()), 0x10000007U);
  EXPECT_EQ(slept.count(), 50) << "not in a tight row of calls";
  const auto other = std::make_shared<TransferRun>(owner, session, std::make_shared<ClashQuestion>(window), sleep);
  EXPECT_EQ(ProgressContentsCallback(0, 10, other.get()), 0U);
  EXPECT_EQ(slept.count(), 50) << "a transfer that goes on is not held up";
  other->detach();
  EXPECT_EQ(ProgressContentsCallback(0, 10, other.get()), 0x10000007U);
}

TEST_F(TransferRunTest, AnEndedSessionCountsAsDetached) {
  EXPECT_FALSE(run->isStopped());
  session->end();
  EXPECT_TRUE(run->isDetached());
  EXPECT_FALSE(run->isCanceled());
  EXPECT_EQ(ProgressContentsCallback(0, 10, run.get()), 0x10000007U);
}

TEST_F(TransferRunTest, NoLongerInProcessTheTransferIsStopped) {
  run->complete();
  EXPECT_FALSE(run->isTransferProcess());
  EXPECT_EQ(owner->completed, 1);
  EXPECT_EQ(ProgressContentsCallback(0, 10, run.get()), 0x10000007U);
}

TEST_F(TransferRunTest, ACancelNeverReachesAnotherRun) {
  const auto next = std::make_shared<TransferRun>(owner, session, std::make_shared<ClashQuestion>(window), sleep);
  run->cancel();
  EXPECT_FALSE(next->isCanceled());
  EXPECT_EQ(ProgressContentsCallback(0, 1, next.get()), 0U);
}

TEST_F(TransferRunTest, FoldersCountLikeFilesInTheProgressLine) {
  run->plan() = {entry(QStringLiteral("/x/F"), 0), entry(QStringLiteral("/x/F/b"), 20)};
  run->beginEntry(*run->plan()[0]);
  EXPECT_EQ(run->curFileName(), QStringLiteral("1/2 ") + copying() + QStringLiteral(" F"));
  run->beginEntry(*run->plan()[1]);
  EXPECT_EQ(run->curFileName(), QStringLiteral("2/2 ") + copying() + QStringLiteral(" b"));
}

TEST_F(TransferRunTest, FinishedEntriesCountAndWhatWasReportedOfThemNoLonger) {
  const auto first = entry(QStringLiteral("/x/a"), 100);
  run->plan() = {first};
  run->addToTotalTransferSize(100);
  run->beginEntry(*first);
  ProgressContentsCallback(100, 100, run.get());
  run->finishEntry(*first);
  events();
  EXPECT_EQ(run->currentTransferSize(), 100U);
  EXPECT_TRUE(owner->progress.last().endsWith(QStringLiteral("|0|100")));
}

TEST_F(TransferRunTest, SizesThatLeadBeyondAllNumbersStayAtTheLargest) {
  constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
  run->addToTotalTransferSize(largest - 1);
  run->addToTotalTransferSize(5);
  EXPECT_EQ(run->totalTransferSize(), largest);
}

TEST_F(TransferRunTest, OutcomesAreHandedOverAtTheEndInTheirOrder) {
  run->record(QStringLiteral("a"), TransferOutcome::Copied);
  run->record(QStringLiteral("b"), TransferOutcome::Failed, DGSTATUS_STORAGE_FULL);
  run->end();
  EXPECT_TRUE(owner->outcomes.empty());
  events();
  ASSERT_EQ(owner->outcomes.size(), 2U);
  EXPECT_EQ(owner->outcomes[1].name, QStringLiteral("b"));
  EXPECT_EQ(owner->outcomes[1].status, std::uint32_t(DGSTATUS_STORAGE_FULL));
}

TEST_F(TransferRunTest, WhenTheWindowIsGoneNothingIsRunForIt) {
  owner.reset();
  bool ran = false;
  EXPECT_FALSE(run->onMainThread([&] { ran = true; }));
  EXPECT_FALSE(ran);
  run->complete();
  run->end();
  run->reportProgress(1, 2);
  events();
}

TEST_F(TransferRunTest, AQuestionNobodyCanAnswerCancelsTheRun) {
  run->detach();
  std::thread worker([this] { EXPECT_EQ(run->askAboutClash(QStringLiteral("a"), 1), ClashAnswerNone); });
  EXPECT_TRUE(QTest::qWaitFor([this] { return run->isCanceled(); }, 60'000));
  worker.join();
}
