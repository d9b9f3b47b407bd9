#pragma once
// Copying one file between the phone and the computer.
#include "MTPCore/AccessLog.h"
#include "MTPCore/ComputerSide.h"
#include "MTPCore/MtpSdk.h"

#include <QString>

#include <cstdint>
#include <optional>

class MTPDextSDKWrapper;

/// The work behind MTPDextSDKWrapper's transfer operations, whose header says what they promise. Lives for one call;
/// any thread; all block. The callback is called on the calling thread, by the SDK; it is neither called nor looked at
/// here.
class FileTransfer {
public:
  FileTransfer(MTPDextSDKWrapper& phone, MtpSdk& sdk, const ComputerSide& computer, const AccessLog& log)
      : m_phone(phone)
      , m_sdk(sdk)
      , m_computer(computer)
      , m_log(log) {}

  /// From the phone: uploadFileFromMTP().
  bool receive(const QString& nodeID, const QString& source, const QString& destination,
               mtpDextProgressCallback callback, void* context, std::uint32_t& error);
  /// To the phone: downloadFileToMTP(). `retFileNode` may be null.
  bool send(_MTP_COMMON_NODE* parent, const QString& source, const QString& destination,
            mtpDextProgressCallback callback, void* context, QString* retFileNode, std::uint32_t& error);
  /// getMTPFileThumb().
  std::uint32_t receiveThumbnail(_MTP_FILE_NODE* fileNode, const QString& destination);

private:
  void logBadParameter(_MTP_DEVICE_NODE* device, const QString& source, const QString& destination) const;
  _MTP_FILE_NODE* fileToReceive(_MTP_DEVICE_NODE* device, const QString& nodeID, const QString& source);
  // What the phone tells; nothing of a file the SDK has just forgotten.
  std::optional<std::uint64_t> lengthOf(_MTP_FILE_NODE* file);
  // False when the file is not where it was just written to; the process ends then.
  bool markReceived(const QString& source, const QString& destination);
  std::uint32_t fetchThumbnail(_MTP_FILE_NODE* fileNode, const QString& destination);

  MTPDextSDKWrapper& m_phone;
  MtpSdk& m_sdk;
  const ComputerSide& m_computer;
  const AccessLog m_log;
};
