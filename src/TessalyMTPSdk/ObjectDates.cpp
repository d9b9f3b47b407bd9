#include "TessalyMTPSdk/ObjectDates.h"

#include <cstdint>

namespace mtp {

namespace {

std::u16string written(const std::tm& date) {
  const int year = date.tm_year + 1900;
  if (year < 0 || year > 9999)
    return {};
  std::u16string text(15, u'T');
  const auto put = [&text](std::size_t at, int digits, int value) {
    for (int i = digits; i-- > 0; value /= 10)
      text[at + static_cast<std::size_t>(i)] = static_cast<char16_t>(u'0' + value % 10);
  };
  put(0, 4, year);
  put(4, 2, date.tm_mon + 1);
  put(6, 2, date.tm_mday);
  put(9, 2, date.tm_hour);
  put(11, 2, date.tm_min);
  put(13, 2, date.tm_sec);
  return text;
}

/// Reads `digits` digits from the front; a value below `least` or above `most`, or no number: false.
bool take(std::u16string_view& text, std::size_t digits, int least, int most, int& value) {
  if (text.size() < digits)
    return false;
  value = 0;
  for (const char16_t unit : text.substr(0, digits)) {
    if (unit < u'0' || unit > u'9')
      return false;
    value = 10 * value + (unit - u'0');
  }
  text.remove_prefix(digits);
  return value >= least && value <= most;
}

/// As mktime() without looking whether the time zone's file has changed, which it does at each call: beside a small
/// file of a phone that shows. An hour that the clocks leave out is told as one beside it.
std::time_t fromLocalTime(std::tm date) {
  const std::time_t asUniversal = timegm(&date);
  const auto at = [asUniversal](std::time_t guess) {
    std::tm local{};
    return localtime_r(&guess, &local) ? asUniversal - local.tm_gmtoff : asUniversal;
  };
  const std::time_t first = at(asUniversal);
  const std::time_t second = at(first);
  return at(second) == second ? second : first;
}

} // namespace

std::u16string sentDate(std::time_t time) {
  std::tm date{};
  if (!gmtime_r(&time, &date))
    return {};
  const std::u16string text = written(date);
  return text.empty() ? text : text + u'Z';
}

std::u16string toldDate(std::time_t time) {
  std::tm date{};
  return localtime_r(&time, &date) ? written(date) : std::u16string();
}

std::optional<std::time_t> parseDate(std::u16string_view text) {
  std::tm date{};
  int year = 0;
  int month = 0;
  if (!take(text, 4, 1, 9999, year) || !take(text, 2, 1, 12, month) || !take(text, 2, 1, 31, date.tm_mday) ||
      !text.starts_with(u'T'))
    return std::nullopt;
  text.remove_prefix(1);
  if (!take(text, 2, 0, 23, date.tm_hour) || !take(text, 2, 0, 59, date.tm_min) || !take(text, 2, 0, 60, date.tm_sec))
    return std::nullopt;
  date.tm_year = year - 1900;
  date.tm_mon = month - 1;
  if (text.starts_with(u'.')) {
    text.remove_prefix(1);
    while (!text.empty() && text.front() >= u'0' && text.front() <= u'9')
      text.remove_prefix(1);
  }
  if (text.empty())
    return fromLocalTime(date);
  const char16_t zone = text.front();
  text.remove_prefix(1);
  int hours = 0;
  int minutes = 0;
  if (zone == u'Z' && text.empty())
    return timegm(&date);
  if ((zone != u'+' && zone != u'-') || !take(text, 2, 0, 23, hours) || !take(text, 2, 0, 59, minutes) || !text.empty())
    return std::nullopt;
  const std::time_t east = 3600 * hours + 60 * minutes;
  return timegm(&date) - (zone == u'+' ? east : -east);
}

} // namespace mtp
