#pragma once
// Objects that the computer itself has just changed. Most phones report only changes of their own making; those that
// report the host's too would make it list the folder again after each file it sends.
#include "TessalyMTPSdk/MtpCodes.h"

#include <chrono>
#include <cstdint>
#include <unordered_map>

namespace mtp {

enum class OwnChange {
  Stored, // made, written or renamed: covers its addition and changes
  Deleted // covers its removal, too
};

/// Not for concurrent use.
class OwnChanges {
public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::seconds Remembered{5}; // so long may an event be on its way
  static constexpr std::size_t MaxRemembered = 4096;

  void add(std::uint32_t handle, OwnChange change, Clock::time_point now) {
    if (m_changes.size() >= MaxRemembered)
      std::erase_if(m_changes, [now](const auto& entry) { return entry.second.until <= now; });
    if (m_changes.size() < MaxRemembered || m_changes.contains(handle))
      m_changes[handle] = {change, now + Remembered};
  }
  /// Whether an event of this kind that names this object is no news.
  bool cover(std::uint32_t handle, Event event, Clock::time_point now) {
    const auto found = m_changes.find(handle);
    if (found == m_changes.end())
      return false;
    if (found->second.until <= now) {
      m_changes.erase(found);
      return false;
    }
    switch (event) {
    case Event::ObjectAdded:
    case Event::ObjectInfoChanged:
      return true;
    case Event::ObjectRemoved:
      return found->second.change == OwnChange::Deleted;
    default:
      return false;
    }
  }
  /// Handles mean other objects from now on, or it is not known what became of what was noted.
  void clear() { m_changes.clear(); }

private:
  struct Change {
    OwnChange change;
    Clock::time_point until;
  };
  std::unordered_map<std::uint32_t, Change> m_changes;
};

} // namespace mtp
