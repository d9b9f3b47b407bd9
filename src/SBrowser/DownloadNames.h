#pragma once
// Names that the phone gave, as names of files on the computer.
#include <QHash>
#include <QSet>
#include <QString>

#include <functional>

namespace download {

/// The longest name of a file, in bytes of UTF-8.
inline constexpr qsizetype kLongestName = 255;
/// The longest path, in bytes of UTF-8, its terminating zero included.
inline constexpr qsizetype kLongestPath = 4096;

/// The name as exactly one component of a path of the computer, whatever the phone says: slashes and zeros become "_",
/// as do an empty name's and the dots of "." and ".."; what is no character becomes U+FFFD; what is too long loses the
/// end of its stem, not its extension. Most names stay as they are. Pure.
QString nameOnComputer(const QString& nameOnPhone);

/// The folder and the name joined by one slash, every "//" replaced by "/". Pure.
QString pathOnComputer(const QString& folder, const QString& name);

/// Whether `folder` takes names that differ by case alone for the same; yes when it cannot be found out. Makes and
/// removes a file there, or, as long as it does not exist, in the nearest folder above it.
bool ignoresCase(const QString& folder);

/// The names that one copy has given away in one folder of the computer. A phone may hold what the computer takes for
/// one file: the same name twice, "a.jpg" and "A.JPG", "a/b" and "a_b". None of them may overwrite the other. Not
/// thread-safe.
class NamesInFolder {
public:
  /// `ignoresCase` is asked when it matters, `exists` whether the folder held a name before.
  NamesInFolder(std::function<bool()> ignoresCase, std::function<bool(const QString& name)> exists);

  /// The name for an item called `nameOnPhone`: nameOnComputer(), or "stem (2).extension" and so on when that is taken.
  QString claim(const QString& nameOnPhone);

private:
  bool isTaken(const QString& name) const;

  const std::function<bool()> m_ignoresCase;
  const std::function<bool(const QString&)> m_exists;
  QSet<QString> m_names;
  QSet<QString> m_foldedNames;
  QHash<QString, int> m_takenNumbers; // how many numbers the name has used up
};

} // namespace download
