#pragma once
// The browser window: connects to a phone, shows its storages and folders, follows its changes, lets it go.
#include "Platform/Dates.h"
#include "SBrowser/ConnectConditions.h"
#include "SBrowser/DeviceConnection.h"
#include "SBrowser/DeviceEvents.h"
#include "SBrowser/SBrowserDependencies.h"
#include "SBrowser/SItem.h"
#include "SBrowser/SItemArray.h"
#include "SBrowser/SStack.h"
#include "SBrowser/TreeLoader.h"
#include "SBrowser/WindowCommands.h"
#include "UI/Controls/SOutlineView.h"
#include "UI/ProgressView/SProgressView.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

class DownloadDrag;
class ItemMutations;
class QAction;
class QMainWindow;
class QMimeData;
class QWidget;
class SBrowserOutlineModel;
class TransferPresenter;
class TransferRun;
class Uploads;
class WindowLayout;
class WindowMemory;

/// Owns the window, the connection, the storage roots and with them the item tree. Main thread only, except where "any
/// thread" is said: such an operation does its work on the main thread and waits for it (and does nothing when the
/// program is ending). Nothing here blocks but those waits: what talks to the phone runs on workers, one at a time.
class SBrowserWindowController : public QObject,
                                 public SProgressViewDelegate,
                                 private SOutlineViewOwner,
                                 private TreeLoaderOwner {
  Q_OBJECT
public:
  using ItemPointer = std::shared_ptr<SItem>;

  /// `init` The window in its welcome state, not shown yet, over the program's own engine.
  SBrowserWindowController();
  explicit SBrowserWindowController(SBrowserDependencies dependencies);
  /// Lets go of the phone; workers that are still busy with it find nobody to report to.
  ~SBrowserWindowController() override;

  /// `awakeFromNib` Connects the window's views and shows the welcome: called by the initialiser, once.
  void awakeFromNib();
  /// `windowDidLoad` Follows the pointer over the back and next buttons: called by the initialiser, once.
  void windowDidLoad();
  /// `showWindow:`
  void showWindow();
  QMainWindow* window() const;

  // ---- Connection and tree ----

  /// `connectDevice:` Connects to the phone at this location (hexadecimal text) and shows it. Returns at once; the last
  /// call counts. A phone that cannot be shown leaves the window as it was; the welcome then says why, and
  /// the connection is tried again until it succeeds.
  void connectDevice(const QString& locationID);
  /// `setSelectedStorage:` 2: the external storage, anything else: the internal one. Not again when it is shown.
  void setSelectedStorage(int storage);
  /// `gotoNewFolder:` Shows the item's path and, unless it is a file, its contents.
  void gotoNewFolder(const ItemPointer& item);
  /// `btnToolbar_clicked:` The sender's objectName tells what to do.
  void btnToolbar_clicked(const QObject* sender);
  /// `outlineViewRowDoubleClicked:` Enters the row's item; the next button has nowhere to go any more.
  void outlineViewRowDoubleClicked(const QModelIndex& clickedRow);
  /// `getContentsOfItem:` Lists the item: a new array, or null. Any thread but the main one; blocks for the listing.
  std::shared_ptr<SItemArray> getContentsOfItem(const ItemPointer& item);
  /// `expandFolder:` Lists the item in the background if it has no children yet, then shows them. Always true.
  bool expandFolder(const ItemPointer& item);
  /// Whether the row may be expanded now; if so, its listing starts when it is needed.
  bool shouldExpandItem(const ItemPointer& item);

  /// Gives the item these children (null: none).
  void publishChildren(const ItemPointer& item, std::shared_ptr<SItemArray> children) override;

  /// `resetOutlineView` Forgets what was listed and lists the selected storage anew. Any thread.
  void resetOutlineView();
  /// `reloadDataOfOutlineView:` Makes the item the current folder and shows its children; null: draws all rows anew.
  /// Any thread.
  void reloadDataOfOutlineView(const ItemPointer& item);
  /// `expandItem:` Shows the item's children anew. Any thread.
  void expandItem(const ItemPointer& item);
  /// `reloadItemWithChildren:` Any thread.
  void reloadItemWithChildren(const ItemPointer& item);
  /// `reloadItemWithoutChildren:` Any thread.
  void reloadItemWithoutChildren(const ItemPointer& item);
  /// `showLoadingView` Any thread.
  void showLoadingView() override;
  /// `hideLoadingView` Any thread.
  void hideLoadingView() override;
  /// `setDisableCaptureEvent:` Blocks the window with the ghost view, or frees it. Any thread.
  void setDisableCaptureEvent(bool disable);
  /// `changeEventRecieverObject:` Blocks the window with the ghost view handing its events to `view` (see
  /// SGhostView::setOwnerDelegate()), or, with null, frees it but for the back and next buttons. Any thread.
  void changeEventRecieverObject(QObject* view);

  /// Whether a panel or a transfer has the window: nothing else can be begun.
  bool isBlocked() const;

  // ---- Commands of the menus, the keys and the toolbar ----

  /// Carries a command out as if the user had chosen it in the menu bar.
  void performCommand(WindowCommand command);
  /// What NewFolder, Upload, CopyTo, Rename or Delete does. The window offers the command, in the menus, by its key and
  /// in the toolbar, as long as there is a handler; null: no longer. It is called on the main thread, must not block,
  /// and works with the outline's selected rows; a new folder's place is getSelectedRowIndex() of the outline, -1 being
  /// the current folder.
  void setCommandHandler(WindowCommand command, std::function<void()> handler);
  /// What can be carried out now.
  WindowCommandSet possibleCommands() const;
  /// Lists the current folder anew, as the phone has it now, and stays in it if it is still there.
  void reloadCurrentFolder();

  /// `actionBrowserMenuItem:` The context menu's entry was chosen: what its title says is begun, as by the next three.
  void actionBrowserMenuItem(const QAction* menuEntry);
  /// `createItemProc:`, `changeItemNameProc:`, `deleteItemsProc:` See ItemMutations. Each returns at once.
  void createItemProc();
  void changeItemNameProc();
  void deleteItemsProc();
  /// `deleteDrapItemsProc:` Deletes items of the tree as deleteItemsProc() does the selected ones. Returns at once.
  void deleteDrapItemsProc(const std::vector<ItemPointer>& items);

  /// `menuTypeForItem:` A SOutlineMenuType.
  int menuTypeForItem(const ItemPointer& item) const;

  /// `onProgressActionCanceled:` The user ends the transfer.
  void onProgressActionCanceled(SProgressView* view) override;

  // ---- Transfers ----

  /// The transfer that the window shows, with its counters; null when none. See TransferPresenter for beginning one.
  std::shared_ptr<TransferRun> transferRun() const;
  TransferPresenter& transfers() const { return *m_transfers; }
  /// What leaves the window: drags of rows, and copies and deletions that come of them.
  DownloadDrag& downloads() const { return *m_downloads; }
  /// The connection; null until there is one.
  const std::shared_ptr<DeviceSession>& session() const { return m_session; }
  /// What takes drops and has files chosen.
  Uploads& uploads() const { return *m_uploads; }
  /// `outlineView:acceptDrop:item:childIndex:` Starts copying dropped files to the phone; see Uploads. Always true.
  bool acceptDrop(const QMimeData& info, const ItemPointer& item, int childIndex);
  /// Shows what the entries of the last transfer came to. Returns at once.
  void showLastTransfer();
  /// `setProgressInfo:CurrPos:TotalPos:` Shows how far the transfer has come: `currPos` bytes of the current file, on
  /// top of those of the finished ones. The current file's size does not count. Without a transfer nothing happens.
  void setProgressInfo(const QString& text, std::uint64_t currPos, std::uint64_t totalPos);

  // ---- Device events and disconnection ----

  /// `registerMtpNotice` Has the phone's events come to this window.
  void registerMtpNotice();
  /// `catchMTPEvent` Something changed on the phone: the tree is built anew two seconds after the last such call. Any
  /// thread; does not block.
  void catchMTPEvent();
  /// `updateMTPChangeProcess` Builds the tree anew.
  void updateMTPChangeProcess();
  /// `deviceDisconnected` Back to the welcome state.
  void deviceDisconnected();
  /// `closeAllWindows` Closes the window as if the user had. Any thread.
  void closeAllWindows();
  /// `close` The same.
  void close() { closeAllWindows(); }
  /// `windowWillClose:` Nothing.
  void windowWillClose() {}
  /// `isTransferProcess` Whether a transfer runs. Any thread.
  bool isTransferProcess() const { return m_events.isTransferProcess(); }
  /// `setIsTransferProcess:` Main thread.
  void setIsTransferProcess(bool running) { m_events.setIsTransferProcess(running); }

  // ---- Sizes and dates as shown; any thread ----

  /// `convertFileSizeFromInt:` The size column's text.
  static QString convertFileSizeFromInt(std::uint64_t bytes);
  /// `stringFromating:` A number given as text, with its unit.
  static QString stringFromating(const QString& number);
  /// `convertMtpToSystemDate:` The displayed text of the phone's date text; null when that is none.
  static QString convertMtpToSystemDate(const QString& text);
  /// `dateTimeStringFromDate:` The displayed text of a moment.
  static QString dateTimeStringFromDate(platform::dates::Instant date);

  // ---- State, for the operations that join this class and for tests ----

  const QString& locationID() const { return _locationID; }
  const QString& deviceName() const { return _deviceName; }
  const std::vector<ItemPointer>& staticSource() const { return _staticSource; }
  const ItemPointer& currentFolderItem() const { return _currentFolderItem; }
  int currentSelectedStorage() const { return _currentSelectedStorage; }
  const SStack<SItem>& nextStack() const { return _nextStack; }
  SBrowserOutlineModel& outlineModel() const { return *m_model; }
  WindowLayout& layout() const { return *m_layout; }
  bool isDetached() const { return _isDetached; }
  bool isCanceled() const { return _isCanceled; }
  bool isDropOvering() const { return _isDropOvering; }
  void setIsDropOvering(bool hovering) { _isDropOvering = hovering; }
  bool isRebuildPending() const { return m_events.isRebuildPending(); }

Q_SIGNALS:
  /// A folder's contents are on screen.
  void folderShown();

protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

private:
  // SOutlineViewOwner
  int menuTypeForItem(const QModelIndex& item) override;
  void mouseEntered(QEvent& event) override;
  void mouseExited(QEvent& event) override;
  void writeItems(const QModelIndexList& rows) override;
  void performDragOperationDelete() override;
  // TreeLoaderOwner
  void folderEntered(const ItemPointer& item) override;
  void folderExpanded(const ItemPointer& item) override;

  void tryToConnect(const QString& locationID, int attempts);
  void connected(const ConnectedDevice& device);
  void makeStorageRoots(const QList<MtpStorageInfo>& storages);
  void showStorageButtons();
  void resetBrowsingState();
  void setToolbarEnabled(bool storages, bool backAndNext);
  void goBack();
  void goNext();
  /// What lies over the rows, or is shown while they must not be used.
  std::array<QWidget*, 3> covers() const;
  /// What reports to the window.
  std::array<SBrowserChildViewDelegate*, 3> panels() const;
  /// Answers what is being asked by "canceled" and takes the progress away: the phone is gone, or the window.
  void endQuestions();
  void connectCommands();
  void runCommandHandler(WindowCommand command) const;
  std::shared_ptr<TransferPresenter> makeTransfers();
  void abandonTransfer();
  void sortBy(int column);
  void enableCommands();
  void showStoragesInMenu();
  bool isCovered() const; // blocked, or loading
  bool isAnySelectedRowProtected() const;
  bool continueReloading(const ItemPointer& entered);
  void restoreSorting();
  bool isInTree(const SItem& item) const;
  void reloadItem(const ItemPointer& item, bool withChildren);
  void performOnMainThread(const std::function<void()>& work) const;

  void __gotoNewFolderOnMainThread(const ItemPointer& item);
  void __resetOutlineViewOnMainThread();
  void __reloadDataOfOutlineViewOnMainThread(const ItemPointer& item);
  void __expandItemOnMainThread(const ItemPointer& item);
  void __reloadItemWithChildrenOnMainThread(const ItemPointer& item);
  void __reloadItemWithoutChildrenOnMainThread(const ItemPointer& item);
  void __showLoadingViewOnMainThread();
  void __hideLoadingViewOnMainThread();
  void __setDisableCaptureEventOnMainThread(bool disable);
  void __changeEventRecieverObjectOnMainThread(QObject* view);
  void __closeAllWindowsOnMainThread();

  SBrowserDependencies m_dependencies;
  std::unique_ptr<WindowLayout> m_layout;
  std::unique_ptr<WindowMemory> m_memory;
  std::unique_ptr<SBrowserOutlineModel> m_model;
  std::shared_ptr<DeviceQueue> m_queue;
  DeviceConnection m_connection;
  ConnectConditions m_conditions;
  TreeLoader m_loader;
  DeviceEvents m_events;
  std::unique_ptr<ItemMutations> m_mutations;
  std::shared_ptr<TransferPresenter> m_transfers;
  std::unique_ptr<Uploads> m_uploads;
  std::unique_ptr<DownloadDrag> m_downloads;
  std::shared_ptr<DeviceSession> m_session; // null until connected

  QString _locationID;
  QString _deviceName;
  QString _internalRootName; // of the internal storage that is selected first; null without one
  std::vector<ItemPointer> _staticSource;
  ItemPointer _currentFolderItem;
  int _currentSelectedStorage = 1;
  SStack<SItem> _nextStack;
  QStringList m_foldersToReenter; // while reloading: the names on the way to the folder that was shown
  bool m_appliesSorting = false;  // the first folder that is shown is sorted as the user left it
  std::map<WindowCommand, std::function<void()>> m_commandHandlers;
  bool m_isExpanding = false; // rows are being expanded by us, not by the user
  bool _isDropOvering = false;
  std::atomic<bool> _isDetached{false}; // written by the main thread, polled by workers of transfers and changes
  std::atomic<bool> _isCanceled{false}; // written by whoever closes and by connecting, polled by transfers
  std::shared_ptr<char> m_alive = std::make_shared<char>();
};
