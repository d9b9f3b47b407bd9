#pragma once
// Draws an SVG picture as an icon, in the colours of the moment.
#include <QByteArray>
#include <QIconEngine>
#include <QSize>

namespace ui {

/// An icon of one SVG text. "currentColor" in it stands for the named colour "ItemText" at the time of painting; a
/// disabled icon is drawn faintly. Unlike Qt's own engine it fills the rectangle it is given, stretching both axes
/// apart where asked to. Pixmaps are kept in QPixmapCache. Main thread.
class SvgIconEngine : public QIconEngine {
public:
  /// `svg`: the document; `key` tells it from all others in the cache.
  SvgIconEngine(QByteArray svg, QString key);

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override;
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override;
  QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale) override;
  /// The largest size of the picture's own proportions in `size`.
  QSize actualSize(const QSize& size, QIcon::Mode mode, QIcon::State state) override;
  /// The size the picture was drawn for.
  QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override;
  QIconEngine* clone() const override;
  bool isNull() override { return m_size.isEmpty(); }

private:
  QByteArray m_svg;
  QString m_key;
  QSize m_size;
};

} // namespace ui
