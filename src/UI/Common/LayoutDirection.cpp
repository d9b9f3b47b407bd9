#include "UI/Common/LayoutDirection.h"

#include "Platform/MainThread.h"
#include "Platform/UserDefaults.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QGuiApplication>
#include <QLocale>

namespace ui {

bool isRTLLayout() {
  const QString key = QStringLiteral("RTLLayout");
  if (platform::userDefaults::value(key)) {
    return platform::userDefaults::boolForKey(key);
  }
  return QLocale(VornLocalStringDefine::language()).textDirection() == Qt::RightToLeft;
}

void applyLayoutDirection() {
  platform::assertMainThread();
  QGuiApplication::setLayoutDirection(isRTLLayout() ? Qt::RightToLeft : Qt::LeftToRight);
}

} // namespace ui
