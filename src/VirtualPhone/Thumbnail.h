#pragma once
// The small picture inside a JPEG file's EXIF data.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vphone {

struct Thumbnail {
  std::size_t offset = 0; // in the bytes given
  std::size_t size = 0;
};

/// How much of a file's beginning findThumbnail wants to see.
constexpr std::size_t ExifReach = 68 * 1024;

/// Looks through the first bytes of a file. No value when there is no thumbnail, or it does not lie within the bytes.
std::optional<Thumbnail> findThumbnail(std::span<const std::byte> head);

} // namespace vphone
