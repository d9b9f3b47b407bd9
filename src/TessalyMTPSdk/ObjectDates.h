#pragma once
// MTP's date texts (MTP 1.1, DateTime: "YYYYMMDDThhmmss", then perhaps tenths of a second and a zone). Pure functions;
// any thread.
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace mtp {

/// As it is sent: universal time with a "Z", the one zone that phones heed. Empty for a year beyond four digits.
std::u16string sentDate(std::time_t time);
/// As a phone in the computer's time zone tells it: local time without a zone.
std::u16string toldDate(std::time_t time);
/// Reads a phone's text; without a zone it is the computer's local time. No value for what is no date.
std::optional<std::time_t> parseDate(std::u16string_view text);

} // namespace mtp
