#include "UI/Common/Images.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "UI/Common/FileIcons.h"
#include "UI/Common/SvgIconEngine.h"

#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QPainter>
#include <QSet>
#include <QtMath>

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
    // The panels' buttons: the one that Return means, the others, and the line around those.
    NamedColor{QLatin1StringView("ButtonPrimary"), 0xff0c74b4, 0xff1478b4},
    NamedColor{QLatin1StringView("ButtonPlain"), 0xffffffff, 0xff3f454c},
    NamedColor{QLatin1StringView("ButtonFrame"), 0xffb6bec7, 0xff5d656e},
    // What deletes, while something is held above it.
    NamedColor{QLatin1StringView("Danger"), 0xffc62f2f, 0xffff7b72},
    NamedColor{QLatin1StringView("DangerBackground"), 0xfffde7e5, 0xff4a2624},
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
  QIcon icon(new SvgIconEngine(file.readAll(), name));
  loaded.insert(name, icon);
  return icon;
}

QIcon platformImage(const QString& name) {
  if (const auto known = registeredImages().constFind(name); known != registeredImages().constEnd()) {
    return *known;
  }
  return QIcon::hasThemeIcon(name) ? QIcon::fromTheme(name) : QIcon();
}

} // namespace

QIcon namedImage(const QString& name) {
  platform::assertMainThread();
  QIcon image = bundleImage(name);
  if (image.isNull()) {
    image = platformImage(name);
  }
  static QSet<QString> reported;
  if (image.isNull() && !reported.contains(name)) {
    reported.insert(name); // once: rows of a whole folder may ask for the same picture
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
  static FileIcons icons;
  return icons.icon(fileName);
}

} // namespace ui
