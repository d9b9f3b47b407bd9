#include "Platform/Log.h"

#include "Platform/LogLimit.h"
#include "Platform/ThreadSafety.h"

#include <QByteArray>
#include <QDateTime>

#include <cstdarg>
#include <cstdio>
#include <optional>
#include <string_view>
#include <unistd.h>

namespace platform {
namespace {

Mutex g_mutex;
std::function<void(const QString&)> g_sink MTPB_GUARDED_BY(g_mutex);
std::optional<LogShortener> g_shortener MTPB_GUARDED_BY(g_mutex);

// Names from a phone may hold anything: line ends that would forge a line, escape sequences that would drive a
// terminal.
QByteArray onOneLine(const QByteArray& message) {
  QByteArray line;
  line.reserve(message.size());
  const auto escape = [&line](char c) { line += "\\x" + QByteArray(1, c).toHex(); };
  for (qsizetype i = 0; i < message.size(); ++i) {
    const char c = message[i];
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n')
      line += "\\n";
    else if ((byte < 0x20 && c != '\t') || byte == 0x7f)
      escape(c);
    else if (byte == 0xc2 && i + 1 < message.size() && static_cast<unsigned char>(message[i + 1]) < 0xa0)
      escape(message[++i]); // U+0080 to U+009F: U+009B begins escape sequences, too
    else
      line += c;
  }
  return line;
}

// As it stands on standard error.
QByteArray wholeLine(const QByteArray& message) {
  QByteArray line = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")).toLatin1();
  line += " MTPBrowser[" + QByteArray::number(qlonglong(::getpid())) + ':' + QByteArray::number(qlonglong(::gettid())) +
          "] " + onOneLine(message) + '\n';
  return line;
}

void emitLine(QByteArray message) {
  while (message.endsWith('\n'))
    message.chop(1);
  const Lock lock(g_mutex);
  if (g_sink) {
    g_sink(QString::fromUtf8(message));
    return;
  }
  const QByteArray line = wholeLine(message);
  // One fwrite on an unbuffered stream is one write: lines of several threads and a reopened stream stay whole.
  std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
  if (g_shortener)
    g_shortener->shortenIfTooBig();
}

} // namespace

void setLogSink(std::function<void(const QString&)> sink) {
  const Lock lock(g_mutex);
  g_sink = std::move(sink);
}

void limitLog(int descriptor, const LogSizes& sizes) {
  const Lock lock(g_mutex);
  g_shortener.emplace(descriptor, sizes, wholeLine);
}

void unlimitLog() {
  const Lock lock(g_mutex);
  g_shortener.reset();
}

void logPlain(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const QString text = QString::vasprintf(format, args);
  va_end(args);
  emitLine(text.toUtf8());
}

void logLine(const SourceLocation& where, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const QString text = QString::vasprintf(format, args);
  va_end(args);
  std::string_view file = where.file_name();
  if (const auto slash = file.rfind('/'); slash != std::string_view::npos)
    file.remove_prefix(slash + 1);
  emitLine('[' + QByteArray(file.data(), qsizetype(file.size())) + ':' +
           functionNameForLog(where.function_name()).toUtf8() + "-(" + QByteArray::number(where.line()) + ")] " +
           text.toUtf8());
}

QString functionNameForLog(const char* prettyFunction) {
  std::string_view name = prettyFunction;
  // "virtual void Class::operation(int) const" -> "Class::operation": cut at the argument list's bracket (the first
  // one outside template arguments), then drop what stands before the last blank in front of it.
  int depth = 0;
  for (size_t i = 0; i < name.size(); ++i) {
    if (name[i] == '<')
      ++depth;
    else if (name[i] == '>' && depth > 0)
      --depth;
    else if (name[i] == '(' && depth == 0 && name.substr(i, 11) != "(anonymous " &&
             name.substr(i, 11) != "{anonymous}") {
      name = name.substr(0, i);
      break;
    }
  }
  depth = 0;
  for (size_t i = name.size(); i-- > 0;) {
    if (name[i] == '>')
      ++depth;
    else if (name[i] == '<')
      --depth;
    else if (name[i] == ' ' && depth == 0) {
      name = name.substr(i + 1);
      break;
    }
  }
  while (!name.empty() && (name.front() == '*' || name.front() == '&'))
    name.remove_prefix(1);
  for (const std::string_view hidden : {"{anonymous}::", "(anonymous namespace)::", "namespace)::"})
    if (name.substr(0, hidden.size()) == hidden)
      name.remove_prefix(hidden.size());
  return QString::fromUtf8(name.data(), qsizetype(name.size()));
}

} // namespace platform
