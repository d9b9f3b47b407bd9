#pragma once
#include <unistd.h>
#include <utility>

namespace mtp {

/// A file descriptor that is closed with its owner; negative: none.
class OpenFile {
public:
  explicit OpenFile(int file = -1)
      : m_file(file) {}
  ~OpenFile() {
    if (m_file >= 0)
      close(m_file);
  }
  OpenFile(OpenFile&& other) noexcept
      : m_file(std::exchange(other.m_file, -1)) {}
  OpenFile& operator=(OpenFile&& other) noexcept {
    std::swap(m_file, other.m_file);
    return *this;
  }
  int get() const { return m_file; }
  explicit operator bool() const { return m_file >= 0; }

private:
  int m_file;
};

} // namespace mtp
