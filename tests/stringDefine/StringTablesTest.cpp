// The tables themselves: resources/strings/<table>_<language>.ts, read as files and as the program has them embedded.
#include "Platform/SystemVersion.h"
#include "stringDefine/VornLocalStringDefine.h"
#include "support/Languages.h"
#include "support/LogCapture.h"

#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace {

struct Message {
  QString source;
  QString text;
  QString comment;
  bool finished = true;
  int occurrences = 0;
};
using Table = QMap<QString, Message>;

const QString kSourceFolder = QStringLiteral(MTPB_SOURCE_FOLDER);
constexpr std::array kTables{"main", "DefaultLocalizable"};

/// The keys the window's parts are known by; those of menus and of screen readers' texts come on top.
constexpr std::array kRequiredKeys{"BTUI_Delet_Window_Close",
                                   "FUS_MNU_Cancel",
                                   "MNU_AddNewFolder",
                                   "MNU_CheckboxText",
                                   "MNU_Confirm",
                                   "MNU_DateOfModify",
                                   "MNU_Delete",
                                   "MNU_DuplicateTransferMTP",
                                   "MNU_EditName",
                                   "MNU_FileName",
                                   "MNU_PrepareToSomething",
                                   "MNU_Replace",
                                   "MNU_ReplaceAll",
                                   "MNU_RestoreFromThirdParty4",
                                   "MNU_Skip",
                                   "MSG_BnRTransfering",
                                   "MSG_DeleteFile",
                                   "MSG_DuplicateTransferMTPDescription",
                                   "MSG_FileSize",
                                   "MSG_FoundiTunesData",
                                   "MSG_FoundiTunesData2",
                                   "MSG_RestoreCompletediTunesVBQ",
                                   "MSG_RestoreGuideForiTunes3",
                                   "MSG_WelcomToVBX2"};

Message readMessage(QXmlStreamReader& xml) {
  Message message;
  while (xml.readNextStartElement()) {
    if (xml.name() == u"translation") {
      message.finished = !xml.attributes().hasAttribute(QStringLiteral("type"));
      message.text = xml.readElementText();
      ++message.occurrences;
    } else if (xml.name() == u"source") {
      message.source = xml.readElementText();
    } else if (xml.name() == u"extracomment") {
      message.comment = xml.readElementText();
    } else {
      xml.skipCurrentElement();
    }
  }
  return message;
}

/// Every text of the program's sources that is one word.
QSet<QString> quotedWordsOfTheSources() {
  static const QRegularExpression quoted(QStringLiteral("\"(\\w+)\""));
  QSet<QString> words;
  QDirIterator files(kSourceFolder + QStringLiteral("/src"), {QStringLiteral("*.cpp"), QStringLiteral("*.h")},
                     QDir::Files, QDirIterator::Subdirectories);
  while (files.hasNext()) {
    QFile file(files.next());
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(file.fileName());
    for (const QRegularExpressionMatch& match : quoted.globalMatch(QString::fromUtf8(file.readAll())))
      words.insert(match.captured(1));
  }
  return words;
}

/// All messages of a table of a language; a key that stands there twice has two occurrences.
Table readTable(const char* table, const QString& language) {
  QFile file(QStringLiteral("%1/resources/strings/%2_%3.ts").arg(kSourceFolder, QLatin1StringView(table), language));
  Table messages;
  if (!file.open(QIODevice::ReadOnly)) {
    ADD_FAILURE() << "no file " << qPrintable(file.fileName());
    return messages;
  }
  QXmlStreamReader xml(&file);
  while (!xml.atEnd()) {
    if (xml.readNext() != QXmlStreamReader::StartElement)
      continue;
    if (xml.name() == u"TS") {
      EXPECT_EQ(xml.attributes().value(QStringLiteral("language")), language) << qPrintable(file.fileName());
    } else if (xml.name() == u"message") {
      const QString key = xml.attributes().value(QStringLiteral("id")).toString();
      Message message = readMessage(xml);
      message.occurrences += messages.value(key).occurrences;
      messages.insert(key, message);
    }
  }
  EXPECT_FALSE(xml.hasError()) << qPrintable(file.fileName()) << ": " << qPrintable(xml.errorString());
  return messages;
}

Table readBothTables(const QString& language) {
  Table messages;
  for (const char* table : kTables)
    messages.insert(readTable(table, language));
  return messages;
}

/// The placeholders of a text, sorted: "%1", "%n", "%@".
QStringList placeholders(const QString& text) {
  static const QRegularExpression form(QStringLiteral("%(\\d+|.|$)"));
  QStringList found;
  for (const QRegularExpressionMatch& match : form.globalMatch(text))
    found.append(match.captured());
  found.sort();
  return found;
}

