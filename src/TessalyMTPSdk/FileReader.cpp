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
    , m_room(room) {
  if (size < Small)
    m_small.resize(room + static_cast<std::size_t>(size));
  else
    m_thread = std::thread([this, size, room] { run(size, room); });
}

FileReader::~FileReader() {
  m_ring.close();
  if (m_thread.joinable())
    m_thread.join();
}

std::span<std::byte> FileReader::next(const BufferRing::Waiting& waiting) {
  if (!m_thread.joinable())
    return std::exchange(m_lent, true) ? std::span<std::byte>() : whole();
  if (std::exchange(m_lent, false))
    m_ring.emptied();
  const std::span<std::byte> piece = m_ring.toEmpty(waiting);
  m_lent = !piece.empty();
  return piece;
}

std::span<std::byte> FileReader::whole() {
  if (read(std::span(m_small).subspan(m_room), 0))
    return m_small;
  fail(DGSTATUS_FILE_READ_FAILED);
  return {};
}

bool FileReader::read(std::span<std::byte> bytes, std::uint64_t at) {
  while (!bytes.empty()) {
    const ssize_t got = pread(m_file, bytes.data(), bytes.size(), static_cast<off_t>(at));
    if (got < 0 && errno == EINTR)
      continue;
    if (got <= 0)
      return false;
    bytes = bytes.subspan(static_cast<std::size_t>(got));
    at += static_cast<std::uint64_t>(got);
  }
  return true;
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
    const std::size_t free = std::exchange(room, 0);
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(size - at, buffer.size() - free));
    if (!read(buffer.subspan(free, piece), at)) {
      fail(DGSTATUS_FILE_READ_FAILED);
      break;
    }
    at += piece;
    m_ring.filled(free + piece);
  } while (at < size);
  m_ring.end();
}

} // namespace mtp
