#pragma once
// Copies dropped files and folders to the phone.
#include "SBrowser/DeviceQueue.h"
#include "SBrowser/SItem.h"
#include "SBrowser/TransferRun.h"
#include "SBrowser/UploadPlanner.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

/// The tree that an upload changes. Called on the main thread, not after the window's end.
class UploadTree {
public:
  virtual ~UploadTree() = default;
  /// Takes the item, which the phone has no more, from its parent's children. Its row may go somewhat later, but goes
  /// before addUploaded() has returned.
  virtual void removeReplaced(const std::shared_ptr<SItem>& item) = 0;
  /// Puts new items, none or more, among the children of the target, if it is listed, folders before the first file and
  /// files behind the last, and shows them; `expands`: the target, too. Called once, when nothing more is sent: rows
  /// that came one by one would have the whole folder shown anew each time.
  virtual void addUploaded(const std::shared_ptr<SItem>& target, const std::vector<std::shared_ptr<SItem>>& items,
                           bool expands) = 0;
  /// Something went into the folder, a child of the target that stayed where a dropped folder has its name: it is to be
  /// listed anew when it is opened.
  virtual void mergedInto(const std::shared_ptr<SItem>& folder) = 0;
  /// The upload has come to its regular end.
  virtual void uploadCompleted() = 0;
  /// Opens the row that was dropped on.
  virtual void expandDropped(const std::shared_ptr<SItem>& item) = 0;
};

/// One upload: plans, asks about taken names, sends. Made on the main thread, worked off on one background thread,
/// which needs it no longer than dropItemsToDevice().
class UploadRun {
public:
  using ItemPointer = std::shared_ptr<SItem>;

  /// What is dropped on what. `proposed` is the item under the pointer, null for none; `target` the folder or storage.
  struct Drop {
    QStringList paths; ///< of the computer, absolute
    ItemPointer target;
    ItemPointer proposed;
  };

  /// `tree` must live as long as the run's owner.
  UploadRun(std::shared_ptr<TransferRun> run, std::shared_ptr<DeviceQueue> queue, UploadTree& tree, Drop drop);

  /// `dropItemsToDevice:` The whole upload. Blocks for as long as it takes; ends with TransferRun::end().
  void dropItemsToDevice();

private:
  /// What the phone has in the target folder. Of one that the tree has not listed there is no item.
  struct Child {
    ItemPointer item;
    QString name;
    QString nodeID; // these of an item are asked of it when they are needed
    QString path;
    std::uint64_t size = 0; // bytes; 0 for a folder
    bool isFolder = false;
  };
  using Children = QList<Child>;

  void lookAtTarget();
  void listTarget();
  void indexTarget();
  bool isTaken(const QString& name) const;
  bool isProtected(const Child& child) const;
  bool deletesFolder(const QString& name) const;
  void plan();
  void planPath(const QString& path);
  void planFolder(const QString& path, const QString& name);
  void recordCanceled(std::size_t next);
  void transfer(DeviceSession& session);
  /// False when the run is over.
  bool transferEntry(DeviceSession& session, const STransferItem& entry);
  std::uint32_t replace(DeviceSession& session, const STransferItem& entry);
  bool comesWhole(const STransferItem& entry) const;
  bool lookAt(Child& child);
  std::uint32_t mergeInto(const Child& folder, const STransferItem& entry);
  std::uint32_t lookForRoom(DeviceSession& session, const STransferItem& entry, const Children& replaced);
  std::uint32_t askForRoom(DeviceSession& session, std::optional<std::uint64_t>& freeSpace) const;
  std::uint64_t sizeBelow(MTPDextSDKWrapper& mtp, const Child& folder, std::uint64_t enough) const;
  void forget(const Child& child);
  std::uint32_t sendFolder(DeviceSession& session, const STransferItem& entry);
  std::uint32_t sendFile(DeviceSession& session, const STransferItem& entry);
  ItemPointer newItem(const STransferItem& entry) const;
  void added(const ItemPointer& item);
  /// The target, found again when the phone's changes have made its node unknown; null when it is nowhere.
  _MTP_COMMON_NODE* targetNode(MTPDextSDKWrapper& mtp);
  /// The same for sending something there: when it is nowhere it is made. Null when that fails.
  _MTP_COMMON_NODE* makeTarget(MTPDextSDKWrapper& mtp);
  /// The target as a folder; null for a storage.
  _MTP_FOLDER_NODE* targetFolder(MTPDextSDKWrapper& mtp);
  void showAdded();

  const std::shared_ptr<TransferRun> m_run;
  const std::shared_ptr<DeviceQueue> m_queue;
  UploadTree& m_tree; // main thread only
  const Drop m_drop;
  // The target as it was at the drop: its item is the main thread's.
  QString m_drapAndDropPath;
  QString m_rootPath;
  QString m_nodeID;
  bool m_isStorage = false;
  bool m_isTargetListed = false;
  Children m_targetChildren;                          // until they are in
  QMultiHash<QString, Child> m_children;              // by the name as a phone compares it
  QSet<QString> m_plannedNames;                       // likewise, of what goes into the target itself
  QHash<const STransferItem*, std::uint64_t> m_sizes; // of a dropped entry with all that is below it; bytes
  QSet<const STransferItem*> m_incomplete;            // dropped folders of which something was left out
  QStringList m_unplanned;                            // names of what was not reached when the run was stopped
  _MTP_COMMON_NODE* m_targetNode = nullptr;           // a name, never followed
  bool m_isMerging = false; // what is below the dropped folder goes into one that the phone has
  std::vector<ItemPointer> m_added;
  std::vector<ItemPointer> m_merged; // folders of the tree that got something without being replaced
  bool m_hasReplaced = false;        // some row was taken from the tree
};
