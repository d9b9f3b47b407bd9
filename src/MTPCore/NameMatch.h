#pragma once
// When two names mean the same storage, folder or file.
#include <QString>
#include <QStringView>

#include <algorithm>

/// Whether the names differ in nothing but case and in how accents are spelled (one character or letter and accent): a
/// folder from a computer that keeps names decomposed must find itself again on a phone that got the composed name.
inline bool isSameName(QStringView a, QStringView b) {
  if (a.compare(b, Qt::CaseInsensitive) == 0)
    return true;
  const auto isAscii = [](QStringView text) {
    return std::ranges::all_of(text, [](QChar unit) { return unit.unicode() < 0x80; });
  };
  if (isAscii(a) || isAscii(b)) // composition changes no ASCII name and makes none
    return false;
  const auto composed = [](QStringView text) { return text.toString().normalized(QString::NormalizationForm_C); };
  return composed(a).compare(composed(b), Qt::CaseInsensitive) == 0;
}
