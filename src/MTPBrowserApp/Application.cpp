#include "MTPBrowserApp/Application.h"

#include "DeviceNotifier/BTVornDeviceNotifier.h"
#include "MTPBrowser.h"
#include "MTPBrowserApp/AppDelegate.h"
#include "MTPBrowserApp/EmbeddedPhone.h"
#include "MTPBrowserApp/Farewell.h"
#include "MTPBrowserApp/PictureTaker.h"
#include "MTPBrowserApp/SupportLines.h"
#include "Platform/CompositeDeviceRegistry.h"
#include "Platform/DistributedNotifications.h"
#include "Platform/HomeFolder.h"
#include "Platform/Log.h"
#include "Platform/LogNames.h"
#include "Platform/MainThread.h"
#include "Platform/Timers.h"
#include "Platform/UdevDeviceRegistry.h"
#include "Platform/UserDefaults.h"
#include "Platform/VirtualDeviceRegistry.h"
#include "QXCaptureLog.h"
#include "SBrowser/SBrowserWindowController.h"
#include "TessalyMTPSdk/Engine.h"
#include "TessalyMTPSdk/UsbDiscovery.h"
#include "UI/Common/DesktopColorScheme.h"
#include "UI/Common/Images.h"
#include "UI/Common/LayoutDirection.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QTranslator>

#include <chrono>
#include <csignal>

namespace {

using namespace std::chrono_literals;

// How long after the start the embedded phone waits for a real one to be announced.
constexpr auto realPhonesFirst = 1200ms;

class Notifier : public DeviceNotifierService {
public:
  explicit Notifier(BTVornDeviceNotifier::Parts parts)
      : m_notifier(std::move(parts)) {}
  void start() override {
    m_notifier.registerNotification(std::nullopt);
    // Off: the program shows one phone on the USB, and every event but its attach ends it.
    if (platform::userDefaults::boolForKey(QStringLiteral("START_UMS_NOTIFIER")))
      m_notifier.startUMSNotifierThread();
  }
  void stop() override { m_notifier.unRegisterNotification(); }

private:
  BTVornDeviceNotifier m_notifier;
};

class CaptureLog : public CaptureLogService {
public:
  void start(const QString& path) override {
    QXCaptureLog& log = QXCaptureLog::defaultCaptureLog(path);
    if (log.isStarted())
      return;
    log.startCapture();
    for (const QString& line : supportLines())
      MTPB_LOG_PLAIN("%s", qUtf8Printable(line));
  }
  void stop(const QString& path) override { QXCaptureLog::defaultCaptureLog(path).stopCapture(); }
};

class SupportTool : public SupportToolChannel {
public:
  void observe(const QString& name, Handler handler) override {
    m_observation = platform::DistributedNotificationCenter::defaultCenter().observe(
        name, [handler = std::move(handler)](const platform::Notification& notification) {
          handler(notification.name, notification.userInfo);
        });
  }

private:
  std::unique_ptr<platform::NotificationObservation> m_observation;
};

void sendEngineLogToOurs() {
  const bool debug = qEnvironmentVariableIsSet("MTPBROWSER_DEBUG");
  platform::setNamesInLog(debug);
  mtp::setLog([debug](mtp::LogLevel level, const std::string& line) {
    if (level != mtp::LogLevel::Debug || debug)
      MTPB_LOG_PLAIN("%s", line.c_str());
  });
}

} // namespace

int runApplication(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN); // whoever read our log may end before us
  platform::completeHomeFolder();
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("MTPBrowser"));
  QApplication::setApplicationDisplayName(QStringLiteral("MTP Browser"));
  QApplication::setDesktopFileName(QStringLiteral("org.mtpbrowser.MTPBrowser"));
  sendEngineLogToOurs();

  // Qt's dialogs and standard menus speak the language of our texts, as far as Qt's translations are installed.
  QTranslator qtTexts;
  if (qtTexts.load(QStringLiteral("qtbase_") + VornLocalStringDefine::language(),
                   QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
    QCoreApplication::installTranslator(&qtTexts);
  ui::applyLayoutDirection();
  const ui::DesktopColorScheme colorScheme;

  const auto virtualDevices = std::make_shared<platform::VirtualDeviceRegistry>();
  BTVornDeviceNotifier::Parts detection;
  detection.identities = detection::loadDeviceIdentityTable();
  detection.registry =
      std::make_shared<platform::CompositeDeviceRegistry>(std::vector<std::shared_ptr<platform::DeviceRegistry>>{
          std::make_shared<platform::UdevDeviceRegistry>(), virtualDevices});
  detection.mtpProbe = [](std::uint32_t locationId) { return mtp::hasMtpInterface(locationId); };
  // Of a product whose serial port is looked for only once: attaching it takes no time.
  EmbeddedPhone embeddedPhone(*virtualDevices,
                              {detection.identities.kPhoneVendorId, detection.identities.kPhoneProductIdLast});

  ApplicationParts parts;
  parts.createNotifier = [&detection] { return std::make_unique<Notifier>(detection); };
  parts.createBrowser = [] {
    return std::make_unique<MTPBrowser>([] { return std::make_unique<SBrowserWindowController>(); },
                                        // Not quit(): that asks every window first, and one may refuse.
                                        [] { QCoreApplication::exit(0); });
  };
  parts.supportTool = std::make_shared<SupportTool>();
  parts.captureLog = std::make_shared<CaptureLog>();
  parts.mainQueue = [](std::function<void()> work) { platform::runOnMain(std::move(work)); };
  parts.homeFolder = QDir::homePath();

  int status = 0;
  {
    AppDelegate delegate(std::move(parts));
    QApplication::setQuitOnLastWindowClosed(delegate.applicationShouldTerminateAfterLastWindowClosed());
    delegate.applicationDidFinishLaunching();

    const EmbeddedPhoneMode mode = embeddedPhoneMode();
    std::unique_ptr<platform::Timer> embeddedStart;
    if (mode != EmbeddedPhoneMode::Never)
      embeddedStart =
          platform::Timers::mainThread().oneShot(mode == EmbeddedPhoneMode::Always ? 0ms : realPhonesFirst, [&] {
            if (mode == EmbeddedPhoneMode::Always || delegate.locationId().isNull())
              embeddedPhone.attach(embeddedPhoneFolder());
          });
    const PictureTaker pictures(qEnvironmentVariable("MTPBROWSER_PICTURE"), delegate.browser());

    status = QApplication::exec();

    embeddedStart.reset();
    delegate.applicationWillTerminate();
    endWork([&] { embeddedPhone.detach(); });
  }
  mtp::setLog({});
  return status;
}
