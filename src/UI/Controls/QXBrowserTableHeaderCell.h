#pragma once
// How one column's header is drawn.
#include <QFont>
#include <QIcon>
#include <QPalette>
#include <QRectF>
#include <QString>

class QPainter;

/// A column header's title and sort mark. A value: copies draw the same. Main thread.
class BrowserHeaderCell {
public:
  /// `init` The program's font at 12 pixels, not the primary sort column, direction from ui::isRTLLayout().
  BrowserHeaderCell();

  QString title;
  /// The cell's own font; the title is drawn in the bold one of its size.
  QFont font;
  /// Drawn centred in the title's rectangle; null: none.
  QIcon image;
  Qt::Alignment alignment = Qt::AlignLeft;
  Qt::TextElideMode lineBreakMode = Qt::ElideRight;
  /// 0: this column is the primary sort column.
  qint64 columnPriority = 1;
  bool isAscending = false;
  /// Extra left inset of the title, in device-independent pixels.
  int indent = 0;
  bool isRTL = false;

  /// `drawWithFrame:inView:` Draws background, title, image and sort mark into `frame`, with `palette`'s colours.
  void drawWithFrame(const QRectF& frame, QPainter& painter, const QPalette& palette) const;

  /// `drawSortIndicatorWithFrame:inView:ascending:priority:` Draws nothing: keeps both values for the next drawing.
  void drawSortIndicatorWithFrame(bool ascending, qint64 priority);

  /// Where the sort mark stands in a header of that frame.
  QRectF sortIndicatorRectForBounds(const QRectF& frame) const;
  /// Where the title stands in a header of that frame.
  QRectF titleRectForBounds(const QRectF& frame) const;
};
