#pragma once
// File names between the computer and the phone: which can be, which mean the same one. Pure functions; any thread.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mtp {

/// Equal for names that a phone's storage may take for one: they differ in case or in how accents are composed only
/// (Unicode canonical caseless matching, as storages that fold case have it; no compatibility folding, as "①" is not
/// "1"). Text that is no Unicode keeps what it is.
std::u16string foldedName(std::u16string_view name);

/// Whether an object can have this name: 1 to 254 code units without "/" and zero, not "." and "..".
bool isObjectName(std::u16string_view name);

/// Whether a responder that keeps 16 bits a character would lose something of it.
bool isBeyondBasicPlane(std::u16string_view name);

/// The file's last path component; empty behind a last "/".
std::u16string_view fileNameOf(std::u16string_view path);

/// No value for text that is no Unicode: it names no file.
std::optional<std::string> toUtf8(std::u16string_view text);

} // namespace mtp
