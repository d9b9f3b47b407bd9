#pragma once
// Files and folders of the computer, reached only through open folders and single names, never through a symbolic link:
// what a host asks for cannot lead out of a storage's folder. Any thread; functions block for the file system.
#include <cstdint>
#include <ctime>
#include <functional>
#include <optional>
#include <set>
#include <string>

namespace vphone {

/// Owns a file descriptor.
class Fd {
public:
  explicit Fd(int fd = -1)
      : fd_(fd) {}
  Fd(Fd&& other) noexcept
      : fd_(other.release()) {}
  Fd& operator=(Fd&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~Fd() { reset(); }
  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }
  int release() {
    int fd = fd_;
    fd_ = -1;
    return fd;
  }
  void reset(int fd = -1);

private:
  int fd_;
};

namespace disk {

struct Facts {
  bool folder = false;
  std::uint64_t size = 0; // bytes; 0 for a folder
  std::time_t modified = 0;
};

/// The folder `name` in `folder`, for the other functions only (O_PATH); empty when there is none.
Fd openFolder(int folder, const std::string& name);
/// The regular file `name`; `flags` as of open(2). Empty when it is something else; errno tells why.
Fd openFile(int folder, const std::string& name, int flags);
/// No value when `name` is not there or is neither a folder nor a regular file.
std::optional<Facts> facts(int folder, const std::string& name);
/// Calls `each` for every folder and regular file in `folder`, in the order of the disk. False when it cannot be read.
bool read(int folder, const std::function<void(const char* name, bool isFolder)>& each);
/// An entry equal to `name` but for case; no value when there is none.
std::optional<std::string> findFolded(int folder, const std::string& name);

struct Deletion {
  std::uint64_t deleted = 0;
  std::uint64_t failed = 0;
};
/// Deletes `name` and all below it; goes on behind what cannot be deleted. `kept`: names of files to refuse.
Deletion removeTree(int folder, const std::string& name, const std::set<std::string>& kept);

/// Copies `name` to `newName` in `target`, with all below it. False when something failed; errno tells what.
bool copyTree(int folder, const std::string& name, int target, const std::string& newName);
/// Renames without replacing. False with errno EEXIST when the new name is taken.
bool move(int folder, const std::string& name, int target, const std::string& newName);

/// Bytes in the files of a folder and below it.
std::uint64_t usedBytes(int folder);
std::uint64_t usedBytes(int folder, const std::string& name);

/// Writes all; false with errno.
bool writeAll(int fd, const void* data, std::size_t size, std::uint64_t offset);

} // namespace disk
} // namespace vphone
