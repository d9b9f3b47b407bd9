#include "TessalyMTPSdk/Session.h"

#include "TessalyMTPSdk/Engine.h"
#include "support/ScriptedTransport.h"

#include <gtest/gtest.h>

using namespace mtp;
using namespace testsupport;
using std::chrono::milliseconds;

namespace {

ByteVector container(unsigned type, unsigned code, unsigned transaction, const ByteVector& payload = {}) {
  return joined(number(12 + payload.size(), 4), number(type, 2), number(code, 2), number(transaction, 4), payload);
}
ByteVector ok(unsigned transaction) {
  return container(3, 0x2001, transaction);
}
ByteVector response(unsigned code, unsigned transaction) {
  return container(3, code, transaction);
}
ByteVector data(unsigned code, unsigned transaction, const ByteVector& payload) {
  return container(2, code, transaction, payload);
}
Piece piece(ByteVector bytes, bool endOfTransfer = true) {
  return {std::move(bytes), endOfTransfer};
}

constexpr unsigned StorageIds = 0x1004;
const ByteVector OneId = hex("01000000 01000100");
const std::vector<Piece> Silence;

unsigned operationOf(const ByteVector& command) {
  return std::to_integer<unsigned>(command[6]) | std::to_integer<unsigned>(command[7]) << 8;
}
unsigned transactionOf(const ByteVector& command) {
  unsigned transaction = 0;
  for (std::size_t i = 12; i-- > 8;)
    transaction = transaction << 8 | std::to_integer<unsigned>(command[i]);
  return transaction;
}

/// A phone that answers the probing question and OpenSession as it should.
std::vector<Piece> answering(const ByteVector& command) {
  const unsigned transaction = transactionOf(command);
  if (operationOf(command) == 0x1001)
    return {piece(data(0x1001, transaction, hex("00"))), piece(ok(transaction))};
  return {piece(ok(transaction))};
}

class SessionOnScript : public ::testing::Test {
protected:
  SessionOnScript() {
    setLog([](LogLevel, const std::string&) {});
  }
  ~SessionOnScript() override { setLog(nullptr); }

  /// Opens the session; transaction 1 is the next.
  void open(const TimeLimits& limits = {}) {
    script->answer({piece(ok(0))});
    session = std::make_unique<Session>(std::make_unique<ScriptedTransport>(script), limits);
    session->onReopened([this] { ++reopened; });
    ASSERT_EQ(session->open([](std::span<const std::byte>) {}), DGSTATUS_SUCCESS);
    script->commands.clear();
    script->happened.clear();
    script->readLimits.clear();
  }
  Reply storageIds() { return session->receive(Operation::GetStorageIDs, {}, received); }
  /// The wire carries the next transaction as if nothing had been.
  void expectUsable() {
    script->otherwise = [](const ByteVector& command) -> std::vector<Piece> {
      const unsigned transaction = transactionOf(command);
      return {piece(data(StorageIds, transaction, OneId)), piece(ok(transaction))};
    };
    EXPECT_EQ(storageIds().status, DGSTATUS_SUCCESS);
    EXPECT_EQ(received, OneId);
  }
  std::vector<std::uint8_t> requests() const {
    std::vector<std::uint8_t> codes;
    for (const Script::Control& control : script->controls)
      codes.push_back(control.request);
    return codes;
  }

  std::shared_ptr<Script> script = std::make_shared<Script>();
  std::unique_ptr<Session> session;
  ByteVector received;
  int reopened = 0;
};

} // namespace

TEST_F(SessionOnScript, StartsTheEventPipeBeforeTheFirstCommand) {
  script->answer({piece(ok(0))});
  session = std::make_unique<Session>(std::make_unique<ScriptedTransport>(script));
  EXPECT_EQ(session->open([](std::span<const std::byte>) {}), DGSTATUS_SUCCESS);
  EXPECT_EQ(script->happened, (std::vector<std::string>{"events", "write"}));
  EXPECT_EQ(script->commands.at(0), hex("10000000 0100 0210 00000000 01000000"));
}

TEST_F(SessionOnScript, ASessionAlreadyOpenIsASession) {
  script->answer({piece(response(0x201E, 0))});
  session = std::make_unique<Session>(std::make_unique<ScriptedTransport>(script));
  EXPECT_EQ(session->open([](std::span<const std::byte>) {}), DGSTATUS_SUCCESS);
}

