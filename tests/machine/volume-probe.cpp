// Prints what the whole detection announces, a line an event: "event<TAB>type<TAB>location<TAB>volume path". The log
// goes to standard error. Ends when its standard input does.
#include "DeviceNotifier/BTVornDeviceNotifier.h"
#include "Platform/NotificationCenter.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <thread>
#include <unistd.h>

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  const auto observation = platform::NotificationCenter::defaultCenter().observe(
      QStringLiteral("BTVORN_NOTI_DEVICE_NOTIFIER"), [](const platform::Notification& notification) {
        const auto text = [&notification](const char* key) {
          return notification.userInfo.value(QLatin1String(key)).toString().toUtf8();
        };
        std::printf("event\t%s\t%s\t%s\n", text("EventType").constData(), text("LocationId").constData(),
                    text("UmsPath").constData());
        std::fflush(stdout);
      });
  BTVornDeviceNotifier::Parts parts;
  parts.identities = detection::loadDeviceIdentityTable();
  // The detector's own pause before it looks for the mount, not a test's: an emulated machine mounts a disk in about a
  // second, so it is given as much longer.
  parts.sleep = [](std::chrono::seconds time) {
    std::this_thread::sleep_for(5 * time);
    return true;
  };
  BTVornDeviceNotifier notifier(std::move(parts));
  notifier.registerNotification(std::nullopt);
  if (!notifier.startUMSNotifierThread())
    return 1;
  QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
  QObject::connect(&input, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
  QCoreApplication::exec();
  notifier.unRegisterNotification();
  return notifier.usbNotiThread() || notifier.umsNotiThread() ? 1 : 0;
}
