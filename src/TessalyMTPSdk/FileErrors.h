#pragma once
// What an error number of the computer's file system means to the one who copies a file.
#include "TessalyMTPSdk/StatusCodes.h"

#include <cerrno>

namespace mtp {

/// `otherwise`: for errors that say nothing of their own.
inline Status statusOfError(int error, Status otherwise) {
  switch (error) {
  case ENOSPC:
  case EDQUOT:
    return DGSTATUS_STORAGE_FULL;
  case EACCES:
  case EPERM:
  case EROFS:
    return DGSTATUS_FILE_ACCESS_DENIED;
  case ENAMETOOLONG:
  case EILSEQ:
  case EINVAL: // a character that this file system does not take
    return DGSTATUS_FILE_INVALID_CHAR;
  case ENOMEM:
  case EMFILE:
  case ENFILE:
    return DGSTATUS_INSUFFICIENT_RESOURCE;
  default:
    return otherwise;
  }
}

} // namespace mtp
