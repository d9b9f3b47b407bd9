#pragma once
// Making a folder, renaming and deleting: asks the user, has the phone do it, shows what came of it.
#include "MTPCore/MtpItemInfo.h"
#include "SBrowser/DeviceQueue.h"
#include "SBrowser/SItem.h"
#include "UI/Common/QuestionPanel.h"

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

class SBrowserWindowController;

/// The three commands that change what the phone holds. Each blocks the window and returns at once; a worker of its own
/// asks the question and speaks to the phone. A failure changes nothing and shows nothing. When the phone goes, or the
/// window, the command ends with its next step, and whoever took the phone away frees the window. The phone may change
/// the tree meanwhile: what has been listed anew is found again by its path. Main thread.
class ItemMutations {
public:
  using ItemPointer = std::shared_ptr<SItem>;
  using Sleeper = std::function<void(std::chrono::milliseconds)>;

  /// When true, deletions are no longer confirmed.
  static constexpr const char* kDeleteWithoutAsking = "BTUI_Delet_Window_Close";
  /// How often the rows of deleted items go while more are deleted: one at a time, thousands would keep the window
  /// busy.
  static constexpr std::chrono::milliseconds kShowInterval{500};
  /// Between the answer and the deletion, for the panel to slide out.
  static constexpr std::chrono::milliseconds kPauseAfterQuestion{200};

  /// `window` must outlive the object.
  ItemMutations(SBrowserWindowController& window, std::shared_ptr<DeviceQueue> queue,
                DeviceQueue::WorkerStarter startWorker, Sleeper sleep);
  ~ItemMutations();

  /// The connection that is changed from now on.
  void setSession(std::shared_ptr<DeviceSession> session) { m_session = std::move(session); }

  /// `createItemProc:` Asks for a name and makes a folder of it: in the outline's remembered row, in the folder that
  /// holds that row when it is a file, or, when no row is remembered, in the current folder.
  void createItemProc();
  /// `changeItemNameProc:` Asks for a new name of each selected item, from the first row to the last.
  void changeItemNameProc();
  /// `deleteItemsProc:` Deletes the selected items, from the first row to the last, after a confirmation unless the
  /// user wanted no more of them.
  void deleteItemsProc();
  /// `deleteDrapItemsProc:` The same with items that were dragged to a trash can.
  void deleteDrapItemsProc(const std::vector<ItemPointer>& items);

private:
  struct Target;
  struct Creation;
  class Run;
  using Asker = ui::QuestionPanel::Asker;

  bool canBegin() const;
  bool begin(const char* name, std::function<void(const Run&)> work);
  ItemPointer itemForNewFolder() const;
  std::vector<ItemPointer> selectedItems() const;
  Target targetOf(const ItemPointer& item) const;
  bool isInTree(const SItem& item) const;
  ItemPointer itemInTree(const ItemPointer& item) const;

  void __onCreateItemActionOnBackgroundThread(const QString& name, const ItemPointer& parent);
  void folderCreated(const ItemPointer& wanted, const Creation& creation);
  void insertFolder(const ItemPointer& parent, const MtpItemInfo& folder);
  void itemRenamed(const ItemPointer& item, const QString& newName);
  void itemsDeleted(const std::vector<ItemPointer>& items, std::vector<ItemPointer>& parents);
  void showDeletions(const std::vector<ItemPointer>& parents, qint64 firstRow);

  // On workers.
  static void create(DeviceSession& session, const QString& name, const Target& parent, Creation& creation);
  static bool rename(const Run& run, const ItemPointer& item, const Asker& ask);
  static bool isDeletionWanted(const Asker& ask, const Sleeper& sleep);
  static void remove(const Run& run, const std::vector<ItemPointer>& items);

  SBrowserWindowController& m_window;
  const std::shared_ptr<DeviceQueue> m_queue;
  const DeviceQueue::WorkerStarter m_startWorker;
  const Sleeper m_sleep;
  std::shared_ptr<DeviceSession> m_session; // null until connected
  std::shared_ptr<char> m_alive = std::make_shared<char>();
};
