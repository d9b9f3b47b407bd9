#include "TessalyMTPSdk/ObjectSize.h"

namespace mtp {

namespace {

constexpr std::uint64_t Largest32 = 0xFFFFFFFF;

bool isRefusedProperty(Response code) {
  switch (code) {
  case Response::OperationNotSupported:
  case Response::ParameterNotSupported:
  case Response::InvalidParameter:
  case Response::DevicePropNotSupported:
  case Response::InvalidObjectPropCode:
  case Response::ObjectPropNotSupported:
    return true;
  default:
    return false;
  }
}

} // namespace

bool DeclaredSize::fits(std::uint64_t size) const {
  if (exact || size < Largest32)
    return size == bytes;
  return bytes == Largest32 || (size & Largest32) == bytes;
}

Reply askSize(Device& device, std::uint32_t handle, DeclaredSize& size, const Session::Watch& watch) {
  std::vector<std::byte> dataset;
  if (device.info().supports(Operation::GetObjectPropValue) && device.knowsSizeProperty()) {
    const Reply reply = device.session().receive(
        Operation::GetObjectPropValue, {handle, static_cast<std::uint32_t>(Property::ObjectSize)}, dataset, watch);
    if (const auto value = parseNumberValue(dataset); reply.ok() && value) {
      size = {*value, dataset.size() >= sizeof(std::uint64_t)};
      return reply;
    }
    if (!reply.ok() && !isRefusedProperty(reply.code))
      return reply;
    if (!reply.ok())
      device.noteNoSizeProperty();
  }
  Reply reply = device.session().receive(Operation::GetObjectInfo, {handle}, dataset, watch);
  if (!reply.ok())
    return reply;
  if (const auto info = parseObjectInfo(dataset))
    size = {info->size, info->sizeIs64Bit};
  else
    reply.status = DGSTATUS_INTERNAL_SIZE_MISMATCH;
  return reply;
}

} // namespace mtp
