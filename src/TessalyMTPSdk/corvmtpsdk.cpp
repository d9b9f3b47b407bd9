#include "TessalyMTPSdk/corvmtpsdk.h"

#include "TessalyMTPSdk/ObjectExists.h"

uint32_t mtpGetConnectedDeviceListHead(_MTP_DEVICE_NODE** head) {
  return mtpDextGetConnectedDeviceListHead(head);
}

uint32_t mtpGetNextDevice(_MTP_DEVICE_NODE* device, _MTP_DEVICE_NODE** next) {
  return mtpDextGetNextDevice(device, next);
}

uint32_t mtpReleaseDeviceList(_MTP_DEVICE_NODE* device) {
  return mtpDextReleaseDeviceList(device);
}

uint32_t mtpGetStorageListHead(_MTP_DEVICE_NODE* device, _MTP_STORAGE_NODE** head) {
  return mtpDextGetStorageListHead(device, head);
}

uint32_t mtpGetNextStorageNode(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next) {
  return mtpDextGetNextStorageNode(storage, next);
}

uint32_t mtpReleaseStorageList(_MTP_STORAGE_NODE* storage) {
  return mtpDextReleaseStorageList(storage);
}

uint32_t mtpGetFriendlyName(_MTP_DEVICE_NODE* device, void* buffer, uint32_t* byteSize) {
  return mtpDextGetFriendlyName(device, buffer, byteSize);
}

uint32_t mtpGetModelName(_MTP_DEVICE_NODE* device, void* buffer, uint32_t* byteSize) {
  return mtpDextGetModelName(device, buffer, byteSize);
}

uint32_t mtpGetFolderListHead(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent, _MTP_FOLDER_NODE** head,
                              mtpDextProgressCallback callback, void* context) {
  return mtpDextGetFolderListHead(storage, parent, head, callback, context);
}

uint32_t mtpGetNextSiblingFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next) {
  return mtpDextGetNextSiblingFolderNode(folder, next);
}

uint32_t mtpGetParentFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** parent) {
  return mtpDextGetParentFolderNode(folder, parent);
}

uint32_t mtpGetFileListHead(_MTP_COMMON_NODE* parent, _MTP_FILE_NODE** head, mtpDextProgressCallback callback,
                            void* context) {
  return mtpDextGetFileListHead(parent, head, callback, context);
}

uint32_t mtpGetNextFileNode(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next) {
  return mtpDextGetNextFileNode(file, next);
}

uint32_t mtpCreateFolderNode(_MTP_COMMON_NODE* parent, const MTPDEXT_CHAR16* name, uint32_t byteSize,
                             _MTP_FOLDER_NODE** created) {
  return mtpDextCreateFolderNode(parent, name, byteSize, created);
}

uint32_t mtpRenameNode(_MTP_COMMON_NODE* node, const MTPDEXT_CHAR16* newName, uint32_t byteSize) {
  return mtpDextRenameNode(node, newName, byteSize);
}

uint32_t mtpDeleteNode(_MTP_COMMON_NODE* node) {
  return mtpDextDeleteNode(node);
}

uint32_t mtpGetFileEx(_MTP_FILE_NODE* file, const MTPDEXT_CHAR16* destination, uint32_t length,
                      mtpDextProgressCallback callback, void* context) {
  return mtpDextGetFileEx(file, destination, length, callback, context);
}

uint32_t mtpSendFileEx(const MTPDEXT_CHAR16* source, uint32_t length, _MTP_COMMON_NODE* parent,
                       _MTP_FILE_NODE** created, mtpDextProgressCallback callback, void* context) {
  return mtpDextSendFileEx(source, length, parent, created, callback, context);
}

uint32_t mtpGetThumb(_MTP_FILE_NODE* file, void* buffer, uint32_t* byteSize) {
  return mtpDextGetThumb(file, buffer, byteSize);
}

uint32_t mtpRequestEventNotifyEx(_MTP_DEVICE_NODE* device, mtpDextEventCallback callback, void* context) {
  return mtpDextRequestEventNotifyEx(device, callback, context);
}

uint32_t libIsExist(const void* node, int32_t nodeType) {
  return mtp::objectExists(node, nodeType) ? 1 : 0;
}
