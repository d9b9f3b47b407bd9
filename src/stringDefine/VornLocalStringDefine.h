#pragma once
// The texts the user sees, by key.
//
// A language has two tables, embedded as Qt translations keyed by id: the main table and "DefaultLocalizable", which is
// asked for what the main one lacks. A text that equals its key (in any case) counts as missing from the main table.
// What neither table of a language has is looked up in the English two.
//
// To add a language, add its two tables, main_<language>.ts and DefaultLocalizable_<language>.ts, to resources/strings
// and build: no code names the languages. docs/TRANSLATING.md tells how to write them and what the tests ask of them.
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

  /// Loads the tables of the first of `languages` that there are any of, else the English ones, and uses them from now
  /// on. A language is a locale's name in any usual form ("de", "pt-BR", "zh_Hant_HK"); one that is written in the same
  /// script stands in for another of its kind (Brazilian for European Portuguese, never simplified for traditional
  /// Chinese). Returns the language now in use, as language() does. Any thread.
  static QString loadTables(const QStringList& languages = preferredLanguages());

  /// What the user wants to read, best first: the user default "Language" where it is set, then the desktop's
  /// languages. Any thread.
  static QStringList preferredLanguages();

  /// The languages there are tables of, as their files are named ("en", "pt_BR", "zh_TW"), sorted. Any thread.
  static QStringList languages();

  /// The language in use, one of languages(). Loads the tables when nothing has yet. Any thread.
  static QString language();

  /// Uses these tables from now on, as English ones; for tests. loadTables() brings the embedded ones back. Any thread.
  static void useTables(Table mainTable, Table defaultLocalizable);
};
