#pragma once
// Where an object handle stands in a list. A flat table: a folder of 100,000 objects asks it some 500,000 times.
#include <bit>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

namespace mtp {

/// Not for concurrent use.
class HandleIndex {
public:
  /// At most `count` handles will be put in.
  explicit HandleIndex(std::size_t count)
      : m_slots(std::bit_ceil(2 * count + 1)) {}

  /// False when the handle is there already. 0 is no handle and never put in.
  bool insert(std::uint32_t handle, std::uint32_t position) {
    Slot& slot = m_slots[slotOf(handle)];
    if (handle == 0 || slot.handle == handle)
      return false;
    slot = {handle, position};
    return true;
  }
  std::optional<std::uint32_t> find(std::uint32_t handle) const {
    const Slot& slot = m_slots[slotOf(handle)];
    return handle != 0 && slot.handle == handle ? std::optional(slot.position) : std::nullopt;
  }

private:
  struct Slot {
    std::uint32_t handle = 0;
    std::uint32_t position = 0;
  };

  /// The handle's slot, or the free one where it would go.
  std::size_t slotOf(std::uint32_t handle) const {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = (handle * m_factor >> 32) & mask;
    while (m_slots[slot].handle != 0 && m_slots[slot].handle != handle)
      slot = (slot + 1) & mask;
    return slot;
  }

  static std::uint64_t randomOdd() {
    std::random_device random;
    return std::uint64_t{random()} << 32 | random() | 1;
  }

  std::vector<Slot> m_slots;
  const std::uint64_t m_factor = randomOdd(); // so that no phone can choose handles that all meet in one slot
};

} // namespace mtp
