#include "TessalyMTPSdk/Session.h"

#include "TessalyMTPSdk/Counting.h"
#include "TessalyMTPSdk/Logging.h"

#include <algorithm>

namespace mtp {

namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr std::size_t BufferSize = std::size_t{1} << 20;     // one bulk transfer; large ones are what makes USB fast
constexpr int MaxSkipped = 64;                               // containers and transfers that belong to nobody
constexpr std::uint64_t MaxDrained = std::uint64_t{1} << 26; // bytes thrown away before a pipe counts as broken
constexpr int MaxStatusPolls = 10;
constexpr std::uint64_t ShortRest = std::uint64_t{8} << 20; // may be in the transport's buffers already
constexpr std::uint32_t SessionId = 1;

const char* nameOf(Operation operation) {
  switch (operation) {
  case Operation::GetDeviceInfo:
    return "GetDeviceInfo";
  case Operation::OpenSession:
    return "OpenSession";
  case Operation::CloseSession:
    return "CloseSession";
  case Operation::GetStorageIDs:
    return "GetStorageIDs";
  case Operation::GetStorageInfo:
    return "GetStorageInfo";
  case Operation::GetObjectHandles:
    return "GetObjectHandles";
  case Operation::GetObjectInfo:
    return "GetObjectInfo";
  case Operation::GetObject:
    return "GetObject";
  case Operation::GetThumb:
    return "GetThumb";
  case Operation::DeleteObject:
    return "DeleteObject";
  case Operation::SendObjectInfo:
    return "SendObjectInfo";
  case Operation::SendObject:
    return "SendObject";
  case Operation::SetObjectPropValue:
    return "SetObjectPropValue";
  case Operation::GetDevicePropValue:
    return "GetDevicePropValue";
  case Operation::GetObjectPropValue:
    return "GetObjectPropValue";
  case Operation::GetObjectPropList:
    return "GetObjectPropList";
  default:
    return "operation";
  }
}

} // namespace

Milliseconds TimeLimits::firstByte(Operation operation) const {
  switch (operation) {
  case Operation::GetDeviceInfo:
  case Operation::OpenSession:
  case Operation::CloseSession:
    return opening;
  case Operation::GetStorageIDs:
  case Operation::GetStorageInfo:
  case Operation::GetDevicePropDesc:
  case Operation::GetDevicePropValue:
  case Operation::GetObjectPropsSupported:
  case Operation::GetObjectPropDesc:
    return information;
  case Operation::GetObjectHandles:
  case Operation::GetObjectPropList:
    return listing;
  case Operation::DeleteObject:
    return deletion;
  case Operation::SendObject:
    return settling;
  default:
    return object;
  }
}

/// A transaction on its way.
struct Session::Exchange {
  Operation operation;
  std::uint32_t transaction = 0;
  std::span<const std::uint32_t> parameters{};
  const Sink* sink = nullptr;     // null: data is thrown away
  const Source* source = nullptr; // null: the data phase, if there is one, comes from the phone
  std::uint64_t toSend = 0;       // bytes of the data phase to the phone
  const Watch* watch = nullptr;
  const Asked* asked = nullptr;
  std::uint64_t likelySize = 0; // of the data phase from the phone; 0: nothing is known
  Milliseconds firstByte{};     // limit for the next byte to come

  Milliseconds limit{}; // of the next read
  std::chrono::steady_clock::time_point start{};
  std::chrono::steady_clock::duration ours{}; // time since then that was the computer's, not the phone's
  std::uint64_t received = 0;
  std::uint64_t sent = 0;   // of the data container, without the write on its way
  std::uint64_t left = 0;   // of the data phase from the phone
  bool inDataPhase = false; // data is going one way or the other, or the phone owes it
  bool stopped = false;     // by the computer
  std::chrono::steady_clock::time_point graceEnds{};
  bool hadData = false;
  bool cutShort = false; // the data phase had fewer bytes than its header promised
  bool garbage = false;  // bytes came that belong to no container
  int skipped = 0;
  Reply reply{};
};

