#pragma once
// The texts the user sees, by key.
//
// A language has two tables, embedded as Qt translations keyed by id: the main table and "DefaultLocalizable", which is
// asked for what the main one lacks. A text that equals its key (in any case) counts as missing from the main table.
#include <QLocale>
#include <QString>
#include <QStringList>

#include <functional>

class VornLocalStringDefine {
public:
  /// A string table: the text of a key, a null string when it has none. Called on any thread.
  using Table = std::function<QString(const QString& key)>;

  /// `QX_LocalizedStringWithKey:` The text of `key`; the key itself, with a log line, when no table has one. The first
  /// call loads the tables of the user's language. Any thread; does not block.
  static QString QX_LocalizedStringWithKey(const QString& key);

  /// Loads the tables that fit `locale`'s languages best, else the English ones, and uses them from now on. Returns the
  /// name of the main table's language ("en", "pt_BR"). Any thread.
  static QString loadTables(const QLocale& locale = QLocale::system());

  /// Uses these tables from now on; for tests. loadTables() brings the embedded ones back. Any thread.
  static void useTables(Table mainTable, Table defaultLocalizable);

  /// Every key the program knows.
  static const QStringList& keys();
};
