#include "TessalyMTPSdk/FileReader.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <utility>

namespace mtp {

FileReader::FileReader(int file, std::uint64_t size, std::size_t room)
    : m_file(file)
    , m_thread([this, size, room] { run(size, room); }) {}

FileReader::~FileReader() {
  m_ring.close();
  m_thread.join();
}

std::span<std::byte> FileReader::next(const BufferRing::Waiting& waiting) {
  if (std::exchange(m_lent, false))
    m_ring.emptied();
  const std::span<std::byte> piece = m_ring.toEmpty(waiting);
  m_lent = !piece.empty();
  return piece;
}

Status FileReader::status() const {
  const std::lock_guard lock(m_mutex);
  return m_status;
}

void FileReader::fail(Status status) {
  const std::lock_guard lock(m_mutex);
  m_status = status;
}

void FileReader::run(std::uint64_t size, std::size_t room) {
  posix_fadvise(m_file, 0, 0, POSIX_FADV_SEQUENTIAL);
  std::uint64_t at = 0;
  do {
    std::span<std::byte> buffer;
    try {
      buffer = m_ring.toFill();
    } catch (const std::bad_alloc&) {
      fail(DGSTATUS_INSUFFICIENT_RESOURCE);
      break;
    }
    if (buffer.empty())
      break;
    std::size_t fill = std::exchange(room, 0);
    const std::size_t whole = fill + static_cast<std::size_t>(std::min<std::uint64_t>(size - at, buffer.size() - fill));
    while (fill < whole) {
      const ssize_t got = pread(m_file, buffer.data() + fill, whole - fill, static_cast<off_t>(at));
      if (got < 0 && errno == EINTR)
        continue;
      if (got <= 0)
        break;
      fill += static_cast<std::size_t>(got);
      at += static_cast<std::uint64_t>(got);
    }
    if (fill < whole) {
      fail(DGSTATUS_FILE_READ_FAILED);
      break;
    }
    m_ring.filled(fill);
  } while (at < size);
  m_ring.end();
}

} // namespace mtp
