#include "MTPCore/Utf16Buffer.h"

#include <algorithm>
#include <limits>
#include <new>

Utf16Buffer makeUtf16Buffer(const QString& text) noexcept {
  constexpr qsizetype MostUnits = std::numeric_limits<std::uint32_t>::max() / 2 - 1;
  Utf16Buffer buffer;
  if (text.size() > MostUnits)
    return buffer;
  buffer.text.reset(new (std::nothrow) char16_t[size_t(text.size()) + 1]());
  if (buffer.text) {
    std::copy_n(text.utf16(), text.size(), buffer.text.get());
    buffer.byteSize = std::uint32_t(2 * text.size() + 2);
  }
  return buffer;
}
