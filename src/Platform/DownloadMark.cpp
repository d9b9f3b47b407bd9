#include "Platform/DownloadMark.h"

#include <QFile>

#include <sys/xattr.h>

#include <cerrno>

int platform::setDownloadMark(const QString& file, const QByteArray& originUrl) {
  const QByteArray path = QFile::encodeName(file);
  if (::setxattr(path.constData(), "user.xdg.origin.url", originUrl.constData(), size_t(originUrl.size()), 0) == 0)
    return 0;
  return errno;
}
