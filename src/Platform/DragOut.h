#pragma once
// Dragging rows out of the window to a folder of the computer or to a trash can.
//
// What is dragged does not exist as files, so no file names are offered: the target is asked for its folder, and the
// files come into being there afterwards. Two protocols tell the folder, and both are offered at once:
//  - X Direct Save, on X11: GTK file managers other than Nautilus, also their desktops.
//  - the D-Bus interface org.kde.ark.DndExtract, on X11 and Wayland: Dolphin and Plasma.
// No target is ever offered "text/uri-list", and the only action is Qt::CopyAction: some would take the one before the
// protocols, and throw away what they believe to be moved.
//
// What the caller does:
//  - Reimplements QAbstractItemView::startDrag() (without calling the base, which would ask the model for the data of
//    every row), remembers which rows are dragged, and calls start(). The rows are no matter of this class: a drag of
//    10,000 of them begins as fast as one of a single row.
//  - In `delivered`: copies to the folder, deletes (after the usual question), tells where rows can be dropped when
//    none came and offers a folder dialog instead, or forgets the rows. Whether the folder exists, can be written to
//    and what it holds already is the copy's business.
//  - Where the window takes drops: refuses those for which isOwnDrag() holds, except on a trash can of its own, whose
//    dropEvent() accepts Qt::CopyAction and calls dropOnTrash().
#include "Platform/DirectSaveProperty.h"
#include "Platform/DragDestination.h"
#include "Platform/DragSession.h"
#include "Platform/Timers.h"

#include <QDBusConnection>
#include <QPixmap>
#include <QPoint>
#include <QPointer>

#include <memory>
#include <vector>

class QDrag;
class QMimeData;
class QObject;

namespace platform {

class DragExtractObject;

/// Starts drags and tells what they came to. Main thread only.
class DragOut {
public:
  using Delivered = DragSession::Delivered;

  /// For the session bus and the display of this program.
  explicit DragOut(Timers& timers = Timers::mainThread());
  /// `directSave`: nullptr where there is no X11. `bus` may be unconnected: the extract protocol is not offered then.
  /// `timers` must outlive this object.
  DragOut(Timers& timers, const QDBusConnection& bus, std::unique_ptr<DirectSaveProperty> directSave);
  /// Cancels a running drag; none of the pending `delivered` will be called. A target that still asks is refused.
  ~DragOut();
  DragOut(const DragOut&) = delete;
  DragOut& operator=(const DragOut&) = delete;

  /// Starts a drag out of `source` (a widget, on which the button is held down) and runs an event loop until the button
  /// is released: this object or `source` may be gone when it returns. `picture` follows the pointer, which is at
  /// `hotSpot` in it.
  ///
  /// `delivered` is called exactly once for every drag, on the main thread, from the event loop after this has returned
  /// (at once, or up to DragSession::kPatience later, and possibly after the next drag was started). Not called when
  /// this object is destroyed before. On Wayland a program is not told why a drag ended without a drop: what was given
  /// up there comes as Kind::NoneCame.
  void start(QObject& source, const QPixmap& picture, const QPoint& hotSpot, Delivered delivered);

  /// Whether `data`, of a drag or drop event, is a drag of rows of this program.
  static bool isOwnDrag(const QMimeData* data);
  /// A trash can of this program has got the drop of `data`. Returns false when it is no drag of this program, or when
  /// its destination is known already.
  static bool dropOnTrash(const QMimeData* data);

private:
  // A drag, kept until the start of the next one after what it came to was told.
  struct Drag {
    std::shared_ptr<DragSession> session;
    std::unique_ptr<DragExtractObject> extract; // nullptr: no bus
  };
  std::unique_ptr<DragExtractObject> makeExtractObject(const std::shared_ptr<DragSession>& session);

  Timers& m_timers;
  QDBusConnection m_bus;
  std::shared_ptr<DirectSaveProperty> m_directSave;
  std::vector<Drag> m_drags;
  QPointer<QDrag> m_running;
};

} // namespace platform
