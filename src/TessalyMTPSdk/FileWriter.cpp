#include "TessalyMTPSdk/FileWriter.h"

#include "TessalyMTPSdk/FileErrors.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <utility>

namespace mtp {

FileWriter::FileWriter(int file, bool durable, std::uint64_t likelySize)
    : m_file(file)
    , m_durable(durable) {
  if (durable || likelySize >= Small)
    m_thread = std::thread([this] { run(); });
}

FileWriter::~FileWriter() {
  m_ring.close();
  if (m_thread.joinable())
    m_thread.join();
}

bool FileWriter::put(Bytes bytes, const BufferRing::Waiting& waiting) {
  if (!m_thread.joinable())
    return putAtOnce(bytes);
  while (!bytes.empty()) {
    if (m_filling.empty() && !takeBuffer(waiting))
      return false;
    const std::size_t size = std::min(bytes.size(), m_filling.size() - m_fill);
    std::memcpy(m_filling.data() + m_fill, bytes.data(), size); // std::ranges::copy goes byte by byte here
    bytes = bytes.subspan(size);
    m_fill += size;
    if (m_fill == m_filling.size()) {
      m_ring.filled(std::exchange(m_fill, 0));
      m_filling = {};
    }
  }
  return true;
}

bool FileWriter::putAtOnce(Bytes bytes) {
  const Status status = write(bytes);
  const std::lock_guard lock(m_mutex);
  if (m_status == DGSTATUS_SUCCESS)
    m_status = status;
  return m_status == DGSTATUS_SUCCESS;
}

bool FileWriter::takeBuffer(const BufferRing::Waiting& waiting) {
  try {
    m_filling = m_ring.toFill(waiting);
  } catch (const std::bad_alloc&) { // bytes come from the middle of a transaction, which has to be ended in order
    const std::lock_guard lock(m_mutex);
    m_status = DGSTATUS_INSUFFICIENT_RESOURCE;
  }
  return !m_filling.empty();
}

bool FileWriter::finish(const BufferRing::Waiting& waiting) {
  if (!m_thread.joinable())
    return status() == DGSTATUS_SUCCESS;
  if (m_fill > 0)
    m_ring.filled(std::exchange(m_fill, 0));
  m_filling = {};
  m_ring.end();
  std::unique_lock lock(m_mutex);
  while (!m_done) {
    if (m_changed.wait_for(lock, BufferRing::AskInterval) == std::cv_status::timeout && waiting) {
      lock.unlock();
      const bool goOn = waiting();
      lock.lock();
      if (!goOn)
        return false;
    }
  }
  return m_status == DGSTATUS_SUCCESS;
}

Status FileWriter::status() const {
  const std::lock_guard lock(m_mutex);
  return m_status;
}

void FileWriter::run() {
  const Status status = writeAll();
  {
    const std::lock_guard lock(m_mutex);
    if (m_status == DGSTATUS_SUCCESS)
      m_status = status;
    m_done = true;
    m_changed.notify_all();
  }
  m_ring.close();
}

Status FileWriter::writeAll() {
  for (Bytes bytes = m_ring.toEmpty(); !bytes.empty(); bytes = m_ring.toEmpty()) {
    const auto begin = static_cast<off_t>(m_at);
    if (const Status status = write(bytes); status != DGSTATUS_SUCCESS)
      return status;
    m_ring.emptied();
    // The disk begins now; otherwise a large file would be written out at the end, when everything waits for it.
    if (bytes.size() == BufferRing::BufferSize)
      sync_file_range(m_file, begin, static_cast<off_t>(bytes.size()), SYNC_FILE_RANGE_WRITE);
  }
  if (m_durable && fdatasync(m_file) != 0 && errno != EINVAL && errno != ENOSYS)
    return statusOfError(errno, DGSTATUS_FILE_WRITE_FAILED);
  return DGSTATUS_SUCCESS;
}

Status FileWriter::write(Bytes bytes) {
  while (!bytes.empty()) {
    const ssize_t written = pwrite(m_file, bytes.data(), bytes.size(), static_cast<off_t>(m_at));
    if (written < 0 && errno != EINTR)
      return statusOfError(errno, DGSTATUS_FILE_WRITE_FAILED);
    if (written > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(written));
      m_at += static_cast<std::uint64_t>(written);
    }
  }
  return DGSTATUS_SUCCESS;
}

} // namespace mtp
