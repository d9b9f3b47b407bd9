#include "SBrowser/DownloadNames.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

namespace download {
namespace {

constexpr qsizetype kLongestExtension = 32; // of an extension worth keeping; longer ones are part of the stem

struct Parts {
  QString stem;
  QString extension; // with its dot; may be empty
};

Parts partsOf(const QString& name) {
  const qsizetype dot = name.lastIndexOf(u'.');
  if (dot <= 0 || name.size() - dot > kLongestExtension)
    return {name, QString()};
  return {name.first(dot), name.sliced(dot)};
}

QString wellFormed(QString text) {
  for (qsizetype i = 0; i < text.size(); ++i) {
    const bool pair = text.at(i).isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
    if (pair)
      ++i;
    else if (text.at(i).isSurrogate())
      text[i] = QChar(QChar::ReplacementCharacter);
  }
  return text;
}

/// The stem, cut so that the whole is short enough, the suffix and the extension.
QString joined(QString stem, const QString& suffix, const QString& extension) {
  const qsizetype room = kLongestName - (suffix + extension).toUtf8().size();
  for (qsizetype bytes = stem.toUtf8().size(); bytes > room && !stem.isEmpty(); bytes = stem.toUtf8().size()) {
    // A unit takes three bytes at most, so that this many can go at once; a half of a pair is not left behind.
    stem.chop(qMax<qsizetype>((bytes - room) / 3, 1));
    if (!stem.isEmpty() && stem.back().isHighSurrogate())
      stem.chop(1);
  }
  return stem + suffix + extension;
}

QString folded(const QString& name) {
  return name.toCaseFolded().normalized(QString::NormalizationForm_C);
}

} // namespace

QString nameOnComputer(const QString& nameOnPhone) {
  QString name = wellFormed(nameOnPhone);
  name.replace(u'/', u'_').replace(QChar(u'\0'), u'_');
  if (name.isEmpty())
    return QStringLiteral("_");
  if (name == u"." || name == u"..")
    return QString(name.size(), u'_');
  const Parts parts = partsOf(name);
  return joined(parts.stem, QString(), parts.extension);
}

QString pathOnComputer(const QString& folder, const QString& name) {
  QString path = folder + u'/' + name;
  while (path.contains(u"//"))
    path.replace(QStringLiteral("//"), QStringLiteral("/"));
  return path;
}

bool ignoresCase(const QString& folder) {
  QString place = folder; // or, as long as that is not there, where it would be made
  while (!QFileInfo::exists(place) && QFileInfo(place).path() != place)
    place = QFileInfo(place).path();
  QTemporaryFile file(place + QStringLiteral("/.mtpbrowser-case-XXXXXX"));
  if (!file.open())
    return true;
  const QFileInfo info(file.fileName());
  return QFile::exists(info.path() + u'/' + info.fileName().toUpper());
}

NamesInFolder::NamesInFolder(std::function<bool()> ignoresCase, std::function<bool(const QString& name)> exists)
    : m_ignoresCase(std::move(ignoresCase))
    , m_exists(std::move(exists)) {}

bool NamesInFolder::isTaken(const QString& name) const {
  return m_names.contains(name) || (m_foldedNames.contains(folded(name)) && m_ignoresCase());
}

QString NamesInFolder::claim(const QString& nameOnPhone) {
  QString name = nameOnComputer(nameOnPhone);
  if (isTaken(name)) {
    const Parts parts = partsOf(name);
    int& taken = m_takenNumbers[folded(name)];
    do
      name = joined(parts.stem, QStringLiteral(" (%1)").arg(++taken + 1), parts.extension);
    while (isTaken(name) || m_exists(name));
  }
  m_names.insert(name);
  m_foldedNames.insert(folded(name));
  return name;
}

} // namespace download
