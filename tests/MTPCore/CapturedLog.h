#pragma once
// Collects the log's lines while it lives.
#include "Platform/Log.h"

#include <QString>

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

class CapturedLog {
public:
  CapturedLog() {
    platform::setLogSink([this](const QString& line) {
      const std::lock_guard lock(m_mutex);
      m_lines.push_back(line.toStdString());
    });
  }
  ~CapturedLog() { platform::setLogSink({}); }
  CapturedLog(const CapturedLog&) = delete;
  CapturedLog& operator=(const CapturedLog&) = delete;

  /// The lines with their "[file:operation-(number)] " cut off.
  std::vector<std::string> messages() {
    std::vector<std::string> messages;
    for (const std::string& line : lines())
      messages.push_back(line.substr(line.find("] ") + 2));
    return messages;
  }
  std::vector<std::string> lines() {
    const std::lock_guard lock(m_mutex);
    return m_lines;
  }
  long count(const std::string& message) { return std::ranges::count(messages(), message); }
  bool has(const std::string& message) { return count(message) > 0; }
  bool hasPart(const std::string& part) {
    return std::ranges::any_of(lines(), [&](const std::string& line) { return line.find(part) != std::string::npos; });
  }

private:
  std::mutex m_mutex;
  std::vector<std::string> m_lines;
};
