#include "Platform/DragSession.h"

#include "Platform/MainThread.h"

#include <utility>

namespace platform {

DragSession::DragSession(Timers& timers, Delivered delivered)
    : m_timers(timers)
    , m_delivered(std::move(delivered)) {}

bool DragSession::accept(const DragDestination& destination) {
  assertMainThread();
  if (isOver() || m_destination)
    return false;
  m_destination = destination;
  if (m_released)
    tellAfter(Timers::Milliseconds(0));
  return true;
}

void DragSession::released(bool abandoned) {
  assertMainThread();
  if (isOver())
    return;
  m_released = true;
  if (!m_destination && abandoned)
    m_destination = DragDestination{DragDestination::Kind::Canceled, {}};
  tellAfter(m_destination ? Timers::Milliseconds(0) : kPatience);
}

void DragSession::close() {
  assertMainThread();
  m_delivered = nullptr;
  m_timer.reset();
}

void DragSession::tellAfter(Timers::Milliseconds delay) {
  m_timer = m_timers.oneShot(delay, [weak = weak_from_this()] {
    if (const auto session = weak.lock())
      session->tell();
  });
}

void DragSession::tell() {
  const DragDestination destination = m_destination.value_or(DragDestination{DragDestination::Kind::NoneCame, {}});
  // Over before it is told: the receiver may start the next drag, or end everything.
  if (const Delivered delivered = std::exchange(m_delivered, nullptr))
    delivered(destination);
}

} // namespace platform
