#pragma once
// The system-wide notification centre: named posts between the programs of one session, over the session bus.
//
// A post is the D-Bus signal Posted(s name, a{sv} userInfo) of the interface org.mtpbrowser.Notifications, on any
// object path and from any sender. docs/SUPPORT.md gives the lines that send one from a shell.
// What arrives is another program's: values other than booleans, numbers, texts and lists of texts are left out, as are
// entries beyond the first 64 and texts longer than 65,536 characters; a signal of another shape is dropped.
#include "Platform/NotificationCenter.h"

#include <QDBusConnection>

#include <memory>

namespace platform {

class DistributedNotificationReceiver;

/// The centre of one bus connection.
class DistributedNotificationCenter {
public:
  using Handler = NotificationCenter::Handler;

  /// The session's centre. First call on the main thread. Without a session bus a line is logged, and the centre takes
  /// observers and posts but nothing ever arrives.
  static DistributedNotificationCenter& defaultCenter();

  /// A centre on another connection; the caller keeps the connection open as long. Main thread.
  explicit DistributedNotificationCenter(const QDBusConnection& bus);
  ~DistributedNotificationCenter();

  /// Calls `handler`, on the main thread, for every post of `name` in the session, this program's own included. The
  /// caller owns the observation. Main thread.
  [[nodiscard]] std::unique_ptr<NotificationObservation> observe(const QString& name,
                                                                 NotificationCenter::Handler handler);

  /// Posts to all programs of the session. Values may be booleans, numbers, texts and lists of texts. Returns false
  /// when there is no bus. Any thread; does not block.
  bool post(const QString& name, const QVariantMap& userInfo = {});

private:
  QDBusConnection m_bus;
  std::unique_ptr<NotificationCenter> m_local; // whose observers the arriving signals are handed to
  std::unique_ptr<DistributedNotificationReceiver> m_receiver;
};

} // namespace platform