TEST_F(SessionOnScript, ASilentPhoneCannotBeOpened) {
  session = std::make_unique<Session>(std::make_unique<ScriptedTransport>(script));
  EXPECT_EQ(session->open([](std::span<const std::byte>) {}), DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  EXPECT_EQ(script->resets(), 1u);
}

TEST_F(SessionOnScript, ARefusedSessionIsAStatus) {
  script->answer({piece(response(0x200F, 0))});
  session = std::make_unique<Session>(std::make_unique<ScriptedTransport>(script));
  EXPECT_EQ(session->open([](std::span<const std::byte>) {}), statusOfResponse(0x200F));
}

TEST_F(SessionOnScript, CountsTransactionsFromOne) {
  open();
  script->otherwise = answering;
  session->run(Operation::GetNumObjects, {1, 2, 3});
  session->run(Operation::GetNumObjects, {});
  EXPECT_EQ(script->commands.at(0), hex("18000000 0100 0610 01000000 01000000 02000000 03000000"));
  EXPECT_EQ(script->commands.at(1), hex("0C000000 0100 0610 02000000"));
}

TEST_F(SessionOnScript, HandsOutTheDataPhase) {
  open();
  script->answer({piece(data(StorageIds, 1, OneId)), piece(ok(1))});
  EXPECT_TRUE(storageIds().ok());
  EXPECT_EQ(received, OneId);
}

TEST_F(SessionOnScript, HandsOutResponseParameters) {
  open();
  script->answer({piece(container(3, 0x2001, 1, hex("07000000 08000000")))});
  const Reply reply = session->run(Operation::GetNumObjects, {});
  EXPECT_EQ(reply.parameters[0], 7u);
  EXPECT_EQ(reply.parameters[1], 8u);
  EXPECT_EQ(reply.parameters[2], 0u);
}

TEST_F(SessionOnScript, TurnsResponseCodesIntoStatuses) {
  open();
  script->answer({piece(response(0x2009, 1))});
  const Reply reply = storageIds();
  EXPECT_EQ(reply.status, DGSTATUS_INTERNAL_INVALIDOBJECTHANDLE);
  EXPECT_EQ(reply.code, Response::InvalidObjectHandle);
  EXPECT_TRUE(received.empty());
  EXPECT_TRUE(script->controls.empty());
}

TEST_F(SessionOnScript, JoinsADataPhaseThatComesInPieces) {
  open();
  const ByteVector all = data(StorageIds, 1, OneId);
  script->answer({piece(ByteVector(all.begin(), all.begin() + 5), false),
                  piece(ByteVector(all.begin() + 5, all.begin() + 15), false),
                  piece(ByteVector(all.begin() + 15, all.end())), piece(ok(1))});
  EXPECT_TRUE(storageIds().ok());
  EXPECT_EQ(received, OneId);
}

TEST_F(SessionOnScript, SwallowsTheZeroLengthPacketBehindTheData) {
  open();
  script->answer({piece(data(StorageIds, 1, OneId), false), piece({}), piece(ok(1))});
  EXPECT_TRUE(storageIds().ok());
  EXPECT_EQ(received, OneId);
  EXPECT_TRUE(script->controls.empty());
}

TEST_F(SessionOnScript, DoesWithoutTheZeroLengthPacketBehindTheData) {
  open();
  script->answer({piece(joined(data(StorageIds, 1, OneId), ok(1)))});
  EXPECT_TRUE(storageIds().ok());
  EXPECT_EQ(received, OneId);
  EXPECT_EQ(script->operations(), std::vector<unsigned>{StorageIds}) << "nothing had to be recovered";
}

TEST_F(SessionOnScript, TakesAHeaderInATransferOfItsOwn) {
  open();
  const ByteVector all = data(StorageIds, 1, OneId);
  script->answer(
      {piece(ByteVector(all.begin(), all.begin() + 12)), piece(ByteVector(all.begin() + 12, all.end())), piece(ok(1))});
  EXPECT_TRUE(storageIds().ok());
  EXPECT_EQ(received, OneId);
}

TEST_F(SessionOnScript, ReadsDataOfUnknownLengthUntilTheShortPacket) {
  open();
  ByteVector all = data(StorageIds, 1, OneId);
  std::ranges::copy(hex("FFFFFFFF"), all.begin());
  script->answer({piece(all, false), piece(hex("0102"), true), piece(ok(1))});
  EXPECT_TRUE(storageIds().ok());
  EXPECT_EQ(received, joined(OneId, hex("0102")));
}

TEST_F(SessionOnScript, TellsTheTransportHowMuchIsToCome) {
  open();
  ByteVector all = data(StorageIds, 1, ByteVector(1000));
  script->answer({piece(ByteVector(all.begin(), all.begin() + 512), false),
                  piece(ByteVector(all.begin() + 512, all.end())), piece(ok(1))});
  EXPECT_TRUE(storageIds().ok());
  EXPECT_EQ(script->expected, 500u);
}

TEST_F(SessionOnScript, SkipsTheLateAnswerToAnEarlierTransaction) {
  open();
  script->answer(
      {piece(data(StorageIds, 77, hex("DEAD"))), piece(ok(77)), piece(data(StorageIds, 1, OneId)), piece(ok(1))});
  EXPECT_TRUE(storageIds().ok());
  EXPECT_EQ(received, OneId);
}

TEST_F(SessionOnScript, SkipsStaleResponsesOnlySoLong) {
  open();
  script->answer(std::vector<Piece>(1000, piece(ok(77))));
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DRIVER_READ_ERROR);
}

