#pragma once
// What a window does for uploads: takes drops, opens the dialogs, starts the run, changes the tree.
#include "SBrowser/UploadDrop.h"
#include "SBrowser/UploadRun.h"

#include <QPointer>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class QFileDialog;
class QMimeData;
class SBrowserWindowController;
struct SBrowserDependencies;

/// Main thread. Belongs to the window controller and ends with it.
class Uploads : private UploadTree {
public:
  using ItemPointer = std::shared_ptr<SItem>;

  /// Where a drop goes that is proposed here.
  struct Proposal {
    ItemPointer item; ///< null: the whole outline
    int childIndex = -1;
    bool copies = false; ///< else nothing can be dropped
  };

  /// How long the row of a replaced item may stay when the current folder shows it: showing that anew for each of many
  /// would keep the window busy.
  static constexpr std::chrono::milliseconds kReloadDelay{500};

  Uploads(SBrowserWindowController& window, std::shared_ptr<DeviceQueue> queue,
          const SBrowserDependencies& dependencies);
  ~Uploads() override;

  /// `outlineView:validateDrop:proposedItem:proposedChildIndex:` What comes from elsewhere is copied, what comes from
  /// the outline itself is refused. Between rows, on files and on nothing the whole outline is meant.
  Proposal validateDrop(const ItemPointer& item, int childIndex, bool isFromOutline);
  /// `outlineView:acceptDrop:item:childIndex:` Starts copying what is dropped into the item, a file's folder, or, with
  /// no item, the current folder. Always true. Does not block.
  bool acceptDrop(const QMimeData& info, const ItemPointer& item, int childIndex);
  /// Starts copying these files and folders of the computer; as acceptDrop().
  void upload(const QStringList& paths, const ItemPointer& item);
  /// Lets the user choose files, or a folder, to copy into the current folder.
  void chooseFiles();
  void chooseFolder();
  /// The phone is gone: nothing is chosen for it any more.
  void closeDialog();
  /// The dialog while it is open, else null.
  QFileDialog* dialog() const { return m_dialog; }

  /// The folder that receives the drop, null when none is going on; and its path.
  const ItemPointer& dropTargetItem() const { return _dropTargetItem; }
  const QString& drapAndDropPath() const { return _drapAndDropPath; }

private:
  ItemPointer targetOf(const ItemPointer& item) const;
  UploadDrop::Owner dropOwner();
  void choose(bool folder);
  void showRemovals();
  void insert(const ItemPointer& target, const std::vector<ItemPointer>& items);

  // UploadTree
  void removeReplaced(const ItemPointer& item) override;
  void addUploaded(const ItemPointer& target, const std::vector<ItemPointer>& items, bool expands) override;
  void mergedInto(const ItemPointer& folder) override;
  void uploadCompleted() override;
  void expandDropped(const ItemPointer& item) override;

  SBrowserWindowController& m_window;
  const std::shared_ptr<DeviceQueue> m_queue;
  const std::function<bool(const char* name, std::function<void()> body)> m_startWorker;
  UploadDrop m_drop;
  QPointer<QFileDialog> m_dialog;
  platform::Timers& m_timers;
  std::unique_ptr<platform::Timer> m_reloadTimer; // runs while rows that are gone are still shown
  ItemPointer _dropTargetItem;
  QString _drapAndDropPath;
};
