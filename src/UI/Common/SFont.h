#pragma once
// The one source of the program's typeface. Main thread.
#include <QFont>
#include <QHash>
#include <QString>

#include <utility>

class SFont {
public:
  /// The one instance, made on first request (safe on any thread); lives as long as the process.
  static SFont& sharedInstance();

  /// `fontWithPixelSize:bold:` The program's typeface, HelveticaNeue, at `pixelSize` device-independent pixels (at
  /// least 1, rounded to whole ones), bold or not. Where the typeface is not installed the desktop's own interface font
  /// stands in, then faces of a like width.
  QFont fontWithPixelSize(double pixelSize, bool bold);

  SFont(const SFont&) = delete;
  SFont& operator=(const SFont&) = delete;

private:
  SFont() = default;

  QHash<std::pair<int, bool>, QFont> attributedStringDic; // by size and boldness
  QString m_desktopFamily;
};
