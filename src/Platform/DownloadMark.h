#pragma once
// The mark that tells where a file on the computer came from.
#include <QByteArray>
#include <QString>

namespace platform {

/// Writes `originUrl` into the file's extended attribute `user.xdg.origin.url`, which desktops and their indexers read
/// as the address a file was fetched from. The file's contents and dates stay as they are.
///
/// Returns 0 or the system's error number: ENOTSUP where the file system keeps no such attributes (FAT, many network
/// shares), ENOSPC or E2BIG where the address does not fit. Callers go on without the mark then. Any thread; blocks for
/// one system call.
int setDownloadMark(const QString& file, const QByteArray& originUrl);

} // namespace platform
