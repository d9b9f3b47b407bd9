#pragma once
// How long an object on the phone is.
#include "TessalyMTPSdk/Device.h"

namespace mtp {

/// As the phone declares it.
struct DeclaredSize {
  std::uint64_t bytes = 0;
  bool exact = true; // false: it has 32 bits only, and may be the size modulo 2^32 or, as 0xFFFFFFFF, just large

  bool fits(std::uint64_t size) const;
};

/// One transaction, two for the first object of a phone that knows no property ObjectSize. Blocks.
Reply askSize(Device& device, std::uint32_t handle, DeclaredSize& size, const Session::Watch& watch);

} // namespace mtp
