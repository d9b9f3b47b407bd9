#include "UI/Common/LayoutDirection.h"

#include "Platform/UserDefaults.h"

#include <QGuiApplication>

namespace ui {

bool isRTLLayout() {
  const QString key = QStringLiteral("RTLLayout");
  if (platform::userDefaults::value(key)) {
    return platform::userDefaults::boolForKey(key);
  }
  return QGuiApplication::layoutDirection() == Qt::RightToLeft;
}

} // namespace ui
