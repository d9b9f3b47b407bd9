#pragma once
// A file of the computer on its way: written beside its destination under a name of its own, which it gives up for the
// destination's only when it is whole. What was there before survives every failure.
#include "TessalyMTPSdk/OpenFile.h"
#include "TessalyMTPSdk/StatusCodes.h"

#include <chrono>
#include <ctime>
#include <optional>
#include <string>

namespace mtp {

/// For one thread; functions block for the file system. Its name is Prefix, the process's ID, a number and Suffix; it
/// is locked (flock) as long as its process lives, so that what a killed program left can be told from it.
class PartialFile {
public:
  static constexpr const char* Prefix = ".mtpbrowser-";
  static constexpr const char* Suffix = ".part";
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::seconds FolderKnown{10}; // since its last use

  /// Removes the file unless it was committed.
  ~PartialFile();
  PartialFile() = default;
  PartialFile(const PartialFile&) = delete;
  PartialFile& operator=(const PartialFile&) = delete;

  /// Makes the file beside `destination` (UTF-8). In a folder not used just before it also removes what killed programs
  /// left there. 0, or why nothing can be stored under that name. A symbolic link of that name is replaced itself.
  Status open(const std::string& destination, Clock::time_point now = Clock::now());
  int file() const { return m_file.get(); }
  /// A file of the destination's name is there already.
  bool replaces() const { return m_replaces; }
  /// Whether the computer seems to have room for so many bytes: 0 or DGSTATUS_STORAGE_FULL; DGSTATUS_FILE_WRITE_FAILED
  /// for more than a file may have there.
  Status checkRoom(std::uint64_t bytes) const;
  /// Gives the file its date and the destination's name. Not when the computer could not keep all of it, a file of that
  /// name has come meanwhile (DGSTATUS_NODE_FILE_DUPNAME_EXISTED), or the folder stands elsewhere now.
  Status commit(std::optional<std::time_t> modified);

private:
  Status lookAtDestination();
  Status make();
  bool isFolderStillThere() const;

  std::string m_folderPath;
  OpenFile m_folder;
  OpenFile m_file;
  std::string m_name;        // in the folder; empty: none was made, or it was committed
  std::string m_destination; // likewise
  unsigned m_permissions = 0666;
  bool m_replaces = false;
};

} // namespace mtp