Session::Session(std::unique_ptr<Transport> transport, TimeLimits limits)
    : m_transport(std::move(transport))
    , m_limits(std::move(limits))
    , m_buffer(BufferSize) {}

Session::~Session() {
  close();
}

Status Session::open(Transport::EventHandler onEvent) {
  // First of all: a responder that waits for its event to be read answers nothing else meanwhile.
  m_transport->startEvents(std::move(onEvent));
  const Exclusive lock(m_transaction);
  m_open = true; // from here on there is something to close
  const Reply reply = openSession();
  // A phone may hold the remains of a session that a crashed program left; once they are cleared away it answers.
  return reply.ok() || isGone() || m_dead || reply.code != Response() ? reply.status : openSession().status;
}

Reply Session::run(Operation operation, std::initializer_list<std::uint32_t> parameters) {
  Exchange transaction{operation};
  transaction.parameters = parameters;
  return transact(transaction);
}

Reply Session::receive(Operation operation, std::initializer_list<std::uint32_t> parameters,
                       std::vector<std::byte>& data, const Watch& watch) {
  data.clear();
  bool tooLarge = false;
  const Sink sink = [&](Bytes piece) {
    tooLarge = piece.size() > m_limits.largestDataset - data.size();
    if (!tooLarge)
      data.insert(data.end(), piece.begin(), piece.end());
    return !tooLarge;
  };
  Reply reply = receive(operation, parameters, sink, watch);
  if (tooLarge) {
    log(LogLevel::Warning, "%s: the phone sent more than a dataset may hold", nameOf(operation));
    reply.status = DGSTATUS_INTERNAL_SIZE_MISMATCH;
  }
  return reply;
}

Reply Session::receive(Operation operation, std::initializer_list<std::uint32_t> parameters, const Sink& sink,
                       const Watch& watch, std::uint64_t likelySize, const Asked& asked) {
  Exchange transaction{operation};
  transaction.parameters = parameters;
  transaction.sink = &sink;
  transaction.watch = watch ? &watch : nullptr;
  transaction.asked = asked ? &asked : nullptr;
  transaction.likelySize = likelySize;
  return transact(transaction);
}

Reply Session::send(Operation operation, std::initializer_list<std::uint32_t> parameters, std::uint64_t size,
                    const Source& source, const Watch& watch) {
  Exchange transaction{operation};
  transaction.parameters = parameters;
  transaction.source = &source;
  transaction.toSend = size;
  transaction.watch = watch ? &watch : nullptr;
  return transact(transaction);
}

Reply Session::send(Operation operation, std::initializer_list<std::uint32_t> parameters, Bytes dataset,
                    const Watch& watch) {
  std::vector<std::byte> container(ContainerHeader::Size + dataset.size());
  std::ranges::copy(dataset, container.begin() + ContainerHeader::Size);
  return send(
      operation, parameters, dataset.size(), [&] { return std::span(container); }, watch);
}

Session::Exclusive Session::exclusive(const Watch& watch) {
  Exclusive lock(m_transaction, std::defer_lock);
  const auto tryForATick = [&lock] {
#ifdef __SANITIZE_THREAD__ // it does not see waiting by the monotonic clock
    return lock.try_lock_until(std::chrono::system_clock::now() + Transport::TickInterval);
#else
    return lock.try_lock_for(Transport::TickInterval);
#endif
  };
  while (!tryForATick() && (!watch || watch(0))) {
  }
  return lock;
}

void Session::close() {
  if (m_closing.exchange(true))
    return;
  if (const Exclusive lock(m_transaction, std::try_to_lock); lock && m_open && !m_dead && !m_transport->isGone()) {
    Exchange closing{Operation::CloseSession};
    closing.firstByte = m_limits.control; // a phone that does not say goodbye is not waited for
    exchange(closing);
  } else if (!lock) {
    m_transport->interrupt();
  }
  m_transport->close();
}

