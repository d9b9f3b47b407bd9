#include "Platform/LogNames.h"

#include <atomic>

namespace platform {
namespace {

std::atomic<bool> namesShown{false}; // written at the program's start, read by every thread that logs

} // namespace

void setNamesInLog(bool shown) {
  namesShown = shown;
}

QByteArray nameForLog(const QString& name) {
  if (name.isNull())
    return "(null)";
  return namesShown ? name.toUtf8() : QByteArray("(hidden)");
}

} // namespace platform
