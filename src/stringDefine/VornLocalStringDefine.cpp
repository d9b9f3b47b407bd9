#include "stringDefine/VornLocalStringDefine.h"

#include "Platform/Log.h"
#include "Platform/SystemVersion.h"
#include "Platform/ThreadSafety.h"
#include "Platform/UserDefaults.h"

#include <QDir>
#include <QLocale>
#include <QTranslator>

#include <memory>

namespace {

struct Tables {
  VornLocalStringDefine::Table mainTable;
  VornLocalStringDefine::Table defaultLocalizable;
  QString language;
};

QString tablesFolder() {
  return QStringLiteral(":/strings");
}

QString english() {
  return QStringLiteral("en");
}

platform::Mutex g_mutex;
std::shared_ptr<const Tables> g_tables MTPB_GUARDED_BY(g_mutex);

void use(Tables tables) {
  auto shared = std::make_shared<const Tables>(std::move(tables));
  const platform::Lock lock(g_mutex);
  g_tables = std::move(shared);
}

std::shared_ptr<const Tables> tablesInUse() {
  {
    const platform::Lock lock(g_mutex);
    if (g_tables)
      return g_tables;
  }
  VornLocalStringDefine::loadTables();
  const platform::Lock lock(g_mutex);
  return g_tables;
}

VornLocalStringDefine::Table loadTable(const QString& name, const QString& language) {
  auto table = std::make_shared<QTranslator>();
  if (!table->load(name + u'_' + language, tablesFolder()))
    MTPB_LOG("no string table %s_%s", qUtf8Printable(name), qUtf8Printable(language));
  return [table = std::move(table)](const QString& key) { return table->translate("", key.toUtf8().constData()); };
}

/// The tables' language for what somebody wants to read; an empty name when none fits.
QString languageFitting(const QString& wanted, const QStringList& languages) {
  const QLocale locale(wanted);
  QString fitting;
  if (locale.language() == QLocale::C) // also what no locale is called
    return fitting;
  for (const QString& language : languages) {
    const QLocale candidate(language);
    if (candidate.language() != locale.language() || candidate.script() != locale.script())
      continue;
    if (candidate.territory() == locale.territory())
      return language;
    if (fitting.isEmpty())
      fitting = language;
  }
  return fitting;
}

QString firstLanguageFitting(const QStringList& wanted) {
  const QStringList languages = VornLocalStringDefine::languages();
  for (const QString& name : wanted)
    if (const QString language = languageFitting(name, languages); !language.isEmpty())
      return language;
  return english();
}

bool namesTheOldSource(const QString& key) {
  static const QStringList rewritten = {
      QStringLiteral("MSG_FoundiTunesData"), QStringLiteral("MNU_RestoreFromThirdParty4"),
      QStringLiteral("MSG_FoundiTunesData2"), QStringLiteral("MSG_RestoreGuideForiTunes3"),
      QStringLiteral("MSG_RestoreCompletediTunesVBQ")};
  return rewritten.contains(key);
}

} // namespace

QString VornLocalStringDefine::QX_LocalizedStringWithKey(const QString& key) {
  const std::shared_ptr<const Tables> tables = tablesInUse();
  QString text = tables->mainTable(key);
  if (text.isNull() || text.compare(key, Qt::CaseInsensitive) == 0) {
    text = tables->defaultLocalizable(key);
    if (text.isEmpty()) {
      MTPB_LOG("Failed to load localized string:%s", qUtf8Printable(key));
      text = key;
    }
  }
  constexpr platform::SystemVersion kWithoutITunes{10, 15, 0};
  if (platform::systemVersion().value_or(platform::SystemVersion{}) >= kWithoutITunes && namesTheOldSource(key))
    text.replace(QLatin1String("iTunes"), QLatin1String("iOS"));
  return text;
}

QString VornLocalStringDefine::loadTables(const QStringList& languages) {
  const QString main = QStringLiteral("main");
  const QString second = QStringLiteral("DefaultLocalizable");
  Tables tables;
  tables.language = firstLanguageFitting(languages);
  tables.mainTable = loadTable(main, tables.language);
  tables.defaultLocalizable = loadTable(second, tables.language);
  if (tables.language != english())
    tables.defaultLocalizable = [own = std::move(tables.defaultLocalizable), englishMain = loadTable(main, english()),
                                 englishSecond = loadTable(second, english())](const QString& key) {
      for (const Table& table : {std::cref(own), std::cref(englishMain)})
        if (QString text = table(key); !text.isEmpty())
          return text;
      return englishSecond(key);
    };
  QString language = tables.language;
  use(std::move(tables));
  return language;
}

QStringList VornLocalStringDefine::preferredLanguages() {
  QStringList languages = QLocale::system().uiLanguages();
  if (QString chosen = platform::userDefaults::stringForKey(QStringLiteral("Language")); !chosen.isEmpty())
    languages.prepend(std::move(chosen));
  return languages;
}

QStringList VornLocalStringDefine::languages() {
  QStringList names = QDir(tablesFolder()).entryList({QStringLiteral("main_*.qm")}, QDir::Files, QDir::Name);
  for (QString& name : names)
    name = name.chopped(3).sliced(5);
  return names;
}

QString VornLocalStringDefine::language() {
  return tablesInUse()->language;
}

void VornLocalStringDefine::useTables(Table mainTable, Table defaultLocalizable) {
  use({std::move(mainTable), std::move(defaultLocalizable), english()});
}
