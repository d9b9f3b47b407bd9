#include "stringDefine/VornLocalStringDefine.h"

#include "Platform/SystemVersion.h"
#include "Platform/UserDefaults.h"
#include "support/LogCapture.h"

#include <QLocale>
#include <QMap>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using platform::ScopedSystemVersion;
using platform::SystemVersion;

namespace {

using Texts = QMap<QString, QString>;

const QStringList kEnglish{QStringLiteral("en")};

QString text(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromUtf8(key));
}

QString load(const QStringList& languages) {
  return VornLocalStringDefine::loadTables(languages);
}

class VornLocalStrings : public testing::Test {
protected:
  void SetUp() override {
    platform::userDefaults::useFile(m_folder.filePath(QStringLiteral("defaults.conf")));
    VornLocalStringDefine::loadTables(kEnglish);
  }
  void TearDown() override {
    VornLocalStringDefine::loadTables(kEnglish);
    platform::userDefaults::useFile({});
  }
  static void tables(const Texts& mainTable, const Texts& defaultLocalizable) {
    VornLocalStringDefine::useTables(
        [mainTable](const QString& key) { return mainTable.value(key); },
        [defaultLocalizable](const QString& key) { return defaultLocalizable.value(key); });
  }

private:
  QTemporaryDir m_folder;
};

constexpr SystemVersion kBefore{10, 14, 6};
constexpr SystemVersion kSince{10, 15, 0};

} // namespace

TEST_F(VornLocalStrings, AKeyTranslatedInTheMainTableReturnsThatText) {
  tables({{QStringLiteral("MNU_Skip"), QStringLiteral("Skip")}},
         {{QStringLiteral("MNU_Skip"), QStringLiteral("other")}});
  EXPECT_EQ(text("MNU_Skip"), QStringLiteral("Skip"));
}

TEST_F(VornLocalStrings, AMainTextThatEqualsItsKeyInAnotherCaseFallsThroughToTheDefaultTable) {
  tables({{QStringLiteral("MNU_Skip"), QStringLiteral("mnu_SKIP")}},
         {{QStringLiteral("MNU_Skip"), QStringLiteral("Skip")}});
  EXPECT_EQ(text("MNU_Skip"), QStringLiteral("Skip"));
}

