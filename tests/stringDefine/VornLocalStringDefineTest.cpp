#include "stringDefine/VornLocalStringDefine.h"

#include "Platform/SystemVersion.h"
#include "support/LogCapture.h"

#include <QMap>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using platform::ScopedSystemVersion;
using platform::SystemVersion;

namespace {

using Texts = QMap<QString, QString>;

QString text(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QString::fromUtf8(key));
}

class VornLocalStrings : public testing::Test {
protected:
  void TearDown() override { VornLocalStringDefine::loadTables(QLocale(QLocale::English)); }
  static void tables(const Texts& mainTable, const Texts& defaultLocalizable) {
    VornLocalStringDefine::useTables(
        [mainTable](const QString& key) { return mainTable.value(key); },
        [defaultLocalizable](const QString& key) { return defaultLocalizable.value(key); });
  }
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

TEST_F(VornLocalStrings, EveryKeyHasAnEnglishTextOfItsOwn) {
  const testsupport::LogCapture log;
  const ScopedSystemVersion version(kBefore);
  EXPECT_EQ(VornLocalStringDefine::loadTables(QLocale(QStringLiteral("en_GB"))), QStringLiteral("en"));
  ASSERT_EQ(VornLocalStringDefine::keys().size(), 24);
  QMap<QString, QString> keysByText;
  for (const QString& key : VornLocalStringDefine::keys()) {
    const QString shown = VornLocalStringDefine::QX_LocalizedStringWithKey(key);
    EXPECT_FALSE(shown.isEmpty() || shown == key) << qPrintable(key);
    EXPECT_EQ(shown, shown.trimmed()) << qPrintable(key);
    EXPECT_FALSE(keysByText.contains(shown)) << qPrintable(key) << " and " << qPrintable(keysByText.value(shown));
    keysByText.insert(shown, key);
  }
  EXPECT_TRUE(log.lines().isEmpty()) << qPrintable(log.lines().value(0));
}

TEST_F(VornLocalStrings, TheContextMenusEntriesCanBeToldApartByTheirTexts) {
  VornLocalStringDefine::loadTables(QLocale(QLocale::English));
  EXPECT_EQ(text("MNU_AddNewFolder"), QStringLiteral("New Folder"));
  EXPECT_EQ(text("MNU_EditName"), QStringLiteral("Rename"));
  EXPECT_EQ(text("MNU_Delete"), QStringLiteral("Delete"));
}

TEST_F(VornLocalStrings, OnlyTheQuestionAboutATakenNameHasAPlaceholderAndExactlyOne) {
  VornLocalStringDefine::loadTables(QLocale(QLocale::English));
  for (const QString& key : VornLocalStringDefine::keys()) {
    const QString shown = VornLocalStringDefine::QX_LocalizedStringWithKey(key);
    EXPECT_EQ(shown.count(u'%'), key == u"MNU_DuplicateTransferMTP" ? 1 : 0) << qPrintable(key);
  }
  EXPECT_TRUE(text("MNU_DuplicateTransferMTP").contains(QStringLiteral("%1")));
}

TEST_F(VornLocalStrings, ALanguageWithoutTablesIsShownInEnglish) {
  EXPECT_EQ(VornLocalStringDefine::loadTables(QLocale(QStringLiteral("is_IS"))), QStringLiteral("en"));
  EXPECT_EQ(text("FUS_MNU_Cancel"), QStringLiteral("Cancel"));
}

TEST_F(VornLocalStrings, AnyKeyAtAllIsAnswered) {
  const testsupport::LogCapture log;
  VornLocalStringDefine::loadTables(QLocale(QLocale::English));
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
    VornLocalStringDefine::loadTables(QLocale(QLocale::English));
  for (std::thread& reader : readers)
    reader.join();
}
