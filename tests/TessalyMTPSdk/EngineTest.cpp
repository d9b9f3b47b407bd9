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
    EXPECT_TRUE(asked.waitFor(4)) << "the last time right before the first command";
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

namespace {

constexpr uint32_t Location = 0x14200000;

/// A phone that cannot be opened, for a reason of the test's.
class RefusingPhone : public Engine, public mtp::DeviceProvider {
protected:
  RefusingPhone() { mtp::addProvider(provider); }
  ~RefusingPhone() override { mtp::shutdown(); }

  std::vector<mtp::DeviceCandidate> list() override {
    mtp::DeviceCandidate candidate;
    candidate.locationId = Location;
    candidate.attachment = 1;
    candidate.description = "Acme M1";
    candidate.open = [this] { return mtp::OpenResult{nullptr, failure, explanation, holder}; };
    return attached ? std::vector{candidate} : std::vector<mtp::DeviceCandidate>();
  }
  int32_t connectAndAsk(std::string* name = nullptr) {
    _MTP_DEVICE_NODE* head = nullptr;
    EXPECT_NE(mtpDextGetConnectedDeviceListHead(&head), 0u);
    int32_t code = -1;
    char text[8] = "XXXXXXX";
    EXPECT_EQ(mtpDextGetOpenFailure(Location, &code, text, sizeof text), 0u);
    if (name)
      *name = text;
    return code;
  }

  const std::shared_ptr<mtp::DeviceProvider> provider{this, [](mtp::DeviceProvider*) {}};
  mtp::OpenFailure failure = mtp::OpenFailure::Busy;
  std::string explanation = "is in use";
  std::string holder;
  bool attached = true;
};

} // namespace

TEST_F(RefusingPhone, TellsWhyItCouldNotBeOpened) {
  EXPECT_EQ(connectAndAsk(), MTPDEXT_OPEN_IN_USE);
  failure = mtp::OpenFailure::NoPermission;
  EXPECT_EQ(connectAndAsk(), MTPDEXT_OPEN_NO_PERMISSION);
  failure = mtp::OpenFailure::Other;
  EXPECT_EQ(connectAndAsk(), MTPDEXT_OPEN_NO_ANSWER);
  failure = mtp::OpenFailure::Gone;
  EXPECT_EQ(connectAndAsk(), MTPDEXT_OPEN_DONE);
}

TEST_F(RefusingPhone, NamesItsHolderCutToTheBuffer) {
  std::string name;
  connectAndAsk(&name);
  EXPECT_EQ(name, "");
  holder = "gvfsd";
  connectAndAsk(&name);
  EXPECT_EQ(name, "gvfsd");
  holder = "gvfsd-mtp";
  connectAndAsk(&name);
  EXPECT_EQ(name, "gvfsd-m");
  int32_t code = 0;
  EXPECT_EQ(mtpDextGetOpenFailure(Location, &code, nullptr, 100), 0u);
  char one = 'X';
  EXPECT_EQ(mtpDextGetOpenFailure(Location, &code, &one, 1), 0u);
  EXPECT_EQ(one, 0);
  one = 'X';
  EXPECT_EQ(mtpDextGetOpenFailure(Location, &code, &one, 0), 0u);
  EXPECT_EQ(one, 'X');
  EXPECT_EQ(mtpDextGetOpenFailure(Location, nullptr, nullptr, 0), 0x10000002u);
}

TEST_F(RefusingPhone, IsForgottenWhenItIsGone) {
  EXPECT_EQ(connectAndAsk(), MTPDEXT_OPEN_IN_USE);
  attached = false;
  EXPECT_EQ(connectAndAsk(), MTPDEXT_OPEN_DONE);
}

