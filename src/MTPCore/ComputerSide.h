#pragma once
// What transfers need of the computer beyond the SDK, so that tests can put something else in its place.
#include <QByteArray>
#include <QString>

#include <functional>

/// Callable from any thread, several at a time.
struct ComputerSide {
  /// Where links to files are made whose own names the SDK cannot open (LinkFolder.h).
  QString linkFolder;
  /// Marks a received file with the address it came from: 0, or an error number of the system.
  std::function<int(const QString& file, const QByteArray& originUrl)> setDownloadMark;
  /// Ends the whole process with this exit status; returns in tests only.
  std::function<void(int exitStatus)> endProcess;

  /// The running program's: "~/Tessaly/Vorn/Temp", the file's extended attribute, and an end that really comes.
  static ComputerSide ofProgram();
};
