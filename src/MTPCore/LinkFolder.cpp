#include "MTPCore/LinkFolder.h"

#include "Platform/LogNames.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <system_error>

namespace {

// Whether `composed` can be read and is what `path` names. Both spellings may stand side by side in one folder: then
// they are two files, and the other one must not be sent in this one's place.
bool opensTheSameFile(const QByteArray& composed, const QByteArray& path) {
  const int file = ::open(composed.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0)
    return false;
  struct stat opened = {};
  struct stat wanted = {};
  const bool known = ::fstat(file, &opened) == 0;
  ::close(file);
  if (::stat(path.constData(), &wanted) != 0)
    return true; // only the composed spelling is there
  return known && opened.st_dev == wanted.st_dev && opened.st_ino == wanted.st_ino;
}

// Where a symbolic link leads; null when there is none.
QByteArray linkTarget(const QByteArray& link) {
  QByteArray target(PATH_MAX, '\0');
  const ssize_t size = ::readlink(link.constData(), target.data(), size_t(target.size()));
  if (size < 0)
    return {};
  target.truncate(size);
  return target;
}

// 0 when the link leads to `target` afterwards, else an error number.
int makeLink(const QByteArray& target, const QByteArray& link) {
  if (::symlink(target.constData(), link.constData()) == 0)
    return 0;
  if (const int error = errno; error != EEXIST)
    return error;
  const QByteArray existing = linkTarget(link);
  if (existing == target)
    return 0;
  if (existing.isNull())
    return EEXIST; // no link of ours
  // Another spelling of the same name had this link.
  if (::unlink(link.constData()) != 0 || ::symlink(target.constData(), link.constData()) != 0)
    return errno;
  return 0;
}

} // namespace

std::optional<QString> LinkFolder::openablePath(const QString& path) const {
  const QString composed = path.normalized(QString::NormalizationForm_C);
  if (composed == path || opensTheSameFile(QFile::encodeName(composed), QFile::encodeName(path)))
    return composed;
  return linkTo(path, composed);
}

std::optional<QString> LinkFolder::linkTo(const QString& path, const QString& composed) const {
  const QFileInfo place(QDir::cleanPath(QFileInfo(composed).absoluteFilePath()));
  const QString folder = m_folder + place.path();
  const QString link = folder + u'/' + place.fileName();
  if (!QDir().mkpath(folder)) {
    m_log.line("The folder %s for links cannot be made.", platform::nameForLog(folder).constData());
    return std::nullopt;
  }
  const int error = makeLink(QFile::encodeName(QFileInfo(path).absoluteFilePath()), QFile::encodeName(link));
  if (error != 0) {
    m_log.line("Error making link %s (%d): %s", platform::nameForLog(link).constData(), error,
               std::generic_category().message(error).c_str());
    return std::nullopt;
  }
  return link;
}
