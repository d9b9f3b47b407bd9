#pragma once
// Objects that the computer itself has just changed. Most phones report only changes of their own making; those that
// report the host's too would make it list the folder again after each file it sends.
#include <chrono>
#include <cstdint>
#include <unordered_map>

namespace mtp {

/// Not for concurrent use.
class OwnChanges {
public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::seconds Remembered{5}; // so long may an event be on its way
  static constexpr std::size_t MaxRemembered = 4096;

  void add(std::uint32_t handle, Clock::time_point now) {
    if (m_until.size() >= MaxRemembered)
      std::erase_if(m_until, [now](const auto& entry) { return entry.second <= now; });
    if (m_until.size() < MaxRemembered)
      m_until[handle] = now + Remembered;
  }
  /// Whether an event that names this object is no news.
  bool cover(std::uint32_t handle, Clock::time_point now) {
    const auto found = m_until.find(handle);
    if (found != m_until.end() && found->second <= now)
      m_until.erase(found);
    else if (found != m_until.end())
      return true;
    return false;
  }
  /// Handles mean other objects from now on.
  void clear() { m_until.clear(); }

private:
  std::unordered_map<std::uint32_t, Clock::time_point> m_until;
};

} // namespace mtp