Reply Session::transact(Exchange& transaction) {
  const Exclusive lock(m_transaction);
  if (isGone())
    return {DGSTATUS_NO_DEVICE_ATTACHED};
  if (m_dead)
    return {DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE};
  if (isTransactingHere()) { // asked for by a sink, source or watch: it would come into the middle of their own
    log(LogLevel::Warning, "%s refused: a transfer's callback cannot use the phone", nameOf(transaction.operation));
    return {DGSTATUS_UNSUCCESSFUL};
  }
  const struct Transacting {
    std::atomic<std::thread::id>& now;
    ~Transacting() { now = std::thread::id(); }
  } transacting{m_transactor};
  m_transactor = std::this_thread::get_id();
  transaction.firstByte = m_limits.firstByte(transaction.operation);
  if (transaction.watch)
    m_transport->setTick([&](std::size_t moved) { return mayGoOn(transaction, moved); });
  const auto begun = m_limits.now();
  const Outcome outcome = exchange(transaction);
  if (transaction.watch)
    m_transport->setTick({});
  const Reply reply = conclude(transaction, outcome);
  if (!reply.ok())
    log(LogLevel::Info, "%s (transaction %u): response 0x%04x, status 0x%08x, %.3f s", nameOf(transaction.operation),
        transaction.transaction, unsigned{static_cast<std::uint16_t>(reply.code)}, unsigned{reply.status},
        std::chrono::duration<double>(m_limits.now() - begun).count());
  return reply;
}

/// Turns the outcome into the caller's reply, bringing the wire back into order first where it needs that.
Reply Session::conclude(Exchange& exchange, Outcome outcome) {
  Reply& reply = exchange.reply;
  switch (outcome) {
  case Outcome::Done:
    reply.status = statusOfResponse(static_cast<std::uint16_t>(reply.code));
    if (exchange.operation == Operation::OpenSession && reply.code == Response::SessionAlreadyOpen)
      reply.status = DGSTATUS_SUCCESS;
    if (exchange.stopped)
      reply.status = DGSTATUS_IO_CANCEL;
    else if (reply.ok() && exchange.cutShort)
      reply.status = DGSTATUS_INTERNAL_SIZE_MISMATCH;
    else if (reply.ok() && exchange.garbage && exchange.sink)
      reply.status = DGSTATUS_INTERNAL_DRIVER_READ_ERROR;
    if (reply.code == Response::SessionNotOpen && exchange.operation != Operation::OpenSession && !m_closing) {
      log(LogLevel::Info, "the phone closed the session; opening it again");
      reopen();
    }
    return reply;
  case Outcome::TimedOut:
    reply.status = DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE;
    break;
  case Outcome::Refused:
    reply.status = DGSTATUS_IO_CANCEL;
    break;
  case Outcome::Stalled:
  case Outcome::Broken:
    reply.status = DGSTATUS_INTERNAL_DRIVER_READ_ERROR;
    break;
  case Outcome::Gone:
    reply.status = DGSTATUS_NO_DEVICE_ATTACHED;
    break;
  }
  if (outcome != Outcome::Gone && !isGone() && !recover(exchange, outcome) && !isGone()) {
    m_dead = true;
    log(LogLevel::Warning, "the phone does not answer any more; unplugging it and plugging it in again helps");
  }
  if (exchange.stopped)
    reply.status = DGSTATUS_IO_CANCEL;
  if (isGone())
    reply.status = DGSTATUS_NO_DEVICE_ATTACHED;
  return reply;
}

Session::Outcome Session::exchange(Exchange& exchange) {
  exchange.transaction = exchange.operation == Operation::OpenSession ? 0 : nextTransaction();
  if (exchange.operation == Operation::OpenSession)
    m_lastTransaction = 0;
  exchange.start = m_limits.now();
  exchange.limit = exchange.firstByte;
  m_begin = m_end = 0; // bytes behind the last response belong to nobody
  m_transferEnded = false;
  countTransaction();

  if (const Outcome outcome = sendCommand(exchange); outcome != Outcome::Done)
    return outcome;
  if (exchange.asked) {
    (*exchange.asked)();
    exchange.start = m_limits.now();
  }
  if (exchange.source) {
    if (const Outcome outcome = sendData(exchange); outcome != Outcome::Done)
      return isAnsweredEarly(exchange) ? Outcome::Done : outcome;
    exchange.start = m_limits.now();
    exchange.ours = {};
  }
  return awaitResponse(exchange);
}

