#pragma once
// Bytes written down by hand: "0C 00 0000" is four of them; a text between apostrophes stands for its ASCII units in
// UTF-16LE, so 'ab' is 61 00 62 00.
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace testsupport {

using ByteVector = std::vector<std::byte>;

inline ByteVector hex(std::string_view text) {
  ByteVector bytes;
  const auto digit = [](char c) {
    const std::size_t value = std::string_view("0123456789ABCDEF").find(c);
    if (value == std::string_view::npos)
      throw std::invalid_argument("no hexadecimal digit");
    return static_cast<unsigned>(value);
  };
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\'') {
      quoted = !quoted;
    } else if (quoted) {
      bytes.push_back(static_cast<std::byte>(text[i]));
      bytes.push_back(std::byte{0});
    } else if (text[i] != ' ') {
      bytes.push_back(static_cast<std::byte>(digit(text[i]) << 4 | digit(text.at(i + 1))));
      ++i;
    }
  }
  return bytes;
}

/// All of them one after the other.
template <typename... Parts> ByteVector joined(const ByteVector& first, const Parts&... rest) {
  ByteVector bytes = first;
  (bytes.insert(bytes.end(), rest.begin(), rest.end()), ...);
  return bytes;
}

/// A little-endian integer of `size` bytes.
inline ByteVector number(unsigned long long value, std::size_t size) {
  ByteVector bytes;
  for (std::size_t i = 0; i < size; ++i)
    bytes.push_back(static_cast<std::byte>(value >> 8 * i));
  return bytes;
}

} // namespace testsupport
