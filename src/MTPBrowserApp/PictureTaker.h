#pragma once
// A picture of the window for those who cannot see it: documentation, and starts without a display.
#include <QObject>
#include <QString>

class MTPBrowser;

/// Saves a picture of the browser's window into a file (PNG, through a temporary file beside it) once the first folder
/// is shown, then ends the program: with 0, or with 1 when the file cannot be written. With an empty file name it does
/// nothing. Main thread.
class PictureTaker : public QObject {
public:
  PictureTaker(const QString& file, const MTPBrowser* browser);

private:
  void takePicture();

  QString m_file;
  const MTPBrowser* m_browser;
};