Session::Outcome Session::sendCommand(Exchange& exchange) {
  const CommandContainer command(exchange.operation, exchange.transaction, exchange.parameters);
  return outcomeOf(m_transport->write(command.bytes(), true, std::min(exchange.firstByte, m_limits.idle)), exchange);
}

Session::Outcome Session::sendData(Exchange& exchange) {
  const std::uint64_t total = ContainerHeader::Size + exchange.toSend;
  exchange.inDataPhase = true;
  while (exchange.sent < total) {
    const auto asked = m_limits.now();
    std::span<std::byte> piece = (*exchange.source)();
    exchange.ours += m_limits.now() - asked;
    if (piece.empty())
      stop(exchange);
    if (!mayGoOn(exchange, 0))
      return Outcome::Refused;
    if (exchange.sent == 0)
      std::ranges::copy(dataHeader(total, exchange.operation, exchange.transaction), piece.begin());
    piece = piece.first(static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), total - exchange.sent)));
    const bool last = exchange.sent + piece.size() == total;
    if (const Outcome outcome = outcomeOf(m_transport->write(piece, last, m_limits.idle), exchange);
        outcome != Outcome::Done)
      return outcome;
    exchange.sent += piece.size();
  }
  exchange.inDataPhase = false;
  mayGoOn(exchange, 0);
  return Outcome::Done;
}

Session::Outcome Session::outcomeOf(IoStatus status, const Exchange& exchange) const {
  switch (status) {
  case IoStatus::Ok:
    return Outcome::Done;
  case IoStatus::Timeout:
    return Outcome::TimedOut;
  case IoStatus::Stall:
    return Outcome::Stalled;
  case IoStatus::Gone:
    return Outcome::Gone;
  case IoStatus::Cancelled:
    if (exchange.stopped)
      return Outcome::Refused;
    return exchange.watch && isTooSlow(exchange) ? Outcome::TimedOut : Outcome::Broken;
  case IoStatus::Error:
    break;
  }
  return Outcome::Broken;
}

/// Whether the phone, which takes no more of the data, has answered already: then it is idle, and a cancel request
/// would hit the next transaction.
bool Session::isAnsweredEarly(Exchange& exchange) {
  if (exchange.stopped || isGone())
    return false;
  exchange.firstByte = exchange.limit = Milliseconds(1);
  exchange.start = m_limits.now();
  exchange.inDataPhase = false;
  const bool answered = awaitResponse(exchange) == Outcome::Done && exchange.reply.code != Response::OK;
  if (!answered) {
    exchange.reply = {};
    exchange.inDataPhase = true;
  }
  return answered;
}

/// Asks the watch, and whether a transfer that is to stop has to be broken off.
bool Session::mayGoOn(Exchange& exchange, std::uint64_t moved) {
  if (exchange.watch && !exchange.stopped) {
    const std::uint64_t header = exchange.source ? ContainerHeader::Size : 0;
    const std::uint64_t all = (exchange.source ? exchange.sent : exchange.received) + moved;
    const auto asked = m_limits.now();
    if (!(*exchange.watch)(all - std::min(all, header)))
      stop(exchange);
    exchange.ours += m_limits.now() - asked;
  }
  if (!exchange.stopped)
    return !isTooSlow(exchange);
  if (exchange.source)
    return !exchange.inDataPhase;
  if (exchange.hadData && !exchange.inDataPhase)
    return true;
  if (exchange.left <= ShortRest && m_limits.now() < exchange.graceEnds)
    return true;
  exchange.inDataPhase = true; // or it is about to begin
  return false;
}

