#include "Platform/Dates.h"

#include <QFile>
#include <QLocale>

#include <unicode/locid.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace dates = platform::dates;
using dates::Fields;
using dates::Instant;
using dates::ScopedLocaleAndZone;

namespace {

constexpr Fields kMarch{2019, 3, 15, 14, 25, 30};

Instant utc(std::chrono::seconds sinceEpoch) {
  return Instant(sinceEpoch);
}

// With the kinds of blanks and direction marks that locales use made plain.
QString plain(QString text) {
  for (const char16_t blank : {u'\u202f', u'\u00a0', u'\u2009'})
    text.replace(QChar(blank), QChar(u' '));
  for (const char16_t mark : {u'\u200f', u'\u200e', u'\u061c'})
    text.remove(QChar(mark));
  return text;
}

QString shown(const QString& locale) {
  const ScopedLocaleAndZone scope(locale, QStringLiteral("Europe/Berlin"));
  return plain(dates::text(*dates::fromFields(kMarch)));
}

// Sets an environment variable, or unsets it with a null value, for a scope.
class ScopedVariable {
public:
  ScopedVariable(const char* name, const QByteArray& value)
      : m_name(name)
      , m_old(qgetenv(name)) {
    set(value);
  }
  ~ScopedVariable() { set(m_old); }

private:
  void set(const QByteArray& value) { value.isNull() ? qunsetenv(m_name) : qputenv(m_name, value); }
  const char* m_name;
  QByteArray m_old;
};

} // namespace

TEST(Dates, AreShownInTheMediumStylesOfTheLocale) {
  EXPECT_EQ(shown(QStringLiteral("en_US")), QStringLiteral("Mar 15, 2019, 2:25:30 PM"));
  EXPECT_EQ(shown(QStringLiteral("de_DE")), QStringLiteral("15.03.2019, 14:25:30"));
  EXPECT_EQ(shown(QStringLiteral("ko_KR")), QStringLiteral("2019. 3. 15. 오후 2:25:30"));
  EXPECT_EQ(shown(QStringLiteral("ar_EG")), QStringLiteral("١٥/٠٣/٢٠١٩، ٢:٢٥:٣٠ م"));
}

TEST(Dates, FieldsAreWallClockTimeInTheZone) {
  const auto inZone = [](const char* zone) {
    const ScopedLocaleAndZone scope(QStringLiteral("en_US"), QLatin1String(zone));
    return *dates::fromFields(kMarch);
  };
  using namespace std::chrono_literals;
  EXPECT_EQ(inZone("UTC"), utc(1552659930s));
  EXPECT_EQ(inZone("Europe/Berlin"), utc(1552659930s - 1h));
  EXPECT_EQ(inZone("Asia/Kolkata"), utc(1552659930s - 5h - 30min));
}

TEST(Dates, FieldsOutOfRangeCarryOver) {
  const ScopedLocaleAndZone scope(QStringLiteral("en_US"), QStringLiteral("UTC"));
  EXPECT_EQ(dates::fromFields({2019, 13, 1, 0, 0, 0}), dates::fromFields({2020, 1, 1, 0, 0, 0}));
  EXPECT_EQ(dates::fromFields({2020, 3, 0, 0, 0, 0}), dates::fromFields({2020, 2, 29, 0, 0, 0}));
  EXPECT_EQ(dates::fromFields({2019, 2, 30, 25, 61, 99}), dates::fromFields({2019, 3, 3, 2, 2, 39}));
  EXPECT_EQ(dates::fromFields({1970, 1, 1, 100'000, 0, 0}), utc(std::chrono::hours(100'000)));
  EXPECT_TRUE(dates::fromFields({0, 0, 0, 0, 0, 0}));
}

TEST(Dates, FieldsBeyondTheCalendarAreNothing) {
  for (const std::int64_t huge : {INT64_MAX, INT64_MIN, std::int64_t(1'000'001), std::int64_t(922'337'203'685'477)}) {
    EXPECT_FALSE(dates::fromFields({huge, 1, 1, 0, 0, 0}));
    EXPECT_FALSE(dates::fromFields({2019, 1, 1, huge, 0, 0}));
  }
  EXPECT_TRUE(dates::fromFields({1'000'000, 1, 1, 0, 0, 0}));
}

TEST(Dates, ATextParsesBackInEveryLocaleThereIs) {
  int32_t count = 0;
  const icu::Locale* locales = icu::Locale::getAvailableLocales(count);
  ASSERT_GT(count, 500);
  QStringList wrong;
  for (int32_t i = 0; i < count; ++i) {
    const ScopedLocaleAndZone scope(QString::fromLatin1(locales[i].getName()), QStringLiteral("Europe/Berlin"));
    for (const Fields& fields : {kMarch, Fields{2024, 12, 31, 0, 0, 5}, Fields{2009, 9, 1, 12, 59, 59}}) {
      const auto date = dates::fromFields(fields);
      ASSERT_TRUE(date);
      if (dates::parse(dates::text(*date)) != date)
        wrong << QString::fromLatin1(locales[i].getName()) + u' ' + dates::text(*date);
    }
  }
  EXPECT_TRUE(wrong.isEmpty()) << wrong.size() << ": " << qPrintable(wrong.mid(0, 40).join(u'\n'));
}

