#pragma once
// Dates as the user reads them: ICU's medium date and medium time style in the user's locale and the system's zone.
//
// The locale is the application's (QLocale::setDefault()) when one was set, else the environment's: the first of
// LC_ALL, LC_TIME, LANG that is set. The zone is TZ or /etc/localtime. Both are looked at on every call, so that a
// change takes effect at once. Every function may be called from any thread; none blocks (a thread's first call loads
// the locale's data, some milliseconds). Formatting a date takes about 5 microseconds and parsing one 10: format only
// the rows that are seen, and sort by moments, not by parsing texts.
#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

namespace platform::dates {

/// A moment, in milliseconds since 1970-01-01 00:00 UTC.
using Instant = std::chrono::sys_time<std::chrono::milliseconds>;

/// The fields of a wall-clock date of the Gregorian calendar; month and day count from 1, hours from 0 to 23.
struct Fields {
  std::int64_t year = 0;
  std::int64_t month = 0;
  std::int64_t day = 0;
  std::int64_t hour = 0;
  std::int64_t minute = 0;
  std::int64_t second = 0;

  friend bool operator==(const Fields&, const Fields&) = default;
};

/// The moment the fields name in the system's zone. Fields out of their range carry over into the next larger one
/// (month 13 is January of the next year, day 0 the last of the month before). Nothing when a field is beyond what the
/// calendar computes with (years beyond ±1,000,000 or as far in smaller units).
std::optional<Instant> fromFields(const Fields& fields);

/// The displayed text of a moment. May hold U+202F, U+200F and other marks of the locale: never compare with literals.
QString text(Instant instant);

/// The moment a displayed text names (to the second); nothing when the whole text is not in the displayed form.
std::optional<Instant> parse(const QString& text);

/// Puts another locale and zone in the place of the user's for all threads while it lives; for tests. Not nested.
class ScopedLocaleAndZone {
public:
  /// `locale` is an ICU or POSIX name ("de_DE", "ar_EG"), `zone` an Olson name ("Europe/Berlin").
  ScopedLocaleAndZone(const QString& locale, const QString& zone);
  ~ScopedLocaleAndZone();
  ScopedLocaleAndZone(const ScopedLocaleAndZone&) = delete;
  ScopedLocaleAndZone& operator=(const ScopedLocaleAndZone&) = delete;
};

} // namespace platform::dates
