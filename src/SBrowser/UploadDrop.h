#pragma once
// Files of the computer that are dragged over the tree: where they would go, and letting them go there.
#include "Platform/Timers.h"

#include <QObject>
#include <QPersistentModelIndex>
#include <QPoint>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

class QDropEvent;
class QMimeData;
class QModelIndex;
class QWidget;
class SOutlineView;

/// The paths of the computer that are dragged; links to elsewhere are left out. Pure; any thread.
QStringList localPaths(const QMimeData& info);

/// Handles the drags that come to the tree's rows from other programs: always as a copy, whatever the other side
/// prefers. While one hovers, the place it would go to is framed, the rows scroll at the edges, and a folder opens
/// under a pointer that rests on it. Main thread.
class UploadDrop : public QObject {
  Q_OBJECT
public:
  /// What the tree's owner says. All indexes are of column kFileName; the invalid one is the empty space.
  struct Owner {
    /// Whether files can be dropped now at all. Asked at every move.
    std::function<bool()> isReady;
    /// Whether a drop here is accepted, from the tree itself or from elsewhere. Asked at every move.
    std::function<bool(const QModelIndex& row, bool isFromTree)> validateDrop;
    /// The row of the folder that a drop here goes to; invalid: the folder that the tree shows.
    std::function<QModelIndex(const QModelIndex& row)> targetRow;
    std::function<void(const QMimeData& info, const QModelIndex& row)> acceptDrop;
    /// The drag has gone, dropped or not.
    std::function<void()> dragEnded;
  };

  /// How long a pointer rests on a folder until it opens, and how often rows scroll under one at the edge.
  static constexpr std::chrono::milliseconds kOpenDelay{800};
  static constexpr std::chrono::milliseconds kScrollInterval{60};

  /// `outline` and `timers` must outlive the object.
  UploadDrop(SOutlineView& outline, platform::Timers& timers, Owner owner);
  ~UploadDrop() override;

protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

private:
  bool carriesFiles(const QDropEvent& event);
  /// `draggingEntered:` Whether a drop here would be accepted.
  bool draggingEntered(QDropEvent& event);
  /// `draggingUpdated:` The same, at every move.
  bool draggingUpdated(QDropEvent& event);
  /// `draggingExited:` The drag has gone elsewhere.
  void draggingExited();
  /// `prepareForDragOperation:` Whether the drop is accepted where it happens.
  bool prepareForDragOperation(QDropEvent& event);
  /// `performDragOperation:` Hands the files on.
  void performDragOperation(const QDropEvent& event, const QModelIndex& row);
  /// `concludeDragOperation:` Nothing shows or remembers the drag any more.
  void concludeDragOperation();
  void dropped(QDropEvent& event);
  void hideTraces();
  QModelIndex rowAt(const QPoint& point) const;
  void rest(const QModelIndex& row);
  void showFrame(const QModelIndex& row);
  void scrollAt(const QPoint& point);

  SOutlineView& m_outline;
  platform::Timers& m_timers;
  const Owner m_owner;
  std::unique_ptr<QWidget> m_frame;
  std::optional<bool> m_carriesFiles; // what hovers, once it was looked at
  QPersistentModelIndex m_restsOn;
  int m_scrollStep = 0; // rows; 0: no scrolling
  std::unique_ptr<platform::Timer> m_openTimer;
  std::unique_ptr<platform::Timer> m_scrollTimer;
};
