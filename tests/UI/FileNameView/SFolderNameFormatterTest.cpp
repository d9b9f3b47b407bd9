#include "UI/FileNameView/SFolderNameFormatter.h"

#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

namespace {

bool isValid(const QString& partial) {
  return SFolderNameFormatter::isPartialStringValid(partial);
}

} // namespace

TEST(SFolderNameFormatter, RefusesADotAndAnythingThatStartsWithOne) {
  EXPECT_FALSE(isValid("."));
  EXPECT_FALSE(isValid(".."));
  EXPECT_FALSE(isValid(".hidden"));
  EXPECT_TRUE(isValid("a.b"));
  EXPECT_TRUE(isValid("a."));
}

TEST(SFolderNameFormatter, RefusesThe99thCharacter) {
  EXPECT_TRUE(isValid(QString(98, 'x')));
  EXPECT_FALSE(isValid(QString(99, 'x')));
  EXPECT_FALSE(isValid(QString(10'000, 'x')));
}

TEST(SFolderNameFormatter, RefusesEachOfTheNineCharactersAnywhere) {
  for (const QChar c : QStringLiteral("/*\":?\\|<>")) {
    EXPECT_FALSE(isValid(QString(c))) << int(c.unicode());
    EXPECT_FALSE(isValid(QStringLiteral("a%1b").arg(c))) << int(c.unicode());
    EXPECT_FALSE(isValid(QStringLiteral("ab%1").arg(c))) << int(c.unicode());
  }
}

TEST(SFolderNameFormatter, AllowsAnEmptyFieldAndAnyOtherName) {
  EXPECT_TRUE(isValid(QString()));
  EXPECT_TRUE(isValid(QStringLiteral("")));
  EXPECT_TRUE(isValid(QStringLiteral(" Ferien 2024 (1) – 写真 'א' & #;%~+=,")));
}

TEST(SFolderNameFormatter, ReadsBackAnyTextAsItIs) {
  EXPECT_EQ(SFolderNameFormatter::stringForObjectValue(QStringLiteral("a/b")), QStringLiteral("a/b"));
  EXPECT_EQ(SFolderNameFormatter::stringForObjectValue(17), QStringLiteral("17"));
  EXPECT_EQ(SFolderNameFormatter::objectValueForString(QStringLiteral("../x")), QStringLiteral("../x"));
  EXPECT_FALSE(SFolderNameFormatter::objectValueForString(QString()).isNull());
}

TEST(SFolderNameFormatter, KeepsAnInvalidEditOutOfAField) {
  QLineEdit field;
  field.setValidator(new SFolderNameFormatter(&field));
  QTest::keyClicks(&field, ".a/b*c\"d:e?f\\g|h<i>");
  EXPECT_EQ(field.text(), "abcdefghi");
  QTest::keyClicks(&field, QString(120, 'x'));
  EXPECT_EQ(field.text().size(), 98);
}
