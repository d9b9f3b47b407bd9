// A phone that goes wrong in each transaction, and at sampled bytes of each data phase, of a file being sent or
// received, an object being deleted, a folder being created.
#include "TransferFixture.h"

using namespace testsupport;

namespace {

using vphone::Fault;
using vphone::FaultKind;
using vphone::FaultPhase;

struct Way {
  const char* name;
  FaultKind kind;
  FaultPhase phase;
  std::uint32_t value = 0;
};

enum class Work { Send, Receive, Delete, Create };
const char* nameOf(Work work) {
  return std::array{"Send", "Receive", "Delete", "Create"}[static_cast<std::size_t>(work)];
}

constexpr std::size_t FileSize = (5 << 20) / 2;
constexpr int Victims = 60;
const std::vector<std::uint64_t> SampledBytes{0, 13, 512, 1 << 20, FileSize - 1};

class TransferSweep : public TransferFixture {
protected:
  TransferSweep() {
    limits = shortLimits();
    mtp::EngineState::instance().setTimeLimits(limits);
    write(onPhone("photo"), contents);
    write(onPhone("kept/file"), "kept");
    for (int i = 0; i < Victims; ++i)
      write(onPhone("victim" + std::to_string(i) + "/file"), "text");
    write(here("source"), contents);
    computer.folder("received");
    vphone::Options options;
    options.storages.push_back({.folder = storage.path(), .description = "Phone", .capacity = 2'000'000'000});
    start(options);
    connect();
  }

  /// The session works, or works again; then what the engine knows of the phone is what is there.
  void connect() {
    phone->faults().clear();
    if (!phone->plugged())
      phone->plug();
    uint32_t status = 1;
    for (int attempt = 0; attempt < 4 && status != 0; ++attempt) {
      _MTP_DEVICE_NODE* head = nullptr;
      status = mtpDextGetConnectedDeviceListHead(&head);
      if (status == 0)
        status = mtpDextGetStorageListHead(head, &top);
      _MTP_FILE_NODE* file = nullptr;
      if (status == 0)
        status = mtpDextGetFileListHead(&top->common, &file, nullptr, nullptr);
    }
    ASSERT_EQ(status, 0u) << "not overcome\n" << log();
  }
  void expectTruth() {
    Strings known = namesOf(filesIn(top));
    const Strings folders = namesOf(foldersIn(top));
    known.insert(known.end(), folders.begin(), folders.end());
    std::sort(known.begin(), known.end());
    EXPECT_EQ(known, entriesOf(storage.path()));
    EXPECT_EQ(read(onPhone("kept/file")), "kept");
  }

  /// One piece of work that goes wrong somehow: it comes back, and nothing is half done or lost.
  void doWork(Work work, Progress* progress = nullptr) {
    const auto begin = std::chrono::steady_clock::now();
    const std::string name = std::string(nameOf(work)) + std::to_string(done);
    status = work == Work::Send      ? sendOne(name, progress)
             : work == Work::Receive ? receiveOne(progress)
             : work == Work::Delete  ? deleteOne()
                                     : createOne(name);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    struck = phone->faults().struck() > 0;
    reached = phone->faults().transactions();
    ++done;
    connect();
    if (work == Work::Send) {
      const bool there = std::filesystem::exists(onPhone(name));
      EXPECT_TRUE(there || status != 0);
      EXPECT_TRUE(!there || read(onPhone(name)) == contents) << "half a file";
    }
    expectTruth();
  }
  uint32_t sendOne(const std::string& name, Progress* progress) {
    std::filesystem::create_symlink(here("source"), here(name));
    return send(here(name), top, progress);
  }
  uint32_t receiveOne(Progress* progress) {
    const auto destination = here("received/photo");
    write(destination, "before");
    const uint32_t result = receive(named(filesIn(top), "photo"), destination, progress);
    EXPECT_TRUE(read(destination) == (result == 0 ? contents : "before"));
    EXPECT_EQ(entriesOf(computer.path() / "received"), Strings{"photo"});
    return result;
  }
  uint32_t deleteOne() {
    const std::string name = "victim" + std::to_string(victim);
    const uint32_t result = mtpDextDeleteNode(&named(foldersIn(top), name)->common);
    const bool there = std::filesystem::exists(onPhone(name));
    EXPECT_TRUE(!there || result != 0);
    EXPECT_TRUE(!there || read(onPhone(name + "/file")) == "text") << "half of it deleted";
    victim += there ? 0 : 1;
    return result;
  }
  uint32_t createOne(const std::string& name) {
    const std::u16string text(name.begin(), name.end());
    _MTP_FOLDER_NODE* folder = nullptr;
    const uint32_t result =
        mtpDextCreateFolderNode(&top->common, text.c_str(), static_cast<uint32_t>(2 * text.size() + 2), &folder);
    EXPECT_TRUE(result != 0 || std::filesystem::is_directory(onPhone(name)));
    return result;
  }

  const std::string contents = pattern(FileSize);
  mtp::TimeLimits limits;
  _MTP_STORAGE_NODE* top = nullptr;
  uint32_t status = 0;
  bool struck = false;
  std::uint64_t reached = 0;
  int done = 0;
  int victim = 0;
};

class TransferSweepOfFaults : public TransferSweep, public ::testing::WithParamInterface<std::tuple<Work, Way>> {};
class TransferSweepOfAnswers : public TransferSweep, public ::testing::WithParamInterface<Work> {};
class TransferSweepOfCancels : public TransferSweep, public ::testing::WithParamInterface<Work> {};

} // namespace

TEST_P(TransferSweepOfFaults, LosesNothingAndLeavesNothingHalf) {
  const auto [work, way] = GetParam();
  int strikes = 0;
  for (std::uint64_t transaction = 0; transaction < 10; ++transaction) {
    for (const std::uint64_t atByte : SampledBytes) {
      SCOPED_TRACE("transaction " + std::to_string(transaction) + ", byte " + std::to_string(atByte));
      phone->faults().clear();
      phone->faults().add({.kind = way.kind,
                           .phase = way.phase,
                           .transaction = transaction,
                           .operation = std::nullopt,
                           .atByte = atByte,
                           .value = way.value});
      doWork(work);
      strikes += struck ? 1 : 0;
      if (!struck || way.phase == FaultPhase::Response || HasFailure())
        break;
    }
    if (reached <= transaction || HasFailure())
      break;
  }
  EXPECT_TRUE(strikes > 0 || way.phase == FaultPhase::Data) << "a sweep that meets nothing";
}

INSTANTIATE_TEST_SUITE_P(
    Phone, TransferSweepOfFaults,
    ::testing::Combine(
        ::testing::Values(Work::Send, Work::Receive, Work::Delete, Work::Create),
        ::testing::Values(Way{"UnplugInTheData", FaultKind::Unplug, FaultPhase::Data},
                          Way{"UnplugForAResponse", FaultKind::Unplug, FaultPhase::Response},
                          Way{"StallInTheData", FaultKind::Stall, FaultPhase::Data},
                          Way{"StallForAResponse", FaultKind::Stall, FaultPhase::Response},
                          Way{"SilenceInTheData", FaultKind::Silence, FaultPhase::Data},
                          Way{"SilenceForAResponse", FaultKind::Silence, FaultPhase::Response},
                          Way{"DataEndsEarly", FaultKind::EndEarly, FaultPhase::Data},
                          Way{"GarbageForAResponse", FaultKind::Garbage, FaultPhase::Response},
                          Way{"ResponseLengthHuge", FaultKind::WrongLength, FaultPhase::Response, 0xFFFFFFFF},
                          Way{"WrongTransactionInTheResponse", FaultKind::WrongTransactionId, FaultPhase::Response})),
    [](const auto& info) { return std::string(nameOf(std::get<0>(info.param))) + std::get<1>(info.param).name; });

TEST_P(TransferSweepOfAnswers, LosesNothingAndLeavesNothingHalf) {
  std::vector<std::uint32_t> codes{0xBEEF};
  for (std::uint32_t code = 0x2000; code <= 0x2020; ++code)
    codes.push_back(code);
  for (std::uint32_t code = 0xA801; code <= 0xA80A; ++code)
    codes.push_back(code);
  for (std::uint64_t transaction = 0; transaction < 10; ++transaction) {
    for (const std::uint32_t code : codes) {
      if (code == 0x2001) // that is no failure
        continue;
      SCOPED_TRACE("transaction " + std::to_string(transaction) + ", answer " + std::to_string(code));
      phone->faults().clear();
      phone->faults().add(
          {.kind = FaultKind::Respond, .transaction = transaction, .operation = std::nullopt, .value = code});
      doWork(GetParam());
      if (!struck || HasFailure())
        break;
    }
    if (!struck || HasFailure())
      break;
  }
  const int transactions = GetParam() == Work::Send ? 3 : GetParam() == Work::Receive ? 2 : 1;
  EXPECT_GT(done, transactions * static_cast<int>(codes.size() - 1));
}

INSTANTIATE_TEST_SUITE_P(Phone, TransferSweepOfAnswers,
                         ::testing::Values(Work::Send, Work::Receive, Work::Delete, Work::Create),
                         [](const auto& info) { return std::string(nameOf(info.param)); });

TEST_P(TransferSweepOfCancels, LosesNothingAndLeavesNothingHalf) {
  limits.now = hastyClock();
  limits.information = limits.object = limits.settling = std::chrono::seconds(20); // of that clock
  mtp::EngineState::instance().setTimeLimits(limits);
  phone->unplug(); // for these limits
  connect();
  bool cancelled = true;
  int cancels = 0;
  for (int call = 1; cancelled && call < 40; call += 1 + call / 6) {
    SCOPED_TRACE("call " + std::to_string(call));
    Progress progress;
    int calls = 0;
    progress.answer = [&](std::uint64_t) { return ++calls >= call ? Cancel : 0; };
    doWork(GetParam(), &progress);
    cancelled = calls >= call;
    EXPECT_EQ(status, cancelled ? Cancel : 0u) << log();
    cancels += cancelled ? 1 : 0;
  }
  EXPECT_GE(cancels, 3);
}

INSTANTIATE_TEST_SUITE_P(Phone, TransferSweepOfCancels, ::testing::Values(Work::Send, Work::Receive),
                         [](const auto& info) { return std::string(nameOf(info.param)); });

TEST_F(TransferSweep, GarbageInsteadOfTheSizeOrTheContentsHeaderIsNoFile) {
  for (const auto operation : {mtp::Operation::GetObjectPropValue, mtp::Operation::GetObject}) {
    for (const std::uint64_t atByte : {std::uint64_t{0}, std::uint64_t{4}, std::uint64_t{8}}) {
      phone->faults().clear();
      fault(FaultKind::Garbage, FaultPhase::Data, operation, atByte);
      doWork(Work::Receive);
      EXPECT_TRUE(struck);
      EXPECT_TRUE(status != 0 || operation == mtp::Operation::GetObjectPropValue) << "the size can be asked twice";
    }
  }
}
