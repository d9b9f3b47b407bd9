#pragma once
// Where in the program a call stands. As std::source_location, which the older of our compilers do not have.
namespace platform {

/// A source file, function and line. Cheap to copy; the texts are literals.
class SourceLocation {
public:
  constexpr SourceLocation(const char* file, int line, const char* function)
      : m_file(file)
      , m_line(line)
      , m_function(function) {}

  /// The caller's, also as a default argument. The function is named without its class; MTPB_HERE names both.
  static constexpr SourceLocation current(const char* file = __builtin_FILE(), int line = __builtin_LINE(),
                                          const char* function = __builtin_FUNCTION()) {
    return {file, line, function};
  }

  constexpr const char* file_name() const { return m_file; }
  constexpr int line() const { return m_line; }
  constexpr const char* function_name() const { return m_function; }

private:
  const char* m_file;
  int m_line;
  const char* m_function;
};

} // namespace platform

/// This place, with the function's full spelling.
#define MTPB_HERE ::platform::SourceLocation(__FILE__, __LINE__, static_cast<const char*>(__PRETTY_FUNCTION__))
