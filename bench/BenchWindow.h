#pragma once
// A browser window over a virtual phone in this process, for measuring.
#include "SBrowser/SBrowserWindowController.h"
#include "VirtualPhone/VirtualPhone.h"

#include <QEvent>
#include <QEventLoop>
#include <QTimer>
#include <QWidget>

namespace bench {

inline constexpr int patience = 120'000; // ms; a bench that hangs ends

/// Handles events until a folder is shown. False when none was in time.
inline bool waitForFolder(SBrowserWindowController& controller) {
  QEventLoop loop;
  bool shown = false;
  const auto connection = QObject::connect(&controller, &SBrowserWindowController::folderShown, &loop, [&] {
    shown = true;
    loop.quit();
  });
  QTimer::singleShot(patience, &loop, &QEventLoop::quit);
  loop.exec();
  QObject::disconnect(connection);
  return shown;
}

/// Ends a loop when something in a widget has been painted.
class PaintWatch : public QObject {
public:
  explicit PaintWatch(QEventLoop& loop)
      : m_loop(loop) {}
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Paint)
      QMetaObject::invokeMethod(&m_loop, &QEventLoop::quit, Qt::QueuedConnection);
    return false;
  }

private:
  QEventLoop& m_loop;
};

/// Asks for a paint of the widget and handles events until it is done.
inline void waitForPaint(QWidget& widget) {
  QEventLoop loop;
  PaintWatch watch(loop);
  widget.installEventFilter(&watch);
  widget.update();
  QTimer::singleShot(patience, &loop, &QEventLoop::quit);
  loop.exec();
}

/// A phone at the location 14200000 whose one storage shows a folder of this computer.
inline vphone::Options phoneServing(const QString& folder) {
  vphone::Options options;
  options.locationId = 0x14200000;
  options.storages = {{.folder = folder.toStdString(), .description = "Phone"}};
  return options;
}

} // namespace bench
