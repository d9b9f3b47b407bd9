#include "UI/Common/SizeText.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace ui {
namespace {

constexpr double kUnit = 1024.0;
constexpr std::array<const char*, 9> _unit_strings = {"Byte", "KB", "MB", "GB", "TB", "PB", "EB", "ZB", "YB"};

// printf's "%.2f" without the locale's decimal sign.
QString twoDecimals(double value) {
  std::array<char, 64> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 2).ptr;
  return QString::fromLatin1(text.data(), end - text.data());
}

struct Scaled {
  double value;
  int unit; // index into _unit_strings, or beyond
};

// Divides at least once: what is below 1024 comes out below 1.
Scaled scaled(double value) {
  int unit = 0;
  do {
    value /= kUnit;
    if (value > 0)
      ++unit;
  } while (value > kUnit);
  return {value, unit};
}

QString withUnit(const Scaled& number) {
  return twoDecimals(number.value) + QLatin1String(_unit_strings[size_t(number.unit)]);
}

// The decimal digits at the start of `text`, read as a signed 64-bit number and limited to its range.
qint64 leadingNumber(QStringView text, bool negative = false) {
  constexpr qint64 kMax = std::numeric_limits<qint64>::max();
  constexpr qint64 kMin = std::numeric_limits<qint64>::min();
  qint64 number = 0;
  for (const QChar c : text) {
    if (c < u'0' || c > u'9')
      break;
    const int digit = c.unicode() - u'0';
    if (__builtin_mul_overflow(number, 10, &number) ||
        (negative ? __builtin_sub_overflow(number, digit, &number) : __builtin_add_overflow(number, digit, &number)))
      return negative ? kMin : kMax;
  }
  return number;
}

qint64 signedNumber(QStringView text) {
  text = text.trimmed();
  const bool negative = text.startsWith(u'-');
  if (negative || text.startsWith(u'+'))
    text = text.sliced(1);
  return leadingNumber(text, negative);
}

} // namespace

QString convertFileSizeFromInt(quint64 bytes) {
  constexpr quint64 kKilo = quint64(1) << 10;
  constexpr quint64 kMega = quint64(1) << 20;
  constexpr quint64 kGiga = quint64(1) << 30;
  constexpr quint64 kTera = quint64(1) << 40;
  const auto in = [bytes](quint64 unit, QLatin1String name) {
    return twoDecimals(double(bytes) / double(unit)) + name;
  };
  QString text;
  if (bytes > kTera)
    text = in(kTera, QLatin1String("TB"));
  else if (bytes > kGiga)
    text = in(kGiga, QLatin1String("GB"));
  else if (bytes > kMega)
    text = in(kMega, QLatin1String("MB"));
  else if (bytes <= kKilo)
    text = QString::number(bytes) + u'B';
  else
    text = in(kKilo, QLatin1String("KB"));

  constexpr qsizetype kTail = 8; // the last three integer digits, the point, two decimals, the unit
  for (qsizetype at = text.size() - kTail; at > 0; at -= 3)
    text.insert(at, u',');

  while (text.startsWith(u'.') || (text.startsWith(u'0') && text.size() > 2))
    text.remove(0, 1);
  return text;
}

QString stringFromating(quint64 bytes) {
  const Scaled number = scaled(double(bytes));
  if (number.unit > 8)
    return QStringLiteral("UC");
  if (number.value < 1.0)
    return QString::number(bytes) + QLatin1String(_unit_strings[0]);
  return withUnit(number);
}

QString stringFromating(const QString& text) {
  const qint64 bytes = signedNumber(text);
  const Scaled number = scaled(double(bytes));
  if (!(number.unit < 9))
    return QStringLiteral("UC");
  if (number.value < 1.0) {
    const qint64 shown =
        std::clamp<qint64>(bytes, std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max());
    return QString::number(shown) + QLatin1String(_unit_strings[0]);
  }
  return withUnit(number);
}

std::optional<platform::dates::Fields> fieldsOfMtpDate(const QString& text) {
  const qsizetype separator = text.indexOf(u'T');
  if (separator < 0 || text.indexOf(u'T', separator + 1) >= 0)
    return std::nullopt;
  const qint64 date = leadingNumber(QStringView(text).first(separator));
  const qint64 time = leadingNumber(QStringView(text).sliced(separator + 1));
  return platform::dates::Fields{date / 10000, date % 10000 / 100, date % 100,
                                 time / 10000, time % 10000 / 100, time % 100};
}

std::optional<QString> convertMtpToSystemDate(const QString& text) {
  const auto fields = fieldsOfMtpDate(text);
  if (!fields)
    return std::nullopt;
  const auto date = platform::dates::fromFields(*fields);
  if (!date)
    return std::nullopt;
  return dateTimeStringFromDate(*date);
}

QString dateTimeStringFromDate(platform::dates::Instant date) {
  return platform::dates::text(date);
}

} // namespace ui
