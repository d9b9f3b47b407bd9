#include "VirtualPhone/Thumbnail.h"

#include <algorithm>

namespace vphone {
namespace {

/// TIFF values in either byte order; reads beyond the end give 0.
class Tiff {
public:
  Tiff(std::span<const std::byte> bytes, bool bigEndian)
      : bytes_(bytes)
      , bigEndian_(bigEndian) {}
  std::uint32_t get(std::size_t at, std::size_t size) const {
    std::uint32_t v = 0;
    if (at > bytes_.size() || size > bytes_.size() - at)
      return 0;
    for (std::size_t i = 0; i < size; ++i)
      v |= std::uint32_t(bytes_[at + i]) << 8 * (bigEndian_ ? size - 1 - i : i);
    return v;
  }

private:
  std::span<const std::byte> bytes_;
  bool bigEndian_;
};

std::optional<Thumbnail> inTiff(std::span<const std::byte> tiffBytes) {
  if (tiffBytes.size() < 8)
    return std::nullopt;
  Tiff tiff(tiffBytes, tiffBytes[0] == std::byte('M'));
  std::size_t first = tiff.get(4, 4);
  std::size_t second = tiff.get(first + 2 + 12 * std::size_t(tiff.get(first, 2)), 4);
  if (!first || !second)
    return std::nullopt;
  Thumbnail found;
  for (std::size_t i = 0, count = tiff.get(second, 2); i < count; ++i) {
    auto entry = second + 2 + 12 * i;
    if (tiff.get(entry, 2) == 0x0201) // JPEGInterchangeFormat
      found.offset = tiff.get(entry + 8, 4);
    if (tiff.get(entry, 2) == 0x0202) // JPEGInterchangeFormatLength
      found.size = tiff.get(entry + 8, 4);
  }
  if (!found.offset || !found.size || found.offset > tiffBytes.size() || found.size > tiffBytes.size() - found.offset)
    return std::nullopt;
  return found;
}

} // namespace

std::optional<Thumbnail> findThumbnail(std::span<const std::byte> head) {
  Tiff jpeg(head, true);
  if (jpeg.get(0, 2) != 0xFFD8)
    return std::nullopt;
  // Segments: marker, length (itself included), contents.
  for (std::size_t at = 2; at + 4 <= head.size() && jpeg.get(at, 1) == 0xFF;) {
    auto marker = jpeg.get(at, 2);
    std::size_t length = jpeg.get(at + 2, 2);
    if (length < 2 || marker == 0xFFDA)
      return std::nullopt;
    if (marker == 0xFFE1 && jpeg.get(at + 4, 4) == 0x45786966 && length > 8) { // "Exif", two zeros, TIFF
      auto start = at + 10;
      if (start >= head.size())
        return std::nullopt;
      auto tiff = head.subspan(start, std::min(length - 8, head.size() - start));
      auto found = inTiff(tiff);
      if (found)
        found->offset += start;
      return found;
    }
    at += 2 + length;
  }
  return std::nullopt;
}

} // namespace vphone
