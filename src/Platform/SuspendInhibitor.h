#pragma once
// Keeps the computer awake while something must not be interrupted.
#include <QDBusConnection>
#include <QString>

#include <memory>

namespace platform {

/// While one lives the computer neither suspends nor counts as idle. Asked for without waiting: it takes effect when
/// the system has answered, normally within milliseconds.
///
/// The seat's manager is asked first (org.freedesktop.login1, an inhibitor lock "sleep:idle"): it is there without a
/// desktop, too, desktops respect it, and it lets go by itself when this program dies. Where it refuses or is absent,
/// the desktop is asked (org.freedesktop.PowerManagement.Inhibit on the session's bus). With neither a line is logged
/// and nothing else happens. Main thread only; nothing blocks.
class SuspendInhibitor {
public:
  /// On the buses of this computer. `reason` is shown to whoever asks what keeps the computer awake.
  explicit SuspendInhibitor(const QString& reason);
  /// On these buses; an unconnected one is passed over.
  SuspendInhibitor(const QString& reason, const QDBusConnection& system, const QDBusConnection& session);
  /// Lets the computer suspend again, also when the answer is still to come.
  ~SuspendInhibitor();
  SuspendInhibitor(const SuspendInhibitor&) = delete;
  SuspendInhibitor& operator=(const SuspendInhibitor&) = delete;

  /// Whether the system has agreed.
  bool isActive() const;

private:
  struct State;
  const std::shared_ptr<State> m_state;
};

} // namespace platform
