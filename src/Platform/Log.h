#pragma once
// The platform's logging call and the program's log-line form.
//
// Every diagnostic goes to standard error as one write: a time stamp, the process name and id, then the message.
// MTPB_LOG adds the program's prefix "[file:function-(line)] "; MTPB_LOG_PLAIN writes the message alone.
// Control characters in a message are written as "\n" or "\x1b". Callable from any thread; lines of different threads
// never mix. Never blocks on anything but the descriptor.
#include "Platform/SourceLocation.h"

#include <QString>

#include <functional>

namespace platform {

/// Receives every line instead of standard error, without time stamp and process prefix, with the "[file:…]" prefix.
/// For tests. Called on the logging thread, serialised. An empty function restores standard error. Any thread.
void setLogSink(std::function<void(const QString& line)> sink);

/// Writes one line: the message of MTPB_LOG_PLAIN. `format` is printf's. Any thread.
void logPlain(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Writes one line in the program's form. Use MTPB_LOG, which supplies `where`. Any thread.
void logLine(const SourceLocation& where, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// The name a log line gives a function: "Class::operation" or "function", cut from the compiler's full spelling.
QString functionNameForLog(const char* prettyFunction);

} // namespace platform

#define MTPB_LOG(...) ::platform::logLine(MTPB_HERE, __VA_ARGS__)
#define MTPB_LOG_PLAIN(...) ::platform::logPlain(__VA_ARGS__)
