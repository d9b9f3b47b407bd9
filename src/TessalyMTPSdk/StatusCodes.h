#pragma once
// The engine's status values and how a phone's MTP response code becomes one.
#include <cstdint>

namespace mtp {

using Status = std::uint32_t;

inline constexpr Status DGSTATUS_SUCCESS = 0;
inline constexpr Status DGSTATUS_MORE_DATA = 1;
inline constexpr Status DGSTATUS_NO_MORE_DATA = 2;

inline constexpr Status DGSTATUS_UNSUCCESSFUL = 0x10000001;
inline constexpr Status DGSTATUS_INVALID_PARAMETER = 0x10000002;
inline constexpr Status DGSTATUS_NODE_IS_NOT_EXISTED = 0x10000004;
inline constexpr Status DGSTATUS_NODE_FILE_DUPNAME_EXISTED = 0x10000005;
inline constexpr Status DGSTATUS_NODE_FOLDER_DUPNAME_EXISTED = 0x10000006;
inline constexpr Status DGSTATUS_IO_CANCEL = 0x10000007;
inline constexpr Status DGSTATUS_STORAGE_FULL = 0x1000000A; // the phone's, or the computer's

// of the computer's files
inline constexpr Status DGSTATUS_FILE_OPEN_FAILED = 0x11000001;
inline constexpr Status DGSTATUS_FILE_ACCESS_DENIED = 0x11000002;
inline constexpr Status DGSTATUS_FILE_WRITE_FAILED = 0x11000003;
inline constexpr Status DGSTATUS_FILE_READ_FAILED = 0x11000004;
inline constexpr Status DGSTATUS_FILE_INVALID_CHAR = 0x11000005; // a name that cannot be, on either side

inline constexpr Status DGSTATUS_NO_DEVICE_ATTACHED = 0x12000001;
inline constexpr Status DGSTATUS_NO_STORAGE_ATTACHED = 0x12000002;
inline constexpr Status DGSTATUS_DEVICE_OPEN_FAILED = 0x12000003;

inline constexpr Status DGSTATUS_INSUFFICIENT_RESOURCE = 0x13000001;
inline constexpr Status DGSTATUS_INTERNAL_SIZE_MISMATCH = 0x13000005;       // a dataset shorter than it says
inline constexpr Status DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE = 0x13000008; // silence until the time-out
inline constexpr Status DGSTATUS_INTERNAL_DRIVER_READ_ERROR = 0x13000009;   // garbage, stall, transfer error

inline constexpr Status DGSTATUS_INTERNAL_GENERALERROR = 0x13100000; // the first of the response failures
inline constexpr Status DGSTATUS_INTERNAL_SESSIONNOTOPEN = 0x13100001;
inline constexpr Status DGSTATUS_INTERNAL_INCOMPLETETRANSFER = 0x13100005;
inline constexpr Status DGSTATUS_INTERNAL_INVALIDSTORAGEID = 0x13100006;
inline constexpr Status DGSTATUS_INTERNAL_INVALIDOBJECTHANDLE = 0x13100007;
inline constexpr Status DGSTATUS_INTERNAL_STOREFULL = 0x1310000A;
inline constexpr Status DGSTATUS_INTERNAL_STOREWRITEPROTECTED = 0x1310000C;
inline constexpr Status DGSTATUS_INTERNAL_STORENOTAVAILABLE = 0x13100011;

inline constexpr Status DGSTATUS_NOT_SUPPORT_OP = 0x14000001;
inline constexpr Status DGSTATUS_NOT_SUPPORT_THUMBNAIL = 0x14000004;

/// The status of an MTP response code. OK is success; a code MTP does not know is a general error.
Status statusOfResponse(std::uint16_t responseCode);

} // namespace mtp
