#pragma once
// Little-endian bytes of MTP containers and datasets (MTP 1.1, section 3). No thread rules: plain values.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vphone {

constexpr std::size_t HeaderSize = 12; // length, type, code, transaction ID

/// Appends values. Begins with room for a container header, so that a dataset is sent without being copied.
class DatasetWriter {
public:
  DatasetWriter()
      : bytes_(HeaderSize) {}

  void u8(std::uint8_t v) { number(v, 1); }
  void u16(std::uint16_t v) { number(v, 2); }
  void u32(std::uint32_t v) { number(v, 4); }
  void u64(std::uint64_t v) { number(v, 8); }
  void u128(std::uint64_t high, std::uint64_t low) {
    u64(low);
    u64(high);
  }
  /// A count byte, UTF-16 units, a terminating zero unit; the empty string is the count 0 alone. Cut at 254 units.
  void string(std::u16string_view text);
  void string(std::string_view utf8);
  void array16(std::span<const std::uint16_t> values);
  void array32(std::span<const std::uint32_t> values);
  void raw(std::span<const std::byte> bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }
  /// Overwrites four bytes written before; `at` counts from the dataset's beginning.
  void patch32(std::size_t at, std::uint32_t v);
  void reserve(std::size_t payload) { bytes_.reserve(HeaderSize + payload); }

  std::size_t payloadSize() const { return bytes_.size() - HeaderSize; }
  /// The header's 12 bytes, to be filled in, and the dataset.
  std::vector<std::byte>& bytes() { return bytes_; }

private:
  void number(std::uint64_t v, int size) {
    for (int i = 0; i < size; ++i)
      bytes_.push_back(std::byte(v >> (8 * i)));
  }

  std::vector<std::byte> bytes_;
};

/// Takes values from bytes a host sent. A read beyond the end gives zero and makes ok() false from then on.
class DatasetReader {
public:
  explicit DatasetReader(std::span<const std::byte> bytes)
      : bytes_(bytes) {}

  std::uint8_t u8() { return std::uint8_t(number(1)); }
  std::uint16_t u16() { return std::uint16_t(number(2)); }
  std::uint32_t u32() { return std::uint32_t(number(4)); }
  std::uint64_t u64() { return number(8); }
  void skip(std::size_t size) { take(size); }
  std::u16string string();
  std::vector<std::uint32_t> array32();
  std::size_t remaining() const { return bytes_.size(); }
  bool ok() const { return ok_; }

private:
  std::span<const std::byte> take(std::size_t size);
  std::uint64_t number(std::size_t size);

  std::span<const std::byte> bytes_;
  bool ok_ = true;
};

} // namespace vphone
