#include "Surroundings.h"

#include "UI/Common/DesktopColorScheme.h"

#include <QApplication>
#include <QIcon>
#include <QStyle>
#include <QStyleFactory>

#include <ctime>

namespace pictures {

namespace {

/// A desktop of black and white, as those for weak eyes are.
QPalette highContrastPalette() {
  QPalette palette(Qt::white, Qt::black, Qt::white, Qt::gray, Qt::lightGray, Qt::white, Qt::white, Qt::black,
                   Qt::black);
  palette.setColor(QPalette::Highlight, Qt::yellow);
  palette.setColor(QPalette::HighlightedText, Qt::black);
  palette.setColor(QPalette::PlaceholderText, Qt::white);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    palette.setColor(QPalette::Disabled, role, Qt::gray);
  palette.setColor(QPalette::Disabled, QPalette::Light, Qt::black);
  return palette;
}

} // namespace

QString& outputFolder() {
  static QString folder;
  return folder;
}

void fixEnvironment(double scale) {
  for (const char* const name :
       {"QT_SCREEN_SCALE_FACTORS", "QT_AUTO_SCREEN_SCALE_FACTOR", "QT_ENABLE_HIGHDPI_SCALING", "QT_FONT_DPI",
        "QT_STYLE_OVERRIDE", "QT_QPA_PLATFORMTHEME", "QT_QPA_FONTDIR", "FONTCONFIG_PATH", "FONTCONFIG_SYSROOT"})
    qunsetenv(name);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
  qputenv("FONTCONFIG_FILE", MTPB_PICTURE_FONTS);
  qputenv("LC_ALL", "C.UTF-8");
  qputenv("TZ", "UTC");
  // The system's table of file types, not what the user has added.
  qputenv("XDG_DATA_DIRS", "/usr/share");
  qputenv("XDG_DATA_HOME", "/nonexistent");
  tzset();
}

void fixApplication() {
  QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
  QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));
  QApplication::setCursorFlashTime(0);
  QApplication::setEffectEnabled(Qt::UI_AnimateMenu, false);
  // No theme has anything: the program's own icons are drawn.
  QIcon::setThemeSearchPaths({});
  QIcon::setFallbackSearchPaths({});
  QIcon::setThemeName(QStringLiteral("none"));
  QIcon::setFallbackThemeName(QStringLiteral("none"));
}

void setColors(Colors colors) {
  ui::DesktopColorScheme::setDark(false);
  switch (colors) {
  case Colors::Light:
    QApplication::setPalette(QApplication::style()->standardPalette());
    break;
  case Colors::Dark:
    ui::DesktopColorScheme::setDark(true);
    break;
  case Colors::HighContrast:
    QApplication::setPalette(highContrastPalette());
    break;
  }
}

} // namespace pictures
