#pragma once
// The browser's facade: what the application sees of the one browser window.
#include <QRect>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

class SBrowserWindowController;

/// Owns the window controller for the life of the program. Main thread only; nothing here blocks.
class MTPBrowser {
public:
  using ControllerFactory = std::function<std::unique_ptr<SBrowserWindowController>()>;
  /// Ends the whole application.
  using Terminate = std::function<void()>;

  /// `init`. Creates the window controller with its plain initialiser. The controller belongs to the facade.
  MTPBrowser(const ControllerFactory& createController, Terminate terminate);
  /// `initWithFrame:locationID:rootMemory:isRTL:`. Keeps the identifier and the dictionary, stores the right-to-left
  /// flag in the user defaults under "RTLLayout" and creates the window controller. The frame is not used.
  MTPBrowser(const QRect& initWithFrame, const QString& locationID, const QVariantMap& rootMemory, bool isRTL,
             const ControllerFactory& createController, Terminate terminate);
  /// `initWithLocationId:rootMemory:isRTL:`. The same without a frame.
  MTPBrowser(const QString& initWithLocationId, const QVariantMap& rootMemory, bool isRTL,
             const ControllerFactory& createController, Terminate terminate);
  virtual ~MTPBrowser();

  /// `connectDevice:`. Keeps the location identifier (upper-case hexadecimal text) and has the window show that phone.
  virtual void connectDevice(const QString& locationID);
  /// `showWindow:`. Shows the window.
  virtual void showWindow();
  /// `closeWindow`. Closes the window as if the user had.
  virtual void closeWindow();
  /// `deviceDisconnected`. Ends the application. The window controller is not told first.
  virtual void deviceDisconnected();
  /// `setRTLMode:`. Stores the flag under "RTLLayout"; cells and headers read it when they are created.
  void setRTLMode(bool rightToLeft);

  const QString& locationID() const { return _locationID; }
  const QVariantMap& rootMemory() const { return _rootMemory; }
  /// The window controller; owned by the facade.
  SBrowserWindowController* windowController() const { return _windowController.get(); }

protected:
  /// For tests: a facade without a window.
  MTPBrowser() = default;

private:
  std::unique_ptr<SBrowserWindowController> _windowController;
  QString _locationID;
  QVariantMap _rootMemory;
  Terminate m_terminate;
};
