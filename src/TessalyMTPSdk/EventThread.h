#pragma once
// The engine's event thread: takes what phones report off their transports' threads, keeps the object stores right, and
// calls whoever registered.
#include "TessalyMTPSdk/TessalyMTPSdk.h"
#include "TessalyMTPSdk/Wire.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>

namespace mtp {

class Device;

/// Any thread may call all functions; none blocks, except as said. Callbacks never run at the same time.
class EventThread {
public:
  /// Called on the event thread for each event. No event: some were lost. False: the registered callback is not to hear
  /// of it.
  using Handler = std::function<bool(Device& device, const EventContainer* event)>;

  explicit EventThread(Handler handler);
  ~EventThread();

  /// Starts the thread if it does not run. Events wait until then.
  void start();
  /// Ends the thread and forgets waiting events and callbacks. Waits for a running callback, unless called by it.
  void stop();

  /// An event of the device whose record is `node`. The device need not live until it is handled; without one the event
  /// goes to the callback only.
  void post(std::weak_ptr<Device> device, const void* node, const EventContainer& event);

  /// Sets the callback for a device's record; null: none. Waits for a running call of the callback replaced, unless
  /// called by it.
  void setCallback(const void* node, mtpDextEventCallback callback, void* context);

private:
  // A phone that reports faster than its events are handled: beyond this they are dropped and all that is known of the
  // phone's folders counts as changed.
  static constexpr std::size_t MaxWaiting = 4096;

  struct Event {
    std::weak_ptr<Device> device;
    const void* node;
    EventContainer event;
    bool someLost;
  };
  struct Callback {
    mtpDextEventCallback function = nullptr;
    void* context = nullptr;
  };

  void run(std::uint64_t turn);

  const Handler m_handler;
  std::mutex m_mutex; // guards all below
  std::condition_variable m_wake;
  std::condition_variable m_called;
  std::deque<Event> m_waiting;
  std::unordered_map<const void*, Callback> m_callbacks; // by device record
  const void* m_calling = nullptr;                       // the record whose callback runs
  std::thread::id m_caller; // the thread it runs on; asked instead of m_thread, which stop() takes before it waits
  std::uint64_t m_turn = 0; // counts starts and stops: a thread whose turn is over ends, even if another has started
  std::thread m_thread;
};

} // namespace mtp
