#pragma once
// Light or dark, as the desktop is set.
#include <QDBusConnection>
#include <QDBusVariant>
#include <QObject>
#include <QPalette>

namespace ui {

/// Follows the desktop's setting while the program runs, where Qt does not do so by itself: asks the settings portal
/// (org.freedesktop.portal.Settings, "org.freedesktop.appearance" / "color-scheme": 0 no preference, 1 dark, 2 light)
/// and gives the application a dark palette when dark is preferred and its palette is a light one; takes it back when
/// it is not preferred any more. Without a bus or a portal nothing happens. All widgets draw anew then, as the named
/// colours go by the palette. Main thread; nothing blocks.
class DesktopColorScheme : public QObject {
  Q_OBJECT
public:
  /// Asks the portal on `bus` and listens to it from now on.
  explicit DesktopColorScheme(QDBusConnection bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);
  /// Leaves the palette as it is.
  ~DesktopColorScheme() override;

  /// Gives the application the dark palette, or takes it back.
  static void setDark(bool isDark);
  /// The palette that is given to the application.
  static QPalette darkPalette();

Q_SIGNALS:
  /// The portal has told its setting, at the start or as a change; what is no such number counts as no preference.
  void preferenceTold(uint preference);

private Q_SLOTS:
  void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
  void ask(QDBusConnection bus);
  void apply(const QVariant& value);

  bool m_isDarkOurs = false;
};

} // namespace ui