bool isOf(QChar::Script script, const QString& language) {
  if (language == u"ru")
    return script == QChar::Script_Cyrillic;
  if (language == u"ko")
    return script == QChar::Script_Hangul;
  if (language == u"ja")
    return script == QChar::Script_Hiragana || script == QChar::Script_Katakana || script == QChar::Script_Han;
  if (language.startsWith(u"zh"))
    return script == QChar::Script_Han;
  if (language == u"ar")
    return script == QChar::Script_Arabic;
  if (language == u"he")
    return script == QChar::Script_Hebrew;
  return script == QChar::Script_Latin;
}

/// The words of other scripts that may stand in a text of any language.
QString withoutNames(QString text) {
  for (const char* name : {"MTP Browser", "iTunes", "Android", "USB"})
    text.remove(QLatin1StringView(name));
  static const QRegularExpression suffixMnemonic(QStringLiteral("\\(&[A-Z]\\)"));
  return text.remove(suffixMnemonic);
}

/// The menu an entry stands in; empty for a title of the menu bar.
QString menuOf(const QString& key) {
  return key.count(u'_') == 1 ? QString() : key.section(u'_', 1, 1);
}

class StringTables : public testing::TestWithParam<const char*> {
protected:
  void TearDown() override { VornLocalStringDefine::loadTables({QStringLiteral("en")}); }
  static QString language() { return QString::fromLatin1(GetParam()); }
  static QString shown(const QString& key) { return VornLocalStringDefine::QX_LocalizedStringWithKey(key); }

  const Table m_english = readBothTables(QStringLiteral("en"));
  const Table m_table = readBothTables(language());
};

} // namespace

TEST_P(StringTables, HaveEveryKeyTheWindowsPartsAreKnownBy) {
  for (const char* key : kRequiredKeys)
    EXPECT_TRUE(m_table.contains(QLatin1StringView(key))) << key;
}

TEST_P(StringTables, HaveTheSameKeysInTheSameTablesAsEnglish) {
  for (const char* table : kTables)
    EXPECT_EQ(readTable(table, language()).keys(), readTable(table, QStringLiteral("en")).keys()) << table;
}

TEST_P(StringTables, HaveNoKeyTwice) {
  EXPECT_EQ(m_table.size(), readTable(kTables[0], language()).size() + readTable(kTables[1], language()).size());
  for (auto message = m_table.begin(); message != m_table.end(); ++message)
    EXPECT_EQ(message->occurrences, 1) << qPrintable(message.key());
}

TEST_P(StringTables, AreFinished) {
  for (auto message = m_table.begin(); message != m_table.end(); ++message) {
    EXPECT_TRUE(message->finished) << qPrintable(message.key());
    EXPECT_FALSE(message->text.isEmpty()) << qPrintable(message.key());
    EXPECT_EQ(message->text, message->text.trimmed()) << qPrintable(message.key());
    EXPECT_NE(message->text.compare(message.key(), Qt::CaseInsensitive), 0) << qPrintable(message.key());
    EXPECT_FALSE(message->comment.isEmpty()) << qPrintable(message.key());
  }
}

TEST_P(StringTables, NameTheEnglishTextTheyTranslate) {
  for (auto message = m_table.begin(); message != m_table.end(); ++message)
    EXPECT_EQ(message->source, language() == u"en" ? QString() : m_english.value(message.key()).text)
        << qPrintable(message.key());
}

TEST_P(StringTables, HaveTheSamePlaceholdersAndLinesAsEnglish) {
  for (auto message = m_table.begin(); message != m_table.end(); ++message) {
    const QString english = m_english.value(message.key()).text;
    EXPECT_EQ(placeholders(message->text), placeholders(english)) << qPrintable(message.key());
    EXPECT_EQ(message->text.count(u'\n'), english.count(u'\n')) << qPrintable(message.key());
    EXPECT_EQ(message->text.contains(QChar(0x2026)), english.contains(QChar(0x2026))) << qPrintable(message.key());
    EXPECT_FALSE(message->text.contains(QStringLiteral("..."))) << qPrintable(message.key());
  }
}

TEST_P(StringTables, AreWrittenInTheLanguagesOwnScript) {
  for (auto message = m_table.begin(); message != m_table.end(); ++message) {
    if (language() == u"ja" && message->text == u"OK")
      continue; // so it is in Japanese
    bool own = false;
    for (const QChar character : withoutNames(message->text)) {
      const QChar::Script script = character.script();
      own = own || isOf(script, language());
      EXPECT_TRUE(!character.isLetter() || script == QChar::Script_Common || isOf(script, language()))
          << qPrintable(message.key()) << ": " << qPrintable(QString(character));
    }
    EXPECT_TRUE(own) << qPrintable(message.key()) << ": " << qPrintable(message->text);
  }
}

