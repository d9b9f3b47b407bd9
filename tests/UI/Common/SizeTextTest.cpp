#include "UI/Common/SizeText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <limits>
#include <string>

namespace {

constexpr quint64 kKilo = quint64(1) << 10;
constexpr quint64 kMega = quint64(1) << 20;
constexpr quint64 kGiga = quint64(1) << 30;
constexpr quint64 kTera = quint64(1) << 40;

std::string column(quint64 bytes) {
  return ui::convertFileSizeFromInt(bytes).toStdString();
}
std::string progress(quint64 bytes) {
  return ui::stringFromating(bytes).toStdString();
}
std::string fromText(const char* number) {
  return ui::stringFromating(QString::fromUtf8(number)).toStdString();
}

platform::dates::ScopedLocaleAndZone berlin() {
  return {QStringLiteral("de_DE"), QStringLiteral("Europe/Berlin")};
}
std::optional<QString> converted(const char* text) {
  return ui::convertMtpToSystemDate(QString::fromUtf8(text));
}

} // namespace

TEST(SizeText, NoBytesAreShownInBothForms) {
  EXPECT_EQ(column(0), "0B");
  EXPECT_EQ(progress(0), "0Byte");
}

TEST(SizeText, ExactlyOneKibibyteStaysInBytes) {
  EXPECT_EQ(column(1), "1B");
  EXPECT_EQ(column(1023), "1023B");
  EXPECT_EQ(column(kKilo), "1024B");
  EXPECT_EQ(column(kKilo + 1), "1.00KB");
}

TEST(SizeText, EachBoundaryBelongsToTheSmallerUnit) {
  EXPECT_EQ(column(kMega), "1,024.00KB");
  EXPECT_EQ(column(kMega + 1), "1.00MB");
  EXPECT_EQ(column(kGiga), "1,024.00MB");
  EXPECT_EQ(column(kGiga + 1), "1.00GB");
}

TEST(SizeText, OneTebibyteIsShownInGibibytesAndOneByteMoreInTebibytes) {
  EXPECT_EQ(column(1'099'511'627'776), "1,024.00GB");
  EXPECT_EQ(column(1'099'511'627'777), "1.00TB");
}

