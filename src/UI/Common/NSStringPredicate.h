#pragma once
// Small questions about texts. Stateless; any thread.
#include "Platform/Dates.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace ui {

/// How a date that is not known is shown.
inline constexpr QStringView kUnknownDate = u"--";

/// `isExistInArray:` Whether `array` holds an element that matches `receiver`: the whole element, case ignored, accents
/// and all else significant; in the receiver "*" stands for any characters or none, "?" for exactly one, and a
/// backslash takes the character after it literally. No array: false.
bool isExistInArray(const QString& receiver, const std::optional<QStringList>& array);

/// `isExistInArray:filtered:` As above; `filtered` becomes the matching elements in their order, nothing when there is
/// no array.
bool isExistInArray(const QString& receiver, const std::optional<QStringList>& array,
                    std::optional<QStringList>& filtered);

/// `compareDateFormatString:` -1, 0 or 1: how two displayed dates stand to each other. Unknown dates ("--") come first
/// and are the same, then texts that are no dates (all the same, so that sorting stays consistent), then the dates.
/// Parses both texts: to sort many rows, sort by their moments.
int compareDateFormatString(const QString& receiver, const QString& other);

/// `dateFromString:` The moment of a displayed date (see platform::dates::parse()); nothing when it does not match.
std::optional<platform::dates::Instant> dateFromString(const QString& text);

} // namespace ui
