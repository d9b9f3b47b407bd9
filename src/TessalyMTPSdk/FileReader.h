#pragma once
// Reads a file of the computer ahead, on a thread of its own, while its bytes are still going out.
#include "TessalyMTPSdk/BufferRing.h"
#include "TessalyMTPSdk/StatusCodes.h"

#include <cstdint>
#include <thread>
#include <vector>

namespace mtp {

/// For one thread; it owns one of its own.
class FileReader {
public:
  /// Fewer bytes than this are read at once, by next(): a thread would cost more than they do.
  static constexpr std::uint64_t Small = 64 * 1024;

  /// Reads the first `size` bytes of `file`, which is open for reading and stays the caller's. `room`: bytes left free
  /// at the start of the first buffer.
  FileReader(int file, std::uint64_t size, std::size_t room);
  /// Waits for the one call into the file system that is under way.
  ~FileReader();
  FileReader(const FileReader&) = delete;
  FileReader& operator=(const FileReader&) = delete;

  /// The next piece (the first one with its room; all but the last of BufferRing::BufferSize bytes), good until the
  /// next call. Waits for the disk. Nothing: the end, reading failed, or `waiting` gave up.
  std::span<std::byte> next(const BufferRing::Waiting& waiting);
  /// DGSTATUS_FILE_READ_FAILED: the file could not be read, or has become shorter than `size`. 0: no such thing.
  Status status() const;

private:
  std::span<std::byte> whole();
  void run(std::uint64_t size, std::size_t room);
  bool read(std::span<std::byte> bytes, std::uint64_t at);
  void fail(Status status);

  const int m_file;
  std::size_t m_room = 0;         // of m_small
  std::vector<std::byte> m_small; // all of a small file, with its room
  BufferRing m_ring;
  bool m_lent = false; // a buffer is the caller's

  mutable std::mutex m_mutex;
  Status m_status = DGSTATUS_SUCCESS; // guarded by m_mutex
  std::thread m_thread;
};

} // namespace mtp
