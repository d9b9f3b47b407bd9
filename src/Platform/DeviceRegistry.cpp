#include "Platform/DeviceRegistry.h"

#include <algorithm>

namespace platform {

std::uint32_t locationIdOf(std::uint8_t bus, std::span<const unsigned> ports) {
  constexpr std::size_t levels = 6; // what is left of 32 bits behind the bus
  std::uint32_t id = std::uint32_t(bus) << 24;
  for (std::size_t i = 0; i < std::min(ports.size(), levels); ++i)
    id |= std::min(ports[i], 15u) << (20 - 4 * i);
  return id;
}

} // namespace platform
