#pragma once
// One drag from its start until what it came to has been told.
#include "Platform/DragDestination.h"
#include "Platform/Timers.h"

#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// Takes the first destination and tells it, once. Shared by all that a target may ask, which outlive whoever started
/// the drag. Main thread only.
class DragSession : public std::enable_shared_from_this<DragSession> {
public:
  using Delivered = std::function<void(const DragDestination&)>;

  /// How long after the release of the button a destination is waited for.
  static constexpr Timers::Milliseconds kPatience{2000};

  /// `delivered` is called once, from the event loop, after released(); never after close(). `timers` must live until
  /// close().
  DragSession(Timers& timers, Delivered delivered);

  /// A target has named its destination. Returns false, nothing being changed, when one was taken before or the drag is
  /// over. Returns at once: what is to be done there begins later, from the event loop.
  bool accept(const DragDestination& destination);
  /// The drag's own event loop has ended: the destination is told now, or when it comes, or, none having come, after
  /// kPatience; Kind::Canceled when the drag was given up (`abandoned`). Once.
  void released(bool abandoned);
  /// Nobody wants to know any more.
  void close();
  /// Everything was told, or nobody wants to know: what is asked from now on is refused.
  bool isOver() const { return m_delivered == nullptr; }

private:
  void tellAfter(Timers::Milliseconds delay);
  void tell();

  Timers& m_timers;
  Delivered m_delivered; // empty when over
  std::optional<DragDestination> m_destination;
  std::unique_ptr<Timer> m_timer;
  bool m_released = false;
};

} // namespace platform
