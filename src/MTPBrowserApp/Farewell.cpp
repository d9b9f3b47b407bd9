#include "MTPBrowserApp/Farewell.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/Workers.h"
#include "TessalyMTPSdk/Engine.h"

#include <chrono>

namespace {

using namespace std::chrono_literals;

// A cancelled transfer ends within a fraction of a second; a phone that deletes slowly gets some more.
constexpr auto farewellLimit = 3000ms;
constexpr auto workersLimit = 5000ms;

} // namespace

bool endWork(const std::function<void()>& detachPhones) {
  platform::refuseWaiting(true);
  // A transfer under way is canceled: it takes its unfinished file off the phone again while there is a session.
  platform::waitForWorkers(farewellLimit);
  detachPhones();
  mtp::shutdown(); // ends the transactions that workers still wait for
  if (platform::waitForWorkers(workersLimit))
    return true;
  MTPB_LOG("%d background threads did not end in time", platform::runningWorkers());
  return false;
}
