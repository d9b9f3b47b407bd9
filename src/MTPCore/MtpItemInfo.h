#pragma once
// What the access layer tells about storages, folders and files: plain values, free of SDK records.
#include <QString>

#include <cstdint>
#include <optional>

/// ObjectType of an MtpItemInfo.
enum MtpObjectType : int {
  MtpObjectStorage = 2, // a parent entry that leads to a storage's top level
  MtpObjectFolder = 3,
  MtpObjectFile = 4 // also the parent entry that leads back from a storage to the root
};

/// One listed folder or file. Members that a node has no value for are empty.
struct MtpItemInfo {
  QString NodeID;                    // node identifier ("%llx" of the record's address); "" in a storage's parent entry
  std::optional<QString> FileName;   // as the phone sent it, any characters; empty when the record has no name
  std::optional<QString> FilePath;   // folder path and name; empty when the caller gave no path
  std::uint64_t FileLength = 0;      // bytes; 0 for folders
  std::optional<QString> DateModify; // files: "YYYYMMDDThhmmss…" as the phone sent it
  int ObjectType = MtpObjectFile;    // MtpObjectType
};

Q_DECLARE_TYPEINFO(MtpItemInfo, Q_RELOCATABLE_TYPE);

/// One storage of the phone.
struct MtpStorageInfo {
  std::optional<QString> volumePath; // "/<model name>/<storage name>"
  std::uint64_t TotalSpace = 0;      // bytes
  std::uint64_t UsedSize = 0;        // the record's free space plus 500 MiB, in bytes
  unsigned int diskType = 1;         // 1 internal storage, 2 memory card, 3 second internal storage
  unsigned int diskIndex = 0;        // number of entries collected before this one
  QString CommonNode;                // "0x%08lx" of storage ID (low half) and node type (high half)
};
