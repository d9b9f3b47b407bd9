#pragma once
// Background threads started one per request, but known, counted and waited for.
#include <chrono>
#include <functional>

namespace platform {

/// Starts `body` on a new background thread named `name` (at most 15 bytes are shown by the system). Any thread.
/// After waitForWorkers() nothing is started any more and false is returned.
bool startWorker(const char* name, std::function<void()> body);

/// How many workers run now. Any thread.
int runningWorkers();

/// Lets no new worker start, releases those that wait for the main thread (refuseWaiting()) and waits until all have
/// ended or `limit` has passed. Main thread, at exit. Returns true when none is left.
bool waitForWorkers(std::chrono::milliseconds limit);

/// Lets workers start again after waitForWorkers(); for tests.
void resumeWorkers();

} // namespace platform