TEST_F(VornLocalStrings, AKeyMissingFromTheMainTableIsLookedUpInTheDefaultTable) {
  const testsupport::LogCapture log;
  tables({}, {{QStringLiteral("MNU_Skip"), QStringLiteral("Skip")}});
  EXPECT_EQ(text("MNU_Skip"), QStringLiteral("Skip"));
  EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(VornLocalStrings, AKeyMissingFromBothTablesReturnsTheKeyAndWritesTheFailureLineEachTime) {
  const testsupport::LogCapture log;
  tables({}, {});
  EXPECT_EQ(text("MNU_Nowhere"), QStringLiteral("MNU_Nowhere"));
  EXPECT_EQ(text("MNU_Nowhere"), QStringLiteral("MNU_Nowhere"));
  EXPECT_EQ(log.count(QStringLiteral("Failed to load localized string:MNU_Nowhere")), 2);
}

TEST_F(VornLocalStrings, AnEmptyMainTextIsATextAndAnEmptyDefaultTextIsNone) {
  const testsupport::LogCapture log;
  tables({{QStringLiteral("A"), QStringLiteral("")}}, {{QStringLiteral("A"), QStringLiteral("a text")}});
  EXPECT_EQ(text("A"), QString());
  tables({}, {{QStringLiteral("A"), QStringLiteral("")}});
  EXPECT_EQ(text("A"), QStringLiteral("A"));
  EXPECT_EQ(log.lines().size(), 1);
}

TEST_F(VornLocalStrings, ITunesBecomesIOSEverywhereInTheTextSinceTheSystemsThatKnowNoITunes) {
  tables({{QStringLiteral("MSG_FoundiTunesData"), QStringLiteral("iTunes and iTunes")}}, {});
  const ScopedSystemVersion version(kSince);
  EXPECT_EQ(text("MSG_FoundiTunesData"), QStringLiteral("iOS and iOS"));
}

TEST_F(VornLocalStrings, ITunesStaysOnOlderSystemsAndWhereTheVersionIsUnknown) {
  tables({{QStringLiteral("MSG_FoundiTunesData"), QStringLiteral("iTunes and iTunes")}}, {});
  for (const auto& version : {std::optional(kBefore), std::optional<SystemVersion>()}) {
    const ScopedSystemVersion standIn(version);
    EXPECT_EQ(text("MSG_FoundiTunesData"), QStringLiteral("iTunes and iTunes"));
  }
}

TEST_F(VornLocalStrings, ITunesStaysInTheTextsOfOtherKeys) {
  tables({{QStringLiteral("MSG_DeleteFile"), QStringLiteral("iTunes")}}, {});
  const ScopedSystemVersion version(kSince);
  EXPECT_EQ(text("MSG_DeleteFile"), QStringLiteral("iTunes"));
}

TEST_F(VornLocalStrings, AllFiveKeysOfTheFamilyAreRewrittenFromEitherTable) {
  const ScopedSystemVersion version(SystemVersion{12, 0, 0});
  for (const char* key : {"MSG_FoundiTunesData", "MNU_RestoreFromThirdParty4", "MSG_FoundiTunesData2",
                          "MSG_RestoreGuideForiTunes3", "MSG_RestoreCompletediTunesVBQ"}) {
    tables({}, {{QString::fromUtf8(key), QStringLiteral("from iTunes")}});
    EXPECT_EQ(text(key), QStringLiteral("from iOS")) << key;
  }
}

TEST_F(VornLocalStrings, AMissingKeyOfTheFamilyIsShownRewrittenToo) {
  const testsupport::LogCapture log;
  const ScopedSystemVersion version(kSince);
  tables({}, {});
  EXPECT_EQ(text("MSG_FoundiTunesData"), QStringLiteral("MSG_FoundiOSData"));
  EXPECT_EQ(log.count(QStringLiteral("Failed to load localized string:MSG_FoundiTunesData")), 1);
}

TEST_F(VornLocalStrings, TheContextMenusEntriesCanBeToldApartByTheirTexts) {
  EXPECT_EQ(text("MNU_AddNewFolder"), QStringLiteral("New Folder"));
  EXPECT_EQ(text("MNU_EditName"), QStringLiteral("Rename"));
  EXPECT_EQ(text("MNU_Delete"), QStringLiteral("Delete"));
}

TEST_F(VornLocalStrings, TheFirstLanguageThatHasTablesIsTaken) {
  EXPECT_EQ(load({"is_IS", "de-AT", "fr"}), QStringLiteral("de"));
  EXPECT_EQ(VornLocalStringDefine::language(), QStringLiteral("de"));
  EXPECT_EQ(text("FUS_MNU_Cancel"), QStringLiteral("Abbrechen"));
  EXPECT_EQ(text("MNU_FileName"), QStringLiteral("Name"));
  EXPECT_EQ(text("MNU_AddNewFolder"), QStringLiteral("Neuer Ordner"));
}

TEST_F(VornLocalStrings, ALanguageWithoutTablesIsShownInEnglish) {
  load({"de"});
  EXPECT_EQ(load({"is_IS"}), QStringLiteral("en"));
  EXPECT_EQ(text("FUS_MNU_Cancel"), QStringLiteral("Cancel"));
}

TEST_F(VornLocalStrings, WhatIsNoLanguageIsPassedOver) {
  for (const char* odd : {"", "C", "C.UTF-8", "POSIX", "klingon", "../../main_de", "de_", "%1"})
    EXPECT_EQ(load({odd, "ko"}), odd == std::string("de_") ? QStringLiteral("de") : QStringLiteral("ko")) << odd;
  EXPECT_EQ(VornLocalStringDefine::loadTables(QStringList()), QStringLiteral("en"));
  EXPECT_EQ(VornLocalStringDefine::loadTables({QString(100'000, u'x')}), QStringLiteral("en"));
}

TEST_F(VornLocalStrings, EnglishWantedFirstIsEnglishWhateverFollows) {
  EXPECT_EQ(load({"en_GB", "de"}), QStringLiteral("en"));
}

TEST_F(VornLocalStrings, ChineseIsChosenByItsScript) {
  for (const char* simplified : {"zh", "zh_CN", "zh-Hans-CN", "zh_SG", "zh_CN.UTF-8"})
    EXPECT_EQ(load({simplified}), QStringLiteral("zh_CN")) << simplified;
  for (const char* traditional : {"zh_TW", "zh_HK", "zh-Hant", "zh_MO", "zh_Hant_HK"})
    EXPECT_EQ(load({traditional}), QStringLiteral("zh_TW")) << traditional;
}

TEST_F(VornLocalStrings, PortugueseOfAnyCountryIsBetterThanEnglish) {
  EXPECT_EQ(load({"pt_PT"}), QStringLiteral("pt_BR"));
  EXPECT_EQ(load({"pt"}), QStringLiteral("pt_BR"));
}

TEST_F(VornLocalStrings, TheUserDefaultComesBeforeTheDesktopsLanguages) {
  EXPECT_EQ(VornLocalStringDefine::preferredLanguages(), QLocale::system().uiLanguages());
  platform::userDefaults::setValue(QStringLiteral("Language"), QStringLiteral("he"));
  EXPECT_EQ(VornLocalStringDefine::preferredLanguages(), QStringList("he") + QLocale::system().uiLanguages());
  EXPECT_EQ(VornLocalStringDefine::loadTables(), QStringLiteral("he"));
}

TEST_F(VornLocalStrings, ThereAreThirteenLanguagesAndTheOneOfThisTest) {
  EXPECT_EQ(VornLocalStringDefine::languages().join(u' '),
            QStringLiteral("ar de en eo es fr he it ja ko pt_BR ru zh_CN zh_TW"));
}

TEST_F(VornLocalStrings, WhatALanguageLacksIsShownInEnglishKeyByKey) {
  const testsupport::LogCapture log;
  EXPECT_EQ(load({"eo"}), QStringLiteral("eo"));
  EXPECT_EQ(text("MNU_FileName"), QStringLiteral("Nomo"));
  EXPECT_EQ(text("FUS_MNU_Cancel"), QStringLiteral("Nuligi"));
  EXPECT_EQ(text("MSG_FileSize"), QStringLiteral("Size")); // of the English main table
  EXPECT_EQ(text("MNU_Skip"), QStringLiteral("Skip"));     // of the English second table
  EXPECT_TRUE(log.lines().isEmpty()) << qPrintable(log.lines().value(0));
}

TEST_F(VornLocalStrings, ALanguagesSecondTableComesBeforeTheEnglishMainOne) {
  load({"eo"});
  EXPECT_EQ(text("MNU_AddNewFolder"), QStringLiteral("Nova dosierujo"));
}

TEST_F(VornLocalStrings, ATextThatEqualsItsKeyIsLackingInALanguageToo) {
  load({"eo"});
  EXPECT_EQ(text("MNU_EditName"), QStringLiteral("Rename"));
}

TEST_F(VornLocalStrings, AKeyNoTableHasIsLoggedInEveryLanguage) {
  const testsupport::LogCapture log;
  load({"eo"});
  EXPECT_EQ(text("MNU_Nowhere"), QStringLiteral("MNU_Nowhere"));
  EXPECT_EQ(log.count(QStringLiteral("Failed to load localized string:MNU_Nowhere")), 1);
}

TEST_F(VornLocalStrings, TextsGivenForATestAreEnglish) {
  load({"ar"});
  tables({}, {});
  EXPECT_EQ(VornLocalStringDefine::language(), QStringLiteral("en"));
}

TEST_F(VornLocalStrings, AnyKeyAtAllIsAnswered) {
  const testsupport::LogCapture log;
  load({"de"});
  EXPECT_EQ(text(""), QString());
  const QString odd = QStringLiteral("%1 %s %n ключ");
  EXPECT_EQ(VornLocalStringDefine::QX_LocalizedStringWithKey(odd), odd);
  const QString longKey(100'000, u'k');
  EXPECT_EQ(VornLocalStringDefine::QX_LocalizedStringWithKey(longKey), longKey);
  EXPECT_EQ(log.lines().size(), 3);
}

TEST_F(VornLocalStrings, TextsMayBeAskedForWhileTheLanguageChanges) {
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i)
    readers.emplace_back([] {
      for (int round = 0; round < 300; ++round)
        EXPECT_EQ(text("MNU_Skip"), QStringLiteral("Skip"));
    });
  for (int round = 0; round < 50; ++round)
    VornLocalStringDefine::loadTables(kEnglish);
  for (std::thread& reader : readers)
    reader.join();
}
