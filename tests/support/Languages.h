#pragma once
// The languages the program speaks, as its string tables are named.
#include <string>

namespace testsupport {

inline constexpr const char* kLanguages[] = {"en", "de", "fr",    "es",    "it", "pt_BR", "ru",
                                             "ko", "ja", "zh_CN", "zh_TW", "ar", "he"};

/// A parameterised test's name for its language.
inline constexpr auto languageName = [](const auto& info) { return std::string(info.param); };

} // namespace testsupport