TEST_F(SessionOnScript, SkipsEmptyTransfersOnlySoLong) {
  open();
  script->answer(std::vector<Piece>(1000, piece({})));
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DRIVER_READ_ERROR);
}

TEST_F(SessionOnScript, DataShorterThanItsLengthIsASizeMismatch) {
  open();
  ByteVector all = data(StorageIds, 1, OneId);
  all[0] = std::byte{200};
  script->answer({piece(all), piece(ok(1))});
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_SIZE_MISMATCH);
  EXPECT_TRUE(script->controls.empty()) << "the response came: the wire is in order";
  expectUsable();
}

TEST_F(SessionOnScript, DataLongerThanItsLengthIsAReadError) {
  open();
  ByteVector all = data(StorageIds, 1, joined(OneId, hex("0102030405060708090A0B0C0D0E")));
  all[0] = std::byte{20};
  script->answer({piece(all), piece(ok(1))});
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DRIVER_READ_ERROR);
  EXPECT_TRUE(script->controls.empty());
  expectUsable();
}

TEST_F(SessionOnScript, GarbageBeforeTheResponseIsAReadError) {
  open();
  script->answer(
      {piece(ByteVector(512, std::byte{0xA5}), false), piece(ByteVector(100, std::byte{0xA5})), piece(ok(1))});
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DRIVER_READ_ERROR);
  expectUsable();
}

TEST_F(SessionOnScript, OnlyGarbageIsFollowedByAProbe) {
  open();
  script->answer({piece(ByteVector(700, std::byte{0xA5}))});
  script->otherwise = answering;
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  EXPECT_EQ(script->operations(), (std::vector<unsigned>{StorageIds, 0x1001}));
  EXPECT_EQ(script->resets(), 0u);
  expectUsable();
}

TEST_F(SessionOnScript, SilenceIsNotCancelledOutsideADataPhase) {
  open();
  script->answer(Silence);
  script->otherwise = answering;
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  EXPECT_TRUE(script->controls.empty());
  EXPECT_EQ(script->resets(), 0u);
  expectUsable();
}

TEST_F(SessionOnScript, SilenceInADataPhaseIsCancelled) {
  open();
  ByteVector half = data(StorageIds, 1, ByteVector(1000));
  half.resize(512);
  script->answer({piece(half, false)});
  script->otherwise = answering;
  int busy = 2;
  script->deviceStatus = [&](std::span<std::byte> buffer) -> ReadResult {
    std::ranges::copy(busy-- > 0 ? hex("0400 1920") : hex("0400 0120"), buffer.begin());
    return {IoStatus::Ok, 4, true};
  };
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  EXPECT_EQ(requests(), (std::vector<std::uint8_t>{0x64, 0x67, 0x67, 0x67})) << "asked until it is busy no more";
  EXPECT_EQ(script->controls[0].data, hex("0140 01000000"));
  EXPECT_EQ(script->resets(), 0u);
  expectUsable();
}

