#pragma once
// What a supporter must know of this computer and its phones before any other line of the log makes sense.
#include <QStringList>

/// The versions of the program, of Qt, of the system and its kernel, the language; then a line a phone that is open.
/// Nothing that names the user, a phone's owner or a serial number. Any thread; does not block.
QStringList supportLines();