void Session::stop(Exchange& exchange) {
  if (exchange.stopped)
    return;
  exchange.stopped = true;
  exchange.graceEnds = m_limits.now() + m_limits.stopping;
}

/// Without this one byte now and then would hold a caller for good.
bool Session::isTooSlow(const Exchange& exchange) const {
  const Milliseconds slowest(1000 * (exchange.received + exchange.sent) / m_limits.slowestBytesPerSecond);
  return m_limits.now() - exchange.start - exchange.ours >
         m_limits.firstByte(exchange.operation) + 2 * m_limits.idle + slowest;
}

Session::Outcome Session::awaitResponse(Exchange& exchange) {
  for (; exchange.skipped < MaxSkipped; ++exchange.skipped) {
    const bool beginsTransfer = buffered() == 0;
    if (beginsTransfer)
      beginTransfer();
    while (buffered() < ContainerHeader::Size && !m_transferEnded) {
      if (const Outcome outcome = readMore(exchange); outcome != Outcome::Done)
        return outcome;
    }
    if (buffered() == 0)
      continue; // a zero-length packet that ended the transfer before
    const bool whole = buffered() >= ContainerHeader::Size;
    const ContainerHeader header = whole ? parseHeader(buffer(ContainerHeader::Size)) : ContainerHeader();
    const bool mine = header.transaction == exchange.transaction;

    Outcome outcome = Outcome::Done;
    if (whole && header.type == ContainerType::Response && header.length >= ContainerHeader::Size &&
        header.length <= ContainerHeader::Size + 4 * MaxParameters) {
      bool answered = false;
      outcome = receiveResponse(exchange, header, answered);
      if (answered || outcome != Outcome::Done)
        return outcome;
    } else if (whole && header.type == ContainerType::Data && header.length >= ContainerHeader::Size) {
      use(ContainerHeader::Size);
      if (mine && header.code == static_cast<std::uint16_t>(exchange.operation) && !exchange.hadData) {
        outcome = receiveData(exchange, header, beginsTransfer);
      } else { // the late answer to a transaction that was given up
        outcome = header.length == ContainerHeader::UntilShortPacket
                      ? skipTransfer(exchange)
                      : skip(exchange, header.length - ContainerHeader::Size);
      }
    } else {
      // Transfers are where a stream of garbage can be picked up again.
      exchange.garbage = true;
      exchange.firstByte = std::min(exchange.firstByte, m_limits.afterGarbage);
      outcome = skipTransfer(exchange);
    }
    if (outcome != Outcome::Done)
      return outcome;
    exchange.limit = exchange.firstByte;
  }
  return Outcome::Broken;
}

/// Hands the payload of the transaction's data container to its sink.
Session::Outcome Session::receiveData(Exchange& exchange, const ContainerHeader& header, bool headerBeganTransfer) {
  exchange.hadData = true;
  exchange.inDataPhase = true;
  exchange.limit = m_limits.idle;
  const std::uint64_t likely = exchange.likelySize + ContainerHeader::Size;
  const bool wrapped =
      likely >= ContainerHeader::UntilShortPacket && header.length == static_cast<std::uint32_t>(likely);
  const bool untilShortPacket = header.length == ContainerHeader::UntilShortPacket || wrapped;
  std::uint64_t left = untilShortPacket ? ~std::uint64_t{0} : header.length - ContainerHeader::Size;
  exchange.left = left;
  const std::uint64_t toCome = untilShortPacket ? exchange.likelySize : left;
  if (toCome > buffered())
    m_transport->expect(toCome - buffered());
  // Some responders send the header in a transfer of its own.
  bool headerAlone = headerBeganTransfer && buffered() == 0 && m_transferEnded && !untilShortPacket;
  while (left > 0) {
    if (buffered() > 0) {
      const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(buffered(), left));
      headerAlone = false;
      if (exchange.sink && !exchange.stopped) {
        const auto asked = m_limits.now();
        if (!(*exchange.sink)(buffer(piece)))
          stop(exchange);
        exchange.ours += m_limits.now() - asked;
      }
      use(piece);
      left -= piece;
      exchange.left = left;
      if (exchange.stopped)
        exchange.limit = std::min(exchange.limit, m_limits.stopping);
      if (left > 0 && (exchange.watch || exchange.stopped) && !mayGoOn(exchange, 0))
        return exchange.stopped ? Outcome::Refused : Outcome::TimedOut;
      continue;
    }
    if (m_transferEnded && !headerAlone)
      break;
    beginTransfer();
    if (const Outcome outcome = readMore(exchange); outcome != Outcome::Done)
      return outcome;
    headerAlone = headerAlone && buffered() == 0 && exchange.skipped++ < MaxSkipped;
  }
  exchange.inDataPhase = false;
  if (left > 0 && !untilShortPacket) {
    exchange.cutShort = true;
    exchange.firstByte = std::min(exchange.firstByte, m_limits.afterGarbage);
  }
  return Outcome::Done;
}

