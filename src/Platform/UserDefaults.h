#pragma once
// User defaults: small settings the user (or a support engineer) keeps between runs.
#include <QString>
#include <QVariant>

#include <optional>

namespace platform {

/// The user's defaults, stored by QSettings in the configuration folder ("MTPBrowser/MTPBrowser.conf"). Any thread.
/// A value set here is seen at once by every reader of this process; it is on disk after synchronize() or at exit.
namespace userDefaults {

/// The stored value, or nothing when the key is absent.
std::optional<QVariant> value(const QString& key);
/// True when the key is present and reads as true ("true", "1", "yes"; case ignored).
bool boolForKey(const QString& key);
/// The value as text; empty when absent.
QString stringForKey(const QString& key);
void setValue(const QString& key, const QVariant& value);
void remove(const QString& key);
/// Writes to disk now. Blocks for the write.
void synchronize();
/// Where the defaults are kept from now on; for tests and for `--defaults`. Empty: the user's own file again.
void useFile(const QString& path);

} // namespace userDefaults
} // namespace platform
