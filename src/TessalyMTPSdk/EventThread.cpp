#include "TessalyMTPSdk/EventThread.h"

#include "TessalyMTPSdk/Device.h"

#include <algorithm>

namespace mtp {

EventThread::EventThread(Handler handler)
    : m_handler(std::move(handler)) {}

EventThread::~EventThread() {
  stop();
}

void EventThread::start() {
  const std::lock_guard lock(m_mutex);
  if (m_thread.joinable())
    return;
  m_thread = std::thread([this, turn = ++m_turn] { run(turn); });
}

void EventThread::stop() {
  std::thread thread;
  {
    const std::lock_guard lock(m_mutex);
    ++m_turn;
    m_waiting.clear();
    m_callbacks.clear();
    thread = std::move(m_thread);
  }
  m_wake.notify_all();
  if (!thread.joinable())
    return;
  if (thread.get_id() == std::this_thread::get_id())
    thread.detach(); // a callback ends the engine: its thread ends by itself when it returns
  else
    thread.join();
}

void EventThread::post(std::weak_ptr<Device> device, const void* node, const EventContainer& event) {
  {
    const std::lock_guard lock(m_mutex);
    if (m_waiting.size() >= MaxWaiting) {
      const auto last = std::find_if(m_waiting.rbegin(), m_waiting.rend(),
                                     [node](const Event& waiting) { return waiting.node == node; });
      if (last != m_waiting.rend()) {
        last->someLost = true;
        return;
      }
      // The flood is another phone's.
    }
    m_waiting.push_back({std::move(device), node, event, false});
  }
  m_wake.notify_one();
}

void EventThread::setCallback(const void* node, mtpDextEventCallback callback, void* context) {
  std::unique_lock lock(m_mutex);
  if (callback)
    m_callbacks[node] = {callback, context};
  else
    m_callbacks.erase(node);
  if (m_caller != std::this_thread::get_id())
    m_called.wait(lock, [&] { return !m_calling || m_calling != node; });
}

void EventThread::run(std::uint64_t turn) {
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_wake.wait(lock, [&] { return m_turn != turn || !m_waiting.empty(); });
    if (m_turn != turn)
      return;
    const Event event = std::move(m_waiting.front());
    m_waiting.pop_front();
    lock.unlock();
    bool isNews = true;
    if (const std::shared_ptr<Device> device = event.device.lock()) {
      const bool lost = event.someLost && m_handler(*device, nullptr);
      isNews = m_handler(*device, &event.event) || lost;
    }
    lock.lock();
    const auto found = m_callbacks.find(event.node);
    if (m_turn != turn || !isNews || found == m_callbacks.end())
      continue;
    const Callback callback = found->second;
    m_calling = event.node;
    m_caller = std::this_thread::get_id();
    lock.unlock();
    callback.function(event.event.code, event.event.parameters[0], event.event.parameters[1], callback.context);
    lock.lock();
    m_calling = nullptr;
    m_caller = {};
    m_called.notify_all();
  }
}

} // namespace mtp
