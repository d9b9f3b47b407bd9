#pragma once
// What the window knows from the last time: where it stood, how wide its columns were, what its rows were sorted by.
#include <QList>
#include <QObject>
#include <QRect>

#include <optional>

class QMainWindow;
class SOutlineView;

/// Keeps it in the user defaults "WindowFrame" (left, top, width and height in device-independent pixels),
/// "WindowMaximized", "ColumnWidths/<identifier>" and "SortColumn" (an identifier) with "SortAscending". What is stored
/// and makes no sense counts as not stored. Main thread.
class WindowMemory : public QObject {
  Q_OBJECT
public:
  /// What rows are sorted by: a SOutlineColumnIndex and the order.
  struct Sorting {
    int column = 0;
    Qt::SortOrder order = Qt::AscendingOrder;
  };

  /// Brings size, place and column widths back. Neither is owned; both must be there until save() or the destructor is
  /// over. The outline has its columns already.
  WindowMemory(QMainWindow& window, SOutlineView& outline);
  /// Saves.
  ~WindowMemory() override;

  /// The sorting the user had chosen; nothing when there was none.
  static std::optional<Sorting> sorting();
  /// The user has chosen a sorting.
  static void setSorting(const Sorting& sorting);
  /// Stores size, place and widths as they are, unless the window never was on screen. Also done when it is closed.
  void save();

  /// Where a window that stood at `stored` can stand: there, if a strip of its upper edge wide enough to take hold of
  /// lies on one of the screens (given by their available areas, the main one first), else in the middle of the main
  /// one; never larger than the screen. Nothing when no window can have that size. Pure.
  static std::optional<QRect> placeFor(const QRect& stored, const QList<QRect>& screens);

protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

private:
  void restoreFrame();
  void restoreColumns();

  QMainWindow& m_window;
  SOutlineView& m_outline;
  bool m_wasShown = false;
};
