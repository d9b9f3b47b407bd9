#pragma once
// The kinds of events that views lying over others keep to themselves.
#include <QEvent>

namespace ui {

/// Mouse buttons, movement, wheel, coming and going of the pointer. A context menu's event is not among them.
constexpr bool isPointerEvent(QEvent::Type type) {
  return type == QEvent::MouseButtonPress || type == QEvent::MouseButtonRelease ||
         type == QEvent::MouseButtonDblClick || type == QEvent::MouseMove || type == QEvent::Wheel ||
         type == QEvent::Enter || type == QEvent::Leave;
}

constexpr bool isKeyEvent(QEvent::Type type) {
  return type == QEvent::KeyPress || type == QEvent::KeyRelease;
}

/// All that a drag tells the view below it.
constexpr bool isDragEvent(QEvent::Type type) {
  return type == QEvent::DragEnter || type == QEvent::DragMove || type == QEvent::DragLeave || type == QEvent::Drop;
}

} // namespace ui
