#include "MTPCore/PathWalk.h"

#include "MTPCore/DevicePath.h"
#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/MtpItemInfo.h"
#include "MTPCore/NameMatch.h"

#include <optional>

PathWalk PathWalk::along(MTPDextSDKWrapper& phone, _MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead,
                         const QString& path, const FindFolder& findFolder) {
  PathWalk walk;
  std::optional<QString> modelName;
  walk.modelStatus = phone.getMTPModelName(deviceNode, modelName);
  if (!modelName) {
    walk.end = End::NoModelName;
    return walk;
  }
  bool modelMatched = false;
  _MTP_FOLDER_NODE* parent = nullptr;
  for (const QString& component : devicePath::components(path)) {
    if (!modelMatched && isSameName(component, *modelName)) {
      modelMatched = true;
    } else if (walk.storage == nullptr) {
      walk.storage = phone.getStorageNode(deviceNode, &storageHead, component);
      if (walk.storage == nullptr) {
        walk.end = End::NoStorage;
        return walk;
      }
      walk.found = reinterpret_cast<_MTP_COMMON_NODE*>(walk.storage);
    } else {
      walk.holder = walk.found;
      walk.lastName = component;
      parent = findFolder(component, walk.storage, parent);
      if (parent != nullptr)
        walk.deepest = parent;
      walk.found = walk.holder != nullptr ? reinterpret_cast<_MTP_COMMON_NODE*>(parent) : nullptr;
    }
  }
  return walk;
}

_MTP_COMMON_NODE* PathWalk::nodeAt(MTPDextSDKWrapper& phone, _MTP_DEVICE_NODE* deviceNode,
                                   _MTP_STORAGE_NODE* storageHead, const QString& path) {
  const PathWalk walk = along(phone, deviceNode, storageHead, path,
                              [&phone](const QString& name, _MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent) {
                                return phone.getFolderNode(name, storage, parent);
                              });
  if (walk.holder == nullptr)
    return nullptr;
  const auto isExact = [&walk](const std::optional<MtpItemInfo>& info) {
    return info && info->FileName == walk.lastName;
  };
  auto* const folder = reinterpret_cast<_MTP_FOLDER_NODE*>(walk.found);
  if (folder != nullptr && isExact(phone.getFolderNodeInfo(folder, QString())))
    return walk.found;
  _MTP_FILE_NODE* const file = phone.getFileNode(walk.holder, walk.lastName);
  // Where case counts, a folder and a file may bear the same name but for that.
  if (folder != nullptr && !isExact(phone.getFileNodeInfo(file, QString())))
    return walk.found;
  return reinterpret_cast<_MTP_COMMON_NODE*>(file);
}
