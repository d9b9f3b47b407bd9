#include "UI/Common/NSStringPredicate.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <algorithm>

using platform::dates::ScopedLocaleAndZone;

namespace {

bool like(const char* pattern, const char* text) {
  return ui::isExistInArray(QString::fromUtf8(pattern), QStringList{QString::fromUtf8(text)});
}

QString shown(std::int64_t year, std::int64_t month) {
  return platform::dates::text(*platform::dates::fromFields({year, month, 15, 14, 25, 30}));
}

} // namespace

TEST(NSStringPredicate, ANameIsFoundWhateverItsCase) {
  const QStringList names = {QStringLiteral("a.txt"), QStringLiteral("photo.jpg")};
  EXPECT_TRUE(ui::isExistInArray(QStringLiteral("photo.JPG"), names));
  EXPECT_FALSE(ui::isExistInArray(QStringLiteral("photo"), names));
}

TEST(NSStringPredicate, TheWholeNameMustMatch) {
  EXPECT_FALSE(like("photo.jp", "photo.jpg"));
  EXPECT_FALSE(like("hoto.jpg", "photo.jpg"));
  EXPECT_FALSE(like("photo.jpgg", "photo.jpg"));
  EXPECT_TRUE(like("", ""));
  EXPECT_FALSE(like("", "a"));
  EXPECT_FALSE(like("a", ""));
}

TEST(NSStringPredicate, AStarStandsForAnyCharactersOrNone) {
  EXPECT_TRUE(like("*", ""));
  EXPECT_TRUE(like("*", "anything\nat all"));
  EXPECT_TRUE(like("IMG_*.jpg", "img_0001.JPG"));
  EXPECT_TRUE(like("IMG_*.jpg", "img_.jpg"));
  EXPECT_TRUE(like("*.tar.*", "a.tar.tar.gz"));
  EXPECT_TRUE(like("a**b", "ab"));
  EXPECT_TRUE(like("*a*b", "xaxbab"));
  EXPECT_FALSE(like("*.jpg", "photo.jpeg"));
  EXPECT_FALSE(like("a*b*c", "acb"));
}

TEST(NSStringPredicate, AQuestionMarkStandsForExactlyOneCharacter) {
  EXPECT_TRUE(like("photo?.jpg", "photo1.jpg"));
  EXPECT_FALSE(like("photo?.jpg", "photo.jpg"));
  EXPECT_FALSE(like("photo?.jpg", "photo12.jpg"));
  EXPECT_TRUE(like("?", "😀")); // outside the basic plane: two units, one character
  EXPECT_FALSE(like("??", "😀"));
}

TEST(NSStringPredicate, ABackslashTakesTheNextCharacterLiterally) {
  EXPECT_TRUE(like("a\\*b", "a*b"));
  EXPECT_FALSE(like("a\\*b", "axb"));
  EXPECT_TRUE(like("what\\?", "What?"));
  EXPECT_FALSE(like("what\\?", "whats"));
  EXPECT_TRUE(like("a\\\\b", "a\\b"));
  EXPECT_TRUE(like("a\\", "a\\"));
  EXPECT_TRUE(like("\\A", "a"));
}

TEST(NSStringPredicate, OnlyTheReceiverIsThePattern) {
  EXPECT_FALSE(like("photo.jpg", "*"));
  EXPECT_FALSE(like("photo.jpg", "photo.???"));
  EXPECT_TRUE(like("*", "*"));
}

TEST(NSStringPredicate, OtherSignsOfPatternsAreOrdinary) {
  EXPECT_TRUE(like("[a].(b)+$", "[A].(B)+$"));
  EXPECT_FALSE(like("[ab]", "a"));
  EXPECT_FALSE(like("a.c", "abc"));
}

TEST(NSStringPredicate, AccentsCount) {
  EXPECT_TRUE(like("É", "é"));
  EXPECT_FALSE(like("e", "é"));
  EXPECT_TRUE(like("ФОТО", "фото"));
  EXPECT_TRUE(like("사진", "사진"));
}

