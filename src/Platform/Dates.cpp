#include "Platform/Dates.h"

#include "Platform/ThreadSafety.h"

#include <QLocale>
#include <QTimeZone>

#include <unicode/datefmt.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>

#include <array>
#include <memory>
#include <sys/stat.h>

namespace platform::dates {
namespace {

// What the formatter depends on. `zone` is TZ's value or a test's zone; where it is empty the system's zone counts,
// which `stamp` tells apart: the inode and the change time of /etc/localtime.
struct LocaleAndZone {
  QByteArray locale;
  QByteArray zone;
  std::array<std::int64_t, 3> stamp{};

  friend bool operator==(const LocaleAndZone&, const LocaleAndZone&) = default;
};

Mutex g_mutex;
std::optional<LocaleAndZone> g_override MTPB_GUARDED_BY(g_mutex);

QByteArray userLocale() {
  const QLocale application;
  if (application != QLocale::system())
    return application.name().toLatin1();
  // QLocale::system() answers for all of a user's locale settings at once and is named after LC_NUMERIC.
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"})
    if (QByteArray value = qgetenv(variable); !value.isEmpty())
      return value;
  return "C";
}

LocaleAndZone current() {
  {
    const Lock lock(g_mutex);
    if (g_override)
      return *g_override;
  }
  LocaleAndZone found{userLocale(), qgetenv("TZ")};
  struct stat file {};
  if (found.zone.isEmpty() && ::lstat("/etc/localtime", &file) == 0)
    found.stamp = {std::int64_t(file.st_ino), file.st_ctim.tv_sec, file.st_ctim.tv_nsec};
  return found;
}

std::unique_ptr<icu::TimeZone> makeZone(const QByteArray& wanted) {
  // Qt's reading of TZ knows its forms (":Europe/Berlin", a path).
  const bool named = !wanted.isEmpty() && wanted != qgetenv("TZ");
  const QByteArray id = named ? wanted : QTimeZone::systemTimeZoneId();
  std::unique_ptr<icu::TimeZone> zone(
      icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8({id.constData(), int32_t(id.size())})));
  if (*zone != icu::TimeZone::getUnknown())
    return zone;
  // TZ may hold a rule instead of a name ("CET-1CEST,M3.5.0,M10.5.0/3").
  return std::unique_ptr<icu::TimeZone>(icu::TimeZone::detectHostTimeZone());
}

// ICU's formatters and calendars are not for several threads at once, and making one costs a thousand times what using
// it does: each thread keeps its own until the locale or the zone changes.
struct Formatter {
  LocaleAndZone madeFor;
  std::unique_ptr<icu::DateFormat> format;
  std::unique_ptr<icu::GregorianCalendar> calendar;
};

// The formatter of this thread for the locale and zone of now; null members when ICU has no data.
Formatter& formatter() {
  thread_local Formatter kept;
  LocaleAndZone wanted = current();
  if (kept.format && kept.madeFor == wanted)
    return kept;
  const std::unique_ptr<icu::TimeZone> zone = makeZone(wanted.zone);
  const icu::Locale locale = icu::Locale::createCanonical(wanted.locale.constData());
  kept.format.reset(
      icu::DateFormat::createDateTimeInstance(icu::DateFormat::kMedium, icu::DateFormat::kMedium, locale));
  if (kept.format) {
    kept.format->setTimeZone(*zone);
    kept.format->setLenient(false);
  }
  UErrorCode status = U_ZERO_ERROR;
  kept.calendar = std::make_unique<icu::GregorianCalendar>(*zone, locale, status);
  if (U_FAILURE(status))
    kept.calendar.reset();
  kept.madeFor = std::move(wanted);
  return kept;
}

bool within(std::int64_t value, std::int64_t limit) {
  return value >= -limit && value <= limit;
}

} // namespace

std::optional<Instant> fromFields(const Fields& fields) {
  constexpr std::int64_t kYears = 1'000'000;
  constexpr std::int64_t kOthers = 1'000'000;
  if (!within(fields.year, kYears))
    return std::nullopt;
  for (const std::int64_t value : {fields.month, fields.day, fields.hour, fields.minute, fields.second})
    if (!within(value, kOthers))
      return std::nullopt;
  icu::GregorianCalendar* calendar = formatter().calendar.get();
  if (calendar == nullptr)
    return std::nullopt;
  calendar->clear();
  calendar->set(int32_t(fields.year), int32_t(fields.month - 1), int32_t(fields.day), int32_t(fields.hour),
                int32_t(fields.minute), int32_t(fields.second));
  UErrorCode status = U_ZERO_ERROR;
  const UDate date = calendar->getTime(status);
  if (U_FAILURE(status))
    return std::nullopt;
  return Instant(std::chrono::milliseconds(std::int64_t(date)));
}

QString text(Instant instant) {
  const Formatter& own = formatter();
  if (!own.format)
    return {};
  icu::UnicodeString result;
  own.format->format(UDate(instant.time_since_epoch().count()), result);
  return QString::fromUtf16(result.getBuffer(), result.length());
}

std::optional<Instant> parse(const QString& text) {
  const Formatter& own = formatter();
  if (!own.format || text.isEmpty() || text.size() > 200) // no displayed date is near as long
    return std::nullopt;
  const icu::UnicodeString source(false, reinterpret_cast<const char16_t*>(text.utf16()), int32_t(text.size()));
  icu::ParsePosition position;
  const UDate date = own.format->parse(source, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != source.length())
    return std::nullopt;
  return Instant(std::chrono::milliseconds(std::int64_t(date)));
}

ScopedLocaleAndZone::ScopedLocaleAndZone(const QString& locale, const QString& zone) {
  const Lock lock(g_mutex);
  g_override = LocaleAndZone{locale.toLatin1(), zone.toLatin1(), {}};
}

ScopedLocaleAndZone::~ScopedLocaleAndZone() {
  const Lock lock(g_mutex);
  g_override.reset();
}

} // namespace platform::dates
