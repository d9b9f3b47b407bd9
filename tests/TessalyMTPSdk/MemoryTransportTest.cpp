#include "TessalyMTPSdk/MemoryTransport.h"

#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <numeric>
#include <thread>

namespace {

using namespace std::chrono_literals;
using mtp::IoStatus;
using Bytes = std::vector<std::byte>;

constexpr auto Long = 20s;
constexpr auto Short = 20ms;

Bytes pattern(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i)
    bytes[i] = std::byte(i * 7 + i / 251);
  return bytes;
}

struct MemoryTransport : testing::Test {
  mtp::MemoryWire wire = mtp::makeMemoryWire(512);
  mtp::Transport& host = *wire.initiator;
  mtp::DeviceEnd& phone = *wire.device;

  mtp::ReadResult hostRead(Bytes& bytes, std::size_t size, std::chrono::milliseconds idle = Long) {
    bytes.resize(size);
    auto result = host.read(bytes, idle);
    bytes.resize(result.size);
    return result;
  }
  mtp::ReadResult phoneRead(Bytes& bytes, std::size_t size, std::chrono::milliseconds limit = Long) {
    bytes.resize(size);
    auto result = phone.read(bytes, limit);
    bytes.resize(result.size);
    return result;
  }
};

TEST_F(MemoryTransport, AShortPacketEndsTheHostsTransfer) {
  std::jthread writer([&] { EXPECT_EQ(host.write(pattern(700), true, Long), IoStatus::Ok); });
  Bytes bytes;
  auto result = phoneRead(bytes, 1024);
  EXPECT_TRUE(result.endOfTransfer);
  EXPECT_EQ(bytes, pattern(700));
}

TEST_F(MemoryTransport, FullPacketsFromTheHostAreFollowedByAZeroLengthPacket) {
  std::jthread writer([&] { EXPECT_EQ(host.write(pattern(1024), true, Long), IoStatus::Ok); });
  Bytes bytes;
  auto result = phoneRead(bytes, 1024);
  EXPECT_FALSE(result.endOfTransfer);
  EXPECT_EQ(bytes.size(), 1024u);
  result = phoneRead(bytes, 1024);
  EXPECT_EQ(result.status, IoStatus::Ok);
  EXPECT_TRUE(result.endOfTransfer);
  EXPECT_TRUE(bytes.empty());
}

TEST_F(MemoryTransport, PiecesOfOneTransferArriveAsOne) {
  std::jthread writer([&] {
    EXPECT_EQ(host.write(pattern(1024), false, Long), IoStatus::Ok);
    EXPECT_EQ(host.write(pattern(512), false, Long), IoStatus::Ok);
    EXPECT_EQ(host.write({}, true, Long), IoStatus::Ok);
  });
  Bytes bytes;
  auto result = phoneRead(bytes, 4096);
  EXPECT_EQ(bytes.size(), 1536u);
  EXPECT_TRUE(result.endOfTransfer);
}

TEST_F(MemoryTransport, AnEmptyTransferOfTheHostSendsNothing) {
  EXPECT_EQ(host.write({}, true, Long), IoStatus::Ok);
  Bytes bytes;
  EXPECT_EQ(phoneRead(bytes, 512, Short).status, IoStatus::Timeout);
}

TEST_F(MemoryTransport, TheHostReadsUpToTheEndOfATransferAndNotBeyond) {
  EXPECT_EQ(phone.write(pattern(700), Long), IoStatus::Ok);
  EXPECT_EQ(phone.write(pattern(12), Long), IoStatus::Ok);
  Bytes bytes;
  auto result = hostRead(bytes, 4096);
  EXPECT_TRUE(result.endOfTransfer);
  EXPECT_EQ(bytes, pattern(700));
  result = hostRead(bytes, 4096);
  EXPECT_TRUE(result.endOfTransfer);
  EXPECT_EQ(bytes, pattern(12));
}

