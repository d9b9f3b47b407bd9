#include "TessalyMTPSdk/PartialFile.h"

#include "TessalyMTPSdk/FileErrors.h"
#include "TessalyMTPSdk/Logging.h"

#include <atomic>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <utility>

namespace mtp {

namespace {

constexpr int MaxAttempts = 100;
constexpr std::uint64_t LargestOnFat = 0xFFFFFFFF; // bytes

/// No value: this is no partial file's name.
std::optional<pid_t> processOf(std::string_view name) {
  if (!name.starts_with(PartialFile::Prefix) || !name.ends_with(PartialFile::Suffix))
    return std::nullopt;
  name.remove_prefix(std::strlen(PartialFile::Prefix));
  pid_t process = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process);
  if (error != std::errc() || *end != '-' || process <= 0)
    return std::nullopt;
  return process;
}

/// Whether nobody writes this file any more.
bool isLeftOver(int file, pid_t process) {
  if (flock(file, LOCK_EX | LOCK_NB) == 0)
    return true;
  if (errno == EWOULDBLOCK || errno == EBADF) // some network file systems lock only what may be written
    return false;
  // Some know no locks.
  return kill(process, 0) != 0 && errno == ESRCH;
}

void removeLeftOvers(int folder) {
  const int listed = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  DIR* const entries = listed >= 0 ? fdopendir(listed) : nullptr;
  if (!entries) {
    if (listed >= 0)
      close(listed);
    return;
  }
  while (const dirent* entry = readdir(entries)) {
    const auto process = processOf(entry->d_name);
    if (!process)
      continue;
    constexpr int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    OpenFile file(openat(folder, entry->d_name, O_RDWR | flags));
    if (!file && errno == EACCES)
      file = OpenFile(openat(folder, entry->d_name, O_RDONLY | flags));
    struct stat facts {};
    if (file && fstat(file.get(), &facts) == 0 && S_ISREG(facts.st_mode) && isLeftOver(file.get(), *process) &&
        unlinkat(folder, entry->d_name, 0) == 0)
      log(LogLevel::Info, "removed what an interrupted copy had left behind");
  }
  closedir(entries);
}

/// Copying many files into a folder does not read it each time. Another disk may later stand at the same path.
bool isFirstUse(const std::string& folder, PartialFile::Clock::time_point now) {
  static std::mutex mutex;
  static std::map<std::string, PartialFile::Clock::time_point> known; // last uses; guarded by mutex
  const std::lock_guard lock(mutex);
  std::erase_if(known, [now](const auto& use) { return now - use.second >= PartialFile::FolderKnown; });
  return known.insert_or_assign(folder, now).second;
}

} // namespace

PartialFile::~PartialFile() {
  if (!m_name.empty())
    unlinkat(m_folder.get(), m_name.c_str(), 0);
}