TEST(NSStringPredicate, TheMatchesAreHandedBackInTheirOrder) {
  std::optional<QStringList> filtered;
  EXPECT_TRUE(ui::isExistInArray(
      QStringLiteral("a*"), QStringList{QStringLiteral("Ab"), QStringLiteral("ba"), QStringLiteral("a")}, filtered));
  EXPECT_EQ(filtered, (QStringList{QStringLiteral("Ab"), QStringLiteral("a")}));
  EXPECT_FALSE(ui::isExistInArray(QStringLiteral("x"), QStringList{QStringLiteral("a")}, filtered));
  EXPECT_EQ(filtered, QStringList());
}

TEST(NSStringPredicate, NoArrayHoldsNothing) {
  std::optional<QStringList> filtered = QStringList{QStringLiteral("old")};
  EXPECT_FALSE(ui::isExistInArray(QStringLiteral("*"), std::nullopt));
  EXPECT_FALSE(ui::isExistInArray(QStringLiteral("*"), std::nullopt, filtered));
  EXPECT_EQ(filtered, std::nullopt);
}

TEST(NSStringPredicate, AHostilePatternTakesNoLongerThanItsProductOfLengths) {
  QString pattern;
  for (int i = 0; i < 200; ++i)
    pattern += QStringLiteral("*a");
  pattern += u'b';
  QElapsedTimer timer;
  timer.start();
  EXPECT_FALSE(ui::isExistInArray(pattern, QStringList{QString(10'000, u'a')}));
  EXPECT_LT(timer.elapsed(), 10'000); // trying every split would take years
}

TEST(NSStringPredicate, AscendingDatesPutTheUnknownOneFirst) {
  const ScopedLocaleAndZone scope(QStringLiteral("en_US"), QStringLiteral("Europe/Berlin"));
  QStringList dates = {QStringLiteral("--"), shown(2024, 4), shown(2023, 12)};
  std::sort(dates.begin(), dates.end(),
            [](const QString& left, const QString& right) { return ui::compareDateFormatString(left, right) < 0; });
  EXPECT_EQ(dates, (QStringList{QStringLiteral("--"), shown(2023, 12), shown(2024, 4)}));
}

TEST(NSStringPredicate, DatesCompareAsMomentsNotAsTexts) {
  const ScopedLocaleAndZone scope(QStringLiteral("de_DE"), QStringLiteral("Europe/Berlin"));
  EXPECT_EQ(ui::compareDateFormatString(shown(2023, 12), shown(2024, 4)), -1);
  EXPECT_EQ(ui::compareDateFormatString(shown(2024, 4), shown(2023, 12)), 1);
  EXPECT_EQ(ui::compareDateFormatString(shown(2024, 4), shown(2024, 4)), 0);
}

TEST(NSStringPredicate, TwoUnknownDatesAreTheSameAndOneComesFirst) {
  const ScopedLocaleAndZone scope(QStringLiteral("en_US"), QStringLiteral("UTC"));
  EXPECT_EQ(ui::compareDateFormatString(QStringLiteral("--"), QStringLiteral("--")), 0);
  EXPECT_EQ(ui::compareDateFormatString(QStringLiteral("--"), shown(1970, 1)), -1);
  EXPECT_EQ(ui::compareDateFormatString(shown(1970, 1), QStringLiteral("--")), 1);
}

TEST(NSStringPredicate, TextsThatAreNoDatesStandBetweenUnknownAndKnownOnes) {
  const ScopedLocaleAndZone scope(QStringLiteral("en_US"), QStringLiteral("UTC"));
  EXPECT_EQ(ui::compareDateFormatString(QStringLiteral("soon"), QStringLiteral("")), 0);
  EXPECT_EQ(ui::compareDateFormatString(QStringLiteral("--"), QStringLiteral("soon")), -1);
  EXPECT_EQ(ui::compareDateFormatString(QStringLiteral("soon"), shown(1950, 1)), -1);
  EXPECT_EQ(ui::compareDateFormatString(shown(1950, 1), QStringLiteral("soon")), 1);
}

TEST(NSStringPredicate, ADateIsParsedFromItsDisplayedFormOnly) {
  const ScopedLocaleAndZone scope(QStringLiteral("en_US"), QStringLiteral("UTC"));
  EXPECT_EQ(ui::dateFromString(shown(2019, 3)), platform::dates::fromFields({2019, 3, 15, 14, 25, 30}));
  EXPECT_EQ(ui::dateFromString(QStringLiteral("--")), std::nullopt);
  EXPECT_EQ(ui::dateFromString(QStringLiteral("20190315T142530")), std::nullopt);
}
