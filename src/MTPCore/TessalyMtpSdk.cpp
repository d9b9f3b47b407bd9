#include "MTPCore/TessalyMtpSdk.h"

#include "TessalyMTPSdk/corvmtpsdk.h"

std::uint32_t TessalyMtpSdk::sdkInit() {
  return mtpDextSdkInit();
}

std::uint32_t TessalyMtpSdk::getConnectedDeviceListHead(_MTP_DEVICE_NODE** head) {
  return mtpDextGetConnectedDeviceListHead(head);
}

std::uint32_t TessalyMtpSdk::getNextDevice(_MTP_DEVICE_NODE* device, _MTP_DEVICE_NODE** next) {
  return mtpDextGetNextDevice(device, next);
}

std::uint32_t TessalyMtpSdk::releaseDeviceList(_MTP_DEVICE_NODE* device) {
  return mtpDextReleaseDeviceList(device);
}

std::uint32_t TessalyMtpSdk::getStorageListHead(_MTP_DEVICE_NODE* device, _MTP_STORAGE_NODE** head) {
  return mtpDextGetStorageListHead(device, head);
}

std::uint32_t TessalyMtpSdk::getNextStorageNode(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next) {
  return mtpDextGetNextStorageNode(storage, next);
}

std::uint32_t TessalyMtpSdk::releaseStorageList(_MTP_STORAGE_NODE* storage) {
  return mtpDextReleaseStorageList(storage);
}

std::uint32_t TessalyMtpSdk::getFriendlyName(_MTP_DEVICE_NODE* device, void* buffer, std::uint32_t* byteSize) {
  return mtpDextGetFriendlyName(device, buffer, byteSize);
}

std::uint32_t TessalyMtpSdk::getModelName(_MTP_DEVICE_NODE* device, void* buffer, std::uint32_t* byteSize) {
  return mtpDextGetModelName(device, buffer, byteSize);
}

std::uint32_t TessalyMtpSdk::getFolderListHead(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent,
                                               _MTP_FOLDER_NODE** head, mtpDextProgressCallback callback,
                                               void* context) {
  return mtpDextGetFolderListHead(storage, parent, head, callback, context);
}

std::uint32_t TessalyMtpSdk::getNextSiblingFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next) {
  return mtpDextGetNextSiblingFolderNode(folder, next);
}

std::uint32_t TessalyMtpSdk::getParentFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** parent) {
  return mtpDextGetParentFolderNode(folder, parent);
}

std::uint32_t TessalyMtpSdk::getFileListHead(_MTP_COMMON_NODE* parent, _MTP_FILE_NODE** head,
                                             mtpDextProgressCallback callback, void* context) {
  return mtpDextGetFileListHead(parent, head, callback, context);
}

std::uint32_t TessalyMtpSdk::getNextFileNode(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next) {
  return mtpDextGetNextFileNode(file, next);
}

std::uint32_t TessalyMtpSdk::createFolderNode(_MTP_COMMON_NODE* parent, const char16_t* name, std::uint32_t byteSize,
                                              _MTP_FOLDER_NODE** created) {
  return mtpDextCreateFolderNode(parent, name, byteSize, created);
}

std::uint32_t TessalyMtpSdk::renameNode(_MTP_COMMON_NODE* node, const char16_t* newName, std::uint32_t byteSize) {
  return mtpDextRenameNode(node, newName, byteSize);
}

std::uint32_t TessalyMtpSdk::deleteNode(_MTP_COMMON_NODE* node) {
  return mtpDextDeleteNode(node);
}

std::uint32_t TessalyMtpSdk::getFileEx(_MTP_FILE_NODE* file, const char16_t* destination, std::uint32_t length,
                                       mtpDextProgressCallback callback, void* context) {
  return mtpDextGetFileEx(file, destination, length, callback, context);
}

std::uint32_t TessalyMtpSdk::sendFileEx(const char16_t* source, std::uint32_t length, _MTP_COMMON_NODE* parent,
                                        _MTP_FILE_NODE** created, mtpDextProgressCallback callback, void* context) {
  return mtpDextSendFileEx(source, length, parent, created, callback, context);
}

std::uint32_t TessalyMtpSdk::getThumb(_MTP_FILE_NODE* file, void* buffer, std::uint32_t* byteSize) {
  return mtpDextGetThumb(file, buffer, byteSize);
}

std::uint32_t TessalyMtpSdk::requestEventNotifyEx(_MTP_DEVICE_NODE* device, mtpDextEventCallback callback,
                                                  void* context) {
  return mtpDextRequestEventNotifyEx(device, callback, context);
}

int TessalyMtpSdk::libIsExist(_MTP_COMMON_NODE* node, std::int32_t nodeType) {
  return ::libIsExist(node, nodeType);
}

void TessalyMtpSdk::holdNodes() {
  mtpDextHoldNodes();
}

void TessalyMtpSdk::unholdNodes() {
  mtpDextUnholdNodes();
}

std::uint32_t TessalyMtpSdk::getNodeKind(const void* address, std::int32_t* kind) {
  return mtpDextGetNodeKind(address, kind);
}

std::uint32_t TessalyMtpSdk::getOpenFailure(std::uint32_t locationId, std::int32_t* failure, char* holder,
                                            std::uint32_t holderSize) {
  return mtpDextGetOpenFailure(locationId, failure, holder, holderSize);
}