TEST_F(RefusingPhone, IsToldInTheLogOnceUntilTheReasonChanges) {
  const auto told = [this](const std::string& text) {
    int count = 0;
    const std::string all = loudLog();
    for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
      ++count;
    return count;
  };
  for (int i = 0; i < 5; ++i)
    connectAndAsk();
  EXPECT_EQ(told("Acme M1: is in use"), 1);
  failure = mtp::OpenFailure::NoPermission;
  explanation = "no permission";
  connectAndAsk();
  EXPECT_EQ(told("Acme M1: no permission"), 1);
}

TEST_F(EngineWithPhone, APhoneThatIsOpenHasNoFailureAnyMore) {
  start();
  phone->faults().add({.kind = vphone::FaultKind::Respond,
                       .phase = vphone::FaultPhase::Response,
                       .transaction = 0,
                       .operation = std::nullopt,
                       .value = 0x2002});
  _MTP_DEVICE_NODE* head = nullptr;
  ASSERT_EQ(mtpDextGetConnectedDeviceListHead(&head), OpenFailed);
  int32_t code = 0;
  EXPECT_EQ(mtpDextGetOpenFailure(0xFE100000, &code, nullptr, 0), 0u);
  EXPECT_EQ(code, MTPDEXT_OPEN_NO_ANSWER);
  ASSERT_EQ(mtpDextGetConnectedDeviceListHead(&head), 0u);
  EXPECT_EQ(mtpDextGetOpenFailure(0xFE100000, &code, nullptr, 0), 0u);
  EXPECT_EQ(code, MTPDEXT_OPEN_DONE);
}

TEST_F(EngineWithPhone, APhoneThatSpeaksPtpOnlyIsTold) {
  const auto camera = std::make_shared<ScriptedPhone>();
  camera->setDeviceInfo("'Acme' 0000", "05", "'M1' 0000", "03", "00000000");
  mtp::addProvider(camera);
  _MTP_DEVICE_NODE* head = nullptr;
  ASSERT_EQ(mtpDextGetConnectedDeviceListHead(&head), OpenFailed);
  int32_t code = 0;
  EXPECT_EQ(mtpDextGetOpenFailure(Location, &code, nullptr, 0), 0u);
  EXPECT_EQ(code, MTPDEXT_OPEN_PTP_ONLY);
}

TEST_F(EngineWithPhone, ALockedPhonesMissingStoragesAreToldInTheLogOnceUntilTheyCome) {
  start();
  phone->setLocked(true);
  _MTP_STORAGE_NODE* head = nullptr;
  const auto told = [this] {
    const std::string all = loudLog();
    const std::string text = "shows no storage";
    int count = 0;
    for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
      ++count;
    return count;
  };
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(mtpDextGetStorageListHead(device(), &head), 0x12000002u);
  EXPECT_EQ(told(), 1);
  phone->setLocked(false);
  EXPECT_EQ(mtpDextGetStorageListHead(device(), &head), 0u);
  phone->setLocked(true);
  EXPECT_EQ(mtpDextGetStorageListHead(device(), &head), 0x12000002u);
  EXPECT_EQ(told(), 2);
}

TEST_F(EngineWithPhone, AnAndroidPhoneSetToPictureTransferIsToldThoughItKnowsMtpsOperations) {
  const auto pictures = std::make_shared<ScriptedPhone>();
  const auto info = [](const char* extension) {
    return joined(hex("6400"), hex(extension), hex("6400 00 0000 02000000 0210 0198 00000000"),
                  hex("00000000 00000000 00000000 05 'Acme' 0000 03 'M1' 0000"));
  };
  pictures->datasets[0x1001 << 16] = info("00000000");
  mtp::addProvider(pictures);
  _MTP_DEVICE_NODE* head = nullptr;
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), OpenFailed);
  int32_t code = 0;
  EXPECT_EQ(mtpDextGetOpenFailure(Location, &code, nullptr, 0), 0u);
  EXPECT_EQ(code, MTPDEXT_OPEN_PTP_ONLY);
  pictures->datasets[0x1001 << 16] = info("0A000000"); // another maker's extension, with MTP's operations
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), 0u);
  mtp::shutdown(); // before the phone goes
}
