#include "TessalyMTPSdk/BufferRing.h"

namespace mtp {

template <typename Ready>
bool BufferRing::waitFor(std::unique_lock<std::mutex>& lock, const Waiting& waiting, const Ready& ready) {
  while (!m_closed && !ready()) {
    if (m_changed.wait_for(lock, AskInterval) == std::cv_status::timeout && waiting) {
      lock.unlock();
      const bool goOn = waiting();
      lock.lock();
      if (!goOn)
        return false;
    }
  }
  return !m_closed;
}

std::span<std::byte> BufferRing::toFill(const Waiting& waiting) {
  std::unique_lock lock(m_mutex);
  if (!waitFor(lock, waiting, [this] { return m_count < Buffers; }))
    return {};
  Buffer& buffer = m_buffers[(m_first + m_count) % Buffers];
  if (!buffer.bytes)
    buffer.bytes = std::make_unique_for_overwrite<std::byte[]>(BufferSize);
  return {buffer.bytes.get(), BufferSize};
}

void BufferRing::filled(std::size_t size) {
  const std::lock_guard lock(m_mutex);
  m_buffers[(m_first + m_count) % Buffers].size = size;
  ++m_count;
  m_changed.notify_all();
}

void BufferRing::end() {
  const std::lock_guard lock(m_mutex);
  m_ended = true;
  m_changed.notify_all();
}

std::span<std::byte> BufferRing::toEmpty(const Waiting& waiting) {
  std::unique_lock lock(m_mutex);
  if (!waitFor(lock, waiting, [this] { return m_count > 0 || m_ended; }) || m_count == 0)
    return {};
  const Buffer& buffer = m_buffers[m_first];
  return {buffer.bytes.get(), buffer.size};
}

void BufferRing::emptied() {
  const std::lock_guard lock(m_mutex);
  m_first = (m_first + 1) % Buffers;
  --m_count;
  m_changed.notify_all();
}

void BufferRing::close() {
  const std::lock_guard lock(m_mutex);
  m_closed = true;
  m_changed.notify_all();
}

} // namespace mtp