/// `mine` is set when the container is the response of this transaction; another one is skipped.
Session::Outcome Session::receiveResponse(Exchange& exchange, const ContainerHeader& header, bool& mine) {
  while (buffered() < header.length && !m_transferEnded) {
    if (const Outcome outcome = readMore(exchange); outcome != Outcome::Done)
      return outcome;
  }
  const std::size_t size = std::min<std::size_t>(header.length, buffered());
  Reader parameters(buffer(size).subspan(ContainerHeader::Size));
  mine = header.transaction == exchange.transaction;
  if (mine) {
    exchange.reply.code = static_cast<Response>(header.code);
    for (std::uint32_t& parameter : exchange.reply.parameters)
      parameter = parameters.u32();
  }
  use(size);
  return Outcome::Done;
}

Session::Outcome Session::skip(Exchange& exchange, std::uint64_t bytes) {
  std::uint64_t skipped = 0;
  while (skipped < bytes) {
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(buffered(), bytes - skipped));
    use(piece);
    skipped += piece;
    if (skipped == bytes || (buffered() == 0 && m_transferEnded))
      break;
    if (skipped > MaxDrained)
      return Outcome::Broken;
    beginTransfer();
    exchange.limit = std::min(exchange.firstByte, m_limits.idle);
    if (const Outcome outcome = readMore(exchange); outcome != Outcome::Done)
      return outcome;
  }
  return Outcome::Done;
}

/// Throws away what is left of the current transfer.
Session::Outcome Session::skipTransfer(Exchange& exchange) {
  return skip(exchange, ~std::uint64_t{0});
}

/// Adds at least one byte, or the end of the transfer, to what is buffered.
Session::Outcome Session::readMore(Exchange& exchange) {
  if (m_begin > 0 && m_buffer.size() - m_end < m_transport->maxPacketSize()) {
    std::copy(m_buffer.begin() + static_cast<std::ptrdiff_t>(m_begin),
              m_buffer.begin() + static_cast<std::ptrdiff_t>(m_end), m_buffer.begin());
    m_end -= m_begin;
    m_begin = 0;
  }
  if (isTooSlow(exchange))
    return Outcome::TimedOut;

  const ReadResult result = m_transport->read(std::span(m_buffer).subspan(m_end), exchange.limit);
  if (result.status == IoStatus::Ok) {
    m_end += result.size;
    exchange.received += result.size;
    m_transferEnded = result.endOfTransfer;
  }
  return outcomeOf(result.status, exchange);
}

void Session::beginTransfer() {
  m_begin = m_end = 0;
  m_transferEnded = false;
}

std::uint32_t Session::nextTransaction() {
  // 0 belongs to OpenSession, 0xFFFFFFFF to nobody.
  m_lastTransaction = m_lastTransaction >= 0xFFFFFFFE ? 1 : m_lastTransaction + 1;
  return m_lastTransaction;
}

