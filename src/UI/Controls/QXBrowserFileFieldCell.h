#pragma once
// The cells of the tree: an icon with a name, and plain texts.
#include <QIcon>
#include <QStyledItemDelegate>

#include <memory>

/// What both cells share: one line of text in the program's font and the colour "ItemText", cut off at its end. The
/// text is the model's Qt::DisplayRole, whatever it holds (see ui::singleLineText()). Nothing is editable in place.
/// Main thread.
class SOutlineTextCell : public QStyledItemDelegate {
  Q_OBJECT
public:
  /// Direction from ui::isRTLLayout().
  explicit SOutlineTextCell(QObject* parent = nullptr);

  bool isRTL = false;

  /// Where the text stands: 18 pixels high, `frame` less 3 at its top and 3 at the side the text starts from.
  virtual QRectF textRectForFrame(const QRectF& frame) const;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
  /// Draws `title` into `rect`.
  void drawText(const QRectF& rect, const QString& title, QPainter& painter, const QPalette& palette) const;
};

/// The name's cell: the row's icon (the model's Qt::DecorationRole) beside the name.
class QXBrowserFileFieldCell : public SOutlineTextCell {
  Q_OBJECT
public:
  /// `init` No icon, no title.
  explicit QXBrowserFileFieldCell(QObject* parent = nullptr);

  // Icon (null: none) and title are those of the row being drawn or measured: one cell serves a whole column.
  mutable QIcon image;
  mutable QString title;
  /// Off; when on, the strip of the icon is filled with red first.
  bool drawsBackground = false;

  /// `drawWithFrame:inView:` Draws icon and title for `frame`: what titleRectForBounds() leaves of the cell's bounds,
  /// the icon standing to the left of it; right to left the whole bounds.
  void drawWithFrame(const QRectF& frame, QPainter& painter, const QPalette& palette) const;

  /// `titleRectForBounds:` The bounds without the icon's place: 25 to the right and 25 narrower.
  QRectF titleRectForBounds(const QRectF& bounds) const;

  /// Where the icon stands, for the frame drawWithFrame() gets.
  QRectF imageRectForFrame(const QRectF& frame) const;
  /// 18 pixels high, 3 to the right of and below the corner of `frame`, as wide as it, 28 narrower right to left.
  QRectF textRectForFrame(const QRectF& frame) const override;

  /// `cellSize` The size of the title, 22 wider with an icon and 3 wider in any case.
  QSize cellSize() const;

  /// `hitTestForEvent:inRect:ofView:` Whether a click at `point` hits the content: the icon or the title's text.
  bool hitTestForEvent(const QPointF& point, const QRectF& frame) const;

  /// `copyWithZone:` A new cell with the same icon, title and settings, owned by the caller.
  std::unique_ptr<QXBrowserFileFieldCell> copyWithZone() const;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  /// `editWithFrame:inView:editor:delegate:event:`, `selectWithFrame:inView:editor:delegate:start:length:` The editor
  /// gets the cell without the strip of 25 at its left edge, the icon's place.
  void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const override;

private:
  void setRow(const QModelIndex& index) const;
};
