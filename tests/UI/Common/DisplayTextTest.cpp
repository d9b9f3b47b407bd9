#include "UI/Common/DisplayText.h"

#include <gtest/gtest.h>

using ui::singleLineText;

TEST(SingleLineText, LeavesOrdinaryNamesOfAnyScriptAlone) {
  for (const QString& name : {u"IMG_0001.jpg"_qs, u"Übergrößenträger"_qs, u"日本語"_qs, u"שלום.txt"_qs,
                              u"👩\u200D👩\u200D👧.png"_qs, QString()}) {
    EXPECT_EQ(singleLineText(name), name);
  }
}

TEST(SingleLineText, TurnsLineBreaksAndControlCharactersIntoReplacementCharacters) {
  EXPECT_EQ(singleLineText(u"a\nb\r\tc\u0000d"_qs.left(8)), u"a\uFFFDb\uFFFD\uFFFDc\uFFFDd"_qs.left(8));
  EXPECT_EQ(singleLineText(u"a\u2028b\u2029c\u0085d"_qs), u"a\uFFFDb\uFFFDc\uFFFDd"_qs);
}

TEST(SingleLineText, LeavesOutCharactersThatSteerTheDirectionAroundThem) {
  EXPECT_EQ(singleLineText(u"photo\u202Egnp.exe"_qs), u"photognp.exe"_qs);
  EXPECT_EQ(singleLineText(u"\u2066a\u2069\u200Eb\u200F\u061C"_qs), u"ab"_qs);
}

TEST(SingleLineText, TurnsUnpairedSurrogatesIntoReplacementCharacters) {
  const char16_t halves[] = {u'a', 0xD83D, u'b', 0xDE00, 0xD83D};
  EXPECT_EQ(singleLineText(QString::fromUtf16(halves, 5)), u"a\uFFFDb\uFFFD\uFFFD"_qs);
}

TEST(SingleLineText, CutsALongNameOffWithAnEllipsis) {
  const QString shown = singleLineText(QString(10000, u'x'));
  EXPECT_EQ(shown.size(), 2048);
  EXPECT_EQ(shown.back(), QChar(0x2026));
  EXPECT_EQ(singleLineText(QString(2048, u'x')), QString(2048, u'x'));
}

TEST(SingleLineText, NeverCutsACharacterInTwo) {
  const QString shown = singleLineText(u"x"_qs + u"😀"_qs.repeated(2000));
  EXPECT_LE(shown.size(), 2048);
  EXPECT_TRUE(shown[shown.size() - 2].isLowSurrogate());
  EXPECT_EQ(shown.back(), QChar(0x2026));
}
