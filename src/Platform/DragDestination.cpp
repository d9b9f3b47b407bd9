#include "Platform/DragDestination.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QSysInfo>

#include <climits>
#include <unistd.h>

namespace platform {
namespace {

using Kind = DragDestination::Kind;

// Every byte of the longest path written as %XX, and a scheme and a host name before it.
constexpr qsizetype kMaxUrl = 3 * PATH_MAX + 512;

int hexDigit(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  if (c >= 'A' && c <= 'F')
    return c - 'A' + 10;
  return -1;
}

// Unlike QByteArray::fromPercentEncoding() it does not let a stray percent sign pass: a wrong folder is worse than
// none.
std::optional<QByteArray> percentDecoded(const QByteArray& encoded) {
  QByteArray decoded;
  decoded.reserve(encoded.size());
  for (qsizetype i = 0; i < encoded.size(); ++i) {
    char c = encoded.at(i);
    if (c == '%') {
      if (encoded.size() - i < 3)
        return std::nullopt;
      const int high = hexDigit(encoded.at(i + 1));
      const int low = hexDigit(encoded.at(i + 2));
      if (high < 0 || low < 0)
        return std::nullopt;
      c = char(high * 16 + low);
      i += 2;
    }
    if (c == '\0')
      return std::nullopt;
    decoded += c;
  }
  return decoded;
}

// A local path as text, tidied; nullopt when it is no absolute path, or none that a QString can hold.
std::optional<QString> localPath(const QByteArray& bytes) {
  if (!bytes.startsWith('/') || bytes.size() >= PATH_MAX || bytes.contains('\0'))
    return std::nullopt;
  const QString path = QFile::decodeName(bytes);
  if (QFile::encodeName(path) != bytes) // not UTF-8: the text would name another file
    return std::nullopt;
  // Which folder ".." leads to depends on the links on the way.
  if (path.split(u'/').contains(QLatin1String("..")))
    return std::nullopt;
  return QDir::cleanPath(path);
}

bool isThisComputer(const QByteArray& host, const DragPlaces& places) {
  const QString name = QString::fromUtf8(host);
  return host.isEmpty() || name.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0 ||
         (!places.hostName.isEmpty() && name.compare(places.hostName, Qt::CaseInsensitive) == 0);
}

struct Url {
  QByteArray scheme; // lower case
  QByteArray path;   // decoded, absolute
};

// A URL of this computer: "scheme:/path" or "scheme://host/path".
std::optional<Url> localUrl(const QByteArray& text, const DragPlaces& places) {
  const qsizetype colon = text.indexOf(':');
  if (colon <= 0 || text.size() > kMaxUrl)
    return std::nullopt;
  QByteArray path = text.mid(colon + 1);
  if (path.startsWith("//")) {
    const qsizetype slash = path.indexOf('/', 2);
    if (slash < 0 || !isThisComputer(path.mid(2, slash - 2), places))
      return std::nullopt;
    path.remove(0, slash);
  }
  const auto decoded = percentDecoded(path);
  if (!decoded || !decoded->startsWith('/'))
    return std::nullopt;
  return Url{text.left(colon).toLower(), *decoded};
}

std::optional<DragDestination> destinationOfPath(const QByteArray& bytes, const DragPlaces& places) {
  const auto folder = localPath(bytes);
  if (!folder)
    return std::nullopt;
  if (isTrashFolder(*folder, places))
    return DragDestination{Kind::Trash, {}};
  return DragDestination{Kind::Folder, *folder};
}

bool isAtOrBelow(const QString& folder, const QString& top) {
  return folder == top || folder.startsWith(top + u'/');
}

} // namespace

DragPlaces DragPlaces::current() {
  DragPlaces places;
  places.home = QDir::homePath();
  places.dataHome = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
  places.canonicalDataHome = QFileInfo(places.dataHome).canonicalFilePath();
  places.desktop = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
  places.hostName = QSysInfo::machineHostName();
  places.user = ::getuid();
  return places;
}

bool isTrashFolder(const QString& folder, const DragPlaces& places) {
  const QString path = QDir::cleanPath(folder);
  const QString home = QDir::cleanPath(places.home);
  if (path == home + QLatin1String("/.Trash") || path == home + QLatin1String("/.Trashs"))
    return true;
  for (const QString& dataHome : {places.dataHome, places.canonicalDataHome})
    if (!dataHome.isEmpty() && isAtOrBelow(path, QDir::cleanPath(dataHome) + QLatin1String("/Trash")))
      return true;
  const QString user = QString::number(places.user);
  const QString between = path + u'/';
  return between.contains(QLatin1String("/.Trash-") + user + u'/') ||
         between.contains(QLatin1String("/.Trash/") + user + u'/');
}

std::optional<DragDestination> destinationFromDirectSave(const QByteArray& property, const DragPlaces& places) {
  QByteArray text = property;
  if (text.endsWith('\0'))
    text.chop(1);
  if (!text.contains("://"))
    return std::nullopt;
  const auto url = localUrl(text, places);
  if (!url)
    return std::nullopt;
  if (url->scheme == "trash")
    return DragDestination{Kind::Trash, {}};
  if (url->scheme != "file")
    return std::nullopt;
  // The slash of the root stays, the one before the file's name goes.
  return destinationOfPath(url->path.left(std::max<qsizetype>(1, url->path.lastIndexOf('/'))), places);
}

std::optional<DragDestination> destinationFromExtractArgument(const QString& argument, const DragPlaces& places) {
  if (argument.size() > kMaxUrl)
    return std::nullopt;
  const QByteArray text = argument.toUtf8();
  if (text.startsWith('/'))
    return destinationOfPath(text, places);
  const auto url = localUrl(text, places);
  if (!url)
    return std::nullopt;
  if (url->scheme == "trash")
    return DragDestination{Kind::Trash, {}};
  if (url->scheme == "file")
    return destinationOfPath(url->path, places);
  if (url->scheme == "desktop" && !places.desktop.isEmpty())
    return destinationOfPath(QFile::encodeName(places.desktop) + url->path, places);
  return std::nullopt;
}

} // namespace platform
