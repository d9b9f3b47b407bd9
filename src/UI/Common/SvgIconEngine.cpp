#include "UI/Common/SvgIconEngine.h"

#include "UI/Common/Images.h"

#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

namespace ui {

SvgIconEngine::SvgIconEngine(QByteArray svg, QString key)
    : m_svg(std::move(svg))
    , m_key(std::move(key)) {
  m_size = QSvgRenderer(m_svg).defaultSize();
}

void SvgIconEngine::paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) {
  const qreal scale = painter->device()->devicePixelRatioF();
  painter->drawPixmap(rect, scaledPixmap((QSizeF(rect.size()) * scale).toSize(), mode, state, scale));
}

QPixmap SvgIconEngine::pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) {
  return scaledPixmap(size, mode, state, 1);
}

QPixmap SvgIconEngine::scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal) {
  if (size.isEmpty() || isNull()) {
    return {};
  }
  const QByteArray colour = namedColor(QStringLiteral("ItemText")).name().toLatin1();
  const QString key = QStringLiteral("mtpbrowser:%1:%2x%3:%4:%5")
                          .arg(m_key)
                          .arg(size.width())
                          .arg(size.height())
                          .arg(mode == QIcon::Disabled ? 1 : 0)
                          .arg(QLatin1StringView(colour));
  QPixmap pixmap;
  if (QPixmapCache::find(key, &pixmap)) {
    return pixmap;
  }
  pixmap = QPixmap(size);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setOpacity(mode == QIcon::Disabled ? 0.4 : 1.0);
  QSvgRenderer renderer(QByteArray(m_svg).replace("currentColor", colour));
  renderer.setAspectRatioMode(Qt::IgnoreAspectRatio);
  renderer.render(&painter, QRectF(QPointF(0, 0), QSizeF(size)));
  painter.end();
  QPixmapCache::insert(key, pixmap);
  return pixmap;
}

QSize SvgIconEngine::actualSize(const QSize& size, QIcon::Mode, QIcon::State) {
  return m_size.scaled(size, Qt::KeepAspectRatio);
}

QList<QSize> SvgIconEngine::availableSizes(QIcon::Mode, QIcon::State) {
  return {m_size};
}

QIconEngine* SvgIconEngine::clone() const {
  return new SvgIconEngine(*this);
}

} // namespace ui
