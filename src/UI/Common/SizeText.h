#pragma once
// Sizes and dates as the window shows them. Pure: no state, any thread, no errors. All units are powers of 1024.
#include "Platform/Dates.h"

#include <QString>
#include <QtGlobal>

#include <optional>

namespace ui {

/// `convertFileSizeFromInt:` The size column's text of a byte count: "512B", "1,023.50KB", "2.00GB".
QString convertFileSizeFromInt(quint64 bytes);

/// `stringFromating:` (the progress panel's) The text of a byte count: "512Byte", "2.00KB".
QString stringFromating(quint64 bytes);

/// `stringFromating:` (the browser window's) The same for a number given as text and read as a signed 64-bit value: an
/// optional sign and the leading digits after blanks, 0 when there are none, the nearest 64-bit value when there are
/// too many. Below 1024 the number is shown as a 32-bit one, likewise limited.
QString stringFromating(const QString& number);

/// The wall-clock fields of an MTP date-time text (MTP 1.1, 3.2.5: "YYYYMMDDThhmmss[.s]" with an optional zone, which
/// is ignored). Nothing unless the text has exactly one "T"; what is not a digit ends a part's number.
std::optional<platform::dates::Fields> fieldsOfMtpDate(const QString& text);

/// `convertMtpToSystemDate:` The displayed text of an MTP date-time text, taken as local time. Nothing when
/// fieldsOfMtpDate() has none or the calendar cannot hold them.
std::optional<QString> convertMtpToSystemDate(const QString& text);

/// `dateTimeStringFromDate:` The displayed text of a moment: medium date and time style.
QString dateTimeStringFromDate(platform::dates::Instant date);

} // namespace ui
