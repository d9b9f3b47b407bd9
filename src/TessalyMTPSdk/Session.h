#pragma once
// One MTP session over one transport: transactions one at a time, each with an end in time, and the way back to a
// usable wire after a phone fell silent, stalled or sent garbage.
#include "TessalyMTPSdk/CoarseClock.h"
#include "TessalyMTPSdk/StatusCodes.h"
#include "TessalyMTPSdk/Transport.h"
#include "TessalyMTPSdk/Wire.h"

#include <atomic>
#include <initializer_list>
#include <mutex>
#include <thread>

namespace mtp {

/// How long a phone may take. Tests shorten them.
struct TimeLimits {
  using Milliseconds = std::chrono::milliseconds;

  Milliseconds opening{5'000};      // OpenSession, GetDeviceInfo, CloseSession
  Milliseconds information{10'000}; // storages, properties: a phone that wakes up from sleep
  Milliseconds object{20'000};      // anything about one object: a database query
  Milliseconds listing{180'000};    // whole folders: some responders' cost is quadratic (28 s for 20,000 files)
  Milliseconds deletion{180'000};   // a folder with everything below it
  Milliseconds settling{60'000};    // after the last byte of an object: a slow card is written out only then
  Milliseconds idle{10'000};        // between two pieces of a transfer
  Milliseconds afterGarbage{2'000}; // for the response of a transaction whose data phase was broken
  Milliseconds quiet{300};          // an emptied pipe stays silent for so long
  Milliseconds probe{2'000};        // for the answer that shows that the wire works again
  Milliseconds control{1'000};      // class requests
  Milliseconds stopping{150};       // a transfer that is to stop may still end by itself
  Milliseconds longOpening{3'000};  // a phone whose opening failed after more than this is let alone for as long again

  /// Data slower than this counts as silence. Far below the slowest phone; without it one byte now and then would hold
  /// a caller for good.
  std::uint64_t slowestBytesPerSecond = 8 * 1024;
  /// The most that is kept of one dataset: 2^28 bytes are some millions of objects.
  std::size_t largestDataset = std::size_t{1} << 28;

  std::function<std::chrono::steady_clock::time_point()> now = CoarseClock::now;

  /// From the command to the first byte of the answer.
  Milliseconds firstByte(Operation operation) const;
};

/// How a transaction ended.
struct Reply {
  Status status = DGSTATUS_SUCCESS;
  Response code{}; // the phone's response; 0 when none came
  std::array<std::uint32_t, MaxParameters> parameters{};

  bool ok() const { return status == DGSTATUS_SUCCESS; }
};

/// All operations may be called from any thread. Those that make a transaction block for the transactions of other
/// threads before them and for their own, which ends at the latest when its time limit and that of the recovery
/// (some seconds) are over.
class Session {
public:
  /// Takes a piece of a data phase; false ends the transfer.
  using Sink = std::function<bool(Bytes piece)>;
  /// Gives the next piece of a data container to the phone: the first with ContainerHeader::Size bytes of room at its
  /// start, all but the last a multiple of 1024 bytes. It stays untouched until the next call, or the end. Empty: the
  /// transfer ends here, incomplete.
  using Source = std::function<std::span<std::byte>()>;
  /// Asked on the transacting thread while the phone is waited for, at least every Transport::TickInterval; gets the
  /// bytes of the data phase so far. Transactions it asks for itself are refused. False ends the transfer: at once in
  /// its data phase, which is cancelled; before and behind it the phone is given the chance to end by itself, as a
  /// cancel request would then hit the next transaction.
  using Watch = std::function<bool(std::uint64_t moved)>;
  /// Called once, on the transacting thread, when the phone has been asked and is at work: what can be done meanwhile.
  /// Transactions it asks for itself are refused. Must not throw.
  using Asked = std::function<void()>;

  /// Holds the session for several transactions in a row: those of other threads wait. One thread may have several.
  using Exclusive = std::unique_lock<std::recursive_timed_mutex>;

  explicit Session(std::unique_ptr<Transport> transport, TimeLimits limits = {});
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Called, on the thread of the transaction concerned, when the phone lost the session and a new one was opened:
  /// object handles known so far mean nothing any more. Set before open().
  void onReopened(std::function<void()> handler) { m_onReopened = std::move(handler); }

  /// Starts the interrupt pipe, then opens the session. Blocks. Events are handed out on the transport's event thread.
  Status open(Transport::EventHandler onEvent);

  /// A transaction without data phase.
  Reply run(Operation operation, std::initializer_list<std::uint32_t> parameters);
  /// A transaction whose data phase comes from the phone. `data` is replaced. No memory is taken ahead of the bytes.
  Reply receive(Operation operation, std::initializer_list<std::uint32_t> parameters, std::vector<std::byte>& data,
                const Watch& watch = {});
  /// The same, piece by piece as it comes. Ended by the sink or the watch: DGSTATUS_IO_CANCEL. `likelySize`: what is
  /// known of the data phase's size; tells a header apart whose 32 bits have wrapped around.
  Reply receive(Operation operation, std::initializer_list<std::uint32_t> parameters, const Sink& sink,
                const Watch& watch = {}, std::uint64_t likelySize = 0, const Asked& asked = {});
  /// A transaction whose data phase, `size` bytes, goes to the phone. Ended by the source or the watch:
  /// DGSTATUS_IO_CANCEL, whatever the phone answered.
  Reply send(Operation operation, std::initializer_list<std::uint32_t> parameters, std::uint64_t size,
             const Source& source, const Watch& watch = {});
  /// The same for a dataset.
  Reply send(Operation operation, std::initializer_list<std::uint32_t> parameters, Bytes dataset,
             const Watch& watch = {});

  /// Waits for the session. The watch, asked at least every Transport::TickInterval, can end that: it is not held then.
  Exclusive exclusive(const Watch& watch = {});
  /// Whether the calling thread is in the middle of a transaction: a sink, source or watch asks.
  bool isTransactingHere() const { return m_transactor == std::this_thread::get_id(); }
  const TimeLimits& limits() const { return m_limits; }

  /// Unplugged or closed.
  bool isGone() const { return m_closing || m_transport->isGone(); }
  /// The phone stopped answering and could not be brought back: every call is answered with a status at once.
  bool isDead() const { return m_dead; }
  /// Ends the session; a transaction running on another thread is broken off. Blocks shortly. Harmless when repeated.
  void close();

private:
  enum class Outcome { Done, TimedOut, Stalled, Broken, Refused, Gone };
  struct Exchange;

  Reply transact(Exchange& exchange);
  Outcome exchange(Exchange& exchange);
  Outcome sendCommand(Exchange& exchange);
  Outcome sendData(Exchange& exchange);
  Outcome outcomeOf(IoStatus status, const Exchange& exchange) const;
  bool isAnsweredEarly(Exchange& exchange);
  bool mayGoOn(Exchange& exchange, std::uint64_t moved);
  void stop(Exchange& exchange);
  bool isTooSlow(const Exchange& exchange) const;
  Outcome awaitResponse(Exchange& exchange);
  Outcome receiveData(Exchange& exchange, const ContainerHeader& header, bool headerBeganTransfer);
  Outcome receiveResponse(Exchange& exchange, const ContainerHeader& header, bool& mine);
  Outcome skip(Exchange& exchange, std::uint64_t bytes);
  Outcome skipTransfer(Exchange& exchange);
  Outcome readMore(Exchange& exchange);
  Reply conclude(Exchange& exchange, Outcome outcome);

  bool recover(const Exchange& failed, Outcome outcome);
  void cancelDataPhase(std::uint32_t transaction);
  void clearStall();
  void drain();
  bool isAnswering();
  Reply openSession();
  bool reopen();
  std::uint32_t nextTransaction();

  // The bytes read and not yet used; all of one transfer.
  std::size_t buffered() const { return m_end - m_begin; }
  Bytes buffer(std::size_t size) const { return Bytes(m_buffer).subspan(m_begin, size); }
  void use(std::size_t size) { m_begin += size; }
  void beginTransfer();

  const std::unique_ptr<Transport> m_transport;
  const TimeLimits m_limits;
  std::function<void()> m_onReopened;

  std::recursive_timed_mutex
      m_transaction; // held for a whole transaction, recovery included; guards all below up to the atomics
  std::uint32_t m_lastTransaction = 0;
  std::vector<std::byte> m_buffer;
  std::size_t m_begin = 0;
  std::size_t m_end = 0;
  bool m_transferEnded = false; // behind the buffered bytes
  bool m_open = false;

  std::atomic<std::thread::id> m_transactor{}; // written by the transaction's thread; others learn that it is not them
  std::atomic<bool> m_dead = false;            // written by the transaction's thread, read by all
  std::atomic<bool> m_closing = false;         // written by close(), read by all
};

} // namespace mtp
