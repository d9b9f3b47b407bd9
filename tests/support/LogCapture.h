#pragma once
// Collects the program's log lines while it lives, instead of their going to standard error.
#include "Platform/Log.h"
#include "Platform/ThreadSafety.h"

#include <QStringList>

namespace testsupport {

class LogCapture {
public:
  LogCapture() {
    platform::setLogSink([this](const QString& line) {
      const platform::Lock lock(m_mutex);
      m_lines.append(line);
    });
  }
  ~LogCapture() { platform::setLogSink({}); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  QStringList lines() const {
    const platform::Lock lock(m_mutex);
    return m_lines;
  }
  // How many lines end with `message`: the prefix of MTPB_LOG does not count.
  int count(const QString& message) const {
    int found = 0;
    for (const QString& line : lines())
      found += line.endsWith(message) ? 1 : 0;
    return found;
  }

private:
  mutable platform::Mutex m_mutex;
  QStringList m_lines MTPB_GUARDED_BY(m_mutex);
};

} // namespace testsupport