TEST_F(SessionOnScript, APhoneBusyForeverIsAskedOnlySoLong) {
  open();
  ByteVector half = data(StorageIds, 1, ByteVector(1000));
  half.resize(512);
  script->answer({piece(half, false)});
  script->otherwise = answering;
  script->deviceStatus = [&](std::span<std::byte> buffer) -> ReadResult {
    std::ranges::copy(hex("0400 1920"), buffer.begin());
    return {IoStatus::Ok, 4, true};
  };
  EXPECT_FALSE(storageIds().ok());
  EXPECT_LE(script->controls.size(), 12u);
}

TEST_F(SessionOnScript, AStallIsAskedForAndCleared) {
  open();
  script->answer({failure(IoStatus::Stall)});
  script->otherwise = answering;
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DRIVER_READ_ERROR);
  EXPECT_EQ(requests(), std::vector<std::uint8_t>{0x67});
  EXPECT_EQ(script->cleared, (std::vector<Pipe>{Pipe::BulkIn, Pipe::BulkOut}));
  EXPECT_EQ(script->resets(), 0u);
  expectUsable();
}

TEST_F(SessionOnScript, APhoneThatIsNotBackAfterDrainingIsResetOnceAndOpenedAnew) {
  open();
  script->answer(Silence);
  script->onReset = [this] { script->otherwise = answering; };
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  EXPECT_EQ(script->resets(), 1u);
  EXPECT_EQ(reopened, 1) << "the handles of the old session mean nothing";
  EXPECT_EQ(script->operations(), (std::vector<unsigned>{StorageIds, 0x1001, 0x1002, 0x1001}));
  EXPECT_FALSE(session->isDead());
  expectUsable();
}

TEST_F(SessionOnScript, APhoneThatNothingBringsBackIsAnsweredForAtOnce) {
  open();
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  EXPECT_TRUE(session->isDead());
  EXPECT_EQ(script->resets(), 1u);
  const std::size_t commands = script->commands.size();
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  EXPECT_EQ(script->commands.size(), commands) << "nothing more is sent";
}

TEST_F(SessionOnScript, AResetThatFailsEndsTheSession) {
  open();
  script->resetStatus = IoStatus::Error;
  script->onReset = [this] { script->otherwise = answering; };
  EXPECT_FALSE(storageIds().ok());
  EXPECT_TRUE(session->isDead());
}

TEST_F(SessionOnScript, AnUnplugIsToldAsNoDevice) {
  open();
  script->answer({failure(IoStatus::Gone)});
  EXPECT_EQ(storageIds().status, DGSTATUS_NO_DEVICE_ATTACHED);
  EXPECT_EQ(storageIds().status, DGSTATUS_NO_DEVICE_ATTACHED);
  EXPECT_TRUE(session->isGone());
  EXPECT_EQ(script->resets(), 0u);
}

TEST_F(SessionOnScript, ASessionThePhoneClosedIsOpenedAgain) {
  open();
  script->answer({piece(response(0x2003, 1))});
  script->otherwise = answering;
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_SESSIONNOTOPEN);
  EXPECT_EQ(script->operations(), (std::vector<unsigned>{StorageIds, 0x1002}));
  EXPECT_EQ(reopened, 1);
  expectUsable();
}

TEST_F(SessionOnScript, AByteNowAndThenIsNoAnswer) {
  TimeLimits limits;
  auto time = std::make_shared<std::chrono::steady_clock::time_point>();
  limits.now = [time] { return *time += std::chrono::seconds(1); };
  open(limits);
  std::vector<Piece> drops{piece(ByteVector(data(StorageIds, 1, ByteVector(100000))), false)};
  drops[0].bytes.resize(512);
  for (int i = 0; i < 5000; ++i)
    drops.push_back(piece(hex("00"), false));
  script->answer(drops);
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
  EXPECT_LT(script->readLimits.size(), 200u);
}

TEST_F(SessionOnScript, MoreThanADatasetMayHoldIsRefused) {
  TimeLimits limits;
  limits.largestDataset = 100;
  open(limits);
  script->answer({piece(data(StorageIds, 1, ByteVector(101))), piece(ok(1))});
  script->otherwise = answering;
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_SIZE_MISMATCH);
  EXPECT_LE(received.size(), 100u);
  expectUsable();
}

TEST_F(SessionOnScript, AnEndlessLengthTakesNoMemoryAhead) {
  open();
  ByteVector all = data(StorageIds, 1, OneId);
  std::ranges::copy(hex("FEFFFFFF"), all.begin());
  script->answer({piece(all), piece(ok(1))});
  EXPECT_EQ(storageIds().status, DGSTATUS_INTERNAL_SIZE_MISMATCH);
  EXPECT_LE(received.capacity(), 4096u);
}

