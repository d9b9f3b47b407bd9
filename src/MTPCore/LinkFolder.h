#pragma once
// Ways for the SDK to open a file of the computer whose name is not in composed form.
#include "MTPCore/AccessLog.h"

#include <QString>

#include <optional>

/// The SDK is handed paths in composed form (Unicode NFC): what it sends is called on the phone as its path ends, and
/// phones expect composed names. A file whose stored name, or a folder above it, is spelled otherwise is reached
/// through a symbolic link below one folder; links stay for later sends. Files of the computer only.
///
/// One caller at a time for one folder. Blocks for a few calls of the file system.
class LinkFolder {
public:
  /// `log`: the access object's, for the operation that wants the path.
  LinkFolder(const QString& folder, const AccessLog& log)
      : m_folder(folder)
      , m_log(log) {}

  /// A path in composed form that opens the file at `path`: its own, or a link's. Nothing when no link can be made
  /// (logged). A path that is in composed form already is handed back whether it opens or not.
  std::optional<QString> openablePath(const QString& path) const;

private:
  std::optional<QString> linkTo(const QString& path, const QString& composed) const;

  const QString m_folder;
  const AccessLog m_log;
};
