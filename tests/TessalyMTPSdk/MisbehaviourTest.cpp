// A phone that goes wrong in each transaction of connecting and listing, in each way it can.
#include "EngineFixture.h"

using namespace testsupport;

namespace {

using vphone::Fault;
using vphone::FaultKind;
using vphone::FaultPhase;

struct Way {
  const char* name;
  FaultKind kind;
  FaultPhase phase;
  std::uint64_t atByte;
  std::uint32_t value;
};

std::ostream& operator<<(std::ostream& out, const Way& way) {
  return out << way.name;
}

class Misbehaviour : public EngineWithPhone, public ::testing::WithParamInterface<Way> {
protected:
  Misbehaviour() {
    mtp::EngineState::instance().setTimeLimits(shortLimits());
    for (int i = 0; i < 30; ++i)
      storage.file("folder/file" + std::to_string(i), 1);
    storage.file("note.txt", 1);
  }

  /// Connects and lists; every call must come back with a status. True when all of it was well.
  bool browse() {
    _MTP_DEVICE_NODE* head = nullptr;
    _MTP_STORAGE_NODE* first = nullptr;
    _MTP_FOLDER_NODE* folder = nullptr;
    _MTP_FILE_NODE* file = nullptr;
    if (mtpDextGetConnectedDeviceListHead(&head) != 0)
      return false;
    if (mtpDextGetStorageListHead(head, &first) != 0)
      return false;
    if (mtpDextGetFolderListHead(first, nullptr, &folder, nullptr, nullptr) != 0)
      return false;
    if (mtpDextGetFileListHead(&folder->common, &file, nullptr, nullptr) != 0)
      return false;
    uint32_t status = 0;
    int count = 1;
    while ((status = mtpDextGetNextFileNode(file, &file)) == 0)
      ++count;
    return status == 2 && count == 30;
  }
};

} // namespace

TEST_P(Misbehaviour, InAnyTransactionEndsInAStatusAndIsOvercome) {
  const Way way = GetParam();
  bool struckInLast = true;
  std::uint64_t transaction = 0;
  for (; struckInLast && transaction < 40; ++transaction) {
    start();
    phone->faults().add({.kind = way.kind,
                         .phase = way.phase,
                         .transaction = transaction,
                         .operation = std::nullopt,
                         .atByte = way.atByte,
                         .value = way.value});
    const auto begin = std::chrono::steady_clock::now();
    browse();
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(took, std::chrono::seconds(10)) << "transaction " << transaction;
    // A data phase fault does not strike in transactions without one: go on as long as there are transactions.
    struckInLast = phone->faults().transactions() > transaction;
    phone->faults().clear();
    if (!phone->plugged())
      phone->plug();
    bool well = false;
    for (int attempt = 0; attempt < 3 && !well; ++attempt)
      well = browse();
    EXPECT_TRUE(well) << "not overcome, transaction " << transaction << "\n" << log();
    mtp::shutdown();
  }
  EXPECT_GT(transaction, 8u) << "the sweep reached the listing of a folder";
}

INSTANTIATE_TEST_SUITE_P(
    Phone, Misbehaviour,
    ::testing::Values(Way{"StallInTheResponse", FaultKind::Stall, FaultPhase::Response, 0, 0},
                      Way{"StallInTheData", FaultKind::Stall, FaultPhase::Data, 14, 0},
                      Way{"DataEndsEarly", FaultKind::EndEarly, FaultPhase::Data, 15, 0},
                      Way{"DataEndsBehindTheHeader", FaultKind::EndEarly, FaultPhase::Data, 12, 0},
                      Way{"DataEndsAtOnce", FaultKind::EndEarly, FaultPhase::Data, 0, 0},
                      Way{"LengthZero", FaultKind::WrongLength, FaultPhase::Data, 0, 0},
                      Way{"LengthOne", FaultKind::WrongLength, FaultPhase::Data, 0, 1},
                      Way{"LengthOfTheHeader", FaultKind::WrongLength, FaultPhase::Data, 0, 12},
                      Way{"LengthTooShort", FaultKind::WrongLength, FaultPhase::Data, 0, 14},
                      Way{"LengthTooLong", FaultKind::WrongLength, FaultPhase::Data, 0, 100000},
                      Way{"LengthHuge", FaultKind::WrongLength, FaultPhase::Data, 0, 0xFFFFFFFE},
                      Way{"ResponseLengthZero", FaultKind::WrongLength, FaultPhase::Response, 0, 0},
                      Way{"ResponseLengthHuge", FaultKind::WrongLength, FaultPhase::Response, 0, 0xFFFFFFFF},
                      Way{"GarbageFromTheStart", FaultKind::Garbage, FaultPhase::Data, 0, 0},
                      Way{"GarbageInTheDataset", FaultKind::Garbage, FaultPhase::Data, 12, 0},
                      Way{"GarbageForAResponse", FaultKind::Garbage, FaultPhase::Response, 0, 0},
                      Way{"WrongTransactionInTheData", FaultKind::WrongTransactionId, FaultPhase::Data, 0, 0},
                      Way{"WrongTransactionInTheResponse", FaultKind::WrongTransactionId, FaultPhase::Response, 0, 0},
                      Way{"SilenceInTheData", FaultKind::Silence, FaultPhase::Data, 14, 0},
                      Way{"SilenceForAResponse", FaultKind::Silence, FaultPhase::Response, 0, 0},
                      Way{"UnplugInTheData", FaultKind::Unplug, FaultPhase::Data, 14, 0},
                      Way{"UnplugForAResponse", FaultKind::Unplug, FaultPhase::Response, 0, 0},
                      Way{"GeneralError", FaultKind::Respond, FaultPhase::Response, 0, 0x2002},
                      Way{"SessionNotOpen", FaultKind::Respond, FaultPhase::Response, 0, 0x2003},
                      Way{"DeviceBusy", FaultKind::Respond, FaultPhase::Response, 0, 0x2019},
                      Way{"InvalidHandle", FaultKind::Respond, FaultPhase::Response, 0, 0x2009},
                      Way{"AnUnknownResponse", FaultKind::Respond, FaultPhase::Response, 0, 0xBEEF}),
    [](const ::testing::TestParamInfo<Way>& info) { return std::string(info.param.name); });

TEST_F(EngineWithPhone, AHangingPhoneIsGivenUpWithinTheTimeLimits) {
  mtp::EngineState::instance().setTimeLimits(shortLimits());
  storage.file("x");
  start();
  _MTP_STORAGE_NODE* first = firstStorage();
  phone->faults().add({.kind = FaultKind::Hang, .transaction = std::nullopt, .operation = std::nullopt});
  _MTP_FOLDER_NODE* folder = nullptr;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_NE(mtpDextGetFolderListHead(first, nullptr, &folder, nullptr, nullptr), 0u);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  EXPECT_NE(log().find("unplugging it and plugging it in again helps"), std::string::npos);
  phone->unplug();
  phone->plug();
  EXPECT_EQ(filesIn(firstStorage()).size(), 1u);
}

TEST_F(EngineWithPhone, APhoneBusyWithAnotherProgramCannotBeOpenedAndTheLogSaysSo) {
  start();
  const auto taken = phone->provider()->list().at(0).open();
  ASSERT_TRUE(taken.transport);
  _MTP_DEVICE_NODE* head = nullptr;
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), 0x12000003u);
  EXPECT_EQ(head, nullptr);
  EXPECT_FALSE(log().empty());
  taken.transport->close();
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), 0u) << "the next list tries again";
}
