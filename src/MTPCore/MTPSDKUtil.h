#pragma once
// Stateless helpers around the MTP SDK: the names of its statuses, the choice of the backend, a file-extension test and
// the places where a list step may be logged.
#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include <QString>
#include <QStringList>

#include <cstdint>

// Every status of the SDK with its name. The group 0x1310 carries the phone's MTP response codes 0x2002 and following.
// (0x14000003 is a second DGSTATUS_NOT_SUPPORT_FORMAT and has no name of its own.)
#define MTPB_DGSTATUS_CODES(X)                                                                                         \
  X(DGSTATUS_SUCCESS, 0x00000000)                                                                                      \
  X(DGSTATUS_MORE_DATA, 0x00000001)                                                                                    \
  X(DGSTATUS_NO_MORE_DATA, 0x00000002)                                                                                 \
  X(DGSTATUS_NO_DATA, 0x00000003)                                                                                      \
  X(DGSTATUS_UNSUCCESSFUL, 0x10000001)                                                                                 \
  X(DGSTATUS_INVALID_PARAMETER, 0x10000002)                                                                            \
  X(DGSTATUS_ABNORMAL_STATUS, 0x10000003)                                                                              \
  X(DGSTATUS_NODE_IS_NOT_EXISTED, 0x10000004)                                                                          \
  X(DGSTATUS_NODE_FILE_DUPNAME_EXISTED, 0x10000005)                                                                    \
  X(DGSTATUS_NODE_FOLDER_DUPNAME_EXISTED, 0x10000006)                                                                  \
  X(DGSTATUS_IO_CANCEL, 0x10000007)                                                                                    \
  X(DGSTATUS_IO_CANCEL_SUCCESS, 0x10000008)                                                                            \
  X(DGSTATUS_IO_CANCEL_FAILED, 0x10000009)                                                                             \
  X(DGSTATUS_STORAGE_FULL, 0x1000000A)                                                                                 \
  X(DGSTATUS_REFRESH_STORAGEINFO_FAILED, 0x1000000B)                                                                   \
  X(DGSTATUS_INVALID_SIGNATURE, 0x1000000C)                                                                            \
  X(DGSTATUS_FILE_OPEN_FAILED, 0x11000001)                                                                             \
  X(DGSTATUS_FILE_ACCESS_DENIED, 0x11000002)                                                                           \
  X(DGSTATUS_FILE_WRITE_FAILED, 0x11000003)                                                                            \
  X(DGSTATUS_FILE_READ_FAILED, 0x11000004)                                                                             \
  X(DGSTATUS_FILE_INVALID_CHAR, 0x11000005)                                                                            \
  X(DGSTATUS_NO_DEVICE_ATTACHED, 0x12000001)                                                                           \
  X(DGSTATUS_NO_STORAGE_ATTACHED, 0x12000002)                                                                          \
  X(DGSTATUS_DEVICE_OPEN_FAILED, 0x12000003)                                                                           \
  X(DGSTATUS_INSUFFICIENT_RESOURCE, 0x13000001)                                                                        \
  X(DGSTATUS_INTERNAL_FORMATCODE_SIZE_MISMATCH, 0x13000002)                                                            \
  X(DGSTATUS_INTERNAL_GETOBJECTPROPVALUE_FAILED, 0x13000003)                                                           \
  X(DGSTATUS_INTERNAL_GETOBJECTPROPLIST_FAILED, 0x13000004)                                                            \
  X(DGSTATUS_INTERNAL_SIZE_MISMATCH, 0x13000005)                                                                       \
  X(DGSTATUS_INTERNAL_GETDEVICEPROPVALUE_FAILED, 0x13000006)                                                           \
  X(DGSTATUS_INTERNAL_SETOBJECTPROPVALUE_FAILED, 0x13000007)                                                           \
  X(DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE, 0x13000008)                                                                 \
  X(DGSTATUS_INTERNAL_DRIVER_READ_ERROR, 0x13000009)                                                                   \
  X(DGSTATUS_INTERNAL_GENERALERROR, 0x13100000)                                                                        \
  X(DGSTATUS_INTERNAL_SESSIONNOTOPEN, 0x13100001)                                                                      \
  X(DGSTATUS_INTERNAL_INVALIDTRANSACTIONID, 0x13100002)                                                                \
  X(DGSTATUS_INTERNAL_OPERATIONNOTSUPPORTED, 0x13100003)                                                               \
  X(DGSTATUS_INTERNAL_PARAMETERNOTSUPPORTED, 0x13100004)                                                               \
  X(DGSTATUS_INTERNAL_INCOMPLETETRANSFER, 0x13100005)                                                                  \
  X(DGSTATUS_INTERNAL_INVALIDSTORAGEID, 0x13100006)                                                                    \
  X(DGSTATUS_INTERNAL_INVALIDOBJECTHANDLE, 0x13100007)                                                                 \
  X(DGSTATUS_INTERNAL_INVALIDPROPERTYCODE, 0x13100008)                                                                 \
  X(DGSTATUS_INTERNAL_INVALIDOBJECTFORMATCODE, 0x13100009)                                                             \
  X(DGSTATUS_INTERNAL_STOREFULL, 0x1310000A)                                                                           \
  X(DGSTATUS_INTERNAL_OBJECTWRITEPROTECTED, 0x1310000B)                                                                \
  X(DGSTATUS_INTERNAL_STOREWRITEPROTECTED, 0x1310000C)                                                                 \
  X(DGSTATUS_INTERNAL_ACCESSDENIED, 0x1310000D)                                                                        \
  X(DGSTATUS_INTERNAL_NOTHUMBNAILPRESENT, 0x1310000E)                                                                  \
  X(DGSTATUS_INTERNAL_SELFTESTFAILED, 0x1310000F)                                                                      \
  X(DGSTATUS_INTERNAL_PARTIALDELETION, 0x13100010)                                                                     \
  X(DGSTATUS_INTERNAL_STORENOTAVAILABLE, 0x13100011)                                                                   \
  X(DGSTATUS_INTERNAL_NOSPECIFICATIONBYFORMAT, 0x13100012)                                                             \
  X(DGSTATUS_INTERNAL_NOVALIDOBJECTINFO, 0x13100013)                                                                   \
  X(DGSTATUS_INTERNAL_INVALIDCODEFORMAT, 0x13100014)                                                                   \
  X(DGSTATUS_INTERNAL_UNKNOWNVENDORCODE, 0x13100015)                                                                   \
  X(DGSTATUS_INTERNAL_CAPTUREALREADYTERMINATED, 0x13100016)                                                            \
  X(DGSTATUS_INTERNAL_DEVICEBUSY, 0x13100017)                                                                          \
  X(DGSTATUS_INTERNAL_INVALIDPARENT, 0x13100018)                                                                       \
  X(DGSTATUS_INTERNAL_INVALIDPROPFORMAT, 0x13100019)                                                                   \
  X(DGSTATUS_INTERNAL_INVALIDPROPVALUE, 0x1310001A)                                                                    \
  X(DGSTATUS_INTERNAL_INVALIDPARAMETER, 0x1310001B)                                                                    \
  X(DGSTATUS_INTERNAL_SESSIONALREADYOPENED, 0x1310001C)                                                                \
  X(DGSTATUS_INTERNAL_TRANSACTIONCANCELLED, 0x1310001D)                                                                \
  X(DGSTATUS_INTERNAL_DESTINATIONUNSUPPORTED, 0x1310001E)                                                              \
  X(DGSTATUS_INTERNAL_INVALIDOBJECTPROPCODE, 0x1310001F)                                                               \
  X(DGSTATUS_INTERNAL_INVALIDOBJECTPROPFORMAT, 0x13100020)                                                             \
  X(DGSTATUS_INTERNAL_INVALIDOBJECTPROPVALUE, 0x13100021)                                                              \
  X(DGSTATUS_INTERNAL_INVALIDOBJECTREFERENCE, 0x13100022)                                                              \
  X(DGSTATUS_INTERNAL_INVALIDDATASET, 0x13100023)                                                                      \
  X(DGSTATUS_INTERNAL_OBJECTTOOLARGE, 0x13100024)                                                                      \
  X(DGSTATUS_NOT_SUPPORT_OP, 0x14000001)                                                                               \
  X(DGSTATUS_NOT_SUPPORT_FORMAT, 0x14000002)                                                                           \
  X(DGSTATUS_NOT_SUPPORT_THUMBNAIL, 0x14000004)                                                                        \
  X(DGSTATUS_NOT_SUPPORT_PARAM, 0x14000005)                                                                            \
  X(DGSTATUS_LAST, 0x14000006)                                                                                         \
  X(DGSTATUS_NO_ELEMENT, 0x15000001)                                                                                   \
  X(DGSTATUS_NO_MORE_ELEMENT, 0x15000002)

