#pragma once
// The capture log: the program's diagnostics in a file that a support engineer can collect.
//
// While capture is on, standard error goes into the file; every log line of every part of the program lands there.
// The file is its owner's alone to read. One that has grown to 64 MiB loses its middle, again and again: how it began
// and what happened last stays, and a line between says so. Main thread only (log lines come from every thread).
// Nothing is reported to the user; failures are logged.
#include "Platform/LogLimit.h"

#include <QString>

#include <cstdio>

class QXCaptureLog {
public:
  /// `defaultCaptureLog:` The process's one capture log. The first call makes it, for "Log/mtpCapture.log" below
  /// `appDataPath`; later calls return the same one and ignore their argument. Never released.
  static QXCaptureLog& defaultCaptureLog(const QString& appDataPath);

  /// `initWithFilePath:` Creates the file and the folders above it when there is no file yet. `driverInfoPath` is the
  /// legacy driver's information file, a property list; others than the default ones are for tests.
  explicit QXCaptureLog(const QString& filePath, const QString& driverInfoPath = legacyDriverInfoPath(),
                        const platform::LogSizes& sizes = {});
  /// Stops capturing.
  ~QXCaptureLog();
  QXCaptureLog(const QXCaptureLog&) = delete;
  QXCaptureLog& operator=(const QXCaptureLog&) = delete;

  /// `startCapture` Empties the file and sends standard error there. Nothing when already started. When the file cannot
  /// be opened, or is no regular file, the last line says so, capture counts as started and the lines are lost until it
  /// is stopped.
  void startCapture();
  /// `stopCapture` Gives standard error back the destination it had before the start. Nothing unless started.
  void stopCapture();
  /// `printMTPSDKVersion` Logs the legacy driver's version.
  void printMTPSDKVersion() const;

  bool isStarted() const { return started; }
  const QString& filePath() const { return logfilePath; }

  static QString legacyDriverInfoPath();

private:
  int stderrSave = -1; // a duplicate of the descriptor standard error had at the start; -1: none
  std::FILE* logfile = nullptr;
  QString logfilePath;
  bool started = false; // main thread only
  const QString m_driverInfoPath;
  const platform::LogSizes m_sizes;
};
