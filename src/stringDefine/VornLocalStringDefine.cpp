#include "stringDefine/VornLocalStringDefine.h"

#include "Platform/Log.h"
#include "Platform/SystemVersion.h"
#include "Platform/ThreadSafety.h"

#include <QTranslator>

#include <memory>

namespace {

struct Tables {
  VornLocalStringDefine::Table mainTable;
  VornLocalStringDefine::Table defaultLocalizable;
};

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

std::shared_ptr<QTranslator> loadTable(const QLocale& locale, const QString& name) {
  const QString folder = QStringLiteral(":/strings");
  auto table = std::make_shared<QTranslator>();
  if (!table->load(locale, name, QStringLiteral("_"), folder) && !table->load(name + QStringLiteral("_en"), folder))
    MTPB_LOG("no string table %s", qUtf8Printable(name));
  return table;
}

VornLocalStringDefine::Table lookupIn(std::shared_ptr<QTranslator> table) {
  return [table = std::move(table)](const QString& key) { return table->translate("", key.toUtf8().constData()); };
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

QString VornLocalStringDefine::loadTables(const QLocale& locale) {
  const auto mainTable = loadTable(locale, QStringLiteral("main"));
  const auto defaultLocalizable = loadTable(locale, QStringLiteral("DefaultLocalizable"));
  QString language = mainTable->language();
  use({lookupIn(mainTable), lookupIn(defaultLocalizable)});
  return language;
}

void VornLocalStringDefine::useTables(Table mainTable, Table defaultLocalizable) {
  use({std::move(mainTable), std::move(defaultLocalizable)});
}

const QStringList& VornLocalStringDefine::keys() {
  static const QStringList all = {QStringLiteral("BTUI_Delet_Window_Close"),
                                  QStringLiteral("FUS_MNU_Cancel"),
                                  QStringLiteral("MNU_AddNewFolder"),
                                  QStringLiteral("MNU_CheckboxText"),
                                  QStringLiteral("MNU_Confirm"),
                                  QStringLiteral("MNU_DateOfModify"),
                                  QStringLiteral("MNU_Delete"),
                                  QStringLiteral("MNU_DuplicateTransferMTP"),
                                  QStringLiteral("MNU_EditName"),
                                  QStringLiteral("MNU_FileName"),
                                  QStringLiteral("MNU_PrepareToSomething"),
                                  QStringLiteral("MNU_Replace"),
                                  QStringLiteral("MNU_ReplaceAll"),
                                  QStringLiteral("MNU_RestoreFromThirdParty4"),
                                  QStringLiteral("MNU_Skip"),
                                  QStringLiteral("MSG_BnRTransfering"),
                                  QStringLiteral("MSG_DeleteFile"),
                                  QStringLiteral("MSG_DuplicateTransferMTPDescription"),
                                  QStringLiteral("MSG_FileSize"),
                                  QStringLiteral("MSG_FoundiTunesData"),
                                  QStringLiteral("MSG_FoundiTunesData2"),
                                  QStringLiteral("MSG_RestoreCompletediTunesVBQ"),
                                  QStringLiteral("MSG_RestoreGuideForiTunes3"),
                                  QStringLiteral("MSG_WelcomToVBX2")};
  return all;
}
