// How the engine deals with phones that hang while it opens them. Two scripts: one that costs no time and moves a clock
// of its own, one on a wire that blocks.
#include "TessalyMTPSdk/Engine.h"

#include "EngineFixture.h"
#include "ScriptedPhone.h"

#include <atomic>
#include <thread>

using namespace testsupport;

namespace {

constexpr uint32_t OpenFailed = 0x12000003;

class HangingPhone : public Engine {
protected:
  HangingPhone() {
    limits.now = [this] { return std::chrono::steady_clock::time_point(std::chrono::seconds(clock)); };
    mtp::EngineState::instance().setTimeLimits(limits);
    answering = phone->script->otherwise;
    phone->script->otherwise = [this](const ByteVector&) {
      clock += 5;
      return std::vector<Piece>();
    };
    mtp::addProvider(phone);
  }
  ~HangingPhone() override { mtp::shutdown(); }

  uint32_t connect() {
    _MTP_DEVICE_NODE* head = nullptr;
    return mtpDextGetConnectedDeviceListHead(&head);
  }

  std::shared_ptr<ScriptedPhone> phone = std::make_shared<ScriptedPhone>();
  std::function<std::vector<Piece>(const ByteVector&)> answering;
  std::atomic<int> clock = 1000; // seconds; by the connecting thread and the test
  mtp::TimeLimits limits;
};

} // namespace

TEST_F(HangingPhone, IsNotWaitedForAgainByTheNextQuestions) {
  EXPECT_EQ(connect(), OpenFailed);
  const int since = clock;
  const int took = since - 1000;
  for (int attempt = 0; attempt < 10; ++attempt)
    EXPECT_EQ(connect(), OpenFailed);
  EXPECT_EQ(phone->opened, 1);
  EXPECT_EQ(clock, since);
  clock += took;
  EXPECT_EQ(connect(), OpenFailed);
  EXPECT_EQ(phone->opened, 2) << "after a while it is";
}

TEST_F(HangingPhone, IsTriedAtOnceWhenItIsPluggedInAnew) {
  EXPECT_EQ(connect(), OpenFailed);
  phone->script->otherwise = answering;
  phone->attachment = 2;
  EXPECT_EQ(connect(), 0u);
}

TEST_F(HangingPhone, IsForgottenWhenTheEngineEnds) {
  EXPECT_EQ(connect(), OpenFailed);
  mtp::shutdown();
  mtp::addProvider(phone);
  phone->script->otherwise = answering;
  EXPECT_EQ(connect(), 0u);
}

TEST_F(EngineWithPhone, APhoneThatRefusesQuicklyIsTriedAgainAtOnce) {
  start();
  phone->faults().add({.kind = vphone::FaultKind::Respond,
                       .phase = vphone::FaultPhase::Response,
                       .transaction = 0,
                       .operation = std::nullopt,
                       .value = 0x2002});
  _MTP_DEVICE_NODE* head = nullptr;
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), OpenFailed);
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), 0u);
}

namespace {

/// A phone that hangs as long as the time limits allow, and a thread that is just opening it.
class WhileOpening : public EngineWithPhone {
protected:
  WhileOpening() {
    mtp::TimeLimits limits;
    limits.opening = limits.probe = std::chrono::seconds(60);
    limits.now = [this] {
      asked.raise();
      return std::chrono::steady_clock::now();
    };
    mtp::EngineState::instance().setTimeLimits(limits);
    vphone::Options options;
    options.storages.push_back({.folder = storage.path(), .description = "Phone"});
    phone = std::make_unique<vphone::VirtualPhone>(std::move(options));
    phone->plug();
    provider = phone->provider();
    mtp::addProvider(provider);
    phone->faults().add({.kind = vphone::FaultKind::Hang, .transaction = std::nullopt, .operation = std::nullopt});
    connecting = std::thread([this] {
      _MTP_DEVICE_NODE* head = nullptr;
      status = mtpDextGetConnectedDeviceListHead(&head);
    });
    EXPECT_TRUE(asked.waitFor(3)) << "the last time right before the first command";
  }
  ~WhileOpening() override {
    if (connecting.joinable())
      connecting.join();
    mtp::EngineState::instance().setTimeLimits(mtp::TimeLimits());
  }
  void expectEndOfOpening(std::chrono::steady_clock::time_point begin) {
    connecting.join();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    EXPECT_NE(status, 0u);
  }

  Signal asked;
  std::shared_ptr<mtp::DeviceProvider> provider;
  std::thread connecting;
  std::atomic<uint32_t> status = 0; // written by the connecting thread
};

} // namespace

TEST_F(WhileOpening, ShutdownDoesNotWaitForTheTimeLimit) {
  const auto begin = std::chrono::steady_clock::now();
  mtp::shutdown();
  expectEndOfOpening(begin);
}

TEST_F(WhileOpening, TakingTheProviderAwayEndsIt) {
  const auto begin = std::chrono::steady_clock::now();
  mtp::removeProvider(provider);
  expectEndOfOpening(begin);
}
