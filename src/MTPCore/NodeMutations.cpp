#include "MTPCore/NodeMutations.h"

#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/MTPSDKUtil.h"
#include "MTPCore/PathWalk.h"
#include "MTPCore/Utf16Buffer.h"

_MTP_STORAGE_NODE* NodeMutations::known(_MTP_STORAGE_NODE* storageHead) {
  // The storages may have been listed anew since the caller took the head.
  return m_phone.nodeKind(storageHead) == MTPDEXT_NODE_STORAGE ? storageHead : m_phone.knownStorageHead();
}

_MTP_FOLDER_NODE* NodeMutations::createFolder(_MTP_COMMON_NODE* parent, const QString& name, std::uint32_t& error) {
  if (m_phone.isDetached()) {
    error = DGSTATUS_UNSUCCESSFUL;
    return nullptr;
  }
  const Utf16Buffer buffer = makeUtf16Buffer(name.normalized(QString::NormalizationForm_C));
  if (!buffer.text) {
    error = MTPDextSDKWrapper::CreateFolderRefused;
    return nullptr;
  }
  _MTP_FOLDER_NODE* created = nullptr;
  const auto begun = AccessLog::Clock::now();
  error = m_sdk.createFolderNode(parent, buffer.text.get(), buffer.byteSize, &created);
  m_log.ended("CreateFolderNode", parent, begun, error);
  if (error != DGSTATUS_SUCCESS)
    return nullptr;
  MTPSDKUtil::logMTPFolderNode(created);
  return created;
}

_MTP_COMMON_NODE* NodeMutations::checkCreateFolder(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead,
                                                   const QString& folderPath, std::uint32_t& error) {
  if (m_phone.isDetached() || deviceNode == nullptr || folderPath.isNull()) {
    error = MTPDextSDKWrapper::CreateFolderRefused;
    return nullptr;
  }
  error = DGSTATUS_SUCCESS;
  _MTP_FOLDER_NODE* deepest = nullptr;
  const auto findOrCreate = [&](const QString& name, _MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent) {
    _MTP_FOLDER_NODE* folder = m_phone.getFolderNode(name, storage, parent);
    // Behind a folder that could not be made nothing more is made: it would stand in the wrong place.
    if (folder == nullptr && error == DGSTATUS_SUCCESS)
      folder = createFolder(deepest != nullptr ? reinterpret_cast<_MTP_COMMON_NODE*>(deepest)
                                               : reinterpret_cast<_MTP_COMMON_NODE*>(storage),
                            name, error);
    // Made, but its place has been listed anew or has gone meanwhile: where it is cannot be told.
    if (folder == nullptr && error == DGSTATUS_SUCCESS)
      error = DGSTATUS_NODE_IS_NOT_EXISTED;
    if (folder != nullptr)
      deepest = folder;
    return folder;
  };
  const PathWalk walk = PathWalk::along(m_phone, deviceNode, known(storageHead), folderPath, findOrCreate);
  if (walk.end == PathWalk::End::NoModelName) {
    error = walk.modelStatus;
    return nullptr;
  }
  return walk.deepest != nullptr ? reinterpret_cast<_MTP_COMMON_NODE*>(walk.deepest)
                                 : reinterpret_cast<_MTP_COMMON_NODE*>(walk.storage);
}

bool NodeMutations::renameItemAtPath(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead,
                                     const QString& source, const QString& toName, std::uint32_t& error) {
  error = DGSTATUS_UNSUCCESSFUL;
  if (m_phone.isDetached())
    return false;
  // Without a node the SDK says what it says of a missing one.
  _MTP_COMMON_NODE* const node = PathWalk::nodeAt(m_phone, deviceNode, known(storageHead), source);
  const Utf16Buffer buffer = makeUtf16Buffer(toName);
  if (!buffer.text)
    return false;
  const auto begun = AccessLog::Clock::now();
  error = m_sdk.renameNode(node, buffer.text.get(), buffer.byteSize);
  m_log.ended("RenameNode", node, begun, error);
  return error == DGSTATUS_SUCCESS;
}

bool NodeMutations::deleteItemAtPath(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead,
                                     const QString& nodeID, const QString& path, std::uint32_t& error) {
  error = DGSTATUS_UNSUCCESSFUL;
  if (m_phone.isDetached())
    return false;
  _MTP_COMMON_NODE* node = m_phone.getCommonNodeFromNodeID(nodeID);
  if (node == nullptr || !m_phone.checkNodeExist(node))
    node = PathWalk::nodeAt(m_phone, deviceNode, known(storageHead), path);
  if (node == nullptr)
    return false;
  const auto begun = AccessLog::Clock::now();
  error = m_sdk.deleteNode(node);
  m_log.ended("DeleteNode", node, begun, error);
  return error == DGSTATUS_SUCCESS;
}
