#pragma once
// Keeps the file that the log lines go to from growing without end.
#include <QByteArray>

#include <cstdint>

namespace platform {

/// In bytes. `head` and `tail` together are well below `most`.
struct LogSizes {
  std::int64_t most = 64 << 20; ///< a file that has grown beyond it is shortened
  std::int64_t head = 1 << 20;  ///< kept of its beginning: what program, system and phone it is about
  std::int64_t tail = 32 << 20; ///< kept of its end: what happened last
};

/// Leaves out the middle of a log file that has grown too big. One thread at a time.
class LogShortener {
public:
  /// Makes a whole log line of a message.
  using LineOf = QByteArray (*)(const QByteArray& message);

  /// `descriptor`: a regular file, open for reading and for appending; stays the caller's, open as long as this.
  LogShortener(int descriptor, const LogSizes& sizes, LineOf lineOf);

  /// To be called when something has been written. A file beyond its most is cut down to whole lines of its beginning
  /// and of its end; one line between them says how many bytes have been left out so far. Blocks then for some
  /// hundredths of a second. What others append meanwhile is kept as far as it is seen.
  void shortenIfTooBig();

private:
  const int m_descriptor;
  const LogSizes m_sizes;
  const LineOf m_lineOf;
  std::int64_t m_leftOut = 0;
  std::int64_t m_noteSize = 0; // of the line that says so, once it is there
};

/// Keeps the file that standard error goes to within `sizes` from now on, as LogShortener does with `descriptor`, which
/// stays open until unlimitLog(). Looked at after every line of the log. Any thread.
void limitLog(int descriptor, const LogSizes& sizes);
void unlimitLog();

} // namespace platform
