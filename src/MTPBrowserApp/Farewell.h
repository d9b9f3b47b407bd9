#pragma once
// The program's end, once its windows are closed: what still works in the background comes to an orderly stop.
#include <functional>

/// Stops background threads and the engine, in the order that leaves phone and computer whole: threads that were told
/// to stop first have the time to take their unfinished file away while there is a session; then `detachPhones` runs,
/// the engine ends the transactions still under way, and what waits for them is waited for. Main thread; blocks, some
/// seconds at most. False: some threads did not end in time (logged). No thread starts any more afterwards.
bool endWork(const std::function<void()>& detachPhones);
