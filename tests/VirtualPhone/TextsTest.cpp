#include "VirtualPhone/Texts.h"

#include <gtest/gtest.h>

namespace {

using namespace vphone;

TEST(Texts, EveryKindOfCharacterSurvivesBothWays) {
  for (const char* text : {"", "plain", "ü", "日本", "😀", "a\x7f", "\xf4\x8f\xbf\xbf"})
    EXPECT_EQ(toUtf8(toUtf16(text)), text);
  EXPECT_EQ(toUtf16("😀"), u"😀");
}

TEST(Texts, BytesThatAreNoUtf8BecomeReplacementCharacters) {
  for (const char* text :
       {"\xff", "\x80", "\xc0\x80", "\xed\xa0\x80", "\xf5\x80\x80\x80", "\xe0\x80\x80", "\xc3", "\xe6\x97"})
    EXPECT_EQ(toUtf16(text)[0], 0xFFFD);
  EXPECT_EQ(toUtf16("a\xc3z"), u"a\uFFFDz") << "the rest is kept";
}

TEST(Texts, UnpairedSurrogatesAreNoFileName) {
  EXPECT_FALSE(toUtf8(std::u16string{0xD83D}));
  EXPECT_FALSE(toUtf8(std::u16string{0xDE00, 0xD83D}));
  EXPECT_FALSE(toUtf8(std::u16string{0xD83D, u'a'}));
}

TEST(Texts, NamesAreBoundedAndLeadNowhere) {
  EXPECT_EQ(fileName(u"a.txt"), "a.txt");
  EXPECT_EQ(fileName(u"..."), "...");
  EXPECT_TRUE(fileName(std::u16string(254, u'x')));
  EXPECT_FALSE(fileName(std::u16string(255, u'x')));
  for (auto name : {u"", u".", u"..", u"/", u"a/b"})
    EXPECT_FALSE(fileName(name));
  EXPECT_FALSE(fileName(std::u16string(u"a\0", 2)));
}

TEST(Texts, OnlyTheCaseOfAsciiLettersIsFolded) {
  EXPECT_TRUE(equalFolded("A.JPG", "a.jpg"));
  EXPECT_FALSE(equalFolded("A.JPG", "a.jpgx"));
  EXPECT_FALSE(equalFolded("Ü", "ü"));
}

TEST(Texts, DatesAreReadWithAndWithoutAZone) {
  EXPECT_EQ(parseDate(u"20200102T030405Z"), 1577934245);
  EXPECT_EQ(parseDate(u"20200102T030405.0Z"), 1577934245);
  auto local = parseDate(u"20200102T030405");
  ASSERT_TRUE(local);
  EXPECT_EQ(dateText(*local), "20200102T030405");
  EXPECT_EQ(parseDate(u"20200102T030405+0500"), local) << "an offset is ignored";
}

TEST(Texts, WhatIsNoDateIsNone) {
  for (auto text : {u"", u"2020", u"20200102 030405", u"20201302T030405", u"20200132T030405", u"2020010xT030405",
                    u"20200102T250405", u"20200102T0304"})
    EXPECT_FALSE(parseDate(text));
}

TEST(Texts, FormatsComeFromTheExtension) {
  EXPECT_EQ(formatOfName("a.jpg"), 0x3801);
  EXPECT_EQ(formatOfName("a.b.JPEG"), 0x3801);
  EXPECT_EQ(formatOfName("song.mp3"), 0x3009);
  EXPECT_EQ(formatOfName("jpg"), 0x3000);
  EXPECT_EQ(formatOfName("a."), 0x3000);
  EXPECT_EQ(formatOfName("a.whatever"), 0x3000);
  EXPECT_EQ(formatOfName(""), 0x3000);
}

} // namespace