TEST_F(MemoryTransport, FullPacketsOfThePhoneDoNotEndATransfer) {
  EXPECT_EQ(phone.write(pattern(1024), Long), IoStatus::Ok);
  Bytes bytes;
  EXPECT_FALSE(hostRead(bytes, 4096).endOfTransfer);
  EXPECT_EQ(bytes.size(), 1024u);
  EXPECT_EQ(phone.write({}, Long), IoStatus::Ok);
  auto result = hostRead(bytes, 4096);
  EXPECT_TRUE(result.endOfTransfer);
  EXPECT_TRUE(bytes.empty());
}

TEST_F(MemoryTransport, AZeroLengthPacketBehindAFullBufferComesWithTheNextRead) {
  phone.write(pattern(512), Long);
  phone.write({}, Long);
  Bytes bytes;
  EXPECT_FALSE(hostRead(bytes, 512).endOfTransfer);
  EXPECT_TRUE(hostRead(bytes, 512).endOfTransfer);
  EXPECT_TRUE(bytes.empty());
}

TEST_F(MemoryTransport, AZeroLengthPacketBehindALargerBufferEndsThatRead) {
  phone.write(pattern(512), Long);
  phone.write({}, Long);
  Bytes bytes;
  EXPECT_TRUE(hostRead(bytes, 1024).endOfTransfer);
  EXPECT_EQ(bytes.size(), 512u);
}

TEST_F(MemoryTransport, AReadIntoASmallBufferTakesPartOfAPacket) {
  phone.write(pattern(20), Long);
  Bytes bytes;
  EXPECT_FALSE(hostRead(bytes, 12).endOfTransfer);
  auto result = hostRead(bytes, 12);
  EXPECT_EQ(result.size, 8u);
  EXPECT_TRUE(result.endOfTransfer);
}

TEST_F(MemoryTransport, MegabytesGoThroughInBothDirections) {
  const auto all = pattern((5 << 20) + 100);
  std::jthread phoneSide([&] {
    Bytes got, piece;
    for (bool ended = false; !ended;) {
      ended = phoneRead(piece, 1 << 16).endOfTransfer;
      got.insert(got.end(), piece.begin(), piece.end());
    }
    EXPECT_EQ(got, all);
    EXPECT_EQ(phone.write(got, Long), IoStatus::Ok);
  });
  EXPECT_EQ(host.write(all, true, Long), IoStatus::Ok);
  Bytes back, piece;
  for (bool ended = false; !ended;) {
    ended = hostRead(piece, 1 << 20).endOfTransfer;
    back.insert(back.end(), piece.begin(), piece.end());
  }
  EXPECT_EQ(back, all);
}

TEST_F(MemoryTransport, AWriteNobodyTakesTimesOutAndIsTakenBack) {
  EXPECT_EQ(host.write(pattern(100), true, Short), IoStatus::Timeout);
  Bytes bytes;
  EXPECT_EQ(phoneRead(bytes, 512, Short).status, IoStatus::Timeout);
}

TEST_F(MemoryTransport, AReadNobodyAnswersTimesOut) {
  Bytes bytes;
  EXPECT_EQ(hostRead(bytes, 512, Short).status, IoStatus::Timeout);
}

TEST_F(MemoryTransport, WhatCameBeforeThePhonesReadTimedOutIsThereForTheNext) {
  std::jthread writer([&] { EXPECT_EQ(host.write(pattern(512), false, Long), IoStatus::Ok); });
  Bytes bytes;
  // Times out because the buffer does not get full; whether the first packet came in time or not must not matter.
  EXPECT_EQ(phoneRead(bytes, 1024, 200ms).status, IoStatus::Timeout);
  auto result = phoneRead(bytes, 512);
  EXPECT_EQ(result.status, IoStatus::Ok);
  EXPECT_EQ(bytes, pattern(512));
}

TEST_F(MemoryTransport, ThePhoneCanHaveOneMebibyteOnTheWayAndNoMore) {
  EXPECT_EQ(phone.write(pattern(1 << 20), Short), IoStatus::Ok);
  EXPECT_EQ(phone.write(pattern(512), Short), IoStatus::Timeout);
}

