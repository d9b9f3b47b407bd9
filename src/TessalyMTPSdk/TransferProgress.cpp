#include "TessalyMTPSdk/TransferProgress.h"

#include <algorithm>

namespace mtp {

TransferProgress::TransferProgress(mtpDextProgressCallback callback, void* context,
                                   std::function<Clock::time_point()> now)
    : m_callback(callback)
    , m_context(context)
    , m_now(std::move(now))
    , m_told(m_now()) {}

bool TransferProgress::at(std::uint64_t bytes) {
  m_current = std::max(m_current, std::min(bytes, m_total)); // of a container's bytes some are not the file's
  if (m_callback && !m_stopped && m_now() - m_told >= LeastInterval)
    return tell();
  return !m_stopped;
}

bool TransferProgress::done() {
  m_current = m_total;
  return m_callback && !m_stopped ? tell() : !m_stopped;
}

bool TransferProgress::tell() {
  m_stopped = m_callback(m_current, m_total, m_context) != 0;
  m_told = m_now();
  return !m_stopped;
}

} // namespace mtp
