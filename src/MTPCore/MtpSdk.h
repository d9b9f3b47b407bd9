#pragma once
// The operations of the MTP SDK that the access layer uses, behind one interface: the engine itself (TessalyMtpSdk),
// its legacy face (CorvMtpSdk), and a scripted one in the tests.
#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include <cstdint>

/// One SDK. Arguments, results, record ownership and the two-call buffer protocol are those of
/// TessalyMTPSdk/TessalyMTPSdk.h, whose operations carry these names behind their prefix ("mtpDext" or "mtp").
/// Implementations are called from any thread, several at a time. Every status is the SDK's own (MTPSDKUtil.h lists
/// them). "Blocks": talks to the phone, each transaction bounded by its time-out.
class MtpSdk {
public:
  virtual ~MtpSdk() = default;

  /// Prepares the SDK. The legacy library has no such operation.
  virtual std::uint32_t sdkInit() { return 0; }

  virtual std::uint32_t getConnectedDeviceListHead(_MTP_DEVICE_NODE** head) = 0; // blocks
  virtual std::uint32_t getNextDevice(_MTP_DEVICE_NODE* device, _MTP_DEVICE_NODE** next) = 0;
  virtual std::uint32_t releaseDeviceList(_MTP_DEVICE_NODE* device) = 0;

  virtual std::uint32_t getStorageListHead(_MTP_DEVICE_NODE* device, _MTP_STORAGE_NODE** head) = 0; // blocks
  virtual std::uint32_t getNextStorageNode(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next) = 0;
  virtual std::uint32_t releaseStorageList(_MTP_STORAGE_NODE* storage) = 0;

  virtual std::uint32_t getFriendlyName(_MTP_DEVICE_NODE* device, void* buffer, std::uint32_t* byteSize) = 0;
  virtual std::uint32_t getModelName(_MTP_DEVICE_NODE* device, void* buffer, std::uint32_t* byteSize) = 0;

  virtual std::uint32_t getFolderListHead(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent, _MTP_FOLDER_NODE** head,
                                          mtpDextProgressCallback callback, void* context) = 0; // blocks
  virtual std::uint32_t getNextSiblingFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next) = 0;
  virtual std::uint32_t getParentFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** parent) = 0;
  virtual std::uint32_t getFileListHead(_MTP_COMMON_NODE* parent, _MTP_FILE_NODE** head,
                                        mtpDextProgressCallback callback, void* context) = 0; // blocks
  virtual std::uint32_t getNextFileNode(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next) = 0;

  // All of these block.
  virtual std::uint32_t createFolderNode(_MTP_COMMON_NODE* parent, const char16_t* name, std::uint32_t byteSize,
                                         _MTP_FOLDER_NODE** created) = 0;
  virtual std::uint32_t renameNode(_MTP_COMMON_NODE* node, const char16_t* newName, std::uint32_t byteSize) = 0;
  virtual std::uint32_t deleteNode(_MTP_COMMON_NODE* node) = 0;
  virtual std::uint32_t getFileEx(_MTP_FILE_NODE* file, const char16_t* destination, std::uint32_t length,
                                  mtpDextProgressCallback callback, void* context) = 0;
  virtual std::uint32_t sendFileEx(const char16_t* source, std::uint32_t length, _MTP_COMMON_NODE* parent,
                                   _MTP_FILE_NODE** created, mtpDextProgressCallback callback, void* context) = 0;
  virtual std::uint32_t getThumb(_MTP_FILE_NODE* file, void* buffer, std::uint32_t* byteSize) = 0;

  virtual std::uint32_t requestEventNotifyEx(_MTP_DEVICE_NODE* device, mtpDextEventCallback callback,
                                             void* context) = 0;

  /// Non-zero when the phone still has the node. May block.
  virtual int libIsExist(_MTP_COMMON_NODE* node, std::int32_t nodeType) = 0;

  /// Records stay readable between the two, which nest. Use NodeHold.
  virtual void holdNodes() = 0;
  virtual void unholdNodes() = 0;
  /// The kind (MTPDEXT_NODE_…) of the record at this address: 0; 0x10000004 for an address the SDK does not know,
  /// 0x12000001 for the device record of a phone that is gone. Never follows the address; never blocks.
  virtual std::uint32_t getNodeKind(const void* address, std::int32_t* kind) = 0;
  /// What kept the phone at this location from being opened when the devices were last listed (MTPDEXT_OPEN_…), and
  /// the name of a program that has it. Never blocks.
  virtual std::uint32_t getOpenFailure(std::uint32_t locationId, std::int32_t* failure, char* holder,
                                       std::uint32_t holderSize) = 0;
};

/// Keeps every record of the SDK readable for a scope. Short scopes only: never across a call that blocks.
class NodeHold {
public:
  explicit NodeHold(MtpSdk& sdk)
      : m_sdk(sdk) {
    m_sdk.holdNodes();
  }
  ~NodeHold() { m_sdk.unholdNodes(); }
  NodeHold(const NodeHold&) = delete;
  NodeHold& operator=(const NodeHold&) = delete;

private:
  MtpSdk& m_sdk;
};
