#include "VirtualPhone/Responder.h"

#include "VirtualPhone/Texts.h"

#include <algorithm>
#include <array>
#include <fcntl.h>

namespace vphone {
namespace {

using mtp::Operation;

constexpr std::uint16_t BatteryLevel = 0x5001;
constexpr std::uint16_t ImageSize = 0x5003;
constexpr std::uint16_t PerceivedDeviceType = 0xD407;
constexpr auto SynchronizationPartner = std::uint16_t(mtp::Property::SynchronizationPartner);
constexpr auto FriendlyName = std::uint16_t(mtp::Property::DeviceFriendlyName);

constexpr std::array Operations{
    Operation::GetDeviceInfo,      Operation::OpenSession,          Operation::CloseSession,
    Operation::GetStorageIDs,      Operation::GetStorageInfo,       Operation::GetNumObjects,
    Operation::GetObjectHandles,   Operation::GetObjectInfo,        Operation::GetObject,
    Operation::GetThumb,           Operation::DeleteObject,         Operation::SendObjectInfo,
    Operation::SendObject,         Operation::GetDevicePropDesc,    Operation::GetDevicePropValue,
    Operation::SetDevicePropValue, Operation::ResetDevicePropValue, Operation::MoveObject,
    Operation::CopyObject,         Operation::GetPartialObject,     Operation::GetObjectPropsSupported,
    Operation::GetObjectPropDesc,  Operation::GetObjectPropValue,   Operation::SetObjectPropValue,
    Operation::GetObjectPropList,  Operation::GetObjectReferences,  Operation::SetObjectReferences,
    Operation::GetPartialObject64, Operation::SendPartialObject,    Operation::TruncateObject,
    Operation::BeginEditObject,    Operation::EndEditObject};

constexpr std::array Events{mtp::Event::ObjectAdded, mtp::Event::ObjectRemoved, mtp::Event::StoreAdded,
                            mtp::Event::StoreRemoved, mtp::Event::ObjectInfoChanged};

constexpr std::array<std::uint16_t, 5> DeviceProperties{SynchronizationPartner, FriendlyName, ImageSize, BatteryLevel,
                                                        PerceivedDeviceType};

constexpr std::array<std::uint16_t, 26> PlaybackFormats{
    0x3000, 0x3001, 0x3004, 0x3005, 0x3008, 0x3009, 0x300A, 0x300B, 0x3801, 0x3804, 0x3807, 0x380B, 0x380D,
    0x3811, 0x3812, 0xB901, 0xB902, 0xB903, 0xB906, 0xB981, 0xB982, 0xB984, 0xBA10, 0xBA11, 0xBA14, 0xBA82};

template <typename Codes> std::vector<std::uint16_t> numbers(const Codes& codes) {
  std::vector<std::uint16_t> result;
  for (auto code : codes)
    result.push_back(std::uint16_t(code));
  return result;
}

/// Operations whose data phase goes from the host to the phone.
bool hasDataFromHost(std::uint16_t operation) {
  switch (Operation(operation)) {
  case Operation::SendObjectInfo:
  case Operation::SendObject:
  case Operation::SetDevicePropValue:
  case Operation::SetObjectPropValue:
  case Operation::SetObjectReferences:
  case Operation::SendPartialObject:
    return true;
  default:
    return false;
  }
}

} // namespace

Phone::Phone(const Options& o)
    : options(o)
    , manners(o.manners) {
  deviceTexts[FriendlyName] = toUtf16(o.friendlyName);
  deviceTexts[SynchronizationPartner] = {};
  for (const auto& storage : o.storages)
    tree.addStorage(storage);
  tree.takeChanges(); // there from the start
}

Responder::Responder(Phone& phone, Channel& channel, Statistics& statistics, std::mutex& statisticsMutex)
    : phone_(phone)
    , channel_(channel)
    , statistics_(statistics)
    , statisticsMutex_(statisticsMutex) {}

Responder::~Responder() {
  endSession();
}

void Responder::run() {
  try {
    for (;;) {
      auto command = channel_.receiveCommand();
      if (channel_.takeReset())
        endSession();
      try {
        serve(command);
      } catch (const TransactionEnded&) {
      }
      if (channel_.takeReset())
        endSession();
    }
  } catch (const LinkGone&) {
  }
}

void Responder::endSession() {
  dropIncoming();
  sessionOpen_ = false;
  phone_.events.setOpen(false);
}

void Responder::serve(const Command& command) {
  bool zeroLengthPackets = true;
  {
    std::lock_guard lock(phone_.mutex);
    zeroLengthPackets = phone_.manners.zeroLengthPackets;
  }
  {
    std::lock_guard lock(statisticsMutex_);
    ++statistics_.transactions;
    ++statistics_.operations[command.operation];
  }
  channel_.begin(command, zeroLengthPackets);
  auto answer = dispatch(command);
  channel_.sendResponse(std::uint16_t(answer.code), answer.parameters);
}

bool Responder::isSupported(std::uint16_t operation) const {
  return !phone_.manners.missingOperations.contains(operation) &&
         std::find(Operations.begin(), Operations.end(), Operation(operation)) != Operations.end();
}

Responder::Answer Responder::refuse(const Command& command, Code code) {
  if (hasDataFromHost(command.operation))
    channel_.receiveStream([](std::span<const std::byte>) { return true; });
  return code;
}

Responder::Lock Responder::lockPhone() {
  Lock lock(phone_.mutex);
  phone_.tree.catchUp();
  phone_.events.push(phone_.tree.takeChanges());
  return lock;
}

void Responder::settle(Object* changed) {
  phone_.tree.catchUp();
  if (changed)
    changed->hostWriting = false;
  phone_.events.push(phone_.tree.takeChanges());
}

Responder::Answer Responder::dispatch(const Command& c) {
  auto operation = Operation(c.operation);
  if (operation != Operation::SendObject)
    dropIncoming();
  if (auto code = channel_.respondInstead())
    return refuse(c, Code(*code));
  {
    std::lock_guard lock(phone_.mutex);
    if (!isSupported(c.operation))
      return Code::OperationNotSupported; // a data phase may follow; it is swallowed where commands are awaited
  }
  if (!c.valid)
    return refuse(c, Code::InvalidParameter);
  if (!sessionOpen_ && operation != Operation::GetDeviceInfo && operation != Operation::OpenSession)
    return refuse(c, Code::SessionNotOpen);
  switch (operation) {
  case Operation::GetDeviceInfo:
    return getDeviceInfo();
  case Operation::OpenSession:
    return openSession(c);
  case Operation::CloseSession:
    return closeSession();
  case Operation::GetStorageIDs:
    return getStorageIds();
  case Operation::GetStorageInfo:
    return getStorageInfo(c);
  case Operation::GetNumObjects:
    return getHandles(c, true);
  case Operation::GetObjectHandles:
    return getHandles(c, false);
  case Operation::GetObjectInfo:
    return getObjectInfo(c);
  case Operation::GetObject:
    return getObject(c);
  case Operation::GetThumb:
    return getThumb(c);
  case Operation::DeleteObject:
    return deleteObject(c);
  case Operation::SendObjectInfo:
    return sendObjectInfo(c);
  case Operation::SendObject:
    return sendObject();
  case Operation::GetDevicePropDesc:
    return getDevicePropDesc(c);
  case Operation::GetDevicePropValue:
    return getDevicePropValue(c);
  case Operation::SetDevicePropValue:
    return setDevicePropValue(c);
  case Operation::ResetDevicePropValue:
    return resetDevicePropValue(c);
  case Operation::MoveObject:
    return moveOrCopy(c, false);
  case Operation::CopyObject:
    return moveOrCopy(c, true);
  case Operation::GetPartialObject:
    return getPartialObject(c, false);
  case Operation::GetPartialObject64:
    return getPartialObject(c, true);
  case Operation::GetObjectPropsSupported:
    return getObjectPropsSupported();
  case Operation::GetObjectPropDesc:
    return getObjectPropDesc(c);
  case Operation::GetObjectPropValue:
    return getObjectPropValue(c);
  case Operation::SetObjectPropValue:
    return setObjectPropValue(c);
  case Operation::GetObjectPropList:
    return getObjectPropList(c);
  case Operation::GetObjectReferences:
    return getObjectReferences(c);
  case Operation::SetObjectReferences:
    return setObjectReferences(c);
  case Operation::SendPartialObject:
    return sendPartialObject(c);
  case Operation::TruncateObject:
    return truncateObject(c);
  case Operation::BeginEditObject:
    return beginEdit(c);
  case Operation::EndEditObject:
    return endEdit(c);
  default:
    return Code::OperationNotSupported;
  }
}

Responder::Answer Responder::getDeviceInfo() {
  DatasetWriter out;
  const auto& o = phone_.options;
  std::vector<std::uint16_t> operations;
  {
    std::lock_guard lock(phone_.mutex);
    for (auto operation : numbers(Operations)) {
      if (isSupported(operation))
        operations.push_back(operation);
    }
  }
  out.u16(100); // PTP 1.0
  out.u32(6);   // Microsoft's extension: MTP
  out.u16(100);
  out.string("microsoft.com: 1.0; android.com: 1.0;");
  out.u16(0); // functional mode: standard
  out.array16(operations);
  out.array16(numbers(Events));
  out.array16(DeviceProperties);
  out.array16({}); // nothing to capture
  out.array16(PlaybackFormats);
  out.string(o.manufacturer);
  out.string(o.model);
  out.string(o.version);
  out.string(o.serial);
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::openSession(const Command& c) {
  if (sessionOpen_)
    return {Code::SessionAlreadyOpen, {session_}};
  if (!c.parameters[0])
    return Code::InvalidParameter;
  session_ = c.parameters[0];
  sessionOpen_ = true;
  phone_.events.setOpen(true);
  return Code::OK;
}

Responder::Answer Responder::closeSession() {
  endSession();
  return Code::OK;
}

namespace {

/// The start of a device property's description.
void describe(DatasetWriter& out, std::uint16_t property, mtp::DataType type, bool writable) {
  out.u16(property);
  out.u16(std::uint16_t(type));
  out.u8(writable);
}

bool isText(std::uint16_t property) {
  return property == FriendlyName || property == SynchronizationPartner;
}

} // namespace

Responder::Answer Responder::getDevicePropDesc(const Command& c) {
  DatasetWriter out;
  auto property = std::uint16_t(c.parameters[0]);
  if (isText(property)) {
    std::lock_guard lock(phone_.mutex);
    describe(out, property, mtp::DataType::String, true);
    out.string(property == FriendlyName ? toUtf16(phone_.options.friendlyName) : std::u16string());
    out.string(phone_.deviceTexts[property]);
    out.u8(0); // no form
  } else if (property == ImageSize) {
    describe(out, property, mtp::DataType::String, false);
    out.string(u"");
    out.string(u"");
    out.u8(0);
  } else if (property == BatteryLevel) {
    describe(out, property, mtp::DataType::Uint8, false);
    out.u8(0);
    out.u8(100);
    out.u8(1); // a range
    out.u8(0);
    out.u8(100);
    out.u8(1);
  } else if (property == PerceivedDeviceType) {
    describe(out, property, mtp::DataType::Uint32, false);
    out.u32(3);
    out.u32(3); // a telephone
    out.u8(0);
  } else {
    return Code::DevicePropNotSupported;
  }
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::getDevicePropValue(const Command& c) {
  DatasetWriter out;
  auto property = std::uint16_t(c.parameters[0]);
  if (isText(property)) {
    std::lock_guard lock(phone_.mutex);
    out.string(phone_.deviceTexts[property]);
  } else if (property == ImageSize) {
    out.string(u"");
  } else if (property == BatteryLevel) {
    out.u8(100);
  } else if (property == PerceivedDeviceType) {
    out.u32(3);
  } else {
    return Code::DevicePropNotSupported;
  }
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::setDevicePropValue(const Command& c) {
  std::vector<std::byte> bytes;
  auto received = channel_.receiveData(bytes);
  auto property = std::uint16_t(c.parameters[0]);
  if (!isText(property))
    return std::find(DeviceProperties.begin(), DeviceProperties.end(), property) != DeviceProperties.end()
               ? Code::AccessDenied
               : Code::DevicePropNotSupported;
  DatasetReader in(bytes);
  auto text = in.string();
  if (received != Received::Complete || !in.ok())
    return Code::InvalidDevicePropValue;
  std::lock_guard lock(phone_.mutex);
  phone_.deviceTexts[property] = text;
  return Code::OK;
}

Responder::Answer Responder::resetDevicePropValue(const Command& c) {
  auto property = std::uint16_t(c.parameters[0]);
  if (!isText(property))
    return Code::DevicePropNotSupported;
  std::lock_guard lock(phone_.mutex);
  phone_.deviceTexts[property] = property == FriendlyName ? toUtf16(phone_.options.friendlyName) : std::u16string();
  return Code::OK;
}

Responder::Answer Responder::getStorageIds() {
  DatasetWriter out;
  std::vector<std::uint32_t> ids;
  {
    auto lock = lockPhone();
    for (const auto* storage : phone_.tree.storages())
      ids.push_back(storage->options.storageId);
  }
  out.array32(ids);
  channel_.sendData(out);
  return Code::OK;
}

Responder::Answer Responder::getStorageInfo(const Command& c) {
  DatasetWriter out;
  {
    auto lock = lockPhone();
    const auto* storage = phone_.tree.storage(c.parameters[0]);
    if (!storage)
      return Code::InvalidStorageID;
    out.u16(storage->options.removable ? 4 : 3); // RAM
    out.u16(2);                                  // folders in folders
    out.u16(storage->options.readOnly ? 1 : 0);  // access
    out.u64(phone_.tree.capacity(*storage));
    out.u64(phone_.tree.freeSpace(*storage));
    out.u32(0x40000000); // free objects: as many as one likes
    out.string(storage->options.description);
    out.string(u""); // volume identifier
  }
  channel_.sendData(out);
  return Code::OK;
}

} // namespace vphone
