#pragma once
// System-wide notifications for a thread with a run loop of its own: they arrive on the main thread and are handed
// over.
#include "Platform/DistributedNotifications.h"

#include <memory>

namespace platform {

/// How many notifications wait for one observer's run loop at most; what comes beyond is dropped with a log line.
inline constexpr std::size_t mostWaitingNotifications = 64;

/// Calls `handler` on the calling thread's run loop for every post of `name` that reaches the centre once the main
/// thread has come to the subscription; does not wait for it. The observation is ended on the calling thread and no
/// call comes after that. The centre outlives the main thread's queue.
[[nodiscard]] std::unique_ptr<NotificationObservation>
observeOnRunLoop(DistributedNotificationCenter& center, const QString& name, NotificationCenter::Handler handler);

} // namespace platform
