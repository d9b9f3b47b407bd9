#include "VirtualPhone/Disk.h"

#include "VirtualPhone/Texts.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vphone {

void Fd::reset(int fd) {
  if (fd_ >= 0)
    ::close(fd_);
  fd_ = fd;
}

namespace disk {
namespace {

constexpr int MaxDepth = 128; // of folders in folders; a deeper tree counts as unreadable

std::optional<Facts> toFacts(const struct stat& s) {
  if (S_ISDIR(s.st_mode))
    return Facts{true, 0, s.st_mtime};
  if (S_ISREG(s.st_mode))
    return Facts{false, std::uint64_t(s.st_size), s.st_mtime};
  return std::nullopt;
}

/// Every entry but "." and "..", links and special files included.
bool readAll(int folder, const std::function<void(const char* name, unsigned char type)>& each) {
  Fd readable(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!readable)
    return false;
  std::unique_ptr<DIR, int (*)(DIR*)> dir(fdopendir(readable.get()), closedir);
  if (!dir)
    return false;
  readable.release();
  for (;;) {
    errno = 0;
    auto* entry = readdir(dir.get()); // NOLINT(concurrency-mt-unsafe): the stream belongs to this call
    if (!entry)
      return errno == 0;
    std::string_view name = entry->d_name;
    if (name != "." && name != "..")
      each(entry->d_name, entry->d_type);
  }
}

void removeTree(int folder, const std::string& name, const std::set<std::string>& kept, int depth, Deletion& result) {
  if (auto inner = depth < MaxDepth ? openFolder(folder, name) : Fd()) {
    std::vector<std::string> names;
    readAll(inner.get(), [&](const char* entry, unsigned char) { names.emplace_back(entry); });
    for (const auto& entry : names)
      removeTree(inner.get(), entry, kept, depth + 1, result);
    bool gone = unlinkat(folder, name.c_str(), AT_REMOVEDIR) == 0;
    ++(gone ? result.deleted : result.failed);
    return;
  }
  bool gone = !kept.contains(name) && unlinkat(folder, name.c_str(), 0) == 0;
  ++(gone ? result.deleted : result.failed);
}

bool copyFile(int folder, const std::string& name, int target, const std::string& newName) {
  auto from = openFile(folder, name, O_RDONLY);
  if (!from)
    return false;
  struct stat s {};
  if (fstat(from.get(), &s) != 0)
    return false;
  Fd to(openat(target, newName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
  if (!to)
    return false;
  std::vector<char> buffer(1 << 20);
  for (std::uint64_t at = 0;;) {
    auto size = pread(from.get(), buffer.data(), buffer.size(), off_t(at));
    if (size < 0 || (size > 0 && !writeAll(to.get(), buffer.data(), std::size_t(size), at)))
      return false;
    if (size == 0)
      break;
    at += std::uint64_t(size);
  }
  struct timespec times[2] = {{0, UTIME_OMIT}, s.st_mtim};
  futimens(to.get(), times);
  return true;
}

bool copyTree(int folder, const std::string& name, int target, const std::string& newName, int depth) {
  auto what = facts(folder, name);
  if (!what)
    return false;
  if (!what->folder)
    return copyFile(folder, name, target, newName);
  if (depth >= MaxDepth) {
    errno = ELOOP;
    return false;
  }
  auto from = openFolder(folder, name);
  if (!from || mkdirat(target, newName.c_str(), 0777) != 0)
    return false;
  auto to = openFolder(target, newName);
  if (!to)
    return false;
  std::vector<std::string> names;
  bool ok = read(from.get(), [&](const char* entry, bool) { names.emplace_back(entry); });
  for (const auto& entry : names)
    ok = copyTree(from.get(), entry, to.get(), entry, depth + 1) && ok;
  return ok;
}

std::uint64_t usedBytes(int folder, int depth) {
  std::uint64_t sum = 0;
  std::vector<std::string> folders;
  read(folder, [&](const char* name, bool isFolder) {
    if (isFolder)
      folders.emplace_back(name);
    else if (auto what = facts(folder, name))
      sum += what->size;
  });
  for (const auto& name : folders) {
    if (auto inner = depth < MaxDepth ? openFolder(folder, name) : Fd())
      sum += usedBytes(inner.get(), depth + 1);
  }
  return sum;
}

} // namespace

Fd openFolder(int folder, const std::string& name) {
  return Fd(openat(folder, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

Fd openFile(int folder, const std::string& name, int flags) {
  // Without O_NONBLOCK a named pipe would hold the caller.
  Fd file(openat(folder, name.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
  struct stat s {};
  if (!file)
    return file;
  if (fstat(file.get(), &s) != 0 || !S_ISREG(s.st_mode)) {
    errno = EACCES;
    return Fd();
  }
  return file;
}

std::optional<Facts> facts(int folder, const std::string& name) {
  struct stat s {};
  if (fstatat(folder, name.c_str(), &s, AT_SYMLINK_NOFOLLOW) != 0)
    return std::nullopt;
  return toFacts(s);
}

bool read(int folder, const std::function<void(const char* name, bool isFolder)>& each) {
  return readAll(folder, [&](const char* name, unsigned char type) {
    if (type == DT_DIR || type == DT_REG) {
      each(name, type == DT_DIR);
    } else if (type == DT_UNKNOWN) { // some file systems tell only when asked
      if (auto what = facts(folder, name))
        each(name, what->folder);
    }
  });
}

std::optional<std::string> findFolded(int folder, const std::string& name) {
  std::optional<std::string> found;
  read(folder, [&](const char* entry, bool) {
    if (equalFolded(entry, name) && (!found || entry == name))
      found = entry;
  });
  return found;
}

Deletion removeTree(int folder, const std::string& name, const std::set<std::string>& kept) {
  Deletion result;
  removeTree(folder, name, kept, 0, result);
  return result;
}

bool copyTree(int folder, const std::string& name, int target, const std::string& newName) {
  return copyTree(folder, name, target, newName, 0);
}

bool move(int folder, const std::string& name, int target, const std::string& newName) {
  if (renameat2(folder, name.c_str(), target, newName.c_str(), RENAME_NOREPLACE) == 0)
    return true;
  if (errno != EINVAL && errno != ENOSYS)
    return false;
  // The file system cannot do it in one step.
  if (faccessat(target, newName.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0) {
    errno = EEXIST;
    return false;
  }
  return renameat(folder, name.c_str(), target, newName.c_str()) == 0;
}

std::uint64_t usedBytes(int folder) {
  return usedBytes(folder, 0);
}

std::uint64_t usedBytes(int folder, const std::string& name) {
  if (auto inner = openFolder(folder, name))
    return usedBytes(inner.get(), 0);
  auto what = facts(folder, name);
  return what ? what->size : 0;
}

bool writeAll(int fd, const void* data, std::size_t size, std::uint64_t offset) {
  for (const char* at = static_cast<const char*>(data); size > 0;) {
    auto written = pwrite(fd, at, size, off_t(offset));
    if (written < 0 && errno == EINTR)
      continue;
    if (written <= 0)
      return false;
    at += written;
    offset += std::uint64_t(written);
    size -= std::size_t(written);
  }
  return true;
}

} // namespace disk
} // namespace vphone
