#include "SBrowser/UploadPlanner.h"

#include "MTPCore/MTPSDKUtil.h"
#include "Platform/Log.h"

#include <QFile>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

namespace {

std::optional<struct stat> statusAt(const QString& path, bool followsLink) {
  struct stat status = {};
  const QByteArray name = QFile::encodeName(path);
  // What stands behind a zero would be another file's path.
  if (name.isEmpty() || name.contains('\0'))
    return std::nullopt;
  const int result = followsLink ? ::stat(name.constData(), &status) : ::lstat(name.constData(), &status);
  return result == 0 ? std::optional(status) : std::nullopt;
}

/// The names in a folder as the system has them, sorted. None at all when they cannot all be read.
std::optional<std::vector<QByteArray>> namesIn(const QString& folder) {
  std::vector<QByteArray> names;
  const auto close = [](DIR* directory) { ::closedir(directory); };
  const std::unique_ptr<DIR, decltype(close)> directory(::opendir(QFile::encodeName(folder).constData()), close);
  if (!directory)
    return std::nullopt;
  errno = 0;
  while (const dirent* const entry = ::readdir(directory.get()))
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
      names.emplace_back(entry->d_name);
  if (errno != 0)
    return std::nullopt;
  std::sort(names.begin(), names.end());
  return names;
}

QString joined(const QString& folder, const QString& name) {
  return folder.endsWith(u'/') ? folder + name : folder + u'/' + name;
}

std::uint64_t sizeOf(const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_size > 0 ? std::uint64_t(status.st_size) : 0;
}

void add(std::uint64_t& total, std::uint64_t bytes) {
  total = bytes > std::numeric_limits<std::uint64_t>::max() - total ? std::numeric_limits<std::uint64_t>::max()
                                                                    : total + bytes;
}

} // namespace

UploadPlanner::UploadPlanner(std::function<bool()> isCanceled,
                             std::function<void(const QString&, std::uint32_t)> leftOut)
    : m_isCanceled(std::move(isCanceled))
    , m_leftOut(std::move(leftOut)) {}

std::shared_ptr<STransferItem> UploadPlanner::fileEntry(const QString& path, const QString& subFolder,
                                                        std::uint64_t size) {
  auto entry = STransferItem::newObject();
  entry->setSrcPath(path);
  entry->setSubFolderPath(subFolder);
  entry->setFileSize(size);
  entry->setObjectType(SObjectTypeFile);
  return entry;
}

std::shared_ptr<STransferItem> UploadPlanner::folderEntry(const QString& path, const QString& subFolder) {
  auto entry = STransferItem::newObject();
  entry->setSrcPath(path);
  entry->setSubFolderPath(subFolder);
  entry->setFileSize(0);
  entry->setObjectType(SObjectTypeFolder);
  return entry;
}

std::optional<UploadPlanner::Plan>
UploadPlanner::getListFileInMacFolder(const QString& baseFolder, const QString& subFolder, std::uint64_t& totalSize) {
  const QString folder = subFolder.isNull() ? baseFolder : joined(baseFolder, subFolder);
  const auto names = namesIn(folder);
  if (m_isCanceled())
    return std::nullopt;
  Plan plan;
  totalSize = 0;
  if (!names) {
    m_leftOut(subFolder.isNull() ? folder : joined(subFolder, QStringLiteral("*")), DGSTATUS_FILE_OPEN_FAILED);
    return plan;
  }
  for (const QByteArray& rawName : *names) {
    const QString name = QFile::decodeName(rawName);
    const QString relative = subFolder.isNull() ? name : joined(subFolder, name);
    if (isIgnored(name))
      continue;
    if (m_isCanceled())
      return std::nullopt;
    if (QFile::encodeName(name) != rawName) {
      m_leftOut(relative, DGSTATUS_FILE_INVALID_CHAR);
      continue;
    }
    const QString path = joined(folder, name);
    auto status = statusAt(path, false);
    const bool isLink = status && S_ISLNK(status->st_mode);
    if (isLink)
      status = statusAt(path, true);
    if (status && S_ISREG(status->st_mode)) {
      plan.push_back(fileEntry(path, subFolder, sizeOf(*status)));
      add(totalSize, sizeOf(*status));
    } else if (status && S_ISDIR(status->st_mode) && !isLink) {
      plan.push_back(folderEntry(relative, subFolder));
      std::uint64_t sizeBelow = 0;
      const auto below = getListFileInMacFolder(baseFolder, relative, sizeBelow);
      if (below && !below->empty()) {
        plan.insert(plan.end(), below->begin(), below->end());
        add(totalSize, sizeBelow);
      }
    } else {
      m_leftOut(relative, 0);
    }
  }
  return plan;
}

bool UploadPlanner::macFileExistsAtPath(const QString& path, bool& isDirectory) {
  isDirectory = false;
  if (path.isNull()) {
    MTPB_LOG("File path is nil");
    return false;
  }
  const auto status = statusAt(path, true);
  isDirectory = status && S_ISDIR(status->st_mode);
  return status.has_value();
}

std::uint64_t UploadPlanner::getMacFileSize(const QString& path) {
  const auto status = statusAt(path, true);
  return status ? sizeOf(*status) : 0;
}

UploadPlanner::Kind UploadPlanner::kindAt(const QString& path) {
  const auto status = statusAt(path, true);
  if (!status)
    return Kind::Absent;
  return S_ISREG(status->st_mode) ? Kind::File : S_ISDIR(status->st_mode) ? Kind::Folder : Kind::Other;
}