#define MTPB_DGSTATUS_ENUMERATOR(name, code) name = code,
enum DGSTATUS : std::uint32_t { MTPB_DGSTATUS_CODES(MTPB_DGSTATUS_ENUMERATOR) };
#undef MTPB_DGSTATUS_ENUMERATOR

/// All operations: any thread, never block.
class MTPSDKUtil {
public:
  MTPSDKUtil() = delete;

  /// statusString: Name and code of a status for logs and messages, "DGSTATUS_SUCCESS - 0x00000000"; "UNKNOWN - 0x…"
  /// for a code that is none. The phone's response failures (0x13000004 and following, 0x13100000 and following) stand
  /// with two blanks in place of the dash.
  static QString statusString(std::uint32_t status);

  /// macOS11AndLater Whether the system is new enough for the SDK without a legacy face: major version above 10, or
  /// minor above 15. False when the system tells no version.
  static bool macOS11AndLater();

  /// isIncludeFileExtension:extType: Whether the name (or path) has an extension and it is one of `extType`, case
  /// ignored. A null name has none.
  static bool isIncludeFileExtension(const QString& name, const QStringList& extType);

  // Called after each successful list step; do nothing. A build made to study a phone logs the record's fields here.
  /// logMTPDeviceNode:
  static void logMTPDeviceNode(const _MTP_DEVICE_NODE*) {}
  /// logMTPStorageNode:
  static void logMTPStorageNode(const _MTP_STORAGE_NODE*) {}
  /// logMTPFolderNode:
  static void logMTPFolderNode(const _MTP_FOLDER_NODE*) {}
  /// logMTPFileNode:
  static void logMTPFileNode(const _MTP_FILE_NODE*) {}
};
