#include "Platform/LogLimit.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr std::int64_t block = 64 << 10; // what is read at once, and where an end of a line is looked for

QByteArray readAt(int file, std::int64_t offset, std::int64_t size) {
  QByteArray bytes(qsizetype(size), Qt::Uninitialized);
  const ssize_t got = ::pread(file, bytes.data(), size_t(size), offset);
  bytes.truncate(std::max<ssize_t>(got, 0));
  return bytes;
}

// Where the last line that ends at or before `offset` ends; `offset` itself when no line ends near it.
std::int64_t lineEndBefore(int file, std::int64_t offset) {
  const std::int64_t start = std::max<std::int64_t>(offset - block, 0);
  const qsizetype end = readAt(file, start, offset - start).lastIndexOf('\n');
  return end < 0 ? offset : start + end + 1;
}

// Where the first line that begins after `offset` begins; `offset` itself when none does near it.
std::int64_t lineBeginAfter(int file, std::int64_t offset) {
  const qsizetype end = readAt(file, offset, block).indexOf('\n');
  return end < 0 ? offset : offset + end + 1;
}

bool writeAt(int file, std::int64_t offset, const QByteArray& bytes) {
  return ::pwrite(file, bytes.constData(), size_t(bytes.size()), offset) == bytes.size();
}

} // namespace

LogShortener::LogShortener(int descriptor, const LogSizes& sizes, LineOf lineOf)
    : m_descriptor(descriptor)
    , m_sizes(sizes)
    , m_lineOf(lineOf) {}

void LogShortener::shortenIfTooBig() {
  struct stat status = {};
  if (::fstat(m_descriptor, &status) != 0 || status.st_size <= m_sizes.most)
    return;
  const std::int64_t headEnd = lineEndBefore(m_descriptor, m_sizes.head);
  std::int64_t from = lineBeginAfter(m_descriptor, status.st_size - m_sizes.tail);
  m_leftOut += from - headEnd - m_noteSize; // the line of the time before goes with the rest
  const QByteArray note = m_lineOf(QByteArray::number(qlonglong(m_leftOut)) +
                                   " bytes of the log have been left out here: it is kept below " +
                                   QByteArray::number(qlonglong(m_sizes.most)) + " bytes");
  m_noteSize = note.size();

  // What is open for appending writes at the end and nowhere else, so the file is opened once more.
  const QByteArray self = "/proc/self/fd/" + QByteArray::number(m_descriptor);
  const int file = ::open(self.constData(), O_WRONLY | O_CLOEXEC);
  std::int64_t to = headEnd;
  if (file >= 0 && writeAt(file, to, note)) {
    to += note.size();
    for (QByteArray bytes = readAt(m_descriptor, from, block); !bytes.isEmpty() && writeAt(file, to, bytes);
         bytes = readAt(m_descriptor, from, block)) {
      from += bytes.size();
      to += bytes.size();
    }
  }
  if (file >= 0)
    ::close(file);
  // Also when it could not be written anew: then the end is lost, and the file does not grow all the same.
  [[maybe_unused]] const int result = ::ftruncate(m_descriptor, to);
}

} // namespace platform
