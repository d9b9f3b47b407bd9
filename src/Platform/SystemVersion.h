#pragma once
// The version of the running system.
#include <QByteArray>

#include <compare>
#include <optional>

namespace platform {

/// A system version; parts that the system does not state are 0.
struct SystemVersion {
  long major = 0;
  long minor = 0;
  long patch = 0;

  // clang-tidy takes the 0 that a defaulted comparison is made of for a pointer.
  friend auto operator<=>(const SystemVersion&, const SystemVersion&) = default; // NOLINT(modernize-use-nullptr)
};

/// The running system's version: VERSION_ID of /etc/os-release, else of /usr/lib/os-release ("12" is 12.0.0, "22.04" is
/// 22.4.0). Nothing when neither can be read or states one, as on systems without numbered releases. Read once. Any
/// thread.
std::optional<SystemVersion> systemVersion();

/// The version in the text of an os-release file (os-release(5)); nothing when there is none that begins with a digit.
std::optional<SystemVersion> parseOsRelease(const QByteArray& text);

/// Stands in for the running system's version, for all threads, while it lives; for tests. Not nested.
class ScopedSystemVersion {
public:
  explicit ScopedSystemVersion(std::optional<SystemVersion> version);
  ~ScopedSystemVersion();
  ScopedSystemVersion(const ScopedSystemVersion&) = delete;
  ScopedSystemVersion& operator=(const ScopedSystemVersion&) = delete;
};

} // namespace platform
