#include "Platform/SystemVersion.h"

#include "Platform/ThreadSafety.h"

#include <QFile>
#include <QList>

#include <algorithm>

namespace platform {
namespace {

constexpr qint64 kMaxFile = qint64(64) * 1024;

Mutex g_mutex;
std::optional<std::optional<SystemVersion>> g_override MTPB_GUARDED_BY(g_mutex);

std::optional<SystemVersion> readSystemVersion() {
  for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
    QFile file(QString::fromLatin1(path));
    if (file.open(QIODevice::ReadOnly))
      return parseOsRelease(file.read(kMaxFile));
  }
  return std::nullopt;
}

} // namespace

std::optional<SystemVersion> parseOsRelease(const QByteArray& text) {
  constexpr QByteArrayView kKey("VERSION_ID=");
  for (const QByteArray& line : text.split('\n')) {
    QByteArray value = line.trimmed();
    if (!value.startsWith(kKey))
      continue;
    value.remove(0, kKey.size());
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
      value = value.sliced(1, value.size() - 2);
    long parts[3] = {0, 0, 0};
    const char* at = value.cbegin();
    for (long& part : parts) {
      if (at == value.cend() || *at < '0' || *at > '9')
        break;
      for (; at != value.cend() && *at >= '0' && *at <= '9'; ++at)
        part = std::min(part * 10 + (*at - '0'), 1'000'000'000L);
      if (at == value.cend() || *at != '.')
        break;
      ++at;
    }
    if (value.isEmpty() || value.front() < '0' || value.front() > '9')
      return std::nullopt;
    return SystemVersion{parts[0], parts[1], parts[2]};
  }
  return std::nullopt;
}

std::optional<SystemVersion> systemVersion() {
  {
    const Lock lock(g_mutex);
    if (g_override)
      return *g_override;
  }
  static const std::optional<SystemVersion> version = readSystemVersion();
  return version;
}

ScopedSystemVersion::ScopedSystemVersion(std::optional<SystemVersion> version) {
  const Lock lock(g_mutex);
  g_override = version;
}

ScopedSystemVersion::~ScopedSystemVersion() {
  const Lock lock(g_mutex);
  g_override.reset();
}

} // namespace platform
