#include "VirtualPhone/Initiator.h"

#include <random>

namespace {

using namespace testing_phone;
using vphone::Fault;
using vphone::FaultKind;
using vphone::FaultPhase;

struct Channel : PhoneTest {
  std::uint32_t handle = 0;

  void startWithFile(std::size_t size = 100000) {
    internal.file("f.bin", std::string(size, 'f'));
    start();
    handle = find(u"f.bin");
    phone->faults().clear();
  }
  void fault(FaultKind kind, FaultPhase phase, std::uint64_t atByte = 0, std::uint32_t value = 0) {
    Fault f;
    f.kind = kind;
    f.phase = phase;
    f.atByte = atByte;
    f.value = value;
    phone->faults().add(f);
  }
  std::uint16_t deviceStatus() {
    Bytes answer(64);
    auto result = host->wire->controlIn(0x67, answer, 5s);
    EXPECT_EQ(result.status, mtp::IoStatus::Ok);
    answer.resize(result.size);
    In in{answer};
    EXPECT_EQ(in.n(2), answer.size());
    return std::uint16_t(in.n(2));
  }
  void clearHalts() {
    host->wire->clearHalt(mtp::Pipe::BulkIn);
    host->wire->clearHalt(mtp::Pipe::BulkOut);
  }
  mtp::IoStatus cancel(std::uint32_t id) { return host->wire->controlOut(0x64, Out().n(0x4001, 2).n(id, 4).bytes, 5s); }
  /// Reads until nothing comes.
  void drain() {
    Bytes piece(1 << 20);
    while (host->wire->read(piece, 50ms).status == mtp::IoStatus::Ok) {
    }
  }
  /// The phone answers a plain question as if nothing had been.
  void expectSane() {
    auto result = host->run(0x1004);
    EXPECT_EQ(result.status, mtp::IoStatus::Ok);
    EXPECT_EQ(result.code, 0x2001);
    EXPECT_EQ(result.in().n(4), 2u);
  }
};

TEST_F(Channel, AStallHaltsBothPipesUntilTheyAreCleared) {
  startWithFile();
  fault(FaultKind::Stall, FaultPhase::Data, 1000);
  auto result = host->run(0x1009, {handle});
  EXPECT_EQ(result.status, mtp::IoStatus::Stall);
  EXPECT_EQ(deviceStatus(), 0x201F);
  EXPECT_EQ(host->wire->write(Initiator::command(0x1004, 9), true, 1s), mtp::IoStatus::Stall);
  clearHalts();
  expectSane();
  EXPECT_EQ(deviceStatus(), 0x2001);
  EXPECT_EQ(phone->faults().struck(), 1u);
}

TEST_F(Channel, AStallInTheHostsDataPhaseStopsTheHost) {
  startWithFile();
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 3 << 20)).code, 0x2001);
  fault(FaultKind::Stall, FaultPhase::Data, 1 << 20);
  EXPECT_EQ(host->send(0x100D, {}, Bytes(3 << 20)).status, mtp::IoStatus::Stall);
  clearHalts();
  expectSane();
  EXPECT_FALSE(std::filesystem::exists(internal.path() / "a")) << "half a file is not kept";
}

TEST_F(Channel, DataCanEndEarlyAtAnyByte) {
  startWithFile(3000);
  for (std::uint64_t at : {0, 1, 12, 13, 512, 1000, 1024, 3011}) {
    fault(FaultKind::EndEarly, FaultPhase::Data, at);
    host->wire->write(Initiator::command(0x1009, ++host->transaction, {handle}), true, 20s);
    Bytes data, answer;
    EXPECT_EQ(host->transfer(data), mtp::IoStatus::Ok);
    EXPECT_EQ(data.size(), at);
    EXPECT_EQ(host->transfer(answer), mtp::IoStatus::Ok);
    EXPECT_EQ(answer.size(), 12u);
    expectSane();
  }
}

TEST_F(Channel, LengthFieldsCanLieWhileTheBytesStay) {
  startWithFile(3000);
  for (std::uint32_t length : {0u, 1u, 12u, 2000u, 4000u, 0xFFFFFFFEu}) {
    fault(FaultKind::WrongLength, FaultPhase::Data, 0, length);
    auto result = host->run(0x1009, {handle});
    EXPECT_EQ(result.dataLength, length);
    EXPECT_EQ(result.data.size(), 3000u);
    EXPECT_EQ(result.code, 0x2001);
  }
  fault(FaultKind::WrongLength, FaultPhase::Response, 0, 500);
  host->wire->write(Initiator::command(0x1003, 1), true, 20s);
  Bytes answer;
  host->transfer(answer);
  EXPECT_EQ(answer, Out().n(500, 4).n(3, 2).n(0x2001, 2).n(1, 4).bytes);
}

