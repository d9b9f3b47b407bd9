#include "TessalyMTPSdk/ObjectNames.h"

#include <gtest/gtest.h>

using namespace mtp;

TEST(ObjectNames, NamesThatDifferInCaseOnlyAreOneToAStorage) {
  EXPECT_EQ(foldedName(u"IMG_1.JPG"), foldedName(u"img_1.jpg"));
  EXPECT_EQ(foldedName(u"ÄÖÜ"), foldedName(u"äöü"));
  EXPECT_EQ(foldedName(u"STRASSE"), foldedName(u"straße"));
  EXPECT_NE(foldedName(u"a.jpg"), foldedName(u"b.jpg"));
}

TEST(ObjectNames, NamesThatDifferInCompositionOnlyAreOneToAStorage) {
  EXPECT_EQ(foldedName(u"caf\u00E9"), foldedName(u"cafe\u0301"));
  EXPECT_EQ(foldedName(u"CAF\u00C9"), foldedName(u"cafe\u0301"));
  EXPECT_NE(foldedName(u"cafe"), foldedName(u"caf\u00E9"));
}

TEST(ObjectNames, NamesOfOtherCharactersThatLookAlikeStayTwo) {
  EXPECT_NE(foldedName(u"\u2460"), foldedName(u"1"));
  EXPECT_NE(foldedName(u"\u0410"), foldedName(u"A"));
}

TEST(ObjectNames, TextThatIsNoUnicodeCanBeFolded) {
  EXPECT_EQ(foldedName(u"a\xD800z"), foldedName(u"A\xD800z"));
}

TEST(ObjectNames, TheNamesAPhoneRefusesAreNoObjectNames) {
  EXPECT_FALSE(isObjectName(u""));
  EXPECT_FALSE(isObjectName(u"."));
  EXPECT_FALSE(isObjectName(u".."));
  EXPECT_FALSE(isObjectName(u"a/b"));
  EXPECT_FALSE(isObjectName(std::u16string_view(u"a\0b", 3)));
  EXPECT_TRUE(isObjectName(u"..."));
  EXPECT_TRUE(isObjectName(u"a:b?c*d|\"e"));
}

TEST(ObjectNames, ANameHasAtMostTwoHundredAndFiftyFourUnits) {
  EXPECT_TRUE(isObjectName(std::u16string(254, u'n')));
  EXPECT_FALSE(isObjectName(std::u16string(255, u'n')));
}

TEST(ObjectNames, AnEmojiIsBeyondTheBasicPlane) {
  EXPECT_TRUE(isBeyondBasicPlane(u"a\U0001F600"));
  EXPECT_FALSE(isBeyondBasicPlane(u"a\u00E9\uFFFD"));
}

TEST(ObjectNames, TheFileNameIsThePathsLastComponent) {
  EXPECT_EQ(fileNameOf(u"/a/b.txt"), u"b.txt");
  EXPECT_EQ(fileNameOf(u"b.txt"), u"b.txt");
  EXPECT_EQ(fileNameOf(u"/a/"), u"");
}

TEST(ObjectNames, AnUnpairedSurrogateNamesNoFile) {
  EXPECT_EQ(toUtf8(u"\u00E9\U0001F600"), "\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(toUtf8(u"a\xD800"), std::nullopt);
  EXPECT_EQ(toUtf8(u""), "");
}
