#include "MTPCore/Utf16Buffer.h"

#include <gtest/gtest.h>

#include <string>

TEST(Utf16Buffer, EndsWithAZeroUnitThatItsSizeIncludes) {
  const Utf16Buffer buffer = makeUtf16Buffer(QString::fromUtf8("aé🎵"));
  ASSERT_TRUE(buffer.text);
  EXPECT_EQ(buffer.byteSize, 10u);
  EXPECT_EQ(buffer.units(), 5u);
  EXPECT_EQ(std::u16string(buffer.text.get()), u"aé🎵");
}

TEST(Utf16Buffer, OfAnEmptyTextIsTheTerminatorAlone) {
  for (const QString& text : {QString(), QString("")}) {
    const Utf16Buffer buffer = makeUtf16Buffer(text);
    ASSERT_TRUE(buffer.text);
    EXPECT_EQ(buffer.byteSize, 2u);
    EXPECT_EQ(buffer.text[0], u'\0');
  }
}

TEST(Utf16Buffer, IsNotNormalised) {
  EXPECT_EQ(std::u16string(makeUtf16Buffer(QString::fromUtf8("e\u0301")).text.get()), u"e\u0301");
}
