#pragma once
// A toolbar button: a title, and a three-part background while hovered or selected.
#include <QAbstractButton>
#include <QIcon>

/// Set the title with setText(), click through clicked(). Main thread.
class SToolbarButton : public QAbstractButton {
  Q_OBJECT
public:
  explicit SToolbarButton(QWidget* parent = nullptr);

  /// `setIsSelected:` Whether the button is drawn as the chosen one: background and blue title.
  void setIsSelected(bool isSelected);
  bool isSelected() const { return _isSelected; }
  /// Whether the pointer is inside.
  bool isOver() const { return _isOver; }

  /// The title's width in its font plus 15, and a line's height.
  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

protected:
  /// `mouseEntered:` Remembers that the pointer is inside (only in the active window).
  void enterEvent(QEnterEvent* event) override;
  /// `mouseExited:`
  void leaveEvent(QEvent* event) override;
  bool event(QEvent* event) override;
  /// `drawRect:` Background, when hovered or selected, then the title.
  void paintEvent(QPaintEvent* event) override;

private:
  /// `viewDidMoveToWindow` In another window, or one that has become the active one or ceased to be: whether the
  /// pointer is inside is found out anew. (The pointer is followed over every widget: there is no _trackingArea.)
  void viewDidMoveToWindow();
  /// `drawTitle` Centred in its own measured rectangle, which starts 6 points from the left edge at the bottom.
  void drawTitle(QPainter& painter) const;

  QIcon _left;
  QIcon _center;
  QIcon _right;
  bool _isOver = false;
  bool _isSelected = false;
};
