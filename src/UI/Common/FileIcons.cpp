#include "UI/Common/FileIcons.h"

#include "UI/Common/Images.h"

#include <QMimeDatabase>

#include <array>

namespace ui {

namespace {

/// Our own picture for a kind of file.
QString fallbackImageName(const QMimeType& type) {
  struct Rule {
    QLatin1StringView inherited;
    QLatin1StringView picture;
  };
  // The first that fits: the special kinds before those they descend from.
  static constexpr std::array rules{
      Rule{QLatin1StringView("application/vnd.android.package-archive"), QLatin1StringView("file_app")},
      Rule{QLatin1StringView("application/pdf"), QLatin1StringView("file_pdf")},
      Rule{QLatin1StringView("application/msword"), QLatin1StringView("file_document")},
      Rule{QLatin1StringView("application/rtf"), QLatin1StringView("file_document")},
      Rule{QLatin1StringView("application/epub+zip"), QLatin1StringView("file_document")},
      Rule{QLatin1StringView("application/vnd.openxmlformats-officedocument.wordprocessingml.document"),
           QLatin1StringView("file_document")},
      Rule{QLatin1StringView("application/vnd.oasis.opendocument.text"), QLatin1StringView("file_document")},
      Rule{QLatin1StringView("application/vnd.ms-excel"), QLatin1StringView("file_spreadsheet")},
      Rule{QLatin1StringView("application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"),
           QLatin1StringView("file_spreadsheet")},
      Rule{QLatin1StringView("application/vnd.oasis.opendocument.spreadsheet"), QLatin1StringView("file_spreadsheet")},
      Rule{QLatin1StringView("text/csv"), QLatin1StringView("file_spreadsheet")},
      Rule{QLatin1StringView("application/vnd.ms-powerpoint"), QLatin1StringView("file_presentation")},
      Rule{QLatin1StringView("application/vnd.openxmlformats-officedocument.presentationml.presentation"),
           QLatin1StringView("file_presentation")},
      Rule{QLatin1StringView("application/vnd.oasis.opendocument.presentation"),
           QLatin1StringView("file_presentation")},
      Rule{QLatin1StringView("application/zip"), QLatin1StringView("file_archive")},
      Rule{QLatin1StringView("application/gzip"), QLatin1StringView("file_archive")},
      Rule{QLatin1StringView("application/x-tar"), QLatin1StringView("file_archive")},
      Rule{QLatin1StringView("application/x-7z-compressed"), QLatin1StringView("file_archive")},
      Rule{QLatin1StringView("application/vnd.rar"), QLatin1StringView("file_archive")},
      Rule{QLatin1StringView("application/x-bzip2"), QLatin1StringView("file_archive")},
      Rule{QLatin1StringView("application/x-bzip"), QLatin1StringView("file_archive")},
      Rule{QLatin1StringView("application/x-xz"), QLatin1StringView("file_archive")},
      Rule{QLatin1StringView("application/ogg"), QLatin1StringView("file_audio")},
      Rule{QLatin1StringView("text/html"), QLatin1StringView("file_code")},
      Rule{QLatin1StringView("application/xml"), QLatin1StringView("file_code")},
      Rule{QLatin1StringView("application/json"), QLatin1StringView("file_code")},
      Rule{QLatin1StringView("application/x-shellscript"), QLatin1StringView("file_code")},
      Rule{QLatin1StringView("text/x-csrc"), QLatin1StringView("file_code")},
      Rule{QLatin1StringView("text/x-python"), QLatin1StringView("file_code")},
      Rule{QLatin1StringView("application/javascript"), QLatin1StringView("file_code")},
      Rule{QLatin1StringView("text/plain"), QLatin1StringView("file_text")},
  };
  const QString name = type.name();
  static constexpr std::array families{QLatin1StringView("image"), QLatin1StringView("audio"),
                                       QLatin1StringView("video")};
  for (const QLatin1StringView family : families) {
    if (name.startsWith(family) && name.mid(family.size()).startsWith(u'/')) {
      return QStringLiteral("file_") + family;
    }
  }
  for (const Rule& rule : rules) {
    if (type.inherits(rule.inherited)) {
      return rule.picture;
    }
  }
  return QStringLiteral("file_unknown");
}

/// The extension in the letter case of the cache; empty when there is none that could mean a kind of file.
QString iconExtension(const QString& fileName) {
  constexpr qsizetype longest = 16;
  const qsizetype dot = fileName.lastIndexOf(u'.');
  const qsizetype length = fileName.size() - dot - 1;
  if (dot < 0 || length < 1 || length > longest) {
    return {};
  }
  const QStringView extension = QStringView(fileName).mid(dot + 1);
  for (const QChar c : extension) {
    const bool isPlain = c.unicode() < 0x80 && (c.isLetterOrNumber() || c == u'_' || c == u'-' || c == u'+');
    if (!isPlain) {
      return {};
    }
  }
  return extension.toString().toLower();
}

} // namespace

QIcon FileIcons::ofExtension(const QString& extension) {
  const QMimeType type = extension.isEmpty() ? QMimeType()
                                             : QMimeDatabase().mimeTypeForFile(QStringLiteral("x.") + extension,
                                                                               QMimeDatabase::MatchExtension);
  if (type.isValid()) {
    for (const QString& name : {type.iconName(), type.genericIconName()}) {
      if (QIcon::hasThemeIcon(name)) {
        return QIcon::fromTheme(name);
      }
    }
  }
  return namedImage(fallbackImageName(type));
}

FileIcons::FileIcons(LookUp lookUp)
    : m_lookUp(std::move(lookUp)) {}

QIcon FileIcons::icon(const QString& fileName) {
  if (m_theme != QIcon::themeName() || m_icons.size() >= kLimit) {
    m_theme = QIcon::themeName();
    m_icons.clear();
  }
  const QString extension = iconExtension(fileName);
  auto known = m_icons.constFind(extension);
  if (known == m_icons.constEnd()) {
    known = m_icons.insert(extension, m_lookUp(extension));
  }
  return *known;
}

} // namespace ui
