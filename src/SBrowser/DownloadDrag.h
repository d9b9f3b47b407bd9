#pragma once
// Rows on their way out of the window: dragged to a folder of the computer or to a trash can, or copied by command.
#include "Platform/DragDestination.h"
#include "Platform/DragOut.h"
#include "Platform/Timers.h"
#include "SBrowser/DeviceQueue.h"
#include "SBrowser/SItem.h"

#include <QPointer>
#include <QString>

#include <memory>
#include <vector>

class QDialog;
class QPixmap;
class QWidget;
class SBrowserWindowController;
class TrashTarget;

/// Finds out where the rows are to go, then starts the copy or the deletion on a thread of its own. Main thread;
/// nothing blocks, save that a drag runs an event loop until the button is released.
class DownloadDrag {
public:
  using ItemPointer = std::shared_ptr<SItem>;
  using Items = std::vector<ItemPointer>;

  /// `window` must outlive the object, as must `timers`.
  DownloadDrag(SBrowserWindowController& window, std::shared_ptr<DeviceQueue> queue, platform::Timers& timers);
  ~DownloadDrag();
  DownloadDrag(const DownloadDrag&) = delete;
  DownloadDrag& operator=(const DownloadDrag&) = delete;

  /// `outlineView:writeItems:toPasteboard:` Drags these items, as long as the button is held: nothing is looked up of
  /// each, so that many are dragged as soon as one. What lies in a folder among them comes with that folder. True, or
  /// false when nothing can be dragged now.
  bool writeItems(const Items& items);
  /// `writeSelectionToPasteboard:types:` Drags the same items once more.
  bool writeSelectionToPasteboard();
  /// `outlineView:namesOfPromisedFilesDroppedAtDestination:forDraggedItems:` The items were dropped on a folder of the
  /// computer, an absolute path: they are copied there, or, when it is a trash folder, deleted. No names are promised.
  void namesOfPromisedFilesDroppedAtDestination(const QString& destination, const Items& items);
  /// `performDragOperationDelete` The items that were dragged last are deleted.
  void performDragOperationDelete();
  /// `drapItemsToTarget:` Copies the items to the folder. Nothing happens while the window is blocked or without a
  /// phone.
  void drapItemsToTarget(const Items& items, const QString& destination);
  /// Asks for a folder and copies the selected items there.
  void copySelectionTo();
  /// The items are of no phone any more: whatever asks about them goes.
  void forgetItems();

  const Items& dragItems() const { return _dragItems; }
  /// Where the last drop went or the last copy goes: a folder of the computer.
  const QString& drapAndDropPath() const { return _drapAndDropPath; }
  TrashTarget* trashTarget() const { return m_trashTarget.get(); }

private:
  void dropped(const platform::DragDestination& destination, const Items& items);
  void explainDrop(const Items& items);
  void chooseFolder(const Items& items);
  void open(QDialog& dialog);
  bool isAnyProtected(const Items& items) const;
  QPixmap picture() const;

  SBrowserWindowController& m_window;
  const std::shared_ptr<DeviceQueue> m_queue;
  platform::Timers& m_timers;
  std::unique_ptr<platform::DragOut> m_dragOut; // from the first drag on
  std::unique_ptr<QWidget> m_dragSource;        // the drag's owner: the tree is busy with the mouse
  std::unique_ptr<TrashTarget> m_trashTarget;
  QPointer<QDialog> m_dialog; // that asks about items
  Items _dragItems;
  QString _drapAndDropPath;
  std::shared_ptr<char> m_alive = std::make_shared<char>();
};
