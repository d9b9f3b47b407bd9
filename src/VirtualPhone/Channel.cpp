#include "VirtualPhone/Channel.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vphone {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t TransferSize = 1 << 20; // of one bulk transfer where data flows
constexpr std::size_t MaxDataset = 1 << 20;   // a host has no larger one to send
constexpr std::size_t CommandTransfer = 16384;
constexpr std::size_t MaxCommand = 32; // a header and five parameters
constexpr std::uint32_t UnknownLength = 0xFFFFFFFF;
constexpr auto Forever = std::chrono::milliseconds(24h); // unplugging ends every wait
constexpr auto ZeroLengthPacketWait = 300ms; // one that comes later is taken for an empty command and ignored

std::uint32_t number(std::span<const std::byte> bytes, std::size_t at, std::size_t size) {
  return size == 2 ? DatasetReader(bytes.subspan(at)).u16() : DatasetReader(bytes.subspan(at)).u32();
}

void put32(std::span<std::byte> bytes, std::size_t at, std::uint32_t v) {
  for (std::size_t i = 0; i < 4; ++i)
    bytes[at + i] = std::byte(v >> (8 * i));
}

void putHeader(std::span<std::byte> bytes, std::uint64_t total, mtp::ContainerType type, std::uint16_t code,
               std::uint32_t transaction) {
  put32(bytes, 0, std::uint32_t(std::min<std::uint64_t>(total, UnknownLength)));
  put32(bytes, 4, std::uint32_t(type) | std::uint32_t(code) << 16);
  put32(bytes, 8, transaction);
}

} // namespace

/// One container on its way to the host.
class Channel::Outgoing {
public:
  Outgoing(Channel& channel, FaultPhase phase, std::uint64_t total)
      : channel_(channel)
      , total_(total)
      , fault_(channel.faultOf(phase)) {
    if (fault_ && fault_->atByte >= total && fault_->atByte > 0)
      fault_ = nullptr;
  }

  /// The next piece; all but the last are multiples of the packet size. False once the transfer has been ended early.
  bool write(std::span<std::byte> piece) {
    if (over_)
      return false;
    if (fault_ && fault_->atByte < sent_ + piece.size())
      piece = distort(piece);
    if (!piece.empty() || sent_ == 0)
      channel_.put(piece);
    sent_ += piece.size();
    return !over_;
  }

  /// `whole`: all bytes have been written; otherwise the transfer is ended where it is.
  void finish(bool zeroLengthPackets) {
    bool fullPackets = sent_ % channel_.end_.maxPacketSize() == 0;
    if (fullPackets && sent_ > 0 && (zeroLengthPackets || sent_ < total_))
      channel_.put({});
  }

private:
  /// Lets the fault loose on the piece it falls into. Returns what is still to be sent.
  std::span<std::byte> distort(std::span<std::byte> piece) {
    auto at = std::size_t(fault_->atByte > sent_ ? fault_->atByte - sent_ : 0);
    switch (fault_->kind) {
    case FaultKind::WrongLength:
      put32(piece, 0, fault_->value);
      break;
    case FaultKind::WrongTransactionId:
      put32(piece, 8, channel_.command_.transaction + 0x01010101);
      break;
    case FaultKind::Garbage:
      for (auto i = at; i < piece.size(); ++i)
        piece[i] = std::byte(0xA5 ^ (noise_ = noise_ * 1664525 + 1013904223) >> 24);
      if (fault_->atByte >= sent_)
        channel_.faults_.countStrike();
      return piece; // and every piece after it
    case FaultKind::EndEarly:
      over_ = true;
      channel_.faults_.countStrike();
      return piece.first(at);
    case FaultKind::Respond:
      break;
    case FaultKind::Delay:
      channel_.strike();
      break;
    default:
      // A halt, silence or unplugging falls between packets: half a packet would be the end of the transfer.
      if (auto whole = at - at % channel_.end_.maxPacketSize())
        channel_.put(piece.first(whole));
      channel_.strike();
    }
    if (fault_->kind == FaultKind::WrongLength || fault_->kind == FaultKind::WrongTransactionId)
      channel_.faults_.countStrike();
    fault_ = nullptr;
    return piece;
  }

