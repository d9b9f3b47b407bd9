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

QFont SFont::fontWithPixelSize(double pixelSize, bool bold) {
  platform::assertMainThread();
  const QString desktopFamily = QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
  if (m_desktopFamily != desktopFamily) {
    m_desktopFamily = desktopFamily;
    attributedStringDic.clear();
  }
  const int pixels = std::isfinite(pixelSize) ? int(std::lround(std::clamp(pixelSize, 1.0, 1000.0))) : 12;
  // A font that is kept keeps its faces too; to look them up anew for every cell would be most of a paint's work.
  auto known = attributedStringDic.constFind({pixels, bold});
  if (known == attributedStringDic.constEnd()) {
    QFont font;
    // "HelveticaNeue-Bold" is the bold face of the same family here: families and weights are chosen apart.
    font.setFamilies({QStringLiteral("HelveticaNeue"), QStringLiteral("Helvetica Neue"), desktopFamily,
                      QStringLiteral("Inter"), QStringLiteral("Noto Sans"), QStringLiteral("DejaVu Sans")});
    font.setPixelSize(pixels);
    font.setBold(bold);
    known = attributedStringDic.insert({pixels, bold}, font);
  }
  return *known;
}