TEST_P(StringTables, NameTheOldSourceInItsTextsSoThatItCanBeRenamed) {
  for (const char* key : {"MSG_FoundiTunesData", "MNU_RestoreFromThirdParty4", "MSG_FoundiTunesData2",
                          "MSG_RestoreGuideForiTunes3", "MSG_RestoreCompletediTunesVBQ"})
    EXPECT_TRUE(m_table.value(QLatin1StringView(key)).text.contains(QStringLiteral("iTunes"))) << key;
}

TEST_P(StringTables, TellTheEntriesThatAreKnownByTheirTextsApart) {
  const auto differ = [this](const std::initializer_list<const char*>& keys) {
    QSet<QString> texts;
    for (const char* key : keys)
      texts.insert(m_table.value(QLatin1StringView(key)).text);
    EXPECT_EQ(texts.size(), qsizetype(keys.size())) << *keys.begin();
  };
  differ({"MNU_AddNewFolder", "MNU_EditName", "MNU_Delete"});
  differ({"MNU_Replace", "MNU_ReplaceAll", "MNU_Skip"});
  differ({"MNU_Confirm", "FUS_MNU_Cancel"});
  differ({"MNU_FileName", "MNU_DateOfModify", "MSG_FileSize"});
}

TEST_P(StringTables, GiveEveryEntryOfAMenuALetterOfItsOwn) {
  QMap<QString, QMap<QString, QString>> menus;
  for (auto message = m_table.begin(); message != m_table.end(); ++message) {
    const qsizetype mark = message->text.indexOf(u'&');
    if (!message.key().startsWith(u"menu_")) {
      EXPECT_EQ(mark, -1) << qPrintable(message.key());
      continue;
    }
    ASSERT_EQ(message->text.count(u'&'), 1) << qPrintable(message.key());
    const QString letter = message->text.sliced(mark + 1, 1).toLower();
    EXPECT_TRUE(letter.front().isLetterOrNumber()) << qPrintable(message.key());
    QMap<QString, QString>& menu = menus[menuOf(message.key())];
    EXPECT_FALSE(menu.contains(letter)) << qPrintable(message.key()) << " and " << qPrintable(menu.value(letter));
    menu.insert(letter, message.key());
  }
  EXPECT_EQ(menus.keys(), QStringList({"", "edit", "file", "go", "help", "view"}));
}

TEST_P(StringTables, StandInTheProgramAsTheyStandInTheirFiles) {
  const testsupport::LogCapture log;
  const platform::ScopedSystemVersion version(platform::SystemVersion{10, 14, 0});
  EXPECT_EQ(VornLocalStringDefine::loadTables({language()}), language());
  for (auto message = m_table.begin(); message != m_table.end(); ++message)
    EXPECT_EQ(shown(message.key()), message->text) << qPrintable(message.key());
  EXPECT_TRUE(log.lines().isEmpty()) << qPrintable(log.lines().value(0));
}

INSTANTIATE_TEST_SUITE_P(Language, StringTables, testing::ValuesIn(testsupport::kLanguages), testsupport::languageName);

TEST(StringTablesOfTheProgram, HaveEveryKeyThatItsSourcesName) {
  const Table table = readBothTables(QStringLiteral("en"));
  // Keys alone: a log's or a notification's name has other beginnings.
  const QRegularExpression key(QStringLiteral("^(?:FUS_MNU|MNU|MSG|menu|about|accessible)_\\w+$"));
  int found = 0;
  for (const QString& word : quotedWordsOfTheSources()) {
    if (!key.match(word).hasMatch())
      continue;
    EXPECT_TRUE(table.contains(word)) << qPrintable(word);
    ++found;
  }
  EXPECT_GT(found, 10);
}

TEST(StringTablesOfTheProgram, HaveNoKeyThatNobodyAsksFor) {
  const QSet<QString> words = quotedWordsOfTheSources();
  const Table table = readBothTables(QStringLiteral("en"));
  for (auto message = table.begin(); message != table.end(); ++message) {
    const bool isRequired = std::find(kRequiredKeys.begin(), kRequiredKeys.end(), message.key()) != kRequiredKeys.end();
    EXPECT_TRUE(isRequired || words.contains(message.key())) << qPrintable(message.key());
  }
}
