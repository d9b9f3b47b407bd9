#pragma once
// Tells the caller of a transfer how far it is, and takes the answer.
#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include <chrono>
#include <functional>

namespace mtp {

/// For the transferring thread. Paced: whoever moves the bytes tells as often as it likes, at least every 50 ms; the
/// callback is called at most a hundred times a second, and at the end in any case.
class TransferProgress {
public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds LeastInterval{11};

  /// `callback` may be null: then nobody is told and nothing stops the transfer.
  TransferProgress(mtpDextProgressCallback callback, void* context, std::function<Clock::time_point()> now);

  void setTotal(std::uint64_t bytes) { m_total = bytes; }
  /// So many bytes are through. False: the transfer is to stop.
  bool at(std::uint64_t bytes);
  /// Nothing has moved since. False as above.
  bool waiting() { return at(m_current); }
  /// All bytes are through; tells in any case. False as above.
  bool done();
  bool isStopped() const { return m_stopped; }

private:
  bool tell();

  const mtpDextProgressCallback m_callback;
  void* const m_context;
  const std::function<Clock::time_point()> m_now;
  Clock::time_point m_told;
  std::uint64_t m_current = 0;
  std::uint64_t m_total = 0;
  bool m_stopped = false;
};

} // namespace mtp
