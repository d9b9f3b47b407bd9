#pragma once
// Running work on the main thread: "perform on main thread" and "the main queue".
#include "Platform/SourceLocation.h"

#include <functional>

namespace platform {

/// True on the thread of the application object; false everywhere while there is none.
bool isMainThread();

/// Ends the process with a log line when the calling thread is not the main thread, in release builds too: a view
/// touched from another thread corrupts memory later, far from its cause.
void assertMainThread(const SourceLocation& where = SourceLocation::current());

/// Queues `work` on the main thread and returns at once. Dropped when the application has ended. Any thread.
void runOnMain(std::function<void()> work);

/// Runs `work` on the main thread and waits for its end; runs it directly when already there. Any thread.
/// Returns false, without `work` having run or being run later, when refuseWaiting() was called before it began: the
/// main thread is then waiting for the workers and would never come to it. False, too, when the application is
/// destroyed before it comes to it.
bool runOnMainAndWait(std::function<void()> work);

/// From now on (true) runOnMainAndWait() from other threads returns false at once and whoever waits in it, its work not
/// yet begun, is let go. Called by the main thread when the application ends, before it waits for the workers.
void refuseWaiting(bool refuse);

} // namespace platform
