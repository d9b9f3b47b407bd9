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
#include <cmath>

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
    // Around the panels and the columns' headings.
    NamedColor{QLatin1StringView("Frame"), 0xff000000, 0xff000000},
    // Behind the panels and the header.
    NamedColor{QLatin1StringView("ViewBackground"), 0xffeef1f4, 0xff2b2f34},
    // What is white on a light desktop.
    NamedColor{QLatin1StringView("Paper"), 0xffffffff, 0xff1f2226},
    // Selected rows, the row below the pointer.
    NamedColor{QLatin1StringView("RowSelected"), 0xffcfe9fa, 0xff1d4a63},
    NamedColor{QLatin1StringView("RowHovered"), 0xfff1f5f8, 0xff2a2e33},
    // What moves while the program is busy; the line around what has the keyboard, seen on all of the above.
    NamedColor{QLatin1StringView("Accent"), 0xff19b1f2, 0xff19b1f2},
    NamedColor{QLatin1StringView("FocusLine"), 0xff0a76b4, 0xff4cc2f5},
    // The panels' buttons: the one that Return means, the others, and the line around those.
    NamedColor{QLatin1StringView("ButtonPrimary"), 0xff0c74b4, 0xff1478b4},
    NamedColor{QLatin1StringView("ButtonPlain"), 0xffffffff, 0xff3f454c},
    NamedColor{QLatin1StringView("ButtonFrame"), 0xffb6bec7, 0xff5d656e},
    // What deletes, while something is held above it.
    NamedColor{QLatin1StringView("Danger"), 0xffc62f2f, 0xffff7b72},
    NamedColor{QLatin1StringView("DangerBackground"), 0xfffde7e5, 0xff4a2624},
};

/// The colours of our own that give way to the desktop's where that wants as much contrast as there can be.
struct ContrastRole {
  QLatin1StringView name;
  QPalette::ColorRole role;
};

constexpr std::array kContrastRoles{
    ContrastRole{QLatin1StringView("ItemText"), QPalette::WindowText},
    ContrastRole{QLatin1StringView("Frame"), QPalette::WindowText},
    ContrastRole{QLatin1StringView("ViewBackground"), QPalette::Window},
    ContrastRole{QLatin1StringView("Paper"), QPalette::Window},
    ContrastRole{QLatin1StringView("ButtonPlain"), QPalette::Window},
    ContrastRole{QLatin1StringView("ButtonFrame"), QPalette::WindowText},
    ContrastRole{QLatin1StringView("FocusLine"), QPalette::WindowText},
};

/// The relative luminance of a colour: 0 black, 1 white.
double luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

bool isHighContrast(const QPalette& palette) {
  constexpr double wanted = 18.5; // ordinary desktops stay below it, be it by a grey window
  static qint64 lastPalette = 0;  // asked of the same one for every cell of every row
  static bool lastAnswer = false;
  if (palette.cacheKey() != lastPalette) {
    lastPalette = palette.cacheKey();
    // By the colours of what is enabled: a disabled widget has the same palette, and its grey text tells nothing.
    const auto enabled = [&](QPalette::ColorRole role) { return palette.color(QPalette::Active, role); };
    lastAnswer = contrast(enabled(QPalette::WindowText), enabled(QPalette::Window)) >= wanted &&
                 contrast(enabled(QPalette::Text), enabled(QPalette::Base)) >= wanted;
  }
  return lastAnswer;
}

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

double contrast(const QColor& one, const QColor& other) {
  const double a = luminance(one);
  const double b = luminance(other);
  return (qMax(a, b) + 0.05) / (qMin(a, b) + 0.05);
}

QColor namedColor(const QString& name, const QPalette& palette) {
  for (const ContrastRole& own : kContrastRoles) {
    if (own.name == name && isHighContrast(palette)) {
      return palette.color(own.role);
    }
  }
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
