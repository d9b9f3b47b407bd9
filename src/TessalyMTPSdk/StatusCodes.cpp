#include "TessalyMTPSdk/StatusCodes.h"

#include "TessalyMTPSdk/MtpCodes.h"

#include <iterator>

namespace mtp {

namespace {

// The failures in the order of their status values, which start at DGSTATUS_INTERNAL_GENERALERROR.
constexpr Response ResponseFailures[] = {
    Response::GeneralError,
    Response::SessionNotOpen,
    Response::InvalidTransactionID,
    Response::OperationNotSupported,
    Response::ParameterNotSupported,
    Response::IncompleteTransfer,
    Response::InvalidStorageID,
    Response::InvalidObjectHandle,
    Response::DevicePropNotSupported,
    Response::InvalidObjectFormatCode,
    Response::StoreFull,
    Response::ObjectWriteProtected,
    Response::StoreReadOnly,
    Response::AccessDenied,
    Response::NoThumbnailPresent,
    Response::SelfTestFailed,
    Response::PartialDeletion,
    Response::StoreNotAvailable,
    Response::SpecificationByFormatUnsupported,
    Response::NoValidObjectInfo,
    Response::InvalidCodeFormat,
    Response::UnknownVendorCode,
    Response::CaptureAlreadyTerminated,
    Response::DeviceBusy,
    Response::InvalidParentObject,
    Response::InvalidDevicePropFormat,
    Response::InvalidDevicePropValue,
    Response::InvalidParameter,
    Response::SessionAlreadyOpen,
    Response::TransactionCancelled,
    Response::SpecificationOfDestinationUnsupported,
    Response::InvalidObjectPropCode,
    Response::InvalidObjectPropFormat,
    Response::InvalidObjectPropValue,
    Response::InvalidObjectReference,
    Response::InvalidDataset,
    Response::ObjectTooLarge,
};
static_assert(std::size(ResponseFailures) == 0x25);

} // namespace

Status statusOfResponse(std::uint16_t responseCode) {
  const auto code = static_cast<Response>(responseCode);
  if (code == Response::OK)
    return DGSTATUS_SUCCESS;
  switch (code) {
  // These three have no status of their own; they say that a parameter's value is not served.
  case Response::GroupNotSupported:
  case Response::SpecificationByGroupUnsupported:
  case Response::SpecificationByDepthUnsupported:
    return statusOfResponse(static_cast<std::uint16_t>(Response::ParameterNotSupported));
  case Response::ObjectPropNotSupported:
    return statusOfResponse(static_cast<std::uint16_t>(Response::InvalidObjectPropCode));
  default:
    break;
  }
  Status status = DGSTATUS_INTERNAL_GENERALERROR;
  for (const Response failure : ResponseFailures) {
    if (failure == code)
      return status;
    ++status;
  }
  return DGSTATUS_INTERNAL_GENERALERROR;
}

} // namespace mtp
