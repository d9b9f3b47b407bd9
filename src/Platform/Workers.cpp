#include "Platform/Workers.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/ThreadSafety.h"

#include <pthread.h>

#include <string>
#include <thread>

namespace platform {
namespace {

Mutex g_mutex;
Condition g_ended;
int g_running MTPB_GUARDED_BY(g_mutex) = 0;
bool g_closed MTPB_GUARDED_BY(g_mutex) = false;

} // namespace

bool startWorker(const char* name, std::function<void()> body) {
  {
    const Lock lock(g_mutex);
    if (g_closed)
      return false;
    ++g_running;
  }
  const auto over = [] {
    const Lock lock(g_mutex);
    --g_running;
    g_ended.notify_all();
  };
  try {
    std::thread([text = std::string(name).substr(0, 15), work = std::move(body), over]() mutable {
      pthread_setname_np(pthread_self(), text.c_str());
      try {
        work();
      } catch (const std::exception& error) {
        MTPB_LOG("worker %s ended with: %s", text.c_str(), error.what());
      }
      work = nullptr; // what it holds may have a last word: that is part of the work
      over();
    }).detach(); // counted: waitForWorkers() is the join
  } catch (const std::system_error& error) {
    MTPB_LOG("no thread for %s: %s", name, error.what());
    over();
    return false;
  }
  return true;
}

int runningWorkers() {
  const Lock lock(g_mutex);
  return g_running;
}

bool waitForWorkers(std::chrono::milliseconds limit) {
  refuseWaiting(true);
  const auto deadline = std::chrono::steady_clock::now() + limit;
  const Lock lock(g_mutex);
  g_closed = true;
  while (g_running > 0)
    if (g_ended.wait_until(g_mutex, deadline) == std::cv_status::timeout)
      break;
  return g_running == 0;
}

void resumeWorkers() {
  refuseWaiting(false);
  const Lock lock(g_mutex);
  g_closed = false;
}

} // namespace platform
