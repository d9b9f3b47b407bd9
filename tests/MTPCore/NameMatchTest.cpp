#include "MTPCore/NameMatch.h"

#include <gtest/gtest.h>

TEST(NameMatch, CaseDoesNotMatter) {
  EXPECT_TRUE(isSameName(u"DCIM", u"dcim"));
  EXPECT_TRUE(isSameName(u"ÉTÉ", u"été"));
  EXPECT_FALSE(isSameName(u"DCIM", u"DCIMx"));
  EXPECT_TRUE(isSameName(u"", u""));
  EXPECT_FALSE(isSameName(u"", u"a"));
}

TEST(NameMatch, ComposedAndDecomposedNamesAreTheSame) {
  EXPECT_TRUE(isSameName(u"e\u0301t\u00E9", u"\u00E9te\u0301"));
  EXPECT_TRUE(isSameName(u"E\u0301", u"\u00E9"));
  EXPECT_TRUE(isSameName(u"\u1112\u1161\u11AB", u"\uD55C"));
  EXPECT_FALSE(isSameName(u"e\u0301", u"e"));
  EXPECT_FALSE(isSameName(u"e\u0301", u"\u00E8"));
}

TEST(NameMatch, LookAlikesAreDifferentNames) {
  EXPECT_FALSE(isSameName(u"\uFB01", u"fi")); // a ligature is compatible, not the same
  EXPECT_FALSE(isSameName(u"\u0430", u"a"));
}
