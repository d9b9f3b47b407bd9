#include "UI/FileNameView/SFolderNameFormatter.h"

#include <algorithm>

SFolderNameFormatter::SFolderNameFormatter(QObject* parent)
    : QValidator(parent) {}

QString SFolderNameFormatter::stringForObjectValue(const QVariant& object) {
  return object.toString();
}

QString SFolderNameFormatter::objectValueForString(const QString& text) {
  return text.isNull() ? QLatin1String("") : text;
}

bool SFolderNameFormatter::isPartialStringValid(const QString& partial) {
  constexpr QStringView refused = u"/*\":?\\|<>";
  return partial.isEmpty() ||
         (!partial.startsWith(u'.') && partial.size() <= kLongest &&
          std::none_of(partial.begin(), partial.end(), [&](QChar c) { return refused.contains(c); }));
}

QValidator::State SFolderNameFormatter::validate(QString& input, int&) const {
  return isPartialStringValid(input) ? Acceptable : Invalid;
}
