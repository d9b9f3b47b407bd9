#pragma once
// The engine's own C++ side: where its devices come from, where its log goes. Plain C++20, any thread.
#include "TessalyMTPSdk/Transport.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace mtp {

enum class LogLevel { Debug, Info, Warning };

/// Where the engine's log lines go; standard error when none is set. File and folder names appear at Debug only.
void setLog(std::function<void(LogLevel level, const std::string& line)> sink);

/// Adds a source of devices beside the USB (a virtual phone). Takes effect at the next device list.
void addProvider(std::shared_ptr<DeviceProvider> provider);
/// Removes it; its phones count as unplugged.
void removeProvider(const std::shared_ptr<DeviceProvider>& provider);
/// Whether attached USB phones are looked for (true at start, false after shutdown()).
void setUsbEnabled(bool enabled);

/// Counters for benches and tests.
struct Counters {
  std::uint64_t transactions = 0; // MTP transactions since the start, all devices
};
Counters counters();

/// The open phones in words, for the log: what they are and can do. Nothing that their owners named, no serial numbers.
/// Does not block.
std::vector<std::string> describePhones();

/// Closes all sessions, joins all threads, forgets all records and providers. A thread that has not heard of it finds
/// no phone any more, on the USB neither. For the end of the program and for tests.
void shutdown();

} // namespace mtp
