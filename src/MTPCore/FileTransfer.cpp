#include "MTPCore/FileTransfer.h"

#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/MTPSDKUtil.h"
#include "MTPCore/PathWalk.h"
#include "MTPCore/Utf16Buffer.h"
#include "Platform/LogNames.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QUrl>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <system_error>

namespace {

constexpr std::uint32_t LargestThumbnail = 32 * 1024 * 1024; // bytes; real ones have some tens of thousands

// Whether the text can be a path of the computer without becoming another text on the way.
bool canBePath(const QString& path) {
  return path.isValidUtf16() && !path.contains(QChar(u'\0'));
}

// "mtp://" and the device path, percent-encoded.
QByteArray originUrl(const QString& devicePath) {
  return "mtp://" + QUrl::toPercentEncoding(devicePath, "/");
}

std::string errorText(int error) {
  return std::generic_category().message(error);
}

} // namespace

void FileTransfer::logBadParameter(_MTP_DEVICE_NODE* device, const QString& source, const QString& destination) const {
  m_log.line("Input parameter is error. device = %p, srcPath = %s, destPath = %s", static_cast<const void*>(device),
             platform::nameForLog(source).constData(), platform::nameForLog(destination).constData());
}

// ---- From the phone ----

bool FileTransfer::receive(const QString& nodeID, const QString& source, const QString& destination,
                           mtpDextProgressCallback callback, void* context, std::uint32_t& error) {
  _MTP_DEVICE_NODE* const device = m_phone.getCurrentDeviceNode();
  if (device == nullptr || source.isNull() || destination.isNull() || m_phone.isDetached()) {
    logBadParameter(device, source, destination);
    error = MTPDextSDKWrapper::ReceiveRefused;
    return false;
  }
  error = DGSTATUS_UNSUCCESSFUL;
  _MTP_FILE_NODE* const file = fileToReceive(device, nodeID, source);
  if (file == nullptr)
    return false;
  if (!canBePath(destination)) {
    error = DGSTATUS_FILE_INVALID_CHAR;
    return false;
  }
  const Utf16Buffer path = makeUtf16Buffer(destination);
  if (!path.text)
    return false;
  const auto begun = AccessLog::Clock::now();
  const std::optional<std::uint64_t> size = lengthOf(file);
  error = m_sdk.getFileEx(file, path.text.get(), path.units(), callback, context);
  m_log.ended("GetFileEx", file, begun, error, size);
  if (error != DGSTATUS_SUCCESS)
    return false;
  if (!markReceived(source, destination)) {
    error = DGSTATUS_UNSUCCESSFUL;
    return false;
  }
  return true;
}

_MTP_FILE_NODE* FileTransfer::fileToReceive(_MTP_DEVICE_NODE* device, const QString& nodeID, const QString& source) {
  // An identifier from before the phone's last change may name nothing any more while the file is still there.
  if (_MTP_FILE_NODE* const file = m_phone.getFileNodeFromNodeID(nodeID))
    return file;
  _MTP_COMMON_NODE* const node = PathWalk::nodeAt(m_phone, device, m_phone.knownStorageHead(), source);
  return m_phone.nodeKind(node) == MTPDEXT_NODE_FILE ? reinterpret_cast<_MTP_FILE_NODE*>(node) : nullptr;
}

std::optional<std::uint64_t> FileTransfer::lengthOf(_MTP_FILE_NODE* file) {
  const NodeHold hold(m_sdk);
  if (m_phone.nodeKind(file) != MTPDEXT_NODE_FILE)
    return std::nullopt;
  return file->fileLength;
}

bool FileTransfer::markReceived(const QString& source, const QString& destination) {
  struct stat reference = {};
  if (::stat(QFile::encodeName(destination).constData(), &reference) != 0) {
    const int error = errno;
    m_log.line("Error making ref (%d): %s", error, errorText(error).c_str());
    // Reported as copied, and not there: nothing that this process says of its files can be trusted any more.
    m_computer.endProcess(error);
    return false;
  }
  if (const int error = m_computer.setDownloadMark(destination, originUrl(source)); error != 0)
    m_log.line("Error setting attribute (%d): %s", error, errorText(error).c_str());
  return true;
}

// ---- To the phone ----