TEST_F(SessionOnScript, ASinkThatHasEnoughEndsTheTransfer) {
  open();
  ByteVector large = data(0x1009, 1, ByteVector(400));
  std::ranges::copy(hex("00000001"), large.begin()); // of which far more is to come
  script->answer({piece(large, false)});
  script->otherwise = answering;
  const Reply reply = session->receive(Operation::GetObject, {5}, [](Bytes) { return false; });
  EXPECT_EQ(reply.status, DGSTATUS_IO_CANCEL);
  ASSERT_FALSE(script->controls.empty());
  EXPECT_EQ(script->controls[0].request, 0x64);
  expectUsable();
}

TEST_F(SessionOnScript, ATransferWhoseRestHasAlreadyComeIsEndedWithoutACancelRequest) {
  open();
  script->answer({piece(data(0x1009, 1, ByteVector(400)), true), piece(ok(1))});
  int pieces = 0;
  const Reply reply = session->receive(Operation::GetObject, {5}, [&](Bytes) { return ++pieces > 1; });
  EXPECT_EQ(reply.status, DGSTATUS_IO_CANCEL);
  EXPECT_EQ(pieces, 1);
  EXPECT_TRUE(script->controls.empty()) << "the phone is idle: the request would hit the next transaction";
  EXPECT_EQ(script->resets(), 0u);
  expectUsable();
}

TEST_F(SessionOnScript, AHeaderWhoseLengthHasWrappedAroundIsToldByTheLikelySize) {
  open();
  // 2^32 + 8 bytes, as a responder writes it that keeps 32 bits of the length; the phone ends the transfer early.
  ByteVector wrapped = data(0x1009, 1, ByteVector(100));
  std::ranges::copy(hex("14000000"), wrapped.begin());
  script->answer({piece(wrapped), piece(ok(1))});
  std::size_t got = 0;
  const auto count = [&](Bytes piece) {
    got += piece.size();
    return true;
  };
  EXPECT_TRUE(session->receive(Operation::GetObject, {5}, count, {}, (std::uint64_t{1} << 32) + 8).ok());
  EXPECT_EQ(got, 100u) << "until the short packet";
}

TEST_F(SessionOnScript, SendsADataContainerBehindTheCommand) {
  open();
  script->answer({});
  script->answer({piece(ok(1))});
  EXPECT_TRUE(session->send(Operation::SetObjectPropValue, {5, 0xDC07}, hex("02 4100 0000")).ok());
  ASSERT_EQ(script->commands.size(), 2u);
  EXPECT_EQ(script->commands[0], hex("14000000 0100 0498 01000000 05000000 07DC0000"));
  EXPECT_EQ(script->commands[1], hex("11000000 0200 0498 01000000 02 4100 0000"));
}

TEST_F(SessionOnScript, SendsPiecesOfOneContainerWithOneHeader) {
  open();
  for (int i = 0; i < 3; ++i)
    script->answer({});
  script->answer({piece(ok(1))});
  ByteVector bytes(1024, std::byte{7});
  EXPECT_TRUE(session->send(Operation::SendObject, {}, 2500, [&] { return std::span(bytes); }).ok());
  ASSERT_EQ(script->commands.size(), 4u);
  EXPECT_EQ(ByteVector(script->commands[1].begin(), script->commands[1].begin() + 12),
            hex("D0090000 0200 0D10 01000000"));
  EXPECT_EQ(script->commands[2].size(), 1024u);
  EXPECT_EQ(script->commands[3].size(), 2512u - 2048u);
}

TEST_F(SessionOnScript, ALengthBeyondThirtyTwoBitsIsLeftToTheShortPacket) {
  for (const auto& [size, length] :
       {std::pair{std::uint64_t{0xFFFFFFFE} - 12, "FEFFFFFF"}, std::pair{std::uint64_t{0xFFFFFFFF} - 12, "FFFFFFFF"},
        std::pair{std::uint64_t{1} << 40, "FFFFFFFF"}}) {
    open();
    ByteVector bytes(1024);
    int asked = 0;
    session->send(Operation::SendObject, {}, size, [&] { return std::span(bytes).first(asked++ ? 0 : 1024); });
    ASSERT_GE(script->commands.size(), 2u);
    EXPECT_EQ(ByteVector(script->commands[1].begin(), script->commands[1].begin() + 4), hex(length));
    script = std::make_shared<Script>();
  }
}

