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
  /// Fewer bytes than this are written at once: a thread would cost more than they do.
  static constexpr std::uint64_t Small = 64 * 1024;

  /// `file` is open for writing, empty, and stays the caller's. `durable`: the bytes are on the disk itself at the end.
  /// `likelySize`: how many bytes will come. Without a thread where they are Small and need not be durable.
  FileWriter(int file, bool durable, std::uint64_t likelySize);
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
  bool putAtOnce(Bytes bytes);
  bool takeBuffer(const BufferRing::Waiting& waiting);
  void run();
  Status writeAll();
  Status write(Bytes bytes);

  const int m_file;
  const bool m_durable;
  BufferRing m_ring;
  std::span<std::byte> m_filling;
  std::size_t m_fill = 0; // bytes in it
  std::uint64_t m_at = 0; // bytes written; of the thread, where there is one

  mutable std::mutex m_mutex; // guards all below but the thread
  std::condition_variable m_changed;
  bool m_done = false;
  Status m_status = DGSTATUS_SUCCESS;
  std::thread m_thread;
};

} // namespace mtp
