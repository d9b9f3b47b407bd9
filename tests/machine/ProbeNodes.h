// What the probes in the virtual machine read out of the engine's records. Texts are UTF-8; nothing here blocks.
#pragma once

#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace probe {

inline std::string utf8(const char16_t* text, std::size_t size) {
  std::string result;
  for (std::size_t i = 0; i < size && text[i] != 0; ++i) {
    char32_t c = text[i];
    if (c >= 0xd800 && c < 0xdc00 && i + 1 < size && text[i + 1] >= 0xdc00 && text[i + 1] < 0xe000) {
      c = 0x10000 + ((c - 0xd800) << 10) + (text[++i] - 0xdc00);
    }
    if (c < 0x80) {
      result += static_cast<char>(c);
    } else if (c < 0x800) {
      result += {static_cast<char>(0xc0 | c >> 6), static_cast<char>(0x80 | (c & 0x3f))};
    } else if (c < 0x10000) {
      result += {static_cast<char>(0xe0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3f)),
                 static_cast<char>(0x80 | (c & 0x3f))};
    } else {
      result += {static_cast<char>(0xf0 | c >> 18), static_cast<char>(0x80 | (c >> 12 & 0x3f)),
                 static_cast<char>(0x80 | (c >> 6 & 0x3f)), static_cast<char>(0x80 | (c & 0x3f))};
    }
  }
  return result;
}

/// Text fields of the packed records are copied out: their addresses need not be aligned.
template <typename Node, typename Length> std::string text(const Node* node, std::size_t pointerAt, Length length) {
  const char16_t* pointer = nullptr;
  std::memcpy(&pointer, reinterpret_cast<const char*>(node) + pointerAt, sizeof pointer);
  return pointer ? utf8(pointer, length) : std::string();
}

inline std::string deviceText(_MTP_DEVICE_NODE* device, uint32_t (*get)(_MTP_DEVICE_NODE*, void*, uint32_t*)) {
  uint32_t size = 0;
  if (get(device, nullptr, &size) != 1) {
    return {};
  }
  std::u16string buffer(size / 2, u'\0');
  return get(device, buffer.data(), &size) == 0 ? utf8(buffer.data(), buffer.size()) : std::string();
}

inline std::string nameOf(const _MTP_STORAGE_NODE* storage) {
  return text(storage, offsetof(_MTP_STORAGE_NODE, name), storage->nameLength);
}
inline std::string nameOf(const _MTP_FOLDER_NODE* folder) {
  return text(folder, offsetof(_MTP_FOLDER_NODE, name), folder->nameSize);
}
inline std::string nameOf(const _MTP_FILE_NODE* file) {
  return text(file, offsetof(_MTP_FILE_NODE, name), file->nameSize);
}

} // namespace probe