TEST_F(SessionOnScript, ASourceThatEndsEarlyCancelsTheDataPhase) {
  open();
  script->answer({});
  script->answer({});
  script->otherwise = answering;
  ByteVector bytes(1024);
  int asked = 0;
  const Reply reply =
      session->send(Operation::SendObject, {}, 5000, [&] { return std::span(bytes).first(asked++ ? 0 : 1024); });
  EXPECT_EQ(reply.status, DGSTATUS_IO_CANCEL);
  ASSERT_FALSE(script->controls.empty());
  EXPECT_EQ(script->controls[0].request, 0x64);
  EXPECT_EQ(script->controls[0].data, hex("0140 01000000"));
  expectUsable();
}

TEST_F(SessionOnScript, AWatchThatWantsAnEndBehindTheDataWaitsForTheResponse) {
  open();
  script->answer({});
  script->answer({piece(ok(1))});
  ByteVector bytes(512);
  const Reply reply = session->send(
      Operation::SendObject, {}, 100, [&] { return std::span(bytes); },
      [](std::uint64_t moved) { return moved < 100; });
  EXPECT_EQ(reply.status, DGSTATUS_IO_CANCEL);
  EXPECT_EQ(reply.code, Response::OK);
  EXPECT_TRUE(script->controls.empty());
  expectUsable();
}

TEST_F(SessionOnScript, GivesListingsTheTimeASlowResponderNeeds) {
  const TimeLimits limits;
  EXPECT_GE(limits.firstByte(Operation::GetObjectHandles), std::chrono::seconds(120));
  EXPECT_GE(limits.firstByte(Operation::GetObjectPropList), std::chrono::seconds(120));
  EXPECT_LE(limits.firstByte(Operation::GetDeviceInfo), std::chrono::seconds(10));
  open();
  script->answer({piece(data(0x1007, 1, OneId)), piece(ok(1))});
  EXPECT_TRUE(session->receive(Operation::GetObjectHandles, {1, 0, 2}, received).ok());
  EXPECT_EQ(script->readLimits.at(0), limits.firstByte(Operation::GetObjectHandles));
}

TEST_F(SessionOnScript, ClosingEndsTheSessionWithoutAReset) {
  open();
  script->otherwise = answering;
  session->close();
  session->close();
  EXPECT_EQ(script->operations(), std::vector<unsigned>{0x1003});
  EXPECT_EQ(script->happened, (std::vector<std::string>{"write", "close"}));
  EXPECT_EQ(storageIds().status, DGSTATUS_NO_DEVICE_ATTACHED);
}

TEST_F(SessionOnScript, AnyBytesInAnyPlaceEndInAStatus) {
  const ByteVector whole = joined(data(StorageIds, 1, OneId), ok(1));
  const std::size_t dataSize = whole.size() - 12;
  std::vector<ByteVector> streams;
  for (std::size_t size = 0; size <= whole.size(); ++size)
    streams.emplace_back(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const unsigned long long value : {0x0ULL, 0x1ULL, 0xBULL, 0xDULL, 0x7FFFFFFFULL, 0xFFFFFFFFULL}) {
      ByteVector changed = whole;
      const ByteVector field = number(value, 4);
      for (std::size_t i = 0; i < 4 && at + i < changed.size(); ++i)
        changed[at + i] = field[i];
      streams.push_back(changed);
    }
  }
  for (const ByteVector& stream : streams) {
    for (const bool oneTransfer : {true, false}) {
      script = std::make_shared<Script>();
      open();
      const std::size_t cut = oneTransfer ? stream.size() : std::min(dataSize, stream.size());
      const auto middle = stream.begin() + static_cast<std::ptrdiff_t>(cut);
      script->answer({piece(ByteVector(stream.begin(), middle)), piece(ByteVector(middle, stream.end()))});
      script->otherwise = answering;
      const Reply reply = storageIds();
      if (reply.ok()) {
        EXPECT_LE(received.size(), stream.size());
      }
      EXPECT_EQ(script->resets(), 0u) << "the phone answers the probe: no reason to take its session away";
      EXPECT_FALSE(session->isDead());
    }
  }
}
