#include "TessalyMTPSdk/ObjectNames.h"

#include "TessalyMTPSdk/Wire.h"

#include <algorithm>
#include <unicode/normalizer2.h>
#include <unicode/ustring.h>

namespace mtp {

namespace {

/// The text's canonical decomposition.
icu::UnicodeString decomposed(const icu::UnicodeString& text) {
  UErrorCode error = U_ZERO_ERROR;
  const icu::Normalizer2* normalizer = icu::Normalizer2::getNFDInstance(error);
  icu::UnicodeString result = U_SUCCESS(error) ? normalizer->normalize(text, error) : text;
  return U_SUCCESS(error) ? result : text;
}

} // namespace

std::u16string foldedName(std::u16string_view name) {
  if (std::ranges::all_of(name, [](char16_t unit) { return unit < 0x80; })) {
    std::u16string folded(name);
    for (char16_t& unit : folded)
      unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
    return folded;
  }
  icu::UnicodeString text = decomposed(icu::UnicodeString(name.data(), static_cast<std::int32_t>(name.size())));
  text.foldCase();
  text = decomposed(text);
  return {text.getBuffer(), static_cast<std::size_t>(text.length())};
}

bool isObjectName(std::u16string_view name) {
  return !name.empty() && name.size() <= MaxNameUnits && name != u"." && name != u".." &&
         std::ranges::none_of(name, [](char16_t unit) { return unit == u'/' || unit == 0; });
}

bool isBeyondBasicPlane(std::u16string_view name) {
  return std::ranges::any_of(name, [](char16_t unit) { return unit >= 0xD800 && unit < 0xE000; });
}

std::u16string_view fileNameOf(std::u16string_view path) {
  const auto slash = path.rfind(u'/');
  return slash == std::u16string_view::npos ? path : path.substr(slash + 1);
}

std::optional<std::string> toUtf8(std::u16string_view text) {
  std::string utf8(3 * text.size(), '\0');
  std::int32_t length = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strToUTF8(utf8.data(), static_cast<std::int32_t>(utf8.size()), &length, text.data(),
              static_cast<std::int32_t>(text.size()), &error);
  if (U_FAILURE(error))
    return std::nullopt;
  utf8.resize(static_cast<std::size_t>(length));
  return utf8;
}

} // namespace mtp
