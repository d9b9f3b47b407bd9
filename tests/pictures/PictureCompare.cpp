#include "PictureCompare.h"

#include <QPainter>

#include <array>
#include <cmath>
#include <cstdlib>

namespace pictures {

namespace {

constexpr int kSide = 24;
constexpr int kPixelLimit = 48;    // how far one channel of a pixel may be off, of 255
constexpr int kPixelsBeyond = 11;  // how many pixels of a square may be farther off
constexpr double kMeanLimit = 4.0; // how far the average of a channel may be off

bool isSameSquare(const QImage& drawn, const QImage& expected, const QRect& square) {
  std::array<long, 3> sums{};
  int beyond = 0;
  for (int y = square.top(); y <= square.bottom(); ++y) {
    const auto* const one = reinterpret_cast<const QRgb*>(drawn.constScanLine(y));
    const auto* const other = reinterpret_cast<const QRgb*>(expected.constScanLine(y));
    for (int x = square.left(); x <= square.right(); ++x) {
      const std::array<int, 3> off{qRed(one[x]) - qRed(other[x]), qGreen(one[x]) - qGreen(other[x]),
                                   qBlue(one[x]) - qBlue(other[x])};
      bool isBeyond = false;
      for (std::size_t channel = 0; channel < off.size(); ++channel) {
        sums[channel] += off[channel];
        isBeyond = isBeyond || std::abs(off[channel]) > kPixelLimit;
      }
      beyond += isBeyond ? 1 : 0;
    }
  }
  if (beyond > kPixelsBeyond)
    return false;
  const double pixels = double(square.width()) * square.height();
  for (const long sum : sums)
    if (std::abs(double(sum)) / pixels > kMeanLimit)
      return false;
  return true;
}

QString sizeText(const QSize& size) {
  return QStringLiteral("%1 x %2").arg(size.width()).arg(size.height());
}

} // namespace

Comparison compare(const QImage& drawn, const QImage& expected) {
  Comparison result;
  if (drawn.size() != expected.size()) {
    result.reason =
        QStringLiteral("it is %1 large instead of %2").arg(sizeText(drawn.size()), sizeText(expected.size()));
    return result;
  }
  const QImage one = drawn.convertToFormat(QImage::Format_RGB32);
  const QImage other = expected.convertToFormat(QImage::Format_RGB32);
  result.difference = one;
  QPainter painter(&result.difference);
  painter.fillRect(one.rect(), QColor(255, 255, 255, 160));
  painter.setPen(Qt::red);
  int squares = 0;
  for (int y = 0; y < one.height(); y += kSide)
    for (int x = 0; x < one.width(); x += kSide) {
      const QRect square = QRect(x, y, kSide, kSide).intersected(one.rect());
      if (isSameSquare(one, other, square))
        continue;
      ++squares;
      painter.drawRect(square.adjusted(0, 0, -1, -1));
    }
  result.isSame = squares == 0;
  if (!result.isSame)
    result.reason = QStringLiteral("%1 squares of %2 pixels differ").arg(squares).arg(kSide);
  return result;
}

} // namespace pictures
