#pragma once
// Codes of MTP 1.1 (and the PTP it stands on) that more than one place of the program names. Only numbers: how they are
// put into bytes is nobody's business here.
#include <cstdint>

namespace mtp {

enum class ContainerType : std::uint16_t { Command = 1, Data = 2, Response = 3, Event = 4 };

enum class Operation : std::uint16_t {
  GetDeviceInfo = 0x1001,
  OpenSession = 0x1002,
  CloseSession = 0x1003,
  GetStorageIDs = 0x1004,
  GetStorageInfo = 0x1005,
  GetNumObjects = 0x1006,
  GetObjectHandles = 0x1007,
  GetObjectInfo = 0x1008,
  GetObject = 0x1009,
  GetThumb = 0x100A,
  DeleteObject = 0x100B,
  SendObjectInfo = 0x100C,
  SendObject = 0x100D,
  ResetDevice = 0x1010,
  GetDevicePropDesc = 0x1014,
  GetDevicePropValue = 0x1015,
  SetDevicePropValue = 0x1016,
  ResetDevicePropValue = 0x1017,
  MoveObject = 0x1019,
  CopyObject = 0x101A,
  GetPartialObject = 0x101B,
  GetObjectPropsSupported = 0x9801,
  GetObjectPropDesc = 0x9802,
  GetObjectPropValue = 0x9803,
  SetObjectPropValue = 0x9804,
  GetObjectPropList = 0x9805,
  SetObjectPropList = 0x9806,
  SendObjectPropList = 0x9808,
  GetObjectReferences = 0x9810,
  SetObjectReferences = 0x9811,
  GetPartialObject64 = 0x95C1,
  SendPartialObject = 0x95C2,
  TruncateObject = 0x95C3,
  BeginEditObject = 0x95C4,
  EndEditObject = 0x95C5
};

enum class Response : std::uint16_t {
  Undefined = 0x2000,
  OK = 0x2001,
  GeneralError = 0x2002,
  SessionNotOpen = 0x2003,
  InvalidTransactionID = 0x2004,
  OperationNotSupported = 0x2005,
  ParameterNotSupported = 0x2006,
  IncompleteTransfer = 0x2007,
  InvalidStorageID = 0x2008,
  InvalidObjectHandle = 0x2009,
  DevicePropNotSupported = 0x200A,
  InvalidObjectFormatCode = 0x200B,
  StoreFull = 0x200C,
  ObjectWriteProtected = 0x200D,
  StoreReadOnly = 0x200E,
  AccessDenied = 0x200F,
  NoThumbnailPresent = 0x2010,
  SelfTestFailed = 0x2011,
  PartialDeletion = 0x2012,
  StoreNotAvailable = 0x2013,
  SpecificationByFormatUnsupported = 0x2014,
  NoValidObjectInfo = 0x2015,
  InvalidCodeFormat = 0x2016,
  UnknownVendorCode = 0x2017,
  CaptureAlreadyTerminated = 0x2018,
  DeviceBusy = 0x2019,
  InvalidParentObject = 0x201A,
  InvalidDevicePropFormat = 0x201B,
  InvalidDevicePropValue = 0x201C,
  InvalidParameter = 0x201D,
  SessionAlreadyOpen = 0x201E,
  TransactionCancelled = 0x201F,
  SpecificationOfDestinationUnsupported = 0x2020,
  InvalidObjectPropCode = 0xA801,
  InvalidObjectPropFormat = 0xA802,
  InvalidObjectPropValue = 0xA803,
  InvalidObjectReference = 0xA804,
  GroupNotSupported = 0xA805,
  InvalidDataset = 0xA806,
  SpecificationByGroupUnsupported = 0xA807,
  SpecificationByDepthUnsupported = 0xA808,
  ObjectTooLarge = 0xA809,
  ObjectPropNotSupported = 0xA80A
};

enum class Event : std::uint16_t {
  CancelTransaction = 0x4001,
  ObjectAdded = 0x4002,
  ObjectRemoved = 0x4003,
  StoreAdded = 0x4004,
  StoreRemoved = 0x4005,
  DevicePropChanged = 0x4006,
  ObjectInfoChanged = 0x4007,
  DeviceInfoChanged = 0x4008,
  StoreFull = 0x400A,
  DeviceReset = 0x400B,
  StorageInfoChanged = 0x400C,
  UnreportedStatus = 0x400E
};

enum class Property : std::uint16_t {
  StorageID = 0xDC01,
  ObjectFormat = 0xDC02,
  ProtectionStatus = 0xDC03,
  ObjectSize = 0xDC04,
  AssociationType = 0xDC05,
  ObjectFileName = 0xDC07,
  DateCreated = 0xDC08,
  DateModified = 0xDC09,
  ParentObject = 0xDC0B,
  PersistentUniqueObjectIdentifier = 0xDC41,
  Name = 0xDC44,
  DisplayName = 0xDCE0,
  DateAdded = 0xDC4E,
  // device properties
  SynchronizationPartner = 0xD401,
  DeviceFriendlyName = 0xD402
};

enum class Format : std::uint16_t { Undefined = 0x3000, Association = 0x3001 };

enum class DataType : std::uint16_t {
  Undefined = 0x0000,
  Int8 = 0x0001,
  Uint8 = 0x0002,
  Int16 = 0x0003,
  Uint16 = 0x0004,
  Int32 = 0x0005,
  Uint32 = 0x0006,
  Int64 = 0x0007,
  Uint64 = 0x0008,
  Int128 = 0x0009,
  Uint128 = 0x000A,
  ArrayFlag = 0x4000, // 0x4001 … 0x400A: arrays of the above
  String = 0xFFFF
};

/// Requests of the still image class on the default pipe.
enum class ClassRequest : std::uint8_t { Cancel = 0x64, DeviceReset = 0x66, GetDeviceStatus = 0x67 };

/// The parent that means a storage's top level in GetObjectHandles and SendObjectInfo.
inline constexpr std::uint32_t TopLevelParent = 0xFFFFFFFF;

} // namespace mtp
