#pragma once
// Writes a file of the computer on a thread of its own while its bytes are still coming in.
#include "TessalyMTPSdk/BufferRing.h"
#include "TessalyMTPSdk/StatusCodes.h"
#include "TessalyMTPSdk/Wire.h"

#include <thread>

namespace mtp {

/// For one thread; it owns one of its own.
class FileWriter {
public:
  /// `file` is open for writing, empty, and stays the caller's. `durable`: the bytes are on the disk itself at the end.
  FileWriter(int file, bool durable);
  /// Breaks off. Waits for the one call into the file system that is under way.
  ~FileWriter();
  FileWriter(const FileWriter&) = delete;
  FileWriter& operator=(const FileWriter&) = delete;

  /// Takes a copy of the bytes; waits while the disk is slower. False: writing failed, or `waiting` gave up.
  bool put(Bytes bytes, const BufferRing::Waiting& waiting);
  /// Waits until all is written. False as above.
  bool finish(const BufferRing::Waiting& waiting);
  /// Why writing failed: DGSTATUS_STORAGE_FULL, DGSTATUS_FILE_…; 0: it did not.
  Status status() const;

private:
  bool takeBuffer(const BufferRing::Waiting& waiting);
  void run();
  Status writeAll();

  const int m_file;
  const bool m_durable;
  BufferRing m_ring;
  std::span<std::byte> m_filling;
  std::size_t m_fill = 0; // bytes in it

  mutable std::mutex m_mutex; // guards all below but the thread
  std::condition_variable m_changed;
  bool m_done = false;
  Status m_status = DGSTATUS_SUCCESS;
  std::thread m_thread;
};

} // namespace mtp
