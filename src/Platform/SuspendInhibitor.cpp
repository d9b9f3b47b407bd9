#include "Platform/SuspendInhibitor.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>

#include <functional>
#include <optional>
#include <utility>

namespace platform {
namespace {

const QString kProgram = QStringLiteral("MTP Browser");

/// Calls and has `done` called with the answer, from the event loop. It outlives whoever asked.
template <class Reply>
void call(const QDBusConnection& bus, const QDBusMessage& message, std::function<void(const Reply&)> done) {
  auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(message));
  QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, done = std::move(done)] {
    watcher->deleteLater();
    done(Reply(*watcher));
  });
}

QDBusMessage desktopCall(const char* method, const QVariantList& arguments) {
  QDBusMessage message = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.PowerManagement"), QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"),
      QStringLiteral("org.freedesktop.PowerManagement.Inhibit"), QLatin1StringView(method));
  message.setAutoStartService(false); // a desktop that has it runs it
  message.setArguments(arguments);
  return message;
}

} // namespace

struct SuspendInhibitor::State {
  State(const QString& why, const QDBusConnection& sessionBus)
      : reason(why)
      , session(sessionBus) {}
  ~State() {
    if (cookie)
      release(session, *cookie);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  static void release(const QDBusConnection& bus, uint cookie) { bus.asyncCall(desktopCall("UnInhibit", {cookie})); }
  static void askSystem(const std::shared_ptr<State>& state, const QDBusConnection& system);
  static void askDesktop(const std::shared_ptr<State>& state);

  const QString reason;
  const QDBusConnection session;
  QDBusUnixFileDescriptor lock; // of the seat's manager: held as long as it is open
  std::optional<uint> cookie;   // of the desktop
};

void SuspendInhibitor::State::askSystem(const std::shared_ptr<State>& state, const QDBusConnection& system) {
  if (!system.isConnected())
    return askDesktop(state);
  QDBusMessage message = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
      QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
  message.setArguments({QStringLiteral("sleep:idle"), kProgram, state->reason, QStringLiteral("block")});
  using Reply = QDBusPendingReply<QDBusUnixFileDescriptor>;
  call<Reply>(system, message, [weak = std::weak_ptr<State>(state)](const Reply& reply) {
    const auto asking = weak.lock();
    if (!asking)
      return; // the answer's file descriptor is closed with it
    if (!reply.isError() && reply.value().isValid())
      asking->lock = reply.value();
    else
      askDesktop(asking);
  });
}

void SuspendInhibitor::State::askDesktop(const std::shared_ptr<State>& state) {
  const auto absent = [](const QString& why) {
    MTPB_LOG("the computer may suspend meanwhile: %s", qUtf8Printable(why.left(200)));
  };
  if (!state->session.isConnected())
    return absent(QStringLiteral("no bus to ask on"));
  using Reply = QDBusPendingReply<uint>;
  call<Reply>(state->session, desktopCall("Inhibit", {kProgram, state->reason}),
              [weak = std::weak_ptr<State>(state), bus = state->session, absent](const Reply& reply) {
                const auto asking = weak.lock();
                if (reply.isError())
                  absent(reply.error().message());
                else if (asking)
                  asking->cookie = reply.value();
                else
                  release(bus, reply.value());
              });
}

SuspendInhibitor::SuspendInhibitor(const QString& reason)
    : SuspendInhibitor(reason, QDBusConnection::systemBus(), QDBusConnection::sessionBus()) {}

SuspendInhibitor::SuspendInhibitor(const QString& reason, const QDBusConnection& system, const QDBusConnection& session)
    : m_state(std::make_shared<State>(reason, session)) {
  assertMainThread();
  State::askSystem(m_state, system);
}

SuspendInhibitor::~SuspendInhibitor() {
  assertMainThread();
}

bool SuspendInhibitor::isActive() const {
  assertMainThread();
  return m_state->lock.isValid() || m_state->cookie;
}

} // namespace platform
