#include "UI/Common/DesktopColorScheme.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "UI/Common/Images.h"

#include <QApplication>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace ui {

namespace {

const auto kService = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const auto kGroup = QStringLiteral("org.freedesktop.appearance");
const auto kKey = QStringLiteral("color-scheme");
constexpr uint kPrefersDark = 1;
constexpr int kAnswerLimit = 5000; // ms

/// The value inside: the portal wraps the one it reads twice.
QVariant unwrapped(QVariant value) {
  for (int depth = 0; depth < 3 && value.canConvert<QDBusVariant>(); ++depth)
    value = value.value<QDBusVariant>().variant();
  return value;
}

} // namespace

DesktopColorScheme::DesktopColorScheme(QDBusConnection bus, QObject* parent)
    : QObject(parent) {
  platform::assertMainThread();
  if (!bus.isConnected())
    return;
  // The slot's types are found by their names, which must be known before.
  qRegisterMetaType<QDBusVariant>();
  if (!bus.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                   SLOT(settingChanged(QString, QString, QDBusVariant))))
    MTPB_LOG("changes of the desktop's colour scheme are not told: %s", qUtf8Printable(bus.lastError().message()));
  ask(bus);
}

DesktopColorScheme::~DesktopColorScheme() = default;

void DesktopColorScheme::ask(QDBusConnection bus) {
  QDBusMessage read = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
  read << kGroup << kKey;
  auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(read, kAnswerLimit), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
    watcher->deleteLater();
    const QDBusPendingReply<QDBusVariant> reply = *watcher;
    if (reply.isError()) // most desktops without a portal have no such setting either
      MTPB_LOG("no colour scheme from the desktop: %s", qUtf8Printable(reply.error().name()));
    else
      apply(QVariant::fromValue(reply.value()));
  });
}

void DesktopColorScheme::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
  if (group == kGroup && key == kKey)
    apply(QVariant::fromValue(value));
}

void DesktopColorScheme::apply(const QVariant& value) {
  const QVariant number = unwrapped(value);
  const uint preference = number.typeId() == QMetaType::UInt ? number.toUInt() : 0;
  if (preference == kPrefersDark && !isDarkPalette(QGuiApplication::palette())) {
    setDark(true);
    m_isDarkOurs = true;
  } else if (preference != kPrefersDark && m_isDarkOurs) {
    setDark(false);
    m_isDarkOurs = false;
  }
  Q_EMIT preferenceTold(preference);
}

void DesktopColorScheme::setDark(bool isDark) {
  platform::assertMainThread();
  QPalette menus; // none of their own
  if (isDark) {
    menus = darkPalette();
    menus.setColor(QPalette::Base, QColor(0x34, 0x39, 0x40)); // lighter than what they lie on
  }
  QApplication::setPalette(isDark ? darkPalette() : QPalette()); // the desktop's own again
  QApplication::setPalette(menus, "QMenu");
}

QPalette DesktopColorScheme::darkPalette() {
  const QColor text(0xe7, 0xea, 0xee);
  const QColor faint(0x86, 0x8c, 0x94);
  QPalette palette(QColor(0x3a, 0x3f, 0x46), QColor(0x2b, 0x2f, 0x34));
  palette.setColor(QPalette::Base, QColor(0x1f, 0x22, 0x26));
  palette.setColor(QPalette::AlternateBase, QColor(0x26, 0x2a, 0x2e));
  palette.setColor(QPalette::ToolTipBase, QColor(0x3a, 0x3f, 0x46));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
    palette.setColor(role, text);
    palette.setColor(QPalette::Disabled, role, faint);
  }
  palette.setColor(QPalette::Disabled, QPalette::Light, Qt::transparent); // no light shadow below faint texts
  palette.setColor(QPalette::PlaceholderText, faint);
  palette.setColor(QPalette::BrightText, Qt::white);
  palette.setColor(QPalette::Highlight, QColor(0x1d, 0x6f, 0xa0));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, QColor(0x4c, 0xc2, 0xf5));
  palette.setColor(QPalette::LinkVisited, QColor(0xb0, 0x9a, 0xe6));
  return palette;
}

} // namespace ui