TEST(Dates, ATextThatIsNotInTheDisplayedFormIsNothing) {
  const ScopedLocaleAndZone scope(QStringLiteral("en_US"), QStringLiteral("UTC"));
  const QString good = dates::text(*dates::fromFields(kMarch));
  ASSERT_TRUE(dates::parse(good));
  for (const QString& bad : {QString(), QStringLiteral("--"), QStringLiteral("2019-03-15 14:25:30"),
                             QStringLiteral("yesterday"), good + QStringLiteral(" and more"), good.chopped(3),
                             QString(1'000'000, u'9'), QStringLiteral("15.03.2019, 14:25:30")})
    EXPECT_FALSE(dates::parse(bad)) << qPrintable(bad.left(50));
}

TEST(Dates, AnImpossibleDateIsNothing) {
  const ScopedLocaleAndZone scope(QStringLiteral("de_DE"), QStringLiteral("UTC"));
  EXPECT_TRUE(dates::parse(QStringLiteral("28.02.2019, 14:25:30")));
  EXPECT_FALSE(dates::parse(QStringLiteral("31.02.2019, 14:25:30")));
  EXPECT_FALSE(dates::parse(QStringLiteral("28.02.2019, 25:25:30")));
}

TEST(Dates, AnotherLocaleOrZoneTakesEffectAtOnce) {
  const Instant date = utc(std::chrono::seconds(1552659930));
  const ScopedVariable all("LC_ALL", "en_US.UTF-8");
  const ScopedVariable zone("TZ", "UTC");
  EXPECT_EQ(plain(dates::text(date)), QStringLiteral("Mar 15, 2019, 2:25:30 PM"));
  const ScopedVariable otherZone("TZ", "America/New_York");
  EXPECT_EQ(plain(dates::text(date)), QStringLiteral("Mar 15, 2019, 10:25:30 AM"));
  const ScopedVariable otherAll("LC_ALL", "de_DE@euro");
  EXPECT_EQ(plain(dates::text(date)), QStringLiteral("15.03.2019, 10:25:30"));
}

TEST(Dates, TheTimeCategoryOfTheLocaleCounts) {
  const Instant date = utc(std::chrono::seconds(1552659930));
  const ScopedVariable zone("TZ", "UTC");
  const ScopedVariable all("LC_ALL", QByteArray());
  const ScopedVariable language("LANG", "en_US.UTF-8");
  const ScopedVariable time("LC_TIME", "de_DE.UTF-8");
  EXPECT_EQ(plain(dates::text(date)), QStringLiteral("15.03.2019, 14:25:30"));
  const ScopedVariable noTime("LC_TIME", QByteArray());
  EXPECT_EQ(plain(dates::text(date)), QStringLiteral("Mar 15, 2019, 2:25:30 PM"));
}

TEST(Dates, ALocaleSetForTheApplicationWins) {
  const ScopedVariable zone("TZ", "UTC");
  const ScopedVariable all("LC_ALL", "en_US.UTF-8");
  QLocale::setDefault(QLocale(QStringLiteral("de_DE")));
  const QString text = plain(dates::text(utc(std::chrono::seconds(1552659930))));
  QLocale::setDefault(QLocale::system());
  EXPECT_EQ(text, QStringLiteral("15.03.2019, 14:25:30"));
}

TEST(Dates, AZoneGivenAsARuleIsUnderstood) {
  const ScopedVariable all("LC_ALL", "de_DE.UTF-8");
  const ScopedVariable zone("TZ", "XYZ-3");
  EXPECT_EQ(plain(dates::text(utc(std::chrono::seconds(1552659930)))), QStringLiteral("15.03.2019, 17:25:30"));
}

TEST(Dates, NonsenseInTheEnvironmentStillShowsADate) {
  const ScopedVariable zone("TZ", "Nowhere/Land");
  for (const char* locale : {"C", "POSIX", "C.UTF-8", "xx_YY", "!!!", ""}) {
    const ScopedVariable all("LC_ALL", locale);
    const QString text = dates::text(utc(std::chrono::seconds(1552659930)));
    EXPECT_TRUE(text.contains(QStringLiteral("2019"))) << locale << ": " << qPrintable(text);
    EXPECT_EQ(dates::parse(text), utc(std::chrono::seconds(1552659930))) << locale;
  }
}

TEST(Dates, ManyThreadsMayFormatAndParseAtOnce) {
  const ScopedLocaleAndZone scope(QStringLiteral("de_DE"), QStringLiteral("Asia/Kolkata"));
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([i] {
      for (int round = 0; round < 300; ++round) {
        const Instant date = utc(std::chrono::hours(round * 1000 + i));
        EXPECT_EQ(dates::parse(dates::text(date)), date);
      }
    });
  for (std::thread& thread : threads)
    thread.join();
}