TEST_F(MemoryTransport, AStalledPipeTellsTheHostUntilItClearsTheHalt) {
  phone.stall();
  Bytes bytes;
  EXPECT_EQ(hostRead(bytes, 512).status, IoStatus::Stall);
  EXPECT_EQ(host.write(pattern(12), true, Long), IoStatus::Stall);
  EXPECT_EQ(host.clearHalt(mtp::Pipe::BulkIn), IoStatus::Ok);
  EXPECT_EQ(host.write(pattern(12), true, Long), IoStatus::Stall);
  EXPECT_EQ(host.clearHalt(mtp::Pipe::BulkOut), IoStatus::Ok);
  std::jthread reader([&] {
    Bytes got;
    phoneRead(got, 512);
    EXPECT_EQ(got, pattern(12));
    phone.write(got, Long);
  });
  EXPECT_EQ(host.write(pattern(12), true, Long), IoStatus::Ok);
  hostRead(bytes, 512);
  EXPECT_EQ(bytes, pattern(12));
}

TEST_F(MemoryTransport, AStallWakesABlockedHost) {
  std::jthread staller([&] {
    Bytes bytes;
    phoneRead(bytes, 512);
    phone.stall();
  });
  EXPECT_EQ(host.write(pattern(12), true, Long), IoStatus::Ok);
  Bytes bytes;
  EXPECT_EQ(hostRead(bytes, 512).status, IoStatus::Stall);
}

TEST_F(MemoryTransport, AnInterruptionEndsABlockedCallOrTheNextOne) {
  host.interrupt();
  Bytes bytes;
  EXPECT_EQ(hostRead(bytes, 512).status, IoStatus::Cancelled);
  phone.write(pattern(5), Long);
  EXPECT_EQ(hostRead(bytes, 512).status, IoStatus::Ok);
  std::jthread interrupter([&] { host.interrupt(); });
  EXPECT_EQ(hostRead(bytes, 512).status, IoStatus::Cancelled);
}

TEST_F(MemoryTransport, UnpluggingEndsEveryCallOfBothSides) {
  std::jthread reader([&] {
    Bytes bytes;
    EXPECT_EQ(hostRead(bytes, 512).status, IoStatus::Gone);
  });
  std::jthread eventWriter([&] { EXPECT_EQ(phone.writeEvent(pattern(16), Long), IoStatus::Gone); });
  std::jthread phoneReader([&] {
    Bytes bytes;
    EXPECT_EQ(phoneRead(bytes, 512).status, IoStatus::Gone);
  });
  phone.close();
  EXPECT_TRUE(host.isGone());
  EXPECT_FALSE(phone.plugged());
  EXPECT_EQ(host.write(pattern(3), true, Long), IoStatus::Gone);
  EXPECT_EQ(phone.write(pattern(3), Long), IoStatus::Gone);
  EXPECT_EQ(host.controlOut(0x66, {}, Long), IoStatus::Gone);
  EXPECT_EQ(host.clearHalt(mtp::Pipe::BulkIn), IoStatus::Gone);
  EXPECT_EQ(host.reset(), IoStatus::Gone);
}

TEST_F(MemoryTransport, EitherEndMayBeDestroyedFirst) {
  wire.initiator.reset();
  Bytes bytes;
  EXPECT_EQ(phoneRead(bytes, 512).status, IoStatus::Gone);
  auto other = mtp::makeMemoryWire(512);
  other.device.reset();
  EXPECT_TRUE(other.initiator->isGone());
}

TEST_F(MemoryTransport, ControlRequestsReachTheHandlerAndWithoutAnAnswerStall) {
  EXPECT_EQ(host.controlOut(0x66, {}, Long), IoStatus::Stall);
  phone.setControlHandler([](std::uint8_t request, bool toPhone, std::span<const std::byte> data) {
    std::optional<Bytes> answer;
    if (toPhone && request == 0x64 && data.size() == 6)
      answer.emplace();
    if (!toPhone && request == 0x67)
      answer = Bytes{std::byte(4), std::byte(0), std::byte(1), std::byte(0x20)};
    return answer;
  });
  Bytes status(2);
  auto result = host.controlIn(0x67, status, Long);
  EXPECT_EQ(result.status, IoStatus::Ok);
  EXPECT_EQ(result.size, 2u) << "cut at what was asked for";
  EXPECT_EQ(host.controlIn(0x65, status, Long).status, IoStatus::Stall);
  EXPECT_EQ(host.controlOut(0x64, pattern(6), Long), IoStatus::Ok);
  EXPECT_EQ(host.controlOut(0x64, pattern(5), Long), IoStatus::Stall);
}

