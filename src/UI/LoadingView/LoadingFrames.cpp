#include "UI/LoadingView/LoadingFrames.h"

#include "UI/Common/Images.h"

#include <QIconEngine>
#include <QPainter>
#include <QtMath>

#include <cmath>

namespace ui {

namespace {

constexpr int kDots = 12;
constexpr int kTurns = 4;
constexpr int kFadeFrames = 14;
constexpr QSize kFrameSize(120, 120);

/// Draws through a function, at whatever size it is asked for. Nothing is kept: a round of the animation in the pixmap
/// cache would push everything else out.
class DrawnIconEngine : public QIconEngine {
public:
  using Draw = void (*)(QPainter&, const QRectF&, int);
  DrawnIconEngine(Draw draw, int number)
      : m_draw(draw)
      , m_number(number) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
    m_draw(*painter, QRectF(rect), m_number);
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    m_draw(painter, QRectF(QPointF(0, 0), QSizeF(size)), m_number);
    return pixmap;
  }
  QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override {
    return kFrameSize.scaled(size, Qt::KeepAspectRatio);
  }
  QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override { return {kFrameSize}; }
  QIconEngine* clone() const override { return new DrawnIconEngine(*this); }
  bool isNull() override { return false; }

private:
  Draw m_draw;
  int m_number;
};

void drawCircleBase(QPainter& painter, const QRectF& area, int) {
  const qreal unit = qMin(area.width(), area.height()) / kFrameSize.width();
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  // A soft shadow of a few rings, then the disc.
  for (int ring = 3; ring >= 1; --ring) {
    painter.setBrush(QColor(0, 0, 0, 10));
    painter.drawEllipse(area.center() + QPointF(0, unit), (54 + ring) * unit, (54 + ring) * unit);
  }
  painter.setBrush(namedColor(QStringLiteral("Paper")));
  painter.drawEllipse(area.center(), 54 * unit, 54 * unit);
  // The phone in the middle.
  QColor ink = namedColor(QStringLiteral("ItemText"));
  ink.setAlphaF(0.75F);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(ink, 2.4 * unit));
  QRectF body(0, 0, 20 * unit, 34 * unit);
  body.moveCenter(area.center());
  painter.drawRoundedRect(body, 4 * unit, 4 * unit);
  painter.setPen(QPen(ink, 2 * unit, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(QPointF(-3 * unit, 12.5 * unit) + area.center(), QPointF(3 * unit, 12.5 * unit) + area.center());
  painter.restore();
}

/// How strongly the whole ring is drawn: it comes up at the start of a round and dies away before the rest.
qreal strength(int number) {
  const qreal in = qreal(number) / kFadeFrames;
  const qreal out = qreal(kLoadingFrameCount - number) / kFadeFrames;
  return qBound<qreal>(0, qMin(in, out), 1);
}

} // namespace

QString loadingFrameName(int number) {
  return QStringLiteral("back_up_pop_up_dot_%1").arg(number, 2, 10, QLatin1Char('0'));
}

void registerLoadingFrames() {
  for (int number = 1; number <= kLoadingFrameCount; ++number) {
    registerNamedImage(loadingFrameName(number), QIcon(new DrawnIconEngine(drawLoadingFrame, number)));
  }
  registerNamedImage(QStringLiteral("back_up_pop_up_base"), QIcon(new DrawnIconEngine(drawCircleBase, 0)));
}

void drawLoadingFrame(QPainter& painter, const QRectF& area, int number) {
  const qreal unit = qMin(area.width(), area.height()) / kFrameSize.width();
  const qreal head = std::fmod(qreal(number - 1) / kLoadingFrameCount * kTurns, 1.0) * kDots;
  const QColor accent = namedColor(QStringLiteral("Accent"));
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  for (int dot = 0; dot < kDots; ++dot) {
    // How far the head of the comet has run past this dot, in parts of the circle.
    const qreal behind = std::fmod(head - dot + kDots, qreal(kDots)) / kDots;
    const qreal light = std::pow(1 - behind, 2.2) * strength(number);
    const qreal angle = qDegreesToRadians(360.0 * dot / kDots - 90);
    QColor color = accent;
    color.setAlphaF(float(0.15 + 0.85 * light));
    painter.setBrush(color);
    const qreal radius = (2.6 + 1.6 * light) * unit;
    painter.drawEllipse(area.center() + QPointF(std::cos(angle), std::sin(angle)) * 40 * unit, radius, radius);
  }
  painter.restore();
}

} // namespace ui
