#pragma once
// The log lines of the access object, written under the names of the face it wears.
#include "Platform/SourceLocation.h"

#include <chrono>
#include <cstdint>
#include <optional>

/// What the access object over the engine and the one over its legacy library do not have in common.
struct AccessFace {
  const char* className;       ///< the access object's; with ".cpp" behind it the source file that its log lines name
  const char* operationPrefix; ///< what the names of the library's operations begin with
  bool hasInit;                ///< whether the library wants to be prepared before its devices are listed
};

/// Writes lines as one operation of the access object. Cheap to copy. Any thread.
class AccessLog {
public:
  using Clock = std::chrono::steady_clock;

  /// `where`: the operation, as MTPB_HERE gives it; its line counts in the source that both faces share.
  AccessLog(const AccessFace& face, const platform::SourceLocation& where)
      : m_face(face)
      , m_where(where) {}

  /// `format` is printf's.
  void line(const char* format, ...) const __attribute__((format(printf, 2, 3)));
  /// For the record of what was done: "mtpDextDeleteNode: node = 0x…, 1.234 s, status = …". `operation` is the
  /// library's without its prefix, `begun` when it was called. No names: the log may be given away.
  void ended(const char* operation, const void* node, Clock::time_point begun, std::uint32_t status,
             std::optional<std::uint64_t> bytes = {}) const;

private:
  const AccessFace& m_face; // lives as long as the program
  platform::SourceLocation m_where;
};