TEST_F(MemoryTransport, ACancelRequestEndsThePhonesBlockedWrite) {
  phone.setControlHandler([](auto, auto, auto) { return std::optional(Bytes()); });
  std::jthread writer([&] { EXPECT_EQ(phone.write(pattern(4 << 20), Long), IoStatus::Cancelled); });
  Bytes bytes;
  hostRead(bytes, 512);
  EXPECT_EQ(host.controlOut(0x64, pattern(6), Long), IoStatus::Ok);
}

TEST_F(MemoryTransport, ACancelRequestEndsThePhonesBlockedReadAndVoidsWhatWasOnTheWay) {
  phone.setControlHandler([](auto, auto, auto) { return std::optional(Bytes()); });
  std::jthread reader([&] {
    Bytes bytes;
    EXPECT_EQ(phoneRead(bytes, 1 << 20).status, IoStatus::Cancelled);
    EXPECT_EQ(phoneRead(bytes, 1 << 20).status, IoStatus::Ok);
    EXPECT_EQ(bytes, pattern(12));
    phone.write({}, Long);
  });
  host.write(pattern(1024), false, Long);
  EXPECT_EQ(host.controlOut(0x64, pattern(6), Long), IoStatus::Ok);
  EXPECT_EQ(host.write(pattern(12), true, Long), IoStatus::Ok);
  Bytes bytes;
  EXPECT_TRUE(hostRead(bytes, 512).endOfTransfer);
}

TEST_F(MemoryTransport, EventsWaitUntilTheHostListens) {
  EXPECT_EQ(phone.writeEvent(pattern(16), Short), IoStatus::Timeout);
  std::mutex mutex;
  std::condition_variable came;
  std::vector<Bytes> events;
  host.startEvents([&](std::span<const std::byte> event) {
    std::lock_guard lock(mutex);
    events.emplace_back(event.begin(), event.end());
    came.notify_all();
  });
  for (std::size_t size : {16, 12, 20})
    EXPECT_EQ(phone.writeEvent(pattern(size), Long), IoStatus::Ok);
  std::unique_lock lock(mutex);
  ASSERT_TRUE(came.wait_for(lock, Long, [&] { return events.size() == 3; }));
  EXPECT_EQ(events[0], pattern(16));
  EXPECT_EQ(events[2], pattern(20));
}

TEST_F(MemoryTransport, NoHandlerRunsAfterClose) {
  std::atomic<bool> closed{false}; // written here, read by the event thread
  host.startEvents([&](std::span<const std::byte>) { EXPECT_FALSE(closed); });
  std::jthread writer([&] {
    while (phone.writeEvent(pattern(16), Long) == IoStatus::Ok) {
    }
  });
  host.close();
  closed = true;
}

TEST_F(MemoryTransport, AResetClearsHaltsAndReachesThePhoneAsOne) {
  std::atomic<int> resets{0}; // written by the resetting thread, read here
  phone.setControlHandler([&](std::uint8_t request, auto, auto) {
    resets += request == 0x66;
    return std::optional(Bytes());
  });
  phone.write(pattern(100), Long);
  phone.stall();
  EXPECT_EQ(host.reset(), IoStatus::Ok);
  EXPECT_EQ(resets, 1);
  Bytes bytes;
  EXPECT_EQ(hostRead(bytes, 512, Short).status, IoStatus::Timeout) << "what was on the way is void";
}

TEST_F(MemoryTransport, EndlessLimitsDoNotOverflow) {
  phone.write(pattern(1), std::chrono::milliseconds::max());
  Bytes bytes;
  EXPECT_EQ(hostRead(bytes, 512, std::chrono::milliseconds::max()).status, IoStatus::Ok);
}

} // namespace
