#pragma once
// Reads a file of the computer ahead, on a thread of its own, while its bytes are still going out.
#include "TessalyMTPSdk/BufferRing.h"
#include "TessalyMTPSdk/StatusCodes.h"

#include <cstdint>
#include <thread>

namespace mtp {

/// For one thread; it owns one of its own.
class FileReader {
public:
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
  void run(std::uint64_t size, std::size_t room);
  void fail(Status status);

  const int m_file;
  BufferRing m_ring;
  bool m_lent = false; // a buffer is the caller's

  mutable std::mutex m_mutex;
  Status m_status = DGSTATUS_SUCCESS; // guarded by m_mutex
  std::thread m_thread;
};

} // namespace mtp
