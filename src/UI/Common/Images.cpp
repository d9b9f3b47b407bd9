#include "UI/Common/Images.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "UI/Common/SvgIconEngine.h"

#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QMimeDatabase>
#include <QPainter>

#include <array>

namespace ui {

namespace {

struct NamedColor {
  QLatin1StringView name;
  QRgb light;
  QRgb dark;
};

constexpr std::array kNamedColors{
    // Texts and single-coloured pictures.
    NamedColor{QLatin1StringView("ItemText"), 0xff20252b, 0xffe7eaee},
    // Behind the panels and the header.
    NamedColor{QLatin1StringView("ViewBackground"), 0xffeef1f4, 0xff2b2f34},
    // What is white on a light desktop.
    NamedColor{QLatin1StringView("Paper"), 0xffffffff, 0xff1f2226},
    // Selected rows, the row below the pointer, the line around the row with the keyboard focus.
    NamedColor{QLatin1StringView("RowSelected"), 0xffcfe9fa, 0xff1d4a63},
    NamedColor{QLatin1StringView("RowHovered"), 0xfff1f5f8, 0xff2a2e33},
    NamedColor{QLatin1StringView("Accent"), 0xff19b1f2, 0xff19b1f2},
};

QHash<QString, QIcon>& registeredImages() {
  static QHash<QString, QIcon> images;
  return images;
}

QIcon bundleImage(const QString& name) {
  static QHash<QString, QIcon> loaded;
  if (const auto known = loaded.constFind(name); known != loaded.constEnd()) {
    return *known;
  }
  QFile file(QStringLiteral(":/images/%1.svg").arg(name));
  if (!file.open(QIODevice::ReadOnly)) {
    return {};
  }
  const QIcon icon(new SvgIconEngine(file.readAll(), name));
  loaded.insert(name, icon);
  return icon;
}

QIcon platformImage(const QString& name) {
  if (const auto known = registeredImages().constFind(name); known != registeredImages().constEnd()) {
    return *known;
  }
  return QIcon::hasThemeIcon(name) ? QIcon::fromTheme(name) : QIcon();
}

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

QIcon lookUpIcon(const QString& extension) {
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

} // namespace

QIcon namedImage(const QString& name) {
  platform::assertMainThread();
  QIcon image = bundleImage(name);
  if (image.isNull()) {
    image = platformImage(name);
  }
  if (image.isNull()) {
    MTPB_LOG("no image named \"%s\"", qUtf8Printable(name));
  }
  return image;
}

void registerNamedImage(const QString& name, const QIcon& image) {
  platform::assertMainThread();
  registeredImages().insert(name, image);
}

QSize imageSize(const QIcon& image) {
  const QList<QSize> sizes = image.availableSizes();
  return sizes.isEmpty() ? QSize() : sizes.constFirst();
}

void drawImage(QPainter& painter, const QRectF& target, const QIcon& image, QIcon::Mode mode) {
  if (image.isNull() || target.isEmpty()) {
    return;
  }
  const QSize size(qCeil(target.width()), qCeil(target.height()));
  const QPixmap pixmap = image.pixmap(size, painter.device()->devicePixelRatioF(), mode);
  painter.drawPixmap(target, pixmap, QRectF(pixmap.rect()));
}

bool isDarkPalette(const QPalette& palette) {
  return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

QColor namedColor(const QString& name, const QPalette& palette) {
  for (const NamedColor& color : kNamedColors) {
    if (color.name == name) {
      return QColor::fromRgba(isDarkPalette(palette) ? color.dark : color.light);
    }
  }
  MTPB_LOG("no colour named \"%s\"", qUtf8Printable(name));
  return Qt::blue;
}

QColor namedColor(const QString& name) {
  return namedColor(name, QGuiApplication::palette());
}

QIcon iconForItem(int objectType, const QString& fileName) {
  const bool isContainer = objectType >= 1 && objectType <= 4;
  return isContainer ? namedImage(QStringLiteral("browser_icon_folder")) : iconForFileName(fileName);
}

QIcon iconForFileName(const QString& fileName) {
  platform::assertMainThread();
  // A phone can hold any number of made-up extensions; the real ones are few.
  constexpr qsizetype cacheLimit = 512;
  static QHash<QString, QIcon> cache;
  static QString cachedTheme;
  if (cachedTheme != QIcon::themeName() || cache.size() >= cacheLimit) {
    cachedTheme = QIcon::themeName();
    cache.clear();
  }
  const QString extension = iconExtension(fileName);
  auto known = cache.constFind(extension);
  if (known == cache.constEnd()) {
    known = cache.insert(extension, lookUpIcon(extension));
  }
  return *known;
}

} // namespace ui
