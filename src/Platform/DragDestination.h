#pragma once
// What a drag of rows out of the window came to, and how the words of the two drag protocols are understood.
#include <QByteArray>
#include <QString>

#include <optional>

#include <sys/types.h>

namespace platform {

/// What a drag came to.
struct DragDestination {
  enum class Kind {
    Folder,   ///< dropped on `folder`
    Trash,    ///< dropped on a trash can: the rows are to be deleted
    NoneCame, ///< released, but whatever lay below told no folder
    Canceled, ///< given up: the escape key, or released over a window of this program that did not take it
  };
  Kind kind = Kind::Canceled;
  QString folder; ///< of Kind::Folder: an absolute local path without "." and ".."; it need not exist. Else empty.

  bool operator==(const DragDestination&) const = default;
};

/// The places of this computer and this user that decide what a destination is.
struct DragPlaces {
  QString home;              ///< absolute path
  QString dataHome;          ///< $XDG_DATA_HOME, absolute path
  QString canonicalDataHome; ///< the same with symbolic links resolved; empty: there is none
  QString desktop;           ///< the folder the desktop shows, absolute path; empty: there is none
  QString hostName;          ///< as file URLs name this computer
  uid_t user = 0;

  /// Those of this process. Any thread; looks at the file system of the user's own data folder.
  static DragPlaces current();
};

/// Whether dropping on `folder` means deleting: the desktop's trash below the user's data folder, a trash folder of
/// this user at the top of another file system (".Trash-UID", ".Trash/UID"), each with everything below it, and
/// ".Trash" and ".Trashs" in the home folder. `folder` is an absolute path. Pure.
bool isTrashFolder(const QString& folder, const DragPlaces& places);

/// The destination that a target of X Direct Save wrote into the property "XdndDirectSave0": the URL of the file to be
/// saved, with or without a trailing NUL; its folder is the destination. nullopt for anything else: the name offered
/// (the target only looked), a folder of another computer, a scheme other than "file" and "trash", malformed bytes.
/// Source: "Direct Save Protocol for the X Window System". Pure; the bytes may be anything.
std::optional<DragDestination> destinationFromDirectSave(const QByteArray& property, const DragPlaces& places);

/// The destination that a target of the archive-extract protocol gave: an absolute path, taken literally, or a URL of
/// the schemes "file", "trash" and "desktop" (the folder the desktop shows). nullopt for anything else. Pure; the text
/// may be anything.
std::optional<DragDestination> destinationFromExtractArgument(const QString& argument, const DragPlaces& places);

} // namespace platform
