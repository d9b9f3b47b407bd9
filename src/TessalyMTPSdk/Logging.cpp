#include "TessalyMTPSdk/Logging.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace mtp {

namespace {

using Sink = std::function<void(LogLevel, const std::string&)>;

// Never destroyed: threads of a library may log until the very end of the process.
struct State {
  std::mutex mutex; // guards sink
  std::shared_ptr<const Sink> sink;
};
State& state() {
  static State& instance = *new State;
  return instance;
}

void toStandardError(LogLevel level, const std::string& line) {
  if (level != LogLevel::Debug)
    std::fprintf(stderr, "mtp: %s\n", line.c_str());
}

} // namespace

void setLog(std::function<void(LogLevel level, const std::string& line)> sink) {
  auto shared = sink ? std::make_shared<const Sink>(std::move(sink)) : nullptr;
  const std::lock_guard lock(state().mutex);
  state().sink.swap(shared);
}

void log(LogLevel level, const char* format, ...) {
  char line[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);

  std::shared_ptr<const Sink> sink;
  {
    const std::lock_guard lock(state().mutex);
    sink = state().sink;
  }
  if (sink)
    (*sink)(level, line);
  else
    toStandardError(level, line);
}

} // namespace mtp
