#pragma once
// A place of the window to drop its own rows on, to delete them.
#include <QWidget>

/// Lies over the lower edge of its parent while rows are dragged, and is away otherwise. What was dropped here comes as
/// the drag's destination (see platform::DragOut). Main thread.
class TrashTarget : public QWidget {
  Q_OBJECT
public:
  explicit TrashTarget(QWidget* parent);

  /// Comes to the front, in the middle of the parent's lower edge.
  void appear();

protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

private:
  void setHovered(bool hovered);

  QString m_text;
  bool m_isHovered = false;
};
