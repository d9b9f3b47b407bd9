#pragma once
// Names, dates and formats: between what stands on the disk and what MTP says. Plain functions, any thread.
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace vphone {

constexpr std::size_t MaxNameUnits = 254; // UTF-16 units of a name, the terminating zero not counted

/// UTF-8 of the disk to UTF-16; bytes that are no UTF-8 become U+FFFD.
std::u16string toUtf16(std::string_view utf8);
/// No value when an unpaired surrogate is in the way.
std::optional<std::string> toUtf8(std::u16string_view text);
/// A name a file may get, in UTF-8: not empty, not "." or "..", without "/" and zero, at most 254 units.
std::optional<std::string> fileName(std::u16string_view name);
/// Equal when only the case of letters differs (letters beyond ASCII are compared as they are).
bool equalFolded(std::string_view a, std::string_view b);

/// "YYYYMMDDThhmmss" in the phone's own time zone, without one being named, as Android gives dates.
std::string dateText(std::time_t time);
/// Reads "YYYYMMDDThhmmss[.s][Z|±hhmm]". With "Z" it is UTC, without it the phone's local time; an offset is ignored.
std::optional<std::time_t> parseDate(std::u16string_view text);

/// The object format by the name's extension; 0x3000 when none is known.
std::uint16_t formatOfName(std::string_view name);

} // namespace vphone
