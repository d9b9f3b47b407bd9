#pragma once
// Texts that name places on a phone: device paths and node identifiers. Any thread.
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

/// "/" model name "/" storage name "/" folder names.
namespace devicePath {

/// The names in a path, in order; empty ones are left out.
QStringList components(const QString& path);
/// The path without its last name: "/a/b" gives "/a", "/a" gives "/", "a" gives "".
QString withoutLastComponent(const QString& path);
/// folderPath "/" name.
QString joined(const QString& folderPath, const QString& name);

} // namespace devicePath

/// The number a hexadecimal text stands for, "0x" in front allowed; nothing for an empty text, any other character and
/// more than 64 bits.
std::optional<std::uint64_t> parseHexadecimal(const QString& text);