TEST_F(Channel, TransactionIdsCanBeWrong) {
  startWithFile();
  fault(FaultKind::WrongTransactionId, FaultPhase::Response);
  host->wire->write(Initiator::command(0x1003, 1), true, 20s);
  Bytes answer;
  host->transfer(answer);
  In in{answer};
  in.n(8);
  EXPECT_NE(in.n(4), 1u);
}

TEST_F(Channel, BytesCanBecomeNoiseFromAnyPointOn) {
  startWithFile(3000);
  fault(FaultKind::Garbage, FaultPhase::Data, 1012);
  auto result = host->run(0x1009, {handle});
  ASSERT_EQ(result.data.size(), 3000u);
  EXPECT_EQ(std::count(result.data.begin(), result.data.begin() + 1000, std::byte('f')), 1000);
  EXPECT_LT(std::count(result.data.begin() + 1000, result.data.end(), std::byte('f')), 100);
  fault(FaultKind::Garbage, FaultPhase::Response);
  host->wire->write(Initiator::command(0x1003, 1), true, 20s);
  Bytes answer;
  host->transfer(answer);
  EXPECT_EQ(answer.size(), 12u);
  EXPECT_NE(answer, Out().n(12, 4).n(3, 2).n(0x2001, 2).n(1, 4).bytes);
}

TEST_F(Channel, SilenceEndsWithTheCancelRequest) {
  startWithFile();
  for (auto phase : {FaultPhase::Data, FaultPhase::Response}) {
    fault(FaultKind::Silence, phase);
    host->patience = 30ms;
    auto result = host->run(0x1009, {handle});
    EXPECT_EQ(result.status, mtp::IoStatus::Timeout);
    host->patience = Initiator::Patience;
    EXPECT_EQ(cancel(host->transaction), mtp::IoStatus::Ok);
    drain();
    EXPECT_EQ(deviceStatus(), 0x2001);
    expectSane();
  }
}

TEST_F(Channel, AHungPhoneAnswersNothingUntilItIsUnplugged) {
  startWithFile();
  fault(FaultKind::Hang, FaultPhase::Response);
  host->patience = 30ms;
  EXPECT_EQ(host->run(0x1004).status, mtp::IoStatus::Timeout);
  EXPECT_EQ(cancel(host->transaction), mtp::IoStatus::Stall);
  Bytes answer(16);
  EXPECT_EQ(host->wire->controlIn(0x67, answer, 1s).status, mtp::IoStatus::Stall);
  phone->unplug();
  EXPECT_EQ(host->run(0x1004).status, mtp::IoStatus::Gone);
}

TEST_F(Channel, TheCableCanBePulledAtAnyByte) {
  for (std::uint64_t at : {0, 512, 50000}) {
    startWithFile();
    fault(FaultKind::Unplug, FaultPhase::Data, at);
    EXPECT_EQ(host->run(0x1009, {handle}).status, mtp::IoStatus::Gone);
    EXPECT_FALSE(phone->plugged());
    phone->plug();
    connect();
    expectSane();
  }
}

TEST_F(Channel, AnyResponseCodeCanBeAskedFor) {
  startWithFile();
  fault(FaultKind::Respond, FaultPhase::Response, 0, 0x2019);
  auto result = host->run(0x1009, {handle});
  EXPECT_EQ(result.code, 0x2019);
  EXPECT_FALSE(result.hadData);
  fault(FaultKind::Respond, FaultPhase::Response, 0, 0x200C);
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 1)).code, 0x200C);
  EXPECT_TRUE(host->run(0x1009, {handle}).hadData);
  EXPECT_EQ(phone->faults().struck(), 2u);
}

TEST_F(Channel, ADelayOnlyTakesTime) {
  startWithFile();
  fault(FaultKind::Delay, FaultPhase::Data, 0, 30);
  auto before = std::chrono::steady_clock::now();
  auto result = host->run(0x1009, {handle});
  EXPECT_GE(std::chrono::steady_clock::now() - before, 30ms);
  EXPECT_EQ(result.data.size(), 100000u);
  EXPECT_EQ(result.code, 0x2001);
}

TEST_F(Channel, FaultsChooseTheirTransactionByNumberOrOperation) {
  startWithFile();
  Fault third;
  third.kind = FaultKind::Respond;
  third.value = 0x2019;
  third.transaction = 2;
  phone->faults().add(third);
  Fault handles;
  handles.kind = FaultKind::Respond;
  handles.value = 0x2002;
  handles.operation = 0x1007;
  phone->faults().add(handles);
  EXPECT_EQ(host->run(0x1004).code, 0x2001);
  EXPECT_EQ(host->run(0x1007, {Internal, 0, Root}).code, 0x2002);
  EXPECT_EQ(host->run(0x1004).code, 0x2019);
  EXPECT_EQ(host->run(0x1004).code, 0x2001);
  EXPECT_EQ(phone->faults().transactions(), 4u);
  EXPECT_EQ(phone->faults().struck(), 2u);
}