  Channel& channel_;
  std::uint64_t total_;
  const Fault* fault_;
  std::uint64_t sent_ = 0;
  std::uint32_t noise_ = 1;
  bool over_ = false;
};

Channel::Channel(mtp::DeviceEnd& end, Faults& faults, std::function<void()> unplug)
    : end_(end)
    , faults_(faults)
    , unplug_(std::move(unplug))
    , buffer_(TransferSize) {
  end_.setControlHandler([this](std::uint8_t request, bool toPhone, std::span<const std::byte> data) {
    return control(request, toPhone, data);
  });
}

Channel::~Channel() {
  end_.setControlHandler({});
}

std::optional<std::vector<std::byte>> Channel::control(std::uint8_t request, bool toPhone,
                                                       std::span<const std::byte> data) {
  std::lock_guard lock(mutex_);
  if (hung_)
    return std::nullopt;
  switch (mtp::ClassRequest(request)) {
  case mtp::ClassRequest::Cancel:
    if (!toPhone || data.size() != 6 || number(data, 0, 2) != std::uint16_t(mtp::Event::CancelTransaction))
      return std::nullopt;
    cancelRequested_ = true;
    aborted_.notify_all();
    return std::vector<std::byte>();
  case mtp::ClassRequest::DeviceReset:
    if (!toPhone)
      return std::nullopt;
    resetRequested_ = true;
    stalled_ = false;
    aborted_.notify_all();
    return std::vector<std::byte>();
  case mtp::ClassRequest::GetDeviceStatus: {
    if (toPhone)
      return std::nullopt;
    auto code = stalled_           ? mtp::Response::TransactionCancelled
                : cancelRequested_ ? mtp::Response::DeviceBusy
                                   : mtp::Response::OK;
    DatasetWriter status;
    status.u16(stalled_ ? 12 : 4);
    status.u16(std::uint16_t(code));
    if (stalled_) { // the halted endpoints
      status.u32(0x81);
      status.u32(0x02);
    }
    return std::vector<std::byte>(status.bytes().begin() + HeaderSize, status.bytes().end());
  }
  }
  return std::nullopt;
}

bool Channel::takeReset() {
  std::lock_guard lock(mutex_);
  return std::exchange(resetRequested_, false);
}

void Channel::cancelled() {
  std::lock_guard lock(mutex_);
  cancelRequested_ = false;
  throw TransactionEnded();
}

std::size_t Channel::read(std::span<std::byte> buffer, std::chrono::milliseconds limit, bool& ended) {
  auto result = end_.read(buffer, limit);
  if (result.status == mtp::IoStatus::Cancelled)
    cancelled();
  if (result.status != mtp::IoStatus::Ok && result.status != mtp::IoStatus::Timeout)
    throw LinkGone();
  ended = result.endOfTransfer || result.status != mtp::IoStatus::Ok;
  if (result.status == mtp::IoStatus::Ok) {
    std::lock_guard lock(mutex_);
    stalled_ = false;
  }
  return result.size;
}

void Channel::put(std::span<const std::byte> bytes) {
  auto status = end_.write(bytes, Forever);
  if (status == mtp::IoStatus::Cancelled)
    cancelled();
  if (status != mtp::IoStatus::Ok)
    throw LinkGone();
}

void Channel::stall() {
  {
    std::lock_guard lock(mutex_);
    stalled_ = true;
  }
  end_.stall();
}