TEST(SizeText, IntegerDigitsAreGroupedByThree) {
  EXPECT_EQ(column(1023 * kKilo + 512), "1,023.50KB");
  EXPECT_EQ(column(999 * kKilo), "999.00KB");
  EXPECT_EQ(column(1'048'576 * kTera), "1,048,576.00TB");
  EXPECT_EQ(column(100'000 * kTera), "100,000.00TB");
  EXPECT_EQ(column(std::numeric_limits<quint64>::max()), "16,777,216.00TB");
}

TEST(SizeText, DecimalsAreRoundedAsPrintfRoundsThem) {
  EXPECT_EQ(column(1536), "1.50KB");
  EXPECT_EQ(column(1152), "1.12KB"); // 1.125: to the even neighbour
  EXPECT_EQ(column(1408), "1.38KB"); // 1.375
}

TEST(SizeText, TheDecimalSignDoesNotFollowTheLocale) {
  const std::string old = std::setlocale(LC_ALL, nullptr);
  for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C"}) // where the system has them
    std::setlocale(LC_ALL, name);
  EXPECT_EQ(column(1536), "1.50KB");
  EXPECT_EQ(progress(1536), "1.50KB");
  std::setlocale(LC_ALL, old.c_str());
}

TEST(SizeText, TheProgressTextDividesAtLeastOnce) {
  EXPECT_EQ(progress(1), "1Byte");
  EXPECT_EQ(progress(512), "512Byte");
  EXPECT_EQ(progress(1023), "1023Byte");
  EXPECT_EQ(progress(1024), "1.00KB");
  EXPECT_EQ(progress(2048), "2.00KB");
  EXPECT_EQ(progress(1'572'864), "1.50MB");
}

TEST(SizeText, TheProgressTextKeepsTheSmallerUnitAtItsBoundaries) {
  EXPECT_EQ(progress(kMega), "1024.00KB");
  EXPECT_EQ(progress(kMega + kKilo), "1.00MB");
  EXPECT_EQ(progress(kGiga), "1024.00MB");
  EXPECT_EQ(progress(kTera), "1024.00GB");
  EXPECT_EQ(progress(kTera * kKilo * 2), "2.00PB");
  EXPECT_EQ(progress(std::numeric_limits<quint64>::max()), "16.00EB");
}

TEST(SizeText, ANumberGivenAsTextReadsTheSame) {
  EXPECT_EQ(fromText("500"), "500Byte");
  EXPECT_EQ(fromText("2048"), "2.00KB");
  EXPECT_EQ(fromText("1572864"), "1.50MB");
  EXPECT_EQ(fromText("1024"), "1.00KB");
  EXPECT_EQ(fromText("+1024"), "1.00KB");
  EXPECT_EQ(fromText(" 2048 bytes"), "2.00KB");
}

TEST(SizeText, ATextWithoutANumberIsNoBytes) {
  for (const char* text : {"", " ", "-", "+", "abc", "x1024", "+-5", "٣"})
    EXPECT_EQ(fromText(text), "0Byte") << text;
}

TEST(SizeText, ANegativeNumberIsShownInBytesAsA32BitNumber) {
  EXPECT_EQ(fromText("-1"), "-1Byte");
  EXPECT_EQ(fromText("-2048"), "-2048Byte");
  EXPECT_EQ(fromText("-2147483649"), "-2147483648Byte");
  EXPECT_EQ(fromText("-99999999999999999999999"), "-2147483648Byte");
}

TEST(SizeText, ANumberBeyond64BitsIsTheLargestOne) {
  EXPECT_EQ(fromText("9223372036854775807"), "8.00EB");
  EXPECT_EQ(fromText("9223372036854775808"), "8.00EB");
  EXPECT_EQ(fromText("99999999999999999999999999999999"), "8.00EB");
}

TEST(SizeText, AnMtpDateBecomesTheLocalTextOfItsFields) {
  const auto scope = berlin();
  const auto text = converted("20190315T142530");
  ASSERT_TRUE(text);
  EXPECT_EQ(*text, QStringLiteral("15.03.2019, 14:25:30"));
}

TEST(SizeText, TenthsAndAZoneAfterAnMtpDateAreIgnored) {
  const auto scope = berlin();
  const auto plain = converted("20190315T142530");
  EXPECT_EQ(converted("20190315T142530.0"), plain);
  EXPECT_EQ(converted("20190315T142530.9Z"), plain);
  EXPECT_EQ(converted("20190315T142530+0900"), plain);
}

TEST(SizeText, AnMtpDateNeedsExactlyOneT) {
  EXPECT_FALSE(converted("20190315"));
  EXPECT_FALSE(converted(""));
  EXPECT_FALSE(converted("20190315T1425T30"));
  EXPECT_FALSE(converted("TT"));
  EXPECT_FALSE(converted("20190315t142530"));
}

TEST(SizeText, AnMtpDateIsSplitByPowersOfAHundred) {
  using platform::dates::Fields;
  const auto fields = [](const char* text) { return ui::fieldsOfMtpDate(QString::fromUtf8(text)); };
  EXPECT_EQ(fields("20190315T142530"), (Fields{2019, 3, 15, 14, 25, 30}));
  EXPECT_EQ(fields("315T530"), (Fields{0, 3, 15, 0, 5, 30}));
  EXPECT_EQ(fields("T"), (Fields{0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(fields("-20190315Tx"), (Fields{0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(fields("99999999999999999999T1"), (Fields{922'337'203'685'477, 58, 7, 0, 0, 1}));
}

TEST(SizeText, AnMtpDateOutOfRangeCarriesOver) {
  const auto scope = berlin();
  EXPECT_EQ(converted("20190230T240000"), converted("20190303T000000"));
}

TEST(SizeText, AnMtpDateThatNoCalendarHoldsIsNothing) {
  const auto scope = berlin();
  EXPECT_FALSE(converted("99999999999999999999T000000"));
  EXPECT_FALSE(converted("20190315T99999999999999999999"));
}
