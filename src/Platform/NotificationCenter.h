#pragma once
// The process-local notification centre: named posts with a dictionary, delivered on the posting thread.
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace platform {

/// One posted notification. `userInfo` is empty when the post had none.
struct Notification {
  QString name;
  QVariantMap userInfo;
  bool hasUserInfo = false;
};

/// Ends the observation when destroyed; after its destructor returns the handler is not called any more (a call
/// running on another thread is waited for, one running on this thread is not).
class NotificationObservation {
public:
  virtual ~NotificationObservation() = default;
};

/// The process's one notification centre. Any thread.
class NotificationCenter {
public:
  using Handler = std::function<void(const Notification&)>;

  static NotificationCenter& defaultCenter();

  /// Calls `handler`, on the posting thread, for every post of `name`. The caller owns the observation.
  [[nodiscard]] std::unique_ptr<NotificationObservation> observe(const QString& name, Handler handler);

  /// Calls the handlers observing `name` on this thread, in the order of their registration, and returns after them.
  void post(const QString& name);
  void post(const QString& name, const QVariantMap& userInfo);

  NotificationCenter();
  ~NotificationCenter();

private:
  struct State;
  std::shared_ptr<State> m_state;
  void deliver(const Notification& notification);
};

} // namespace platform