bool FileTransfer::send(_MTP_COMMON_NODE* parent, const QString& source, const QString& destination,
                        mtpDextProgressCallback callback, void* context, QString* retFileNode, std::uint32_t& error) {
  if (retFileNode != nullptr)
    retFileNode->clear();
  _MTP_DEVICE_NODE* const device = m_phone.getCurrentDeviceNode();
  if (device == nullptr || source.isNull() || destination.isNull() || m_phone.isDetached()) {
    logBadParameter(device, source, destination);
    error = MTPDextSDKWrapper::SendRefused;
    return false;
  }
  if (m_phone.nodeKind(parent) == 0) {
    _MTP_STORAGE_NODE* head = m_phone.knownStorageHead();
    parent = m_phone.checkCreateFolder(device, &head, destination, error);
    // With a folder missing the file would land further up; the status tells why (a full phone, say).
    if (parent == nullptr || error != DGSTATUS_SUCCESS) {
      m_log.line("Get Current Node is NULL");
      if (error == DGSTATUS_SUCCESS)
        error = DGSTATUS_UNSUCCESSFUL;
      return false;
    }
  }
  if (!canBePath(source)) {
    error = DGSTATUS_FILE_INVALID_CHAR;
    return false;
  }
  Utf16Buffer path;
  m_phone.validateFilePathForMtp(source, path.text, path.byteSize);
  if (!path.text) {
    m_log.line("Memory alloc for send is failed.");
    error = DGSTATUS_UNSUCCESSFUL;
    return false;
  }
  _MTP_FILE_NODE* node = nullptr;
  const auto begun = AccessLog::Clock::now();
  const std::uint64_t size = std::uint64_t(QFileInfo(source).size());
  error = m_sdk.sendFileEx(path.text.get(), path.units(), parent, &node, callback, context);
  m_log.ended("SendFileEx", parent, begun, error, size);
  const bool clash = error == DGSTATUS_NODE_FILE_DUPNAME_EXISTED || error == DGSTATUS_NODE_FOLDER_DUPNAME_EXISTED;
  if ((error == DGSTATUS_SUCCESS || clash) && retFileNode != nullptr && node != nullptr)
    *retFileNode = MTPDextSDKWrapper::nodeIDOf(node);
  if (error != DGSTATUS_SUCCESS)
    m_log.line("mtpSendFile is failed. Common Node = (%p) status = %s", static_cast<const void*>(parent),
               qUtf8Printable(MTPSDKUtil::statusString(error)));
  return error == DGSTATUS_SUCCESS;
}

// ---- Thumbnails ----

std::uint32_t FileTransfer::receiveThumbnail(_MTP_FILE_NODE* fileNode, const QString& destination) {
  if (m_phone.isDetached() || fileNode == nullptr)
    return DGSTATUS_UNSUCCESSFUL;
  return fetchThumbnail(fileNode, destination);
}

std::uint32_t FileTransfer::fetchThumbnail(_MTP_FILE_NODE* fileNode, const QString& destination) {
  const auto failed = [this](std::uint32_t status) {
    m_log.line("mtpGetThumb is failed. status = %s", qUtf8Printable(MTPSDKUtil::statusString(status)));
    return status;
  };
  std::uint32_t byteSize = 0;
  std::uint32_t status = m_sdk.getThumb(fileNode, nullptr, &byteSize);
  if (status >= DGSTATUS_NO_MORE_DATA)
    return failed(status);
  std::unique_ptr<char[]> buffer;
  if (byteSize <= LargestThumbnail)
    buffer.reset(new (std::nothrow) char[size_t(byteSize) + 1]());
  if (!buffer) {
    m_log.line("mtpGetThumb - Memory allocate is failed. status = %s",
               qUtf8Printable(MTPSDKUtil::statusString(status)));
    return status != DGSTATUS_SUCCESS ? status : std::uint32_t(DGSTATUS_UNSUCCESSFUL);
  }
  std::uint32_t filled = byteSize;
  status = m_sdk.getThumb(fileNode, buffer.get(), &filled);
  if (status != DGSTATUS_SUCCESS)
    return failed(status);
  QSaveFile file(destination);
  const qint64 size = std::min(filled, byteSize);
  if (!file.open(QIODevice::WriteOnly) || file.write(buffer.get(), size) != size || !file.commit())
    return failed(DGSTATUS_FILE_WRITE_FAILED);
  return status;
}
