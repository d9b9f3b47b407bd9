#include "Platform/UserDefaults.h"

#include "Platform/ThreadSafety.h"

#include <QSettings>

#include <memory>

namespace platform::userDefaults {
namespace {

Mutex g_mutex;
std::unique_ptr<QSettings> g_settings MTPB_GUARDED_BY(g_mutex);

QSettings& settings() MTPB_REQUIRES(g_mutex) {
  if (!g_settings)
    g_settings = std::make_unique<QSettings>(QStringLiteral("MTPBrowser"), QStringLiteral("MTPBrowser"));
  return *g_settings;
}

} // namespace

std::optional<QVariant> value(const QString& key) {
  const Lock lock(g_mutex);
  if (!settings().contains(key))
    return std::nullopt;
  return settings().value(key);
}

bool boolForKey(const QString& key) {
  const auto stored = value(key);
  if (!stored)
    return false;
  const QString text = stored->toString().trimmed().toLower();
  return text == u"true" || text == u"1" || text == u"yes";
}

QString stringForKey(const QString& key) {
  const auto stored = value(key);
  if (!stored)
    return {};
  // An unquoted comma, as a user may write it into the file, makes a list of the text.
  return stored->typeId() == QMetaType::QStringList ? stored->toStringList().join(u',') : stored->toString();
}

void setValue(const QString& key, const QVariant& value) {
  const Lock lock(g_mutex);
  settings().setValue(key, value);
}

void remove(const QString& key) {
  const Lock lock(g_mutex);
  settings().remove(key);
}

void synchronize() {
  const Lock lock(g_mutex);
  settings().sync();
}

void useFile(const QString& path) {
  const Lock lock(g_mutex);
  g_settings = path.isEmpty() ? nullptr : std::make_unique<QSettings>(path, QSettings::IniFormat);
}

} // namespace platform::userDefaults
