#pragma once
// The MTP engine behind the MtpSdk interface.
#include "MTPCore/MtpSdk.h"

/// Hands every operation to the engine's mtpDext… functions; stateless.
class TessalyMtpSdk : public MtpSdk {
public:
  std::uint32_t sdkInit() override;
  std::uint32_t getConnectedDeviceListHead(_MTP_DEVICE_NODE** head) override;
  std::uint32_t getNextDevice(_MTP_DEVICE_NODE* device, _MTP_DEVICE_NODE** next) override;
  std::uint32_t releaseDeviceList(_MTP_DEVICE_NODE* device) override;
  std::uint32_t getStorageListHead(_MTP_DEVICE_NODE* device, _MTP_STORAGE_NODE** head) override;
  std::uint32_t getNextStorageNode(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next) override;
  std::uint32_t releaseStorageList(_MTP_STORAGE_NODE* storage) override;
  std::uint32_t getFriendlyName(_MTP_DEVICE_NODE* device, void* buffer, std::uint32_t* byteSize) override;
  std::uint32_t getModelName(_MTP_DEVICE_NODE* device, void* buffer, std::uint32_t* byteSize) override;
  std::uint32_t getFolderListHead(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent, _MTP_FOLDER_NODE** head,
                                  mtpDextProgressCallback callback, void* context) override;
  std::uint32_t getNextSiblingFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next) override;
  std::uint32_t getParentFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** parent) override;
  std::uint32_t getFileListHead(_MTP_COMMON_NODE* parent, _MTP_FILE_NODE** head, mtpDextProgressCallback callback,
                                void* context) override;
  std::uint32_t getNextFileNode(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next) override;
  std::uint32_t createFolderNode(_MTP_COMMON_NODE* parent, const char16_t* name, std::uint32_t byteSize,
                                 _MTP_FOLDER_NODE** created) override;
  std::uint32_t renameNode(_MTP_COMMON_NODE* node, const char16_t* newName, std::uint32_t byteSize) override;
  std::uint32_t deleteNode(_MTP_COMMON_NODE* node) override;
  std::uint32_t getFileEx(_MTP_FILE_NODE* file, const char16_t* destination, std::uint32_t length,
                          mtpDextProgressCallback callback, void* context) override;
  std::uint32_t sendFileEx(const char16_t* source, std::uint32_t length, _MTP_COMMON_NODE* parent,
                           _MTP_FILE_NODE** created, mtpDextProgressCallback callback, void* context) override;
  std::uint32_t getThumb(_MTP_FILE_NODE* file, void* buffer, std::uint32_t* byteSize) override;
  std::uint32_t requestEventNotifyEx(_MTP_DEVICE_NODE* device, mtpDextEventCallback callback, void* context) override;
  int libIsExist(_MTP_COMMON_NODE* node, std::int32_t nodeType) override;
  void holdNodes() override;
  void unholdNodes() override;
  std::uint32_t getNodeKind(const void* address, std::int32_t* kind) override;
  std::uint32_t getOpenFailure(std::uint32_t locationId, std::int32_t* failure, char* holder,
                               std::uint32_t holderSize) override;
};
