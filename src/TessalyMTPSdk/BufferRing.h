#pragma once
// Buffers that go round between a thread that fills them and one that empties them: USB and disk work at the same time,
// and a file takes the same memory however long it is.
#include <array>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <span>

namespace mtp {

/// One thread fills, one empties; close() may be called by any.
class BufferRing {
public:
  static constexpr std::size_t BufferSize = std::size_t{2} << 20; // a few large bulk transfers
  static constexpr std::size_t Buffers = 4;
  static constexpr std::chrono::milliseconds AskInterval{50};

  /// Asked by a side that waits, on its thread, at least every AskInterval; false: it waits no longer.
  using Waiting = std::function<bool()>;

  /// A whole buffer, once one is empty; nothing when the ring is closed or `waiting` gave up. The memory is taken at
  /// the first use of each buffer. Throws std::bad_alloc.
  std::span<std::byte> toFill(const Waiting& waiting = {});
  /// Passes its first `size` bytes on.
  void filled(std::size_t size);
  /// Nothing more comes.
  void end();

  /// The next filled buffer; nothing behind the last one, and as with toFill().
  std::span<std::byte> toEmpty(const Waiting& waiting = {});
  void emptied();

  /// Ends all waiting, now and from now on.
  void close();

private:
  struct Buffer {
    std::unique_ptr<std::byte[]> bytes;
    std::size_t size = 0; // filled
  };
  template <typename Ready>
  bool waitFor(std::unique_lock<std::mutex>& lock, const Waiting& waiting, const Ready& ready);

  std::mutex m_mutex; // guards all below, but not the bytes: a buffer belongs to one side at a time
  std::condition_variable m_changed;
  std::array<Buffer, Buffers> m_buffers;
  std::size_t m_first = 0; // the next to empty
  std::size_t m_count = 0; // filled ones
  bool m_ended = false;
  bool m_closed = false;
};

} // namespace mtp
