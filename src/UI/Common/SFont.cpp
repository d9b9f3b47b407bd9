#include "UI/Common/SFont.h"

#include "Platform/MainThread.h"

#include <QFontDatabase>
#include <QStringList>

#include <algorithm>
#include <cmath>

SFont& SFont::sharedInstance() {
  static SFont instance;
  return instance;
}

QFont SFont::fontWithPixelSize(double pixelSize, bool bold) const {
  platform::assertMainThread();
  QFont font;
  // "HelveticaNeue-Bold" is the bold face of the same family here: families and weights are chosen apart.
  font.setFamilies({QStringLiteral("HelveticaNeue"), QStringLiteral("Helvetica Neue"),
                    QFontDatabase::systemFont(QFontDatabase::GeneralFont).family(), QStringLiteral("Inter"),
                    QStringLiteral("Noto Sans"), QStringLiteral("DejaVu Sans")});
  font.setPixelSize(std::isfinite(pixelSize) ? int(std::lround(std::clamp(pixelSize, 1.0, 1000.0))) : 12);
  font.setBold(bold);
  return font;
}
