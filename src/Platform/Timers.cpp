#include "Platform/Timers.h"

#include "Platform/MainThread.h"

#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <optional>
#include <vector>

namespace platform {
namespace {

using Milliseconds = Timers::Milliseconds;

class EventLoopTimer : public Timer {
public:
  EventLoopTimer(Milliseconds delay, bool once, std::function<void()> fire)
      : m_state(std::make_shared<State>()) {
    m_state->fire = std::move(fire);
    m_timer->setTimerType(Qt::PreciseTimer);
    m_timer->setSingleShot(once);
    QObject::connect(m_timer.get(), &QTimer::timeout, m_timer.get(), [kept = m_state] {
      // The function may destroy the timer, and with it this closure.
      const auto state = kept; // NOLINT(performance-unnecessary-copy-initialization)
      state->firing = true;
      state->fire();
      state->firing = false;
    });
    m_timer->start(delay);
  }

  ~EventLoopTimer() override {
    assertMainThread();
    m_timer->stop();
    if (m_state->firing) {
      m_timer->disconnect();
      m_timer.release()->deleteLater(); // it is in the middle of its own signal
    }
  }

private:
  struct State {
    std::function<void()> fire;
    bool firing = false; // main thread only
  };
  std::shared_ptr<State> m_state;
  std::unique_ptr<QTimer> m_timer = std::make_unique<QTimer>();
};

class EventLoopTimers : public Timers {
public:
  EventLoopTimers() { m_clock.start(); }

  std::unique_ptr<Timer> oneShot(Milliseconds delay, std::function<void()> fire) override {
    assertMainThread();
    return std::make_unique<EventLoopTimer>(std::max(delay, Milliseconds(0)), true, std::move(fire));
  }
  std::unique_ptr<Timer> repeating(Milliseconds interval, std::function<void()> fire) override {
    assertMainThread();
    return std::make_unique<EventLoopTimer>(std::max(interval, Milliseconds(1)), false, std::move(fire));
  }
  Milliseconds now() const override { return Milliseconds(m_clock.elapsed()); }

private:
  QElapsedTimer m_clock;
};

} // namespace

Timers& Timers::mainThread() {
  static EventLoopTimers timers;
  return timers;
}

// The waiting timers in the order of their making.
struct ManualTimers::State {
  struct Entry {
    const Timer* owner;
    Milliseconds due;
    std::optional<Milliseconds> interval;
    std::shared_ptr<std::function<void()>> fire;
  };
  Milliseconds now{0};
  std::vector<Entry> entries;
};

namespace {

class ManualTimer : public Timer {
public:
  explicit ManualTimer(std::function<void(const Timer*)> cancel)
      : m_cancel(std::move(cancel)) {}
  ~ManualTimer() override { m_cancel(this); }

private:
  std::function<void(const Timer*)> m_cancel;
};

} // namespace

ManualTimers::ManualTimers()
    : m_state(std::make_shared<State>()) {}
ManualTimers::~ManualTimers() = default;

std::unique_ptr<Timer> ManualTimers::add(Milliseconds delay, std::optional<Milliseconds> interval,
                                         std::function<void()> fire) {
  auto timer = std::make_unique<ManualTimer>([weak = std::weak_ptr(m_state)](const Timer* self) {
    if (const auto state = weak.lock())
      std::erase_if(state->entries, [self](const State::Entry& entry) { return entry.owner == self; });
  });
  m_state->entries.push_back(
      {timer.get(), m_state->now + delay, interval, std::make_shared<std::function<void()>>(std::move(fire))});
  return timer;
}

std::unique_ptr<Timer> ManualTimers::oneShot(Milliseconds delay, std::function<void()> fire) {
  return add(std::max(delay, Milliseconds(0)), std::nullopt, std::move(fire));
}

std::unique_ptr<Timer> ManualTimers::repeating(Milliseconds interval, std::function<void()> fire) {
  const Milliseconds step = std::max(interval, Milliseconds(1));
  return add(step, step, std::move(fire));
}

Timers::Milliseconds ManualTimers::now() const {
  return m_state->now;
}

void ManualTimers::advance(Milliseconds step) {
  const Milliseconds end = m_state->now + step;
  for (;;) {
    auto& entries = m_state->entries;
    const auto next = std::min_element(entries.begin(), entries.end(),
                                       [](const auto& left, const auto& right) { return left.due < right.due; });
    if (next == entries.end() || next->due > end)
      break;
    m_state->now = std::max(m_state->now, next->due);
    const auto fire = next->fire; // the function may cancel its own timer
    if (next->interval)
      next->due += *next->interval;
    else
      entries.erase(next);
    (*fire)();
  }
  m_state->now = end;
}

int ManualTimers::pending() const {
  return int(m_state->entries.size());
}

} // namespace platform