TEST_F(Channel, ACancelledDownloadGetsNoResponseAndTheSessionGoesOn) {
  startWithFile(20 << 20);
  host->wire->write(Initiator::command(0x1009, ++host->transaction, {handle}), true, 20s);
  Bytes piece(1 << 16);
  ASSERT_EQ(host->wire->read(piece, 20s).status, mtp::IoStatus::Ok);
  EXPECT_EQ(cancel(host->transaction), mtp::IoStatus::Ok);
  drain();
  EXPECT_EQ(deviceStatus(), 0x2001);
  expectSane();
}

TEST_F(Channel, ACancelledUploadLeavesNoFileAndTheSessionGoesOn) {
  startWithFile();
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 50 << 20)).code, 0x2001);
  host->wire->write(Initiator::command(0x100D, ++host->transaction), true, 20s);
  host->wire->write(
      Out().n((50 << 20) + 12, 4).n(2, 2).n(0x100D, 2).n(host->transaction, 4).raw(std::string(500, 'x')).bytes, false,
      20s);
  host->wire->write(Bytes(1 << 20), false, 20s);
  EXPECT_EQ(cancel(host->transaction), mtp::IoStatus::Ok);
  drain();
  expectSane();
  EXPECT_FALSE(std::filesystem::exists(internal.path() / "a"));
}

TEST_F(Channel, CancelRequestsOfTheWrongSizeAreRefused) {
  startWithFile();
  EXPECT_EQ(host->wire->controlOut(0x64, Out().n(0x4001, 2).bytes, 1s), mtp::IoStatus::Stall);
  EXPECT_EQ(host->wire->controlOut(0x64, Out().n(0x4002, 2).n(1, 4).bytes, 1s), mtp::IoStatus::Stall);
  EXPECT_EQ(host->wire->controlOut(0x69, {}, 1s), mtp::IoStatus::Stall);
  expectSane();
}

TEST_F(Channel, CommandsOfWrongLengthAreInvalid) {
  startWithFile();
  auto sendRaw = [&](Bytes bytes) {
    host->transaction = 77;
    EXPECT_EQ(host->wire->write(bytes, true, 20s), mtp::IoStatus::Ok);
    return host->receive(0x1004).code;
  };
  auto base = Initiator::command(0x1004, 77);
  for (std::uint32_t length : {0u, 11u, 13u, 0xFFFFFFFFu}) {
    auto bytes = base;
    for (int i = 0; i < 4; ++i)
      bytes[std::size_t(i)] = std::byte(length >> (8 * i));
    EXPECT_EQ(sendRaw(bytes), 0x201D) << length;
  }
  EXPECT_EQ(sendRaw(Initiator::command(0x1004, 77, {1, 2, 3, 4, 5, 6})), 0x201D);
  EXPECT_EQ(sendRaw(Initiator::command(0x1004, 77, std::vector<std::uint32_t>(5000))), 0x201D);
  EXPECT_EQ(sendRaw(Initiator::command(0x1004, 77, {1, 2, 3, 4, 5})), 0x2001);
}

TEST_F(Channel, WhatIsNoCommandIsAnsweredWithAStall) {
  startWithFile();
  for (std::size_t size : {1, 11, 12, 600}) {
    EXPECT_EQ(host->wire->write(Bytes(size, std::byte(0xEE)), true, 20s), mtp::IoStatus::Ok);
    Bytes piece(512);
    EXPECT_EQ(host->wire->read(piece, 20s).status, mtp::IoStatus::Stall);
    EXPECT_EQ(deviceStatus(), 0x201F);
    clearHalts();
    expectSane();
  }
}

TEST_F(Channel, ACommandWhereDataWasDueIsTakenAsACommand) {
  startWithFile();
  host->wire->write(Initiator::command(0x100C, ++host->transaction, {Internal, Root}), true, 20s);
  expectSane();
}

TEST_F(Channel, DataOfAnotherTransactionIsRefused) {
  startWithFile();
  auto info = objectInfo(u"a", 1);
  host->wire->write(Initiator::command(0x100C, ++host->transaction, {Internal, Root}), true, 20s);
  host->wire->write(Initiator::data(0x100C, host->transaction + 1, info), true, 20s);
  EXPECT_EQ(host->receive(0x100C).code, 0xA806);
  host->wire->write(Initiator::command(0x100C, ++host->transaction, {Internal, Root}), true, 20s);
  host->wire->write(Initiator::data(0x100D, host->transaction, info), true, 20s);
  EXPECT_EQ(host->receive(0x100C).code, 0xA806);
  EXPECT_EQ(handles().size(), 1u);
}

