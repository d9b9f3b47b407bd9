#pragma once
// Listing folders in the background: entering one, expanding one.
#include "SBrowser/DeviceQueue.h"
#include "SBrowser/SItem.h"
#include "SBrowser/SItemArray.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <set>

/// Whom the loader reports to. Called on the main thread.
class TreeLoaderOwner {
public:
  virtual ~TreeLoaderOwner() = default;
  virtual void showLoadingView() = 0;
  virtual void hideLoadingView() = 0;
  /// Gives the item the children that were listed.
  virtual void publishChildren(const std::shared_ptr<SItem>& item, std::shared_ptr<SItemArray> children) = 0;
  /// The item is ready to be shown as the current folder.
  virtual void folderEntered(const std::shared_ptr<SItem>& item) = 0;
  /// The expanded item has got its children.
  virtual void folderExpanded(const std::shared_ptr<SItem>& item) = 0;
};

/// Workers build the children, the main thread puts them into the tree: no worker reads or writes an item of the tree.
/// A request that a newer one has overtaken still fills its folder but no longer changes what is shown; one from before
/// forgetRequests() changes nothing. Main thread, except where stated.
class TreeLoader {
public:
  using ItemPointer = std::shared_ptr<SItem>;
  using ArrayPointer = std::shared_ptr<SItemArray>;

  TreeLoader(std::shared_ptr<DeviceQueue> queue, TreeLoaderOwner& owner);
  ~TreeLoader();

  /// The connection that is listed from now on; requests of the former one change nothing any more.
  void setSession(std::shared_ptr<DeviceSession> session);
  /// Enters a folder or storage: at once when it was listed before, else after a listing, with the loading view shown
  /// meanwhile. Does not block.
  void gotoNewFolder(const ItemPointer& item);
  /// Lists the item unless it has children (an empty array are some). Does not block.
  void expandFolder(const ItemPointer& item);
  /// What is being listed now changes nothing any more; the loading view goes.
  void forgetRequests();
  /// The folder being entered; null when none is.
  ItemPointer folderBeingEntered() const;

  /// `getContentsOfItem:` The children of `item`, a new array that belongs to the caller; null when the phone does not
  /// know the item (any more), or could not list it. Any thread but the main one, not within a job of the queue;
  /// blocks.
  ArrayPointer getContentsOfItem(const ItemPointer& item);

  /// What the phone tells of an item.
  struct Listing {
    ArrayPointer children;    ///< null: the phone does not know the item, or could not list it
    QString nodeID;           ///< of a storage root that was resolved; else null
    std::uint32_t status = 0; ///< of the SDK: not 0 when what the item holds is not known
    /// Whether the item counts as listed. One that could not be listed does not: whoever opens it again asks again.
    bool isListed() const;
  };
  /// What lists the item, as getContentsOfItem() does, in a job of the queue. Blocks there; `isWanted` is asked
  /// meanwhile on that thread, and ends it with DGSTATUS_IO_CANCEL.
  static std::function<Listing(DeviceSession&)> lister(const ItemPointer& item, std::function<bool()> isWanted = {});

  /// Has the phone list what a folder, or with none the current storage, holds, and gives its status, which a list of
  /// the items does not: of a folder that could not be listed it is empty, as of an empty one. What is listed then is
  /// known already. In a job of the queue; `isWanted`, if there is one, as with lister().
  static std::uint32_t listingStatus(DeviceSession& session, _MTP_FOLDER_NODE* folder,
                                     const std::function<bool()>& isWanted = {});

private:
  struct Request;
  struct Source;
  using RequestPointer = std::shared_ptr<Request>;

  static Source sourceOf(const SItem& item);
  static Listing list(DeviceSession& session, const Source& source, const ItemPointer& parent,
                      const std::function<bool()>& isWanted = {});
  void start(const RequestPointer& request);
  void finish(const RequestPointer& request, Listing listing);
  /// `__gotoNewFolderProc:` Its end, on the main thread: what the worker listed becomes the folder that is shown.
  void __gotoNewFolderProc(const RequestPointer& request, Listing listing);
  void finishExpanding(const RequestPointer& request, Listing listing);
  void overtakeAll();
  void end(const RequestPointer& request);

  const std::shared_ptr<DeviceQueue> m_queue;
  TreeLoaderOwner& m_owner;
  std::shared_ptr<DeviceSession> m_session;
  std::set<RequestPointer> m_requests; // under way, not overtaken: the loading view stays while there are any
  std::uint64_t m_treeGeneration = 0;  // counts forgetRequests()
  std::shared_ptr<char> m_alive = std::make_shared<char>();
};
