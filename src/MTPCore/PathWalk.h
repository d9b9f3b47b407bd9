#pragma once
// Following a device path from the storage to the last of its folders.
#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include <QString>

#include <cstdint>
#include <functional>

class MTPDextSDKWrapper;

/// Where a walk along a device path came to. Nodes are the SDK's; any thread.
struct PathWalk {
  enum class End { Walked, NoModelName, NoStorage };
  /// The folder `name` in `parent` (null: at the storage's top level), or null: the next name is then sought at the top
  /// level.
  using FindFolder =
      std::function<_MTP_FOLDER_NODE*(const QString& name, _MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent)>;

  End end = End::Walked;
  std::uint32_t modelStatus = 0;        // of the question for the model name
  _MTP_STORAGE_NODE* storage = nullptr; // null also when the path names none
  _MTP_FOLDER_NODE* deepest = nullptr;  // the last folder found, whatever was missing before or behind it
  // The next two are null as soon as a name before the last one was missing: such a path leads nowhere.
  _MTP_COMMON_NODE* holder = nullptr; // where the last folder name or file name was sought; null without one
  _MTP_COMMON_NODE* found = nullptr;  // the storage or folder that the whole path names
  QString lastName;                   // the name sought in `holder`

  /// Walks the names of `path`, looking folders up with `findFolder`. Blocks as that does.
  static PathWalk along(MTPDextSDKWrapper& phone, _MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead,
                        const QString& path, const FindFolder& findFolder);
  /// The folder or file that the path names, or null. Never anything else than what bears the path's last name in the
  /// very folder that the path names: what is to be changed must not be a namesake elsewhere. Of a folder and a file
  /// whose names differ in case, the one that is spelled like the path. Blocks.
  static _MTP_COMMON_NODE* nodeAt(MTPDextSDKWrapper& phone, _MTP_DEVICE_NODE* deviceNode,
                                  _MTP_STORAGE_NODE* storageHead, const QString& path);
};
