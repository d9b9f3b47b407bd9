#pragma once
// The capture log: the program's diagnostics in a file that a support engineer can collect.
//
// While capture is on, standard error goes into the file; every log line of every part of the program lands there.
// Main thread only (log lines come from every thread). Nothing is reported to the user; failures are logged.
#include <QString>

#include <cstdio>

class QXCaptureLog {
public:
  /// `defaultCaptureLog:` The process's one capture log. The first call makes it, for "Log/mtpCapture.log" below
  /// `appDataPath`; later calls return the same one and ignore their argument. Never released.
  static QXCaptureLog& defaultCaptureLog(const QString& appDataPath);

  /// `initWithFilePath:` Creates the file and the folders above it when there is no file yet. `driverInfoPath` is the
  /// legacy driver's information file, a property list; another than the default one is for tests.
  explicit QXCaptureLog(const QString& filePath, const QString& driverInfoPath = legacyDriverInfoPath());
  /// Stops capturing.
  ~QXCaptureLog();
  QXCaptureLog(const QXCaptureLog&) = delete;
  QXCaptureLog& operator=(const QXCaptureLog&) = delete;

  /// `startCapture` Empties the file and sends standard error there. Nothing when already started. When the file cannot
  /// be opened capture counts as started and the lines are lost until it is stopped.
  void startCapture();
  /// `stopCapture` Gives standard error back the destination it had before the start. Nothing unless started.
  void stopCapture();
  /// `printMTPSDKVersion` Logs the legacy driver's version.
  void printMTPSDKVersion() const;

  bool started() const { return m_started; }
  const QString& logfilePath() const { return m_logfilePath; }

  static QString legacyDriverInfoPath();

private:
  int m_stderrSave = -1; // a duplicate of the descriptor standard error had at the start; -1: none
  std::FILE* m_logfile = nullptr;
  QString m_logfilePath;
  QString m_driverInfoPath;
  bool m_started = false; // main thread only
};
