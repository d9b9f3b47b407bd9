#include "VirtualPhone/Texts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <unordered_map>

namespace vphone {
namespace {

constexpr char32_t Replacement = 0xFFFD;

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
}

void append(std::u16string& text, char32_t c) {
  if (c < 0x10000) {
    text.push_back(char16_t(c));
  } else {
    text.push_back(char16_t(0xD800 + ((c - 0x10000) >> 10)));
    text.push_back(char16_t(0xDC00 + ((c - 0x10000) & 0x3FF)));
  }
}

/// Decodes one character at `at` and moves behind it; a wrong byte is one replacement character.
char32_t decode(std::string_view s, std::size_t& at) {
  auto first = std::uint8_t(s[at++]);
  if (first < 0x80)
    return first;
  int more = first >= 0xF0 && first < 0xF5   ? 3
             : first >= 0xE0 && first < 0xF0 ? 2
             : first >= 0xC2 && first < 0xE0 ? 1
                                             : 0;
  if (!more || at + std::size_t(more) > s.size())
    return Replacement;
  char32_t c = first & (0x3F >> more);
  for (int i = 0; i < more; ++i) {
    auto next = std::uint8_t(s[at + std::size_t(i)]);
    if ((next & 0xC0) != 0x80)
      return Replacement;
    c = c << 6 | (next & 0x3F);
  }
  constexpr std::array<char32_t, 4> smallest{0, 0x80, 0x800, 0x10000};
  if (c < smallest[std::size_t(more)] || (c >= 0xD800 && c < 0xE000) || c > 0x10FFFF)
    return Replacement;
  at += std::size_t(more);
  return c;
}

} // namespace

std::u16string toUtf16(std::string_view utf8) {
  std::u16string text;
  text.reserve(utf8.size());
  for (std::size_t at = 0; at < utf8.size();)
    append(text, decode(utf8, at));
  return text;
}

std::optional<std::string> toUtf8(std::u16string_view text) {
  std::string utf8;
  utf8.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c < 0xE000) {
      if (c >= 0xDC00 || i + 1 == text.size() || text[i + 1] < 0xDC00 || text[i + 1] >= 0xE000)
        return std::nullopt;
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
    }
    if (c < 0x80) {
      utf8.push_back(char(c));
    } else if (c < 0x800) {
      utf8.push_back(char(0xC0 | c >> 6));
      utf8.push_back(char(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
      utf8.push_back(char(0xE0 | c >> 12));
      utf8.push_back(char(0x80 | (c >> 6 & 0x3F)));
      utf8.push_back(char(0x80 | (c & 0x3F)));
    } else {
      utf8.push_back(char(0xF0 | c >> 18));
      utf8.push_back(char(0x80 | (c >> 12 & 0x3F)));
      utf8.push_back(char(0x80 | (c >> 6 & 0x3F)));
      utf8.push_back(char(0x80 | (c & 0x3F)));
    }
  }
  return utf8;
}

std::optional<std::string> fileName(std::u16string_view name) {
  if (name.empty() || name.size() > MaxNameUnits || name == u"." || name == u"..")
    return std::nullopt;
  if (std::any_of(name.begin(), name.end(), [](char16_t c) { return c == u'/' || c == 0; }))
    return std::nullopt;
  return toUtf8(name);
}

bool equalFolded(std::string_view a, std::string_view b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return lower(x) == lower(y); });
}

std::string dateText(std::time_t time) {
  std::tm tm{};
  if (!localtime_r(&time, &tm) || tm.tm_year + 1900 < 0 || tm.tm_year + 1900 > 9999)
    return {};
  std::string text(15, '0');
  auto put = [&text](std::size_t at, int digits, int value) {
    for (int i = digits; i-- > 0; value /= 10)
      text[at + std::size_t(i)] = char('0' + value % 10);
  };
  put(0, 4, tm.tm_year + 1900);
  put(4, 2, tm.tm_mon + 1);
  put(6, 2, tm.tm_mday);
  text[8] = 'T';
  put(9, 2, tm.tm_hour);
  put(11, 2, tm.tm_min);
  put(13, 2, tm.tm_sec);
  return text;
}

std::optional<std::time_t> parseDate(std::u16string_view text) {
  auto number = [&text](std::size_t at, std::size_t digits) {
    int value = 0;
    for (std::size_t i = at; i < at + digits; ++i) {
      if (text[i] < u'0' || text[i] > u'9')
        return -1;
      value = value * 10 + (text[i] - u'0');
    }
    return value;
  };
  if (text.size() < 15 || text[8] != u'T')
    return std::nullopt;
  std::tm tm{};
  tm.tm_year = number(0, 4) - 1900;
  tm.tm_mon = number(4, 2) - 1;
  tm.tm_mday = number(6, 2);
  tm.tm_hour = number(9, 2);
  tm.tm_min = number(11, 2);
  tm.tm_sec = number(13, 2);
  tm.tm_isdst = -1;
  if (tm.tm_year < 0 || tm.tm_mon < 0 || tm.tm_mon > 11 || tm.tm_mday < 1 || tm.tm_mday > 31 || tm.tm_hour < 0 ||
      tm.tm_hour > 23 || tm.tm_min < 0 || tm.tm_min > 59 || tm.tm_sec < 0 || tm.tm_sec > 60)
    return std::nullopt;
  return text.back() == u'Z' ? timegm(&tm) : mktime(&tm);
}

std::uint16_t formatOfName(std::string_view name) {
  static const std::unordered_map<std::string_view, std::uint16_t> formats{
      {"txt", 0x3004}, {"htm", 0x3005},  {"html", 0x3005}, {"wav", 0x3008},  {"mp3", 0x3009},  {"avi", 0x300A},
      {"mpg", 0x300B}, {"mpeg", 0x300B}, {"jpg", 0x3801},  {"jpeg", 0x3801}, {"bmp", 0x3804},  {"gif", 0x3807},
      {"png", 0x380B}, {"tif", 0x380D},  {"tiff", 0x380D}, {"dng", 0x3811},  {"heic", 0x3812}, {"wma", 0xB901},
      {"ogg", 0xB902}, {"aac", 0xB903},  {"flac", 0xB906}, {"wmv", 0xB981},  {"mp4", 0xB982},  {"m4v", 0xB982},
      {"3gp", 0xB984}, {"wpl", 0xBA10},  {"m3u", 0xBA11},  {"pls", 0xBA14},  {"xml", 0xBA82},  {"doc", 0xBA83},
      {"xls", 0xBA85}, {"ppt", 0xBA86},
  };
  auto dot = name.rfind('.');
  if (dot == std::string_view::npos || name.size() - dot > 5)
    return 0x3000;
  std::string extension(name.substr(dot + 1));
  std::transform(extension.begin(), extension.end(), extension.begin(), lower);
  auto found = formats.find(extension);
  return found == formats.end() ? 0x3000 : found->second;
}

} // namespace vphone
