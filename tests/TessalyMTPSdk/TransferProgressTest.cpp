#include "TessalyMTPSdk/TransferProgress.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using std::chrono::milliseconds;

class TransferProgressTest : public ::testing::Test {
protected:
  static std::uint32_t callback(std::uint64_t current, std::uint64_t total, void* context) {
    auto& self = *static_cast<TransferProgressTest*>(context);
    self.calls.emplace_back(current, total);
    return self.answer;
  }
  mtp::TransferProgress make() {
    mtp::TransferProgress progress(callback, this, [this] { return now; });
    progress.setTotal(1000);
    return progress;
  }

  std::chrono::steady_clock::time_point now{};
  std::vector<std::pair<std::uint64_t, std::uint64_t>> calls;
  std::uint32_t answer = 0;
};

} // namespace

TEST_F(TransferProgressTest, IsToldAtMostAHundredTimesASecond) {
  mtp::TransferProgress progress = make();
  for (int i = 0; i < 10000; ++i) { // ten times a millisecond
    now += std::chrono::microseconds(100);
    EXPECT_TRUE(progress.at(static_cast<std::uint64_t>(i) / 10));
  }
  EXPECT_LE(calls.size(), 100u);
  EXPECT_GE(calls.size(), 80u);
}

TEST_F(TransferProgressTest, IsToldEachTimeWhenTheTransferTellsSeldom) {
  mtp::TransferProgress progress = make();
  for (int i = 0; i < 20; ++i) {
    now += milliseconds(50);
    EXPECT_TRUE(progress.waiting());
  }
  EXPECT_EQ(calls.size(), 20u) << "also when nothing moves";
}

TEST_F(TransferProgressTest, TheEndIsToldInAnyCase) {
  mtp::TransferProgress progress = make();
  EXPECT_TRUE(progress.at(10));
  EXPECT_TRUE(calls.empty());
  EXPECT_TRUE(progress.done());
  EXPECT_EQ(calls, (std::vector<std::pair<std::uint64_t, std::uint64_t>>{{1000, 1000}}));
}

TEST_F(TransferProgressTest, AnyAnswerButZeroStopsForGood) {
  mtp::TransferProgress progress = make();
  answer = 1;
  now += milliseconds(20);
  EXPECT_FALSE(progress.at(1));
  answer = 0;
  now += milliseconds(20);
  EXPECT_FALSE(progress.at(2));
  EXPECT_FALSE(progress.done());
  EXPECT_TRUE(progress.isStopped());
  EXPECT_EQ(calls.size(), 1u);
}

TEST_F(TransferProgressTest, NeverGoesBackNorBeyondTheTotal) {
  mtp::TransferProgress progress = make();
  for (const std::uint64_t bytes : {500u, 400u, 1012u}) {
    now += milliseconds(20);
    progress.at(bytes);
  }
  EXPECT_EQ(calls, (std::vector<std::pair<std::uint64_t, std::uint64_t>>{{500, 1000}, {500, 1000}, {1000, 1000}}));
}

TEST_F(TransferProgressTest, WithoutACallbackNothingStops) {
  mtp::TransferProgress progress(nullptr, nullptr, [this] { return now; });
  now += milliseconds(20);
  EXPECT_TRUE(progress.at(1));
  EXPECT_TRUE(progress.done());
}
