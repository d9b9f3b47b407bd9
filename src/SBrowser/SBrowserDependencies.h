#pragma once
// What the browser window gets from outside, so that tests can bring their own.
#include "Platform/Timers.h"
#include "Platform/Workers.h"

#include <chrono>
#include <functional>
#include <memory>

class MTPDextSDKWrapper;

struct SBrowserDependencies {
  /// Makes the access object of a new connection. Main thread; does not block.
  std::function<std::shared_ptr<MTPDextSDKWrapper>()> createAccessObject;
  /// Must outlive the window.
  platform::Timers* timers = &platform::Timers::mainThread();
  /// As platform::startWorker().
  std::function<bool(const char* name, std::function<void()> body)> startWorker = platform::startWorker;
  /// Pauses the calling thread.
  std::function<void(std::chrono::milliseconds)> sleep;
  /// Keeps the computer from suspending as long as what it returns lives. Main thread; does not block. May be empty.
  std::function<std::shared_ptr<void>()> inhibitSuspend;

  /// The program's own: the MTP engine, through its legacy face on old systems.
  static SBrowserDependencies ofProgram();
};