Status PartialFile::open(const std::string& destination, Clock::time_point now) {
  const auto slash = destination.rfind('/');
  m_destination = slash == std::string::npos ? destination : destination.substr(slash + 1);
  m_folderPath = slash == std::string::npos ? "." : destination.substr(0, slash + 1);
  if (m_destination.empty() || m_destination == "." || m_destination == "..")
    return DGSTATUS_FILE_INVALID_CHAR;
  // Work stays in this folder even if it gets another name meanwhile.
  m_folder = OpenFile(::open(m_folderPath.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!m_folder)
    return statusOfError(errno, DGSTATUS_FILE_OPEN_FAILED);
  if (const Status status = lookAtDestination(); status != DGSTATUS_SUCCESS)
    return status;
  if (isFirstUse(m_folderPath, now))
    removeLeftOvers(m_folder.get());
  return make();
}

Status PartialFile::lookAtDestination() {
  struct stat facts {};
  if (fstatat(m_folder.get(), m_destination.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0)
    return errno == ENOENT ? DGSTATUS_SUCCESS : statusOfError(errno, DGSTATUS_FILE_OPEN_FAILED);
  if (!S_ISREG(facts.st_mode) && !S_ISLNK(facts.st_mode))
    return DGSTATUS_FILE_OPEN_FAILED;
  m_replaces = true;
  if (S_ISREG(facts.st_mode)) {
    // A rename would not mind that the file is protected; its owner does.
    if (faccessat(m_folder.get(), m_destination.c_str(), W_OK, AT_EACCESS) != 0)
      return statusOfError(errno, DGSTATUS_FILE_ACCESS_DENIED);
    m_permissions = facts.st_mode & 0777;
  }
  return DGSTATUS_SUCCESS;
}

Status PartialFile::make() {
  static std::atomic<unsigned> last = 0; // numbers of this process's partial files; all threads count it up
  for (int attempt = 0; attempt < MaxAttempts; ++attempt) {
    const std::string name = Prefix + std::to_string(getpid()) + "-" + std::to_string(++last) + Suffix;
    m_file = OpenFile(openat(m_folder.get(), name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!m_file && errno == EEXIST)
      continue;
    if (!m_file)
      return statusOfError(errno, DGSTATUS_FILE_OPEN_FAILED);
    flock(m_file.get(), LOCK_EX | LOCK_NB);
    struct stat facts {};
    if (fstat(m_file.get(), &facts) == 0 && facts.st_nlink == 0)
      continue; // taken for a left-over before it was locked
    m_name = name;
    if (m_replaces && m_permissions != 0666)
      fchmod(m_file.get(), m_permissions);
    return DGSTATUS_SUCCESS;
  }
  return DGSTATUS_FILE_OPEN_FAILED;
}

Status PartialFile::checkRoom(std::uint64_t bytes) const {
  struct statfs system {};
  if (bytes > LargestOnFat && fstatfs(m_file.get(), &system) == 0 && system.f_type == MSDOS_SUPER_MAGIC)
    return DGSTATUS_FILE_WRITE_FAILED; // what its last byte would be answered with
  struct statvfs facts {};
  if (fstatvfs(m_file.get(), &facts) != 0 || facts.f_blocks == 0)
    return DGSTATUS_SUCCESS; // it is not told; writing will show
  const std::uint64_t block = facts.f_frsize > 0 ? facts.f_frsize : 1;
  return bytes / block <= facts.f_bavail ? DGSTATUS_SUCCESS : DGSTATUS_STORAGE_FULL;
}

bool PartialFile::isFolderStillThere() const {
  struct stat opened {};
  struct stat named {};
  return fstat(m_folder.get(), &opened) == 0 && stat(m_folderPath.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

Status PartialFile::commit(std::optional<std::time_t> modified) {
  if (modified) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, {*modified, 0}};
    futimens(m_file.get(), times); // a file system that keeps no such date keeps the file all the same
  }
  // Network file systems tell of a full or lost server no sooner than at a close; the file's own descriptor holds its
  // lock until the end.
  const int another = dup(m_file.get());
  if (another < 0 || (close(another) != 0 && errno != EINTR))
    return statusOfError(errno, DGSTATUS_FILE_WRITE_FAILED);
  if (!isFolderStillThere())
    return DGSTATUS_FILE_OPEN_FAILED;
  const unsigned flags = m_replaces ? 0 : RENAME_NOREPLACE; // nobody has agreed to replace what came meanwhile
  int failed = renameat2(m_folder.get(), m_name.c_str(), m_folder.get(), m_destination.c_str(), flags);
  if (failed != 0 && errno == EINVAL) // a file system that cannot look and rename in one step
    failed = renameat(m_folder.get(), m_name.c_str(), m_folder.get(), m_destination.c_str());
  if (failed != 0)
    return errno == EEXIST ? DGSTATUS_NODE_FILE_DUPNAME_EXISTED : statusOfError(errno, DGSTATUS_FILE_WRITE_FAILED);
  m_name.clear();
  return DGSTATUS_SUCCESS;
}

} // namespace mtp
