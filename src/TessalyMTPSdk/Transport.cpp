#include "TessalyMTPSdk/Transport.h"

namespace mtp {

const char* toString(IoStatus status) {
  switch (status) {
  case IoStatus::Ok:
    return "ok";
  case IoStatus::Timeout:
    return "timed out";
  case IoStatus::Stall:
    return "stalled";
  case IoStatus::Gone:
    return "unplugged";
  case IoStatus::Cancelled:
    return "cancelled";
  case IoStatus::Error:
    break;
  }
  return "transfer error";
}

} // namespace mtp
