#pragma once
// The log's messages in the form that tests of this folder compare with.
#include "support/LogCapture.h"

#include <algorithm>
#include <string>
#include <vector>

class CapturedLog {
public:
  /// The lines with their "[file:operation-(number)] " cut off.
  std::vector<std::string> messages() const {
    std::vector<std::string> messages;
    for (const QString& line : m_capture.lines())
      messages.push_back(line.mid(line.indexOf("] ") + 2).toStdString());
    return messages;
  }
  long count(const std::string& message) const { return std::ranges::count(messages(), message); }
  bool has(const std::string& message) const { return count(message) > 0; }
  /// Whether a line, its prefix included, contains this.
  bool hasPart(const std::string& part) const {
    return m_capture.lines().join(u'\n').contains(QString::fromStdString(part));
  }

private:
  testsupport::LogCapture m_capture;
};