/// Brings the wire back into order: at first without the phone noticing more than it must; a reset, which costs the
/// phone its session, only when it then still does not answer. False: nothing helped.
bool Session::recover(const Exchange& failed, Outcome outcome) {
  const char* what = outcome == Outcome::TimedOut  ? "no answer in time"
                     : outcome == Outcome::Stalled ? "the pipe stalled"
                     : outcome == Outcome::Refused ? "ended by the computer"
                                                   : "unreadable answer";
  log(outcome == Outcome::Refused ? LogLevel::Debug : LogLevel::Warning, "%s (transaction %u): %s",
      nameOf(failed.operation), failed.transaction, what);
  if (outcome == Outcome::Stalled)
    clearStall();
  else if (failed.inDataPhase) // a cancel request at any other time would hit the next transaction
    cancelDataPhase(failed.transaction);
  drain();
  if (isAnswering())
    return true;
  if (isGone())
    return false;

  log(LogLevel::Warning, "resetting the phone's USB port");
  if (const IoStatus status = m_transport->reset(); status != IoStatus::Ok) {
    log(LogLevel::Warning, "the reset failed: %s", toString(status));
    return false;
  }
  drain();
  return reopen() && isAnswering();
}

void Session::cancelDataPhase(std::uint32_t transaction) {
  const auto data = cancelRequestData(transaction);
  m_transport->controlOut(static_cast<std::uint8_t>(ClassRequest::Cancel), data, m_limits.control);
  for (int poll = 0; poll < MaxStatusPolls && !isGone(); ++poll) {
    drain(); // the phone cannot end its data phase before what it has sent is taken
    std::array<std::byte, 32> answer;
    const ReadResult result =
        m_transport->controlIn(static_cast<std::uint8_t>(ClassRequest::GetDeviceStatus), answer, m_limits.control);
    if (result.status != IoStatus::Ok)
      return; // no help from this phone; the probe will tell
    const auto code = deviceStatusCode(Bytes(answer).first(std::min(result.size, answer.size())));
    if (!code || static_cast<Response>(*code) != Response::DeviceBusy)
      return;
  }
}

void Session::clearStall() {
  std::array<std::byte, 32> answer;
  m_transport->controlIn(static_cast<std::uint8_t>(ClassRequest::GetDeviceStatus), answer, m_limits.control);
  m_transport->clearHalt(Pipe::BulkIn);
  m_transport->clearHalt(Pipe::BulkOut);
}

/// Empties the in pipe until it is quiet. A response that comes now, or none, is both right.
void Session::drain() {
  bool cleared = false;
  const auto start = m_limits.now();
  for (std::uint64_t drained = 0; drained < MaxDrained && !isGone();) {
    const ReadResult result = m_transport->read(m_buffer, m_limits.quiet);
    if (result.status == IoStatus::Stall && !cleared) {
      clearStall();
      cleared = true;
    } else if (result.status != IoStatus::Ok) {
      break;
    }
    drained += result.size + 1;
    if (m_limits.now() - start > m_limits.idle)
      break;
  }
  beginTransfer();
}

/// Whether the phone answers a question whose answer cannot do harm.
bool Session::isAnswering() {
  Exchange probe{Operation::GetDeviceInfo};
  probe.firstByte = m_limits.probe;
  const Outcome outcome = exchange(probe);
  if (outcome == Outcome::Done && probe.reply.code == Response::SessionNotOpen)
    return reopen();
  if (outcome == Outcome::Stalled)
    clearStall();
  return outcome == Outcome::Done;
}

Reply Session::openSession() {
  Exchange opening{Operation::OpenSession};
  opening.parameters = std::span(&SessionId, 1);
  opening.firstByte = m_limits.opening;
  return conclude(opening, exchange(opening));
}

/// After the phone lost the session. Not through conclude(): it is a step of the recovery.
bool Session::reopen() {
  Exchange opening{Operation::OpenSession};
  opening.parameters = std::span(&SessionId, 1);
  opening.firstByte = m_limits.opening;
  const bool answered = exchange(opening) == Outcome::Done;
  if (m_onReopened)
    m_onReopened();
  return answered && (opening.reply.code == Response::OK || opening.reply.code == Response::SessionAlreadyOpen);
}

} // namespace mtp
