#include "MTPCore/DevicePath.h"

#include <QStringView>

QStringList devicePath::components(const QString& path) {
  return path.split(u'/', Qt::SkipEmptyParts);
}

QString devicePath::withoutLastComponent(const QString& path) {
  QStringView rest(path);
  const auto dropSlashes = [&rest] {
    while (rest.size() > 1 && rest.endsWith(u'/'))
      rest.chop(1);
  };
  dropSlashes();
  rest.truncate(rest.lastIndexOf(u'/') + 1);
  dropSlashes();
  return rest.isEmpty() ? QStringLiteral("") : rest.toString();
}

QString devicePath::joined(const QString& folderPath, const QString& name) {
  QString path;
  path.reserve(folderPath.size() + 1 + name.size());
  path.append(folderPath).append(u'/').append(name);
  return path;
}

std::optional<std::uint64_t> parseHexadecimal(const QString& text) {
  QStringView digits(text);
  if (digits.startsWith(u"0x", Qt::CaseInsensitive))
    digits = digits.mid(2);
  constexpr qsizetype MostDigits = 16;
  if (digits.isEmpty() || digits.size() > MostDigits)
    return std::nullopt;
  std::uint64_t value = 0;
  for (const QChar digit : digits) {
    const char16_t unit = digit.unicode();
    if (unit >= u'0' && unit <= u'9')
      value = value * 16 + (unit - u'0');
    else if (unit >= u'a' && unit <= u'f')
      value = value * 16 + (unit - u'a' + 10);
    else if (unit >= u'A' && unit <= u'F')
      value = value * 16 + (unit - u'A' + 10);
    else
      return std::nullopt;
  }
  return value;
}
