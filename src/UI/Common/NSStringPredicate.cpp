#include "UI/Common/NSStringPredicate.h"

#include <algorithm>
#include <compare>
#include <vector>

namespace ui {
namespace {

// A pattern of "*", "?" and characters, taken apart once for many candidates.
class LikePattern {
public:
  explicit LikePattern(const QString& pattern) {
    bool escaped = false;
    for (const uint character : pattern.toUcs4()) {
      if (escaped || (character != U'\\' && character != U'*' && character != U'?')) {
        m_elements.push_back({Kind::One, QChar::toCaseFolded(char32_t(character))});
        escaped = false;
      } else if (character == U'\\') {
        escaped = true;
      } else if (character == U'?') {
        m_elements.push_back({Kind::AnyOne, 0});
      } else if (m_elements.empty() || m_elements.back().kind != Kind::AnyMany) {
        m_elements.push_back({Kind::AnyMany, 0});
      }
    }
    if (escaped) // nothing follows that it could escape
      m_elements.push_back({Kind::One, U'\\'});
  }

  // Whether all of `text` matches. On a mismatch the last "*" takes one character more; earlier ones never need to.
  bool matches(const QString& text) const {
    const auto characters = text.toUcs4();
    size_t at = 0;
    size_t element = 0;
    size_t starElement = m_elements.size();
    size_t starAt = 0;
    while (at < size_t(characters.size())) {
      if (element < m_elements.size() && m_elements[element].kind == Kind::AnyMany) {
        starElement = element++;
        starAt = at;
      } else if (element < m_elements.size() && m_elements[element].takes(char32_t(characters[qsizetype(at)]))) {
        ++element;
        ++at;
      } else if (starElement < m_elements.size()) {
        element = starElement + 1;
        at = ++starAt;
      } else {
        return false;
      }
    }
    while (element < m_elements.size() && m_elements[element].kind == Kind::AnyMany)
      ++element;
    return element == m_elements.size();
  }

private:
  enum class Kind { One, AnyOne, AnyMany };
  struct Element {
    Kind kind;
    char32_t folded;

    bool takes(char32_t character) const { return kind == Kind::AnyOne || QChar::toCaseFolded(character) == folded; }
  };
  std::vector<Element> m_elements;
};

// Where a displayed text stands before its moment is looked at.
enum class Rank { Unknown, NoDate, Date };

struct SortKey {
  Rank rank;
  platform::dates::Instant date;

  // clang-tidy takes the 0 that a defaulted comparison is made of for a pointer.
  friend auto operator<=>(const SortKey&, const SortKey&) = default; // NOLINT(modernize-use-nullptr)
};

SortKey sortKey(const QString& text) {
  if (text == kUnknownDate)
    return {Rank::Unknown, {}};
  const auto date = dateFromString(text);
  return date ? SortKey{Rank::Date, *date} : SortKey{Rank::NoDate, {}};
}

} // namespace

bool isExistInArray(const QString& receiver, const std::optional<QStringList>& array) {
  if (!array)
    return false;
  const LikePattern pattern(receiver);
  return std::any_of(array->begin(), array->end(), [&](const QString& element) { return pattern.matches(element); });
}

bool isExistInArray(const QString& receiver, const std::optional<QStringList>& array,
                    std::optional<QStringList>& filtered) {
  filtered.reset();
  if (!array)
    return false;
  const LikePattern pattern(receiver);
  QStringList matching;
  for (const QString& element : *array)
    if (pattern.matches(element))
      matching.append(element);
  filtered = std::move(matching);
  return !filtered->isEmpty();
}

int compareDateFormatString(const QString& receiver, const QString& other) {
  const auto order = sortKey(receiver) <=> sortKey(other);
  return std::is_lt(order) ? -1 : std::is_gt(order) ? 1 : 0;
}

std::optional<platform::dates::Instant> dateFromString(const QString& text) {
  return platform::dates::parse(text);
}

} // namespace ui
