#include "MTPBrowser.h"

#include "Platform/MainThread.h"
#include "Platform/UserDefaults.h"
#include "SBrowser/SBrowserWindowController.h"

MTPBrowser::MTPBrowser(const ControllerFactory& createController, Terminate terminate)
    : _windowController(createController())
    , m_terminate(std::move(terminate)) {
  platform::assertMainThread();
}

MTPBrowser::MTPBrowser(const QString& initWithLocationId, const QVariantMap& rootMemory, bool isRTL,
                       const ControllerFactory& createController, Terminate terminate)
    : _locationID(initWithLocationId)
    , _rootMemory(rootMemory)
    , m_terminate(std::move(terminate)) {
  platform::assertMainThread();
  setRTLMode(isRTL); // before the window exists: its cells read the flag when they are created
  _windowController = createController();
}

MTPBrowser::MTPBrowser(const QRect&, const QString& locationID, const QVariantMap& rootMemory, bool isRTL,
                       const ControllerFactory& createController, Terminate terminate)
    : MTPBrowser(locationID, rootMemory, isRTL, createController, std::move(terminate)) {}

MTPBrowser::~MTPBrowser() = default;

void MTPBrowser::connectDevice(const QString& locationID) {
  platform::assertMainThread();
  _locationID = locationID;
  _windowController->connectDevice(locationID);
}

void MTPBrowser::showWindow() {
  platform::assertMainThread();
  _windowController->showWindow();
}

void MTPBrowser::closeWindow() {
  platform::assertMainThread();
  _windowController->closeAllWindows();
}

void MTPBrowser::deviceDisconnected() {
  platform::assertMainThread();
  m_terminate();
}

void MTPBrowser::setRTLMode(bool rightToLeft) {
  platform::userDefaults::setValue(QStringLiteral("RTLLayout"), rightToLeft);
}