TEST_F(Channel, ADatasetCutAtAnyByteIsRefusedOrMeansTheSame) {
  startWithFile();
  auto info = objectInfo(u"new", 5);
  for (std::size_t size = 0; size < info.size(); ++size) {
    auto result = host->send(0x100C, {Internal, Root}, Bytes(info.begin(), info.begin() + std::ptrdiff_t(size)));
    auto name = size >= 53 + 8; // the name is whole: the dates behind it may be missing
    EXPECT_EQ(result.code, name ? 0x2001 : 0x201D) << size;
  }
}

TEST_F(Channel, LengthFieldsOfDataThatLieAreNoticed) {
  startWithFile();
  auto info = objectInfo(u"a", 1);
  for (std::uint32_t length : {1u, 11u, 12u, 13u, std::uint32_t(info.size() + 11), std::uint32_t(info.size() + 13)}) {
    auto result = host->send(0x100C, {Internal, Root}, info, length);
    EXPECT_NE(result.code, 0x2001) << length;
    EXPECT_EQ(result.status, mtp::IoStatus::Ok);
  }
  expectSane();
}

TEST_F(Channel, ADatasetNoHostWouldSendIsReadAndRefused) {
  startWithFile();
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, Bytes(5 << 20)).code, 0xA806);
  expectSane();
}

TEST_F(Channel, RandomCommandsWithRandomParametersNeverEndThePhone) {
  internal.file("d/e/f.txt", "contents");
  internal.file("a.jpg");
  startWithFile(5000);
  std::mt19937 random(20240607); // NOLINT: the same every time
  const std::vector<std::uint16_t> codes{0x1001, 0x1002, 0x1003, 0x1004, 0x1005, 0x1006, 0x1007, 0x1008, 0x1009,
                                         0x100A, 0x100B, 0x100C, 0x100D, 0x1014, 0x1015, 0x1016, 0x1017, 0x1019,
                                         0x101A, 0x101B, 0x9801, 0x9802, 0x9803, 0x9804, 0x9805, 0x9810, 0x9811,
                                         0x95C1, 0x95C2, 0x95C3, 0x95C4, 0x95C5, 0x9806, 0x0000, 0xFFFF};
  const std::vector<std::uint16_t> toPhone{0x100C, 0x100D, 0x1016, 0x9804, 0x9811, 0x95C2};
  const std::vector<std::uint32_t> likely{0, 1, 2, 3, 4, 5, 0xFFFFFFFF, Internal, Card, 0xDC07, 0xDC04, 0xD402, 0x3801};
  auto pick = [&](const auto& list) { return list[random() % list.size()]; };
  for (int round = 0; round < 3000; ++round) {
    auto code = pick(codes);
    std::vector<std::uint32_t> parameters(random() % 6);
    for (auto& p : parameters)
      p = random() % 8 ? pick(likely) : std::uint32_t(random());
    if (code == 0x95C3 && parameters.size() > 2)
      parameters[2] = 0; // a file of exabytes would be legal, and slow to delete on some disks
    Result result;
    if (std::find(toPhone.begin(), toPhone.end(), code) != toPhone.end()) {
      Bytes payload(random() % 200);
      for (auto& b : payload)
        b = std::byte(random() % 4 ? random() % 5 : random());
      if (code == 0x100C && random() % 2)
        payload =
            objectInfo(std::u16string(1 + random() % 3, char16_t('a' + random() % 3)), random() % 100, random() % 2);
      result = host->send(code, parameters, payload);
    } else {
      result = host->run(code, parameters);
    }
    ASSERT_EQ(result.status, mtp::IoStatus::Ok) << std::hex << code;
    ASSERT_NE(result.code, 0) << std::hex << code;
  }
  host->run(0x1002, {1});
  expectSane();
}

TEST_F(Channel, UnpluggingInTheMiddleOfAnythingEndsBothSides) {
  startWithFile(30 << 20);
  for (std::size_t reads : {0, 1, 5}) {
    host->wire->write(Initiator::command(0x1009, ++host->transaction, {handle}), true, 20s);
    Bytes piece(1 << 20);
    for (std::size_t i = 0; i < reads; ++i)
      host->wire->read(piece, 20s);
    phone->unplug();
    EXPECT_EQ(host->wire->read(piece, 20s).status, mtp::IoStatus::Gone);
    phone->plug();
    connect();
    handle = find(u"f.bin");
  }
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"half", 50 << 20)).code, 0x2001);
  host->wire->write(Initiator::command(0x100D, ++host->transaction), true, 20s);
  host->wire->write(
      Out().n((50 << 20) + 12, 4).n(2, 2).n(0x100D, 2).n(host->transaction, 4).raw(std::string(500, 'x')).bytes, false,
      20s);
  phone->unplug();
  EXPECT_FALSE(std::filesystem::exists(internal.path() / "half"));
}

} // namespace
