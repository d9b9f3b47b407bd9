#pragma once
// Texts in the form in which the SDK takes names and paths.
#include <QString>

#include <cstdint>
#include <memory>

/// UTF-16 with a terminating zero unit.
struct Utf16Buffer {
  std::unique_ptr<char16_t[]> text; // null when there was no memory for it
  std::uint32_t byteSize = 0;       // terminator included

  /// Length in code units, terminator included.
  std::uint32_t units() const { return byteSize / 2; }
};

/// The text as it stands, not normalised. Never throws.
Utf16Buffer makeUtf16Buffer(const QString& text) noexcept;
