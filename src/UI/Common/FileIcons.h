#pragma once
// The icons of files by their names' extensions, each looked up once.
#include <QHash>
#include <QIcon>
#include <QString>

#include <functional>

namespace ui {

/// Keeps the icons it has looked up, up to a limit: a phone can hold any number of made-up extensions, the real ones
/// are few. Forgets them when the desktop's icon theme changes. Main thread.
class FileIcons {
public:
  /// The icon of a lower-case extension; empty: of a file whose name has none that could mean a kind of file.
  using LookUp = std::function<QIcon(const QString& extension)>;

  /// How many icons are kept.
  static constexpr qsizetype kLimit = 512;

  explicit FileIcons(LookUp lookUp = ofExtension);

  /// The icon of a file of that name.
  QIcon icon(const QString& fileName);

  /// The desktop theme's icon of an extension's MIME type, or our own picture of the kind.
  static QIcon ofExtension(const QString& extension);

private:
  LookUp m_lookUp;
  QHash<QString, QIcon> m_icons;
  QString m_theme;
};

} // namespace ui
