#include "MTPCore/CorvMtpSdk.h"

#include "TessalyMTPSdk/corvmtpsdk.h"

std::uint32_t CorvMtpSdk::getConnectedDeviceListHead(_MTP_DEVICE_NODE** head) {
  return mtpGetConnectedDeviceListHead(head);
}

std::uint32_t CorvMtpSdk::getNextDevice(_MTP_DEVICE_NODE* device, _MTP_DEVICE_NODE** next) {
  return mtpGetNextDevice(device, next);
}

std::uint32_t CorvMtpSdk::releaseDeviceList(_MTP_DEVICE_NODE* device) {
  return mtpReleaseDeviceList(device);
}

std::uint32_t CorvMtpSdk::getStorageListHead(_MTP_DEVICE_NODE* device, _MTP_STORAGE_NODE** head) {
  return mtpGetStorageListHead(device, head);
}

std::uint32_t CorvMtpSdk::getNextStorageNode(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next) {
  return mtpGetNextStorageNode(storage, next);
}

std::uint32_t CorvMtpSdk::releaseStorageList(_MTP_STORAGE_NODE* storage) {
  return mtpReleaseStorageList(storage);
}

std::uint32_t CorvMtpSdk::getFriendlyName(_MTP_DEVICE_NODE* device, void* buffer, std::uint32_t* byteSize) {
  return mtpGetFriendlyName(device, buffer, byteSize);
}

std::uint32_t CorvMtpSdk::getModelName(_MTP_DEVICE_NODE* device, void* buffer, std::uint32_t* byteSize) {
  return mtpGetModelName(device, buffer, byteSize);
}

std::uint32_t CorvMtpSdk::getFolderListHead(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent,
                                            _MTP_FOLDER_NODE** head, mtpDextProgressCallback callback, void* context) {
  return mtpGetFolderListHead(storage, parent, head, callback, context);
}

std::uint32_t CorvMtpSdk::getNextSiblingFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next) {
  return mtpGetNextSiblingFolderNode(folder, next);
}

std::uint32_t CorvMtpSdk::getParentFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** parent) {
  return mtpGetParentFolderNode(folder, parent);
}

std::uint32_t CorvMtpSdk::getFileListHead(_MTP_COMMON_NODE* parent, _MTP_FILE_NODE** head,
                                          mtpDextProgressCallback callback, void* context) {
  return mtpGetFileListHead(parent, head, callback, context);
}

std::uint32_t CorvMtpSdk::getNextFileNode(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next) {
  return mtpGetNextFileNode(file, next);
}

std::uint32_t CorvMtpSdk::createFolderNode(_MTP_COMMON_NODE* parent, const char16_t* name, std::uint32_t byteSize,
                                           _MTP_FOLDER_NODE** created) {
  return mtpCreateFolderNode(parent, name, byteSize, created);
}

std::uint32_t CorvMtpSdk::renameNode(_MTP_COMMON_NODE* node, const char16_t* newName, std::uint32_t byteSize) {
  return mtpRenameNode(node, newName, byteSize);
}

std::uint32_t CorvMtpSdk::deleteNode(_MTP_COMMON_NODE* node) {
  return mtpDeleteNode(node);
}

std::uint32_t CorvMtpSdk::getFileEx(_MTP_FILE_NODE* file, const char16_t* destination, std::uint32_t length,
                                    mtpDextProgressCallback callback, void* context) {
  return mtpGetFileEx(file, destination, length, callback, context);
}

std::uint32_t CorvMtpSdk::sendFileEx(const char16_t* source, std::uint32_t length, _MTP_COMMON_NODE* parent,
                                     _MTP_FILE_NODE** created, mtpDextProgressCallback callback, void* context) {
  return mtpSendFileEx(source, length, parent, created, callback, context);
}

std::uint32_t CorvMtpSdk::getThumb(_MTP_FILE_NODE* file, void* buffer, std::uint32_t* byteSize) {
  return mtpGetThumb(file, buffer, byteSize);
}

std::uint32_t CorvMtpSdk::requestEventNotifyEx(_MTP_DEVICE_NODE* device, mtpDextEventCallback callback, void* context) {
  return mtpRequestEventNotifyEx(device, callback, context);
}

int CorvMtpSdk::libIsExist(_MTP_COMMON_NODE* node, std::int32_t nodeType) {
  return ::libIsExist(node, nodeType);
}

// Both libraries are one engine with one registry of records.
void CorvMtpSdk::holdNodes() {
  mtpDextHoldNodes();
}

void CorvMtpSdk::unholdNodes() {
  mtpDextUnholdNodes();
}

std::uint32_t CorvMtpSdk::getNodeKind(const void* address, std::int32_t* kind) {
  return mtpDextGetNodeKind(address, kind);
}

std::uint32_t CorvMtpSdk::getOpenFailure(std::uint32_t locationId, std::int32_t* failure, char* holder,
                                         std::uint32_t holderSize) {
  return mtpDextGetOpenFailure(locationId, failure, holder, holderSize);
}
