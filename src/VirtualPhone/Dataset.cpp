#include "VirtualPhone/Dataset.h"

#include "VirtualPhone/Texts.h"

#include <algorithm>

namespace vphone {

void DatasetWriter::string(std::u16string_view text) {
  text = text.substr(0, MaxNameUnits);
  if (text.empty())
    return u8(0);
  u8(std::uint8_t(text.size() + 1));
  for (char16_t unit : text)
    u16(unit);
  u16(0);
}

void DatasetWriter::string(std::string_view utf8) {
  bool ascii = utf8.size() <= MaxNameUnits && std::all_of(utf8.begin(), utf8.end(), [](char c) { return c > 0; });
  if (!ascii || utf8.empty())
    return string(toUtf16(utf8));
  auto at = bytes_.size();
  bytes_.resize(at + 1 + 2 * (utf8.size() + 1));
  bytes_[at++] = std::byte(utf8.size() + 1);
  for (char c : utf8) {
    bytes_[at] = std::byte(c);
    at += 2;
  }
}

void DatasetWriter::array16(std::span<const std::uint16_t> values) {
  u32(std::uint32_t(values.size()));
  for (auto v : values)
    u16(v);
}

void DatasetWriter::array32(std::span<const std::uint32_t> values) {
  bytes_.reserve(bytes_.size() + 4 + 4 * values.size());
  u32(std::uint32_t(values.size()));
  for (auto v : values)
    u32(v);
}

void DatasetWriter::patch32(std::size_t at, std::uint32_t v) {
  for (std::size_t i = 0; i < 4; ++i)
    bytes_[HeaderSize + at + i] = std::byte(v >> (8 * i));
}

std::span<const std::byte> DatasetReader::take(std::size_t size) {
  if (size > bytes_.size()) {
    ok_ = false;
    bytes_ = {};
    return {};
  }
  auto taken = bytes_.first(size);
  bytes_ = bytes_.subspan(size);
  return taken;
}

std::uint64_t DatasetReader::number(std::size_t size) {
  std::uint64_t v = 0;
  auto taken = take(size);
  for (std::size_t i = 0; i < taken.size(); ++i)
    v |= std::uint64_t(taken[i]) << (8 * i);
  return v;
}

std::u16string DatasetReader::string() {
  std::size_t units = u8();
  auto taken = take(2 * units);
  std::u16string text;
  for (std::size_t i = 0; i + 1 < taken.size(); i += 2)
    text.push_back(char16_t(unsigned(taken[i]) | unsigned(taken[i + 1]) << 8));
  if (!text.empty() && text.back() == 0)
    text.pop_back();
  return text;
}

std::vector<std::uint32_t> DatasetReader::array32() {
  std::size_t count = u32();
  std::vector<std::uint32_t> values;
  if (count > remaining() / 4) {
    ok_ = false;
    return values;
  }
  values.reserve(count);
  for (std::size_t i = 0; i < count; ++i)
    values.push_back(u32());
  return values;
}

} // namespace vphone
