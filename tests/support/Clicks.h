#pragma once
// Clicks as the window system tells them, at times that the test sets: double clicks and open menus count.
#include <QCoreApplication>
#include <QGuiApplication>
#include <QStyleHints>
#include <QTest>
#include <QWidget>
#include <QWindow>

namespace testsupport {

/// Milliseconds between two presses, within the time of a double click and beyond it.
inline constexpr int kFast = 50;
inline int slow() {
  return QGuiApplication::styleHints()->mouseDoubleClickInterval() + 100;
}

/// Presses a button `after` so many milliseconds at a point of a widget that is shown, and releases it.
inline void click(const QWidget& widget, const QPoint& point, Qt::MouseButton button, int after) {
  QWidget* const window = widget.window();
  const QPointF local(widget.mapTo(window, point));
  const QPointF global(widget.mapToGlobal(point));
  QTest::lastMouseTimestamp += after;
  qt_handleMouseEvent(window->windowHandle(), local, global, button, button, QEvent::MouseButtonPress, {},
                      QTest::lastMouseTimestamp);
  QCoreApplication::processEvents();
  qt_handleMouseEvent(window->windowHandle(), local, global, Qt::NoButton, button, QEvent::MouseButtonRelease, {},
                      QTest::lastMouseTimestamp);
  QCoreApplication::processEvents();
}

} // namespace testsupport
