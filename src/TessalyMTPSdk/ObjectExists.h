#pragma once
// The one question of the older library that the C interface does not ask.
#include <cstdint>

namespace mtp {

/// Whether the record at this address, of this kind (MTPDEXT_NODE_…), is known and its object still on the phone. Never
/// follows an unknown address. Any thread; blocks for one transaction when a change was reported where it stands.
bool objectExists(const void* address, std::int32_t kind);

} // namespace mtp
