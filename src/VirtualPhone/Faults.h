#pragma once
// Misbehaviour of the virtual phone on request: what goes wrong, and in which transaction and at which byte.
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

namespace vphone {

enum class FaultKind {
  Stall,              // halts both bulk pipes; the status request then answers 0x201F until the halts are cleared
  EndEarly,           // ends the transfer at `atByte` as if it were complete (data phase only)
  WrongLength,        // the container's length field is `value`; the bytes stay as they are
  Garbage,            // the container's bytes from `atByte` on are noise
  WrongTransactionId, // the container's transaction ID is another one
  Silence,            // nothing more on the bulk pipes until the host cancels or resets
  Hang,               // as Silence, the default pipe included; only unplugging ends it
  Unplug,             // the cable is pulled
  Respond,            // response code `value` instead of doing the operation (a data phase from the host is read first)
  Delay               // `value` milliseconds pass first
};

/// Which container the fault strikes. Data is the data phase of the transaction, whichever way it goes.
enum class FaultPhase { Data, Response };

/// One fault; it strikes once, in the first transaction that fits. Without `transaction` and `operation` that is the
/// next.
struct Fault {
  FaultKind kind = FaultKind::Stall;
  FaultPhase phase = FaultPhase::Response;
  std::optional<std::uint64_t> transaction; // counted from 0 since the last Faults::clear() or the start
  std::optional<std::uint16_t> operation;
  /// Bytes of the container (its 12 bytes of header included) that still go well. A fault in the data phase of a
  /// transaction that has none, or has fewer bytes, does not strike.
  std::uint64_t atByte = 0;
  std::uint32_t value = 0;
};

/// The faults waiting to strike. Any thread, does not block.
class Faults {
public:
  void add(const Fault& fault);
  /// Forgets all faults and counts transactions from 0 again.
  void clear();
  /// Transactions since the start or clear().
  std::uint64_t transactions() const;
  /// How many faults have struck since the start or clear().
  std::uint64_t struck() const;

  /// For the responder: a transaction begins; the fault chosen for it, which is no longer waiting.
  std::optional<Fault> next(std::uint16_t operation);
  void countStrike();

private:
  mutable std::mutex mutex_;
  std::vector<Fault> waiting_;
  std::uint64_t transactions_ = 0;
  std::uint64_t struck_ = 0;
};

} // namespace vphone
