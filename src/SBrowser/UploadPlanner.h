#pragma once
// What of the computer's files and folders is to be copied.
#include "SBrowser/STransferItem.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

/// Walks folders of the computer. Nothing but regular files and folders is ever planned: a pipe or a device would keep
/// the transfer waiting, a name that is no Unicode text cannot reach the phone. A symbolic link stands for the file it
/// leads to; links to folders inside a folder are left out, as they may lead round in circles. Any thread; blocks on
/// the disk.
class UploadPlanner {
public:
  using Plan = std::vector<std::shared_ptr<STransferItem>>;
  enum class Kind : std::uint8_t {
    Absent, ///< not there, or out of reach
    File,
    Folder,
    Other, ///< neither: pipe, socket, device
  };

  /// `isCanceled` is asked before each entry; `leftOut` hears of each entry that cannot be planned: its path below the
  /// dropped folder, and a status of the SDK when that tells why, else 0.
  UploadPlanner(std::function<bool()> isCanceled, std::function<void(const QString&, std::uint32_t)> leftOut);

  /// `getListFileInMacFolder:subFolder:totalSize:` What is below base/sub (below the base when `subFolder` is null),
  /// each folder followed by what it holds, in the order of the names; `totalSize` gets the sum of the files' bytes.
  /// Empty for a folder that cannot be read, nothing when canceled.
  std::optional<Plan> getListFileInMacFolder(const QString& baseFolder, const QString& subFolder,
                                             std::uint64_t& totalSize);

  /// `macFileExistsAtPath:isDirectory:` Whether there is something at the path, links followed. A null path is logged.
  static bool macFileExistsAtPath(const QString& path, bool& isDirectory);
  /// `getMacFileSize:` In bytes; 0 when it cannot be told.
  static std::uint64_t getMacFileSize(const QString& path);
  /// What is at the path, links followed.
  static Kind kindAt(const QString& path);

  /// A file with its full path; `subFolder` (may be null) is its folder relative to the dropped folder's parent.
  static std::shared_ptr<STransferItem> fileEntry(const QString& path, const QString& subFolder, std::uint64_t size);
  /// A folder: a dropped one with its full path, one below with its relative path.
  static std::shared_ptr<STransferItem> folderEntry(const QString& path, const QString& subFolder);
  /// The desktop's own book-keeping, which nobody wants on the phone.
  static bool isIgnored(const QString& name) { return name == u".DS_Store"; }

private:
  const std::function<bool()> m_isCanceled;
  const std::function<void(const QString&, std::uint32_t)> m_leftOut;
};
