#include "Platform/RunLoop.h"

#include "Platform/Log.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <unistd.h>

namespace platform {

RunLoopTimer::RunLoopTimer(Clock::time_point fireDate, std::function<void()> fire)
    : m_fireDate(fireDate)
    , m_fire(std::move(fire)) {}

RunLoop::RunLoop()
    : m_wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (m_wakeUp < 0)
    throw std::runtime_error(std::string("no run loop: ") + std::strerror(errno));
}

RunLoop::~RunLoop() {
  ::close(m_wakeUp);
}

std::shared_ptr<RunLoop> RunLoop::current() {
  thread_local const auto loop = std::make_shared<RunLoop>();
  return loop;
}

void RunLoop::addSource(std::shared_ptr<RunLoopSource> source) {
  if (std::find(m_sources.begin(), m_sources.end(), source) == m_sources.end())
    m_sources.push_back(std::move(source));
}

void RunLoop::removeSource(const std::shared_ptr<RunLoopSource>& source) {
  std::erase(m_sources, source);
}

std::shared_ptr<RunLoopTimer> RunLoop::addTimer(RunLoopTimer::Clock::time_point fireDate, std::function<void()> fire) {
  // A thread may add timers without ever driving its loop: those given up must not pile up.
  std::erase_if(m_timers, [](const auto& timer) { return !timer->m_valid; });
  m_timers.push_back(std::make_shared<RunLoopTimer>(fireDate, std::move(fire)));
  return m_timers.back();
}

void RunLoop::runFor(std::chrono::milliseconds limit) {
  const auto end = RunLoopTimer::Clock::now() + limit;
  do {
    auto until = end;
    for (const auto& timer : m_timers)
      if (timer->m_valid)
        until = std::min(until, timer->m_fireDate);
    callSources(until);
    fireTimers();
  } while (!m_stopped.exchange(false) && RunLoopTimer::Clock::now() < end);
}

void RunLoop::stop() {
  m_stopped = true;
  const std::uint64_t one = 1;
  // Fails only when the counter is full, and then the loop wakes up anyway.
  [[maybe_unused]] const ssize_t written = ::write(m_wakeUp, &one, sizeof one);
}

void RunLoop::callSources(RunLoopTimer::Clock::time_point until) {
  const auto sources = m_sources; // a callback may add and remove some
  std::vector<pollfd> polled{{m_wakeUp, POLLIN, 0}};
  for (const auto& source : sources)
    polled.push_back({source->fd, POLLIN, 0});
  // Rounded up: a timer must not be waited for in a row of waits too short for it.
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(until - RunLoopTimer::Clock::now());
  const auto timeout = std::clamp<std::int64_t>(wait.count(), 0, 60'000);
  if (::poll(polled.data(), polled.size(), int(timeout)) <= 0)
    return;
  std::uint64_t count = 0;
  if (polled[0].revents != 0) [[maybe_unused]]
    const ssize_t taken = ::read(m_wakeUp, &count, sizeof count);
  for (std::size_t i = 0; i < sources.size(); ++i) {
    const short events = polled[i + 1].revents;
    if (events == 0 || std::find(m_sources.begin(), m_sources.end(), sources[i]) == m_sources.end())
      continue;
    if ((events & (POLLHUP | POLLNVAL)) != 0 && (events & POLLIN) == 0) {
      MTPB_LOG("a source has ended (descriptor %d)", sources[i]->fd);
      removeSource(sources[i]);
      continue;
    }
    // Also with POLLERR alone: reading takes the error away. Called through a copy, the callback may end the source.
    const auto perform = sources[i]->perform;
    perform();
  }
}

void RunLoop::fireTimers() {
  const auto now = RunLoopTimer::Clock::now();
  std::vector<std::shared_ptr<RunLoopTimer>> due;
  for (const auto& timer : m_timers)
    if (timer->m_fireDate <= now)
      due.push_back(timer);
  std::erase_if(m_timers, [now](const auto& timer) { return timer->m_fireDate <= now || !timer->m_valid; });
  std::sort(due.begin(), due.end(), [](const auto& a, const auto& b) { return a->m_fireDate < b->m_fireDate; });
  for (const auto& timer : due)
    if (timer->m_valid.exchange(false))
      timer->m_fire();
}

} // namespace platform
