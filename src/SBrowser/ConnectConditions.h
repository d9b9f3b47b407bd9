#pragma once
// What stands between an attached phone and the window: told in plain words, watched until it has ended.
#include "MTPCore/ConnectCondition.h"
#include "Platform/Timers.h"

#include <QString>

#include <chrono>
#include <functional>
#include <memory>

/// Tries a connection again and again while a condition holds that may end by itself: the phone is unlocked, the other
/// program lets it go, the permission is given. Main thread; nothing here blocks.
class ConnectConditions {
public:
  using Milliseconds = std::chrono::milliseconds;

  /// How long the window waits before it tries again; after the first minutes, and with a phone that does not answer,
  /// it is in no hurry.
  static constexpr Milliseconds kPause{2'000};
  static constexpr Milliseconds kLongPause{10'000};
  static constexpr int kQuickAttempts = 60;

  /// `timers` must outlive it.
  explicit ConnectConditions(platform::Timers& timers)
      : m_timers(timers) {}

  /// What the welcome view says: what is the matter, and what to do.
  static QString text(const ConnectCondition& condition);

  /// The condition was just found: calls `tryAgain` once, after a pause.
  void hold(const ConnectCondition& condition, std::function<void()> tryAgain);
  /// Nothing stands in the way any more, or nobody wants to connect: no further call.
  void end();

private:
  platform::Timers& m_timers;
  std::unique_ptr<platform::Timer> m_timer;
  int m_attempts = 0; // since end()
};
