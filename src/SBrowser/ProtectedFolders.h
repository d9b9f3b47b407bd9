#pragma once
// The phone's own top-level folders, which the browser neither renames nor deletes.
#include "UI/Common/NSStringPredicate.h"

#include <QString>
#include <QStringList>

/// Whether a folder of this name at a storage's top level is one of them, case ignored. Any thread.
inline bool isProtectedFolderName(const QString& name) {
  static const QStringList names{QStringLiteral("Android"),   QStringLiteral("Music"),    QStringLiteral("Podcast"),
                                 QStringLiteral("Ringtones"), QStringLiteral("Alarms"),   QStringLiteral("Pictures"),
                                 QStringLiteral("Movies"),    QStringLiteral("Download"), QStringLiteral("DCIM"),
                                 QStringLiteral("Playlists")};
  return ui::isExistInArray(name, names);
}
