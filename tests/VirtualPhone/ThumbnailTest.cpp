#include "VirtualPhone/Thumbnail.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::byte>;

void number(Bytes& out, std::uint32_t v, int size, bool big) {
  for (int i = 0; i < size; ++i)
    out.push_back(std::byte(v >> 8 * (big ? size - 1 - i : i)));
}

/// A JPEG head with a thumbnail "THUMB", after another segment.
Bytes jpeg(bool big) {
  Bytes tiff;
  for (char c : std::string(big ? "MM" : "II"))
    tiff.push_back(std::byte(c));
  number(tiff, 42, 2, big);
  number(tiff, 8, 4, big);
  number(tiff, 0, 2, big);
  number(tiff, 14, 4, big);
  number(tiff, 2, 2, big);
  for (auto [tag, value] : {std::pair{0x0201u, 44u}, std::pair{0x0202u, 5u}}) {
    number(tiff, tag, 2, big);
    number(tiff, 4, 2, big);
    number(tiff, 1, 4, big);
    number(tiff, value, 4, big);
  }
  number(tiff, 0, 4, big);
  for (char c : std::string("THUMB"))
    tiff.push_back(std::byte(c));
  Bytes out;
  number(out, 0xFFD8FFE0, 4, true);
  number(out, 4, 2, true);
  number(out, 0, 2, true);
  number(out, 0xFFE1, 2, true);
  number(out, std::uint32_t(tiff.size() + 8), 2, true);
  number(out, 0x45786966, 4, true);
  number(out, 0, 2, true);
  out.insert(out.end(), tiff.begin(), tiff.end());
  return out;
}

TEST(Thumbnail, IsFoundInBothByteOrders) {
  for (bool big : {false, true}) {
    auto file = jpeg(big);
    auto found = vphone::findThumbnail(file);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->size, 5u);
    EXPECT_EQ(file[found->offset], std::byte('T'));
  }
}

TEST(Thumbnail, AFileCutAtAnyByteHasNoneAndHarmsNothing) {
  auto file = jpeg(false);
  for (std::size_t size = 0; size < file.size(); ++size)
    EXPECT_FALSE(vphone::findThumbnail(std::span(file).first(size))) << size;
}

TEST(Thumbnail, LyingBytesNeverLeadOutOfTheFile) {
  for (bool big : {false, true}) {
    auto whole = jpeg(big);
    for (std::size_t at = 0; at < whole.size(); ++at) {
      for (auto value : {0x00, 0x01, 0x7F, 0xFF}) {
        auto file = whole;
        file[at] = std::byte(value);
        if (auto found = vphone::findThumbnail(file)) {
          EXPECT_LE(found->offset, file.size());
          EXPECT_LE(found->size, file.size() - found->offset);
        }
      }
    }
  }
}

} // namespace