void Channel::strike() {
  auto kind = fault_->kind;
  faults_.countStrike();
  if (kind == FaultKind::Stall) {
    stall();
    throw TransactionEnded();
  }
  if (kind == FaultKind::Unplug) {
    unplug_();
    throw LinkGone();
  }
  std::unique_lock lock(mutex_);
  hung_ = kind == FaultKind::Hang;
  auto deadline = std::chrono::steady_clock::now() +
                  (kind == FaultKind::Delay ? std::chrono::milliseconds(fault_->value) : Forever);
  // Unplugging is found out by looking: a wire that is gone wakes nobody here.
  while (std::chrono::steady_clock::now() < deadline && end_.plugged() && !cancelRequested_ && !resetRequested_)
    aborted_.wait_until(lock, std::min(deadline, std::chrono::steady_clock::now() + 20ms));
  hung_ = false;
  if (!end_.plugged())
    throw LinkGone();
  if (kind != FaultKind::Delay) {
    cancelRequested_ = false;
    throw TransactionEnded();
  }
}

void Channel::swallowTransfer() {
  for (bool ended = false; !ended;)
    read(buffer_, Forever, ended);
}

Command Channel::receiveCommand() {
  for (;;) {
    std::size_t size = 0;
    bool ended = true;
    std::array<std::byte, MaxCommand> head{};
    try {
      if (early_.empty()) {
        size = read(std::span(buffer_).first(CommandTransfer), Forever, ended);
      } else {
        size = early_.size();
        std::copy(early_.begin(), early_.end(), buffer_.begin());
        early_.clear();
      }
      std::copy_n(buffer_.begin(), std::min(size, head.size()), head.begin());
      if (!ended)
        swallowTransfer();
    } catch (const TransactionEnded&) { // a cancel request when there is nothing to cancel
      continue;
    }
    auto bytes = std::span<const std::byte>(head).first(std::min(size, head.size()));
    if (bytes.empty())
      continue;
    auto type = size < HeaderSize ? 0 : number(bytes, 4, 2);
    // The data phase of an operation that was refused.
    if (type == std::uint32_t(mtp::ContainerType::Data))
      continue;
    if (type != std::uint32_t(mtp::ContainerType::Command)) {
      stall();
      continue;
    }
    DatasetReader reader(bytes);
    Command command;
    auto length = reader.u32();
    reader.u16();
    command.operation = reader.u16();
    command.transaction = reader.u32();
    command.valid = ended && length == size && size <= MaxCommand && size % 4 == 0;
    for (std::size_t i = 0; i < command.parameters.size() && reader.remaining() >= 4; ++i)
      command.parameters[i] = reader.u32();
    return command;
  }
}

void Channel::begin(const Command& command, bool zeroLengthPackets) {
  command_ = command;
  zeroLengthPackets_ = zeroLengthPackets;
  fault_ = faults_.next(command.operation);
}

std::optional<std::uint16_t> Channel::respondInstead() {
  if (!fault_ || fault_->kind != FaultKind::Respond)
    return std::nullopt;
  faults_.countStrike();
  return std::uint16_t(fault_->value);
}

void Channel::sendData(DatasetWriter& dataset) {
  auto& bytes = dataset.bytes();
  putHeader(bytes, bytes.size(), mtp::ContainerType::Data, command_.operation, command_.transaction);
  Outgoing out(*this, FaultPhase::Data, bytes.size());
  for (std::span<std::byte> rest(bytes); !rest.empty();) {
    auto piece = rest.first(std::min(rest.size(), TransferSize));
    if (!out.write(piece))
      break;
    rest = rest.subspan(piece.size());
  }
  out.finish(zeroLengthPackets_);
}

bool Channel::sendStream(std::uint64_t size, const std::function<std::size_t(std::span<std::byte>)>& next) {
  auto total = size + HeaderSize;
  putHeader(buffer_, total, mtp::ContainerType::Data, command_.operation, command_.transaction);
  Outgoing out(*this, FaultPhase::Data, total);
  bool whole = true;
  for (std::uint64_t sent = 0; sent < total && whole;) {
    auto header = sent == 0 ? HeaderSize : 0;
    auto wanted = std::size_t(std::min<std::uint64_t>(total - sent, TransferSize)) - header;
    auto had = next(std::span(buffer_).subspan(header, wanted));
    whole = had == wanted;
    if (!out.write(std::span(buffer_).first(header + had)))
      break;
    sent += header + had;
  }
  out.finish(zeroLengthPackets_ || !whole);
  return whole;
}

