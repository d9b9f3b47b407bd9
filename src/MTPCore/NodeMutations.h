#pragma once
// Creating, renaming and deleting folders and files on the phone.
#include "MTPCore/AccessLog.h"
#include "MTPCore/MtpSdk.h"

#include <QString>

#include <cstdint>

class MTPDextSDKWrapper;

/// The work behind the operations of the same names in MTPDextSDKWrapper, whose header says what they promise. Lives
/// for one call; any thread; all block.
class NodeMutations {
public:
  NodeMutations(MTPDextSDKWrapper& phone, MtpSdk& sdk, const AccessLog& log)
      : m_phone(phone)
      , m_sdk(sdk)
      , m_log(log) {}

  _MTP_FOLDER_NODE* createFolder(_MTP_COMMON_NODE* parent, const QString& name, std::uint32_t& error);
  _MTP_COMMON_NODE* checkCreateFolder(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead,
                                      const QString& folderPath, std::uint32_t& error);
  bool renameItemAtPath(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead, const QString& source,
                        const QString& toName, std::uint32_t& error);
  bool deleteItemAtPath(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead, const QString& nodeID,
                        const QString& path, std::uint32_t& error);

private:
  _MTP_STORAGE_NODE* known(_MTP_STORAGE_NODE* storageHead);

  MTPDextSDKWrapper& m_phone;
  MtpSdk& m_sdk;
  const AccessLog m_log;
};
