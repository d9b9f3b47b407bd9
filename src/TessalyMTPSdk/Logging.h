#pragma once
// The engine's log. Any thread; lines go to the sink of Engine.h's setLog. Names of files and folders at Debug only.
#include "TessalyMTPSdk/Engine.h"

namespace mtp {

void log(LogLevel level, const char* format, ...) __attribute__((format(printf, 2, 3)));

} // namespace mtp