Received Channel::receiveStream(const std::function<bool(std::span<const std::byte>)>& take) {
  const auto packet = end_.maxPacketSize();
  const Fault* fault = faultOf(FaultPhase::Data);
  if (fault && fault->kind == FaultKind::Respond)
    fault = nullptr;
  std::uint64_t got = 0;
  std::uint64_t declared = 0;
  bool taking = true;
  bool endless = false;
  for (bool ended = false; !ended;) {
    // The header first, then no more than it announces: a host that leaves out the zero-length packet must not be
    // waited for with a buffer half full.
    auto room = TransferSize;
    if (got == 0)
      room = packet;
    else if (!endless && got < declared)
      room = std::size_t(std::min<std::uint64_t>(room, (declared - got + packet - 1) / packet * packet));
    if (fault) {
      auto until = fault->atByte - fault->atByte % packet;
      if (got >= until) {
        if (fault->kind == FaultKind::EndEarly) {
          faults_.countStrike();
          taking = false;
        } else {
          strike();
        }
        fault = nullptr;
      } else {
        room = std::size_t(std::min<std::uint64_t>(room, until - got));
      }
    }
    auto size = read(std::span(buffer_).first(room), Forever, ended);
    auto bytes = std::span<const std::byte>(buffer_).first(size);
    if (got == 0) {
      if (size >= HeaderSize && number(bytes, 4, 2) == std::uint32_t(mtp::ContainerType::Command)) {
        early_.assign(bytes.begin(), bytes.end()); // the host has given this transaction up
        throw TransactionEnded();
      }
      if (size < HeaderSize || number(bytes, 4, 2) != std::uint32_t(mtp::ContainerType::Data) ||
          number(bytes, 6, 2) != command_.operation || number(bytes, 8, 4) != command_.transaction ||
          number(bytes, 0, 4) < HeaderSize) {
        if (!ended)
          swallowTransfer();
        return Received::Malformed;
      }
      declared = number(bytes, 0, 4);
      endless = declared == UnknownLength;
      bytes = bytes.subspan(HeaderSize);
    }
    got += size;
    if (taking && !bytes.empty() && (endless || got <= declared))
      taking = take(bytes);
    if (!ended && !endless && got == declared && got % packet == 0) {
      // The zero-length packet behind full ones. Some hosts leave it out: then this may already be the next command.
      std::vector<std::byte> extra(packet);
      auto more = read(extra, ZeroLengthPacketWait, ended);
      if (more > 0 && number(extra, 4, 2) == std::uint32_t(mtp::ContainerType::Command)) {
        early_.assign(extra.begin(), extra.begin() + std::ptrdiff_t(more));
        ended = true;
      } else {
        got += more;
      }
    }
  }
  if (endless || got == declared)
    return taking ? Received::Complete : Received::Incomplete;
  return got < declared ? Received::Incomplete : Received::Malformed;
}

Received Channel::receiveData(std::vector<std::byte>& bytes) {
  bool tooLarge = false;
  auto received = receiveStream([&](std::span<const std::byte> piece) {
    tooLarge = piece.size() > MaxDataset - bytes.size();
    if (!tooLarge)
      bytes.insert(bytes.end(), piece.begin(), piece.end());
    return !tooLarge;
  });
  return tooLarge ? Received::Malformed : received;
}

void Channel::sendResponse(std::uint16_t code, std::span<const std::uint32_t> parameters) {
  DatasetWriter response;
  for (auto parameter : parameters)
    response.u32(parameter);
  auto& bytes = response.bytes();
  putHeader(bytes, bytes.size(), mtp::ContainerType::Response, code, command_.transaction);
  Outgoing out(*this, FaultPhase::Response, bytes.size());
  out.write(bytes);
  out.finish(true);
}

} // namespace vphone
