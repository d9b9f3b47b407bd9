#include "SBrowser/SBrowserWindowController.h"

#include "MTPCore/DevicePath.h"
#include "MTPCore/MTPSDKUtil.h"
#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "SBrowser/DownloadDrag.h"
#include "SBrowser/ItemMutations.h"
#include "SBrowser/LastTransferDialog.h"
#include "SBrowser/NavigationButton.h"
#include "SBrowser/OutlineState.h"
#include "SBrowser/ProtectedFolders.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/TransferPresenter.h"
#include "SBrowser/Uploads.h"
#include "SBrowser/WindowLayout.h"
#include "SBrowser/WindowMemory.h"
#include "SBrowser/WindowMenus.h"
#include "UI/Common/NSStringPredicate.h"
#include "UI/Common/SizeText.h"
#include "UI/Controls/SGhostView.h"
#include "UI/Controls/SToolbarButton.h"
#include "UI/FileNameView/SFileNameView.h"
#include "UI/LoadingView/SLoadingAniView.h"
#include "UI/LoadingView/SLoadingAniViewController.h"
#include "UI/NoticeView/SNoticeView.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QFileDialog>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QToolBar>

#include <algorithm>

namespace {

constexpr int kInternalStorage = 1;
constexpr int kExternalStorage = 2;

QString welcomeText() {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QStringLiteral("MSG_WelcomToVBX2"));
}

} // namespace

SBrowserWindowController::SBrowserWindowController()
    : SBrowserWindowController(SBrowserDependencies::ofProgram()) {}

SBrowserWindowController::SBrowserWindowController(SBrowserDependencies dependencies)
    : m_dependencies(std::move(dependencies))
    , m_layout(std::make_unique<WindowLayout>(*m_dependencies.timers))
    , m_model(std::make_unique<SBrowserOutlineModel>())
    , m_queue(std::make_shared<DeviceQueue>(m_dependencies.startWorker))
    , m_connection(m_queue, m_dependencies.createAccessObject, m_dependencies.sleep)
    , m_conditions(*m_dependencies.timers)
    , m_loader(m_queue, *this)
    , m_events(m_queue, *m_dependencies.timers, [this] { updateMTPChangeProcess(); })
    , m_mutations(std::make_unique<ItemMutations>(*this, m_queue, m_dependencies.startWorker, m_dependencies.sleep))
    , m_transfers(makeTransfers()) {
  awakeFromNib();
  windowDidLoad();
  m_downloads = std::make_unique<DownloadDrag>(*this, m_queue, *m_dependencies.timers);
  connectCommands();
  m_memory = std::make_unique<WindowMemory>(*window(), *m_layout->_outlineView);
  m_uploads = std::make_unique<Uploads>(*this, m_queue, m_dependencies);
  setCommandHandler(WindowCommand::Upload, [this] { m_uploads->chooseFiles(); });
  setCommandHandler(WindowCommand::UploadFolder, [this] { m_uploads->chooseFolder(); });
  restoreSorting();
  enableCommands();
}

SBrowserWindowController::~SBrowserWindowController() {
  platform::assertMainThread();
  // An open menu gives the keyboard back to the rows when it goes: now, not while the window is taken apart.
  for (QMenu* const menu : window()->findChildren<QMenu*>())
    menu->close();
  m_layout->_outlineView->setOwnerDelegate(nullptr);
  m_layout->_outlineView->selectionModel()->disconnect(this);
  m_layout->_outlineView->removeEventFilter(this);
  m_layout->_outlineView->viewport()->removeEventFilter(this);
  m_events.dropTimer();
  if (m_session)
    m_session->end();
  endQuestions();
  m_uploads.reset();   // watches the rows
  m_transfers.reset(); // shows itself in the window
  m_downloads.reset();
  m_memory.reset(); // looks at the window
  window()->removeEventFilter(this);
  for (SBrowserChildViewDelegate* const panel : panels())
    panel->setOwnerDelegate(nullptr);
  for (QWidget* const cover : covers())
    cover->removeEventFilter(this);
  m_layout.reset(); // the view before its model
}

void SBrowserWindowController::awakeFromNib() {
  platform::assertMainThread();
  SOutlineView& outline = *m_layout->_outlineView;
  outline.header()->setSortIndicator(-1, Qt::AscendingOrder); // nobody has asked for an order yet
  outline.setModel(m_model.get());
  outline.setOwnerDelegate(this);
  outline.installEventFilter(this);
  outline.viewport()->installEventFilter(this);
  connect(&outline, &QTreeView::doubleClicked, this, &SBrowserWindowController::outlineViewRowDoubleClicked);
  connect(&outline, &QTreeView::expanded, this, [this](const QModelIndex& index) {
    if (m_isExpanding)
      return;
    if (!shouldExpandItem(m_model->itemAtIndex(index)))
      m_layout->_outlineView->collapse(index);
  });
  connect(m_layout.get(), &WindowLayout::toolbarClicked, this, &SBrowserWindowController::btnToolbar_clicked);
  for (SBrowserChildViewDelegate* const panel : panels())
    panel->setOwnerDelegate(this);
  window()->installEventFilter(this);
  for (QWidget* const cover : covers())
    cover->installEventFilter(this);
  m_layout->showWelcome(welcomeText());
}

void SBrowserWindowController::windowDidLoad() {
  platform::assertMainThread();
  connect(m_layout.get(), &WindowLayout::navigationHovered, this, [this](bool entered) {
    if (!entered)
      _isDropOvering = false;
  });
}

void SBrowserWindowController::showWindow() {
  platform::assertMainThread();
  window()->show();
  window()->raise();
  window()->activateWindow();
}

QMainWindow* SBrowserWindowController::window() const {
  return m_layout->window();
}

// ---- Connection ----

void SBrowserWindowController::connectDevice(const QString& locationID) {
  platform::assertMainThread();
  m_conditions.end();
  tryToConnect(locationID, DeviceConnection::kAttempts);
}

void SBrowserWindowController::tryToConnect(const QString& locationID, int attempts) {
  m_connection.connectDevice(
      locationID, attempts, [this](const ConnectedDevice& device) { connected(device); },
      [this, locationID](const ConnectCondition& condition) {
        if (m_layout->welcomeView->isHidden())
          return; // a phone is shown, and stays
        m_layout->showWelcome(ConnectConditions::text(condition));
        m_conditions.hold(condition, [this, locationID] { tryToConnect(locationID, 1); });
      });
}

void SBrowserWindowController::connected(const ConnectedDevice& device) {
  m_conditions.end();
  abandonTransfer();
  if (m_session)
    m_session->end();
  m_events.dropTimer();
  m_downloads->forgetItems();
  m_session = device.session;
  m_loader.setSession(m_session);
  m_mutations->setSession(m_session);
  endQuestions(); // about another phone
  if (isBlocked())
    setDisableCaptureEvent(false);
  _locationID = m_session->locationID;
  _deviceName = device.deviceName;
  makeStorageRoots(device.storages);
  showStorageButtons();
  resetBrowsingState();
  m_layout->showBrowser(_deviceName);
  m_foldersToReenter.clear();
  showStoragesInMenu();
  m_queue->perform("mtp-storage", m_session, [root = _internalRootName](DeviceSession& session) {
    session.bind(root.isNull() ? session._rootPath : root);
  });
  setSelectedStorage(kInternalStorage);
}

void SBrowserWindowController::makeStorageRoots(const QList<MtpStorageInfo>& storages) {
  m_model->removeAll();
  _staticSource.clear();
  _internalRootName = QString();
  for (const MtpStorageInfo& storage : storages) {
    const ItemPointer root = SItem::newObject();
    const QString path = storage.volumePath.value_or(QString());
    root->setFileName(lastPathComponent(path));
    root->setFilePath(path);
    root->setRootPath(path);
    root->setFileSize(0);
    root->setDateModified(ui::kUnknownDate.toString());
    if (storage.diskType == 1 || storage.diskType == 3) {
      root->setObjectType(SObjectTypeInternalStorage);
      _internalRootName = root->fileName();
    } else {
      root->setObjectType(SObjectTypeExternalStorage);
    }
    _staticSource.push_back(root);
  }
}

void SBrowserWindowController::showStorageButtons() {
  const auto show = [this](SToolbarButton& button, std::size_t storage) {
    const bool shown = storage < _staticSource.size();
    m_layout->setStorageButton(button, shown, shown ? _staticSource[storage]->fileName() : QString());
    if (shown && !MTPSDKUtil::macOS11AndLater())
      WindowLayout::sizeToTitle(button);
  };
  show(*m_layout->_btn_InternalStorage, 0);
  show(*m_layout->_btn_ExternalStorage, 1);
}

void SBrowserWindowController::resetBrowsingState() {
  _nextStack.removeAllObject();
  _currentFolderItem.reset();
  _isDetached = false;
  _isDropOvering = false;
  _isCanceled = false;
  _currentSelectedStorage = kInternalStorage;
}

// ---- Storages and folders ----

void SBrowserWindowController::setSelectedStorage(int storage) {
  platform::assertMainThread();
  const bool external = storage == kExternalStorage;
  const std::size_t place = external ? 1 : 0;
  if (place >= _staticSource.size())
    return;
  const ItemPointer root = _staticSource[place];
  const ItemPointer entering = m_loader.folderBeingEntered();
  if (root == (entering ? entering : _currentFolderItem))
    return;
  // Registered before the listing takes its turn: what changes meanwhile is heard of.
  registerMtpNotice();
  gotoNewFolder(root);
  m_layout->_btn_InternalStorage->setIsSelected(!external);
  m_layout->_btn_ExternalStorage->setIsSelected(external);
  _currentSelectedStorage = external ? kExternalStorage : kInternalStorage;
  showStoragesInMenu();
}

void SBrowserWindowController::gotoNewFolder(const ItemPointer& item) {
  performOnMainThread([&] { __gotoNewFolderOnMainThread(item); });
}

void SBrowserWindowController::__gotoNewFolderOnMainThread(const ItemPointer& item) {
  m_layout->setPath(item->filePath());
  if (item->objectType() < SObjectTypeFile)
    m_loader.gotoNewFolder(item);
}

void SBrowserWindowController::publishChildren(const ItemPointer& item, std::shared_ptr<SItemArray> children) {
  m_model->setChildren(item, std::move(children));
  // A folder the user went back from may be gone from the tree now; there is nothing left of it to go forward to.
  _nextStack.removeIf([this](const ItemPointer& next) { return !isInTree(*next); });
  enableCommands();
}

void SBrowserWindowController::folderEntered(const ItemPointer& item) {
  if (continueReloading(item))
    return;
  reloadDataOfOutlineView(item); // in the phone's order: clicking a header sorts
  if (m_appliesSorting) {
    m_appliesSorting = false;
    const QHeaderView& header = *m_layout->_outlineView->header();
    m_layout->_outlineView->sortByColumn(header.sortIndicatorSection(), header.sortIndicatorOrder());
  }
  if (!isBlocked()) { // a deletion leaves these two disabled for the folder it was in
    m_layout->_btn_Previous->setEnabled(true);
    m_layout->_btn_Next->setEnabled(true);
    enableCommands();
  }
  Q_EMIT folderShown();
}

void SBrowserWindowController::reloadDataOfOutlineView(const ItemPointer& item) {
  performOnMainThread([&] { __reloadDataOfOutlineViewOnMainThread(item); });
}

void SBrowserWindowController::__reloadDataOfOutlineViewOnMainThread(const ItemPointer& item) {
  _currentFolderItem = item;
  m_layout->closeContextMenu(); // the row it was opened on is forgotten
  SOutlineView& outline = *m_layout->_outlineView;
  if (!item || item == m_model->folder()) {
    OutlineState state(outline, *m_model);
    m_model->reloadData(item);
    m_isExpanding = true;
    state.restore();
    m_isExpanding = false;
    outline.setSelectedRowIndex(-1);
    return;
  }
  m_model->reloadData(item);
  outline.setSelectedRowIndex(-1);
  outline.verticalScrollBar()->setValue(0);
}

std::shared_ptr<SItemArray> SBrowserWindowController::getContentsOfItem(const ItemPointer& item) {
  return m_loader.getContentsOfItem(item);
}

bool SBrowserWindowController::shouldExpandItem(const ItemPointer& item) {
  platform::assertMainThread();
  if (!item || (_isDropOvering && !item->isListed()))
    return false;
  if (!item->isListed())
    showLoadingView();
  return expandFolder(item);
}

bool SBrowserWindowController::expandFolder(const ItemPointer& item) {
  performOnMainThread([&] { m_loader.expandFolder(item); });
  return true;
}

void SBrowserWindowController::folderExpanded(const ItemPointer& item) {
  reloadItemWithoutChildren(item);
  _isDetached = false;
}

void SBrowserWindowController::resetOutlineView() {
  performOnMainThread([this] { __resetOutlineViewOnMainThread(); });
}

void SBrowserWindowController::__resetOutlineViewOnMainThread() {
  m_loader.forgetRequests();
  _currentFolderItem.reset();
  for (const ItemPointer& root : _staticSource)
    root->setIsListed(false);
  setSelectedStorage(_currentSelectedStorage);
}

void SBrowserWindowController::expandItem(const ItemPointer& item) {
  performOnMainThread([&] { __expandItemOnMainThread(item); });
}

void SBrowserWindowController::__expandItemOnMainThread(const ItemPointer& item) {
  if (item == _currentFolderItem) {
    reloadDataOfOutlineView(item);
    return;
  }
  const QModelIndex index = m_model->indexOfItem(*item);
  if (!index.isValid())
    return;
  m_layout->_outlineView->collapse(index);
  m_layout->_outlineView->expand(index);
}

void SBrowserWindowController::reloadItemWithChildren(const ItemPointer& item) {
  performOnMainThread([&] { __reloadItemWithChildrenOnMainThread(item); });
}

void SBrowserWindowController::__reloadItemWithChildrenOnMainThread(const ItemPointer& item) {
  reloadItem(item, true);
}

void SBrowserWindowController::reloadItemWithoutChildren(const ItemPointer& item) {
  performOnMainThread([&] { __reloadItemWithoutChildrenOnMainThread(item); });
}

void SBrowserWindowController::__reloadItemWithoutChildrenOnMainThread(const ItemPointer& item) {
  reloadItem(item, false);
}

void SBrowserWindowController::reloadItem(const ItemPointer& item, bool withChildren) {
  const QModelIndex index = m_model->indexOfItem(*item);
  if (!index.isValid())
    return;
  SOutlineView& outline = *m_layout->_outlineView;
  m_isExpanding = true;
  outline.collapse(index);
  m_model->reloadItem(*item, withChildren);
  outline.expand(index);
  m_isExpanding = false;
}

bool SBrowserWindowController::isInTree(const SItem& item) const {
  const ItemPointer parent = item.parentItem();
  if (!parent)
    return std::any_of(_staticSource.begin(), _staticSource.end(),
                       [&](const ItemPointer& root) { return root.get() == &item; });
  return parent->childObjects() && parent->childObjects()->indexOf(item) >= 0 && isInTree(*parent);
}

// ---- Toolbar, keyboard, pointer ----

void SBrowserWindowController::btnToolbar_clicked(const QObject* sender) {
  platform::assertMainThread();
  const QString identifier = sender != nullptr ? sender->objectName() : QString();
  m_foldersToReenter.clear();
  if (identifier == u"btn_InternalStorage")
    setSelectedStorage(kInternalStorage);
  else if (identifier == u"btn_ExternalStorage")
    setSelectedStorage(kExternalStorage);
  else if (identifier == u"btn_back")
    goBack();
  else if (identifier == u"btn_next")
    goNext();
  else if (identifier == u"btn_AddNewFolder")
    performCommand(WindowCommand::NewFolder);
  enableCommands();
}

void SBrowserWindowController::goBack() {
  const ItemPointer parent = _currentFolderItem ? _currentFolderItem->parentItem() : nullptr;
  if (!parent)
    return;
  _nextStack.pushBack(_currentFolderItem);
  gotoNewFolder(parent);
}

void SBrowserWindowController::goNext() {
  if (const ItemPointer item = _nextStack.pop())
    gotoNewFolder(item);
}

void SBrowserWindowController::outlineViewRowDoubleClicked(const QModelIndex& clickedRow) {
  platform::assertMainThread();
  const ItemPointer item = m_model->itemAtIndex(clickedRow);
  if (!item)
    return;
  m_foldersToReenter.clear();
  _nextStack.removeAllObject();
  gotoNewFolder(item);
  enableCommands();
}

bool SBrowserWindowController::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
  case QEvent::KeyPress: {
    const auto& press = static_cast<const QKeyEvent&>(*event);
    const bool isEnter = press.key() == Qt::Key_Return || press.key() == Qt::Key_Enter;
    if (watched == m_layout->_outlineView && isEnter && (press.modifiers() & ~Qt::KeypadModifier) == 0) {
      // A key still held down from before, in a panel perhaps, means no row.
      if (!isCovered() && !press.isAutoRepeat())
        outlineViewRowDoubleClicked(m_layout->_outlineView->currentIndex());
      return true;
    }
    break;
  }
  case QEvent::MouseButtonPress:
  case QEvent::MouseButtonDblClick: { // a fast second press
    const Qt::MouseButton button = static_cast<const QMouseEvent&>(*event).button();
    if (watched == m_layout->_outlineView->viewport() && (button == Qt::BackButton || button == Qt::ForwardButton)) {
      performCommand(button == Qt::BackButton ? WindowCommand::Back : WindowCommand::Next);
      return true;
    }
    break;
  }
  case QEvent::Close:
    if (watched == window()) {
      _isCanceled = true;
      m_transfers->cancel();
      endQuestions();
    }
    break;
  case QEvent::HideToParent:
    m_layout->giveKeyboardBack(); // else it would go to the next widget, whatever lies over that
    [[fallthrough]];
  case QEvent::ShowToParent:
    enableCommands();
    break;
  default:
    break;
  }
  return QObject::eventFilter(watched, event);
}

// ---- Commands ----

std::array<QWidget*, 3> SBrowserWindowController::covers() const {
  return {m_layout->_ghostView, m_layout->_loadingViewController->view(), m_layout->_progressView};
}

void SBrowserWindowController::connectCommands() {
  const SOutlineView& outline = *m_layout->_outlineView;
  const WindowMenus& menus = *m_layout->menus;
  connect(&menus, &WindowMenus::triggered, this, &SBrowserWindowController::performCommand);
  connect(menus.contextMenu(), &QMenu::triggered, this, [this](const QAction* entry) {
    if (possibleCommands().contains(WindowCommand::NewFolder)) // the window may have been blocked below the open menu
      actionBrowserMenuItem(entry);
  });
  for (const WindowCommand command : {WindowCommand::NewFolder, WindowCommand::Upload, WindowCommand::UploadFolder,
                                      WindowCommand::CopyTo, WindowCommand::Rename, WindowCommand::Delete})
    m_layout->menus->setOffered(command, false);
  setCommandHandler(WindowCommand::NewFolder, [this] { createItemProc(); });
  setCommandHandler(WindowCommand::Rename, [this] { changeItemNameProc(); });
  setCommandHandler(WindowCommand::Delete, [this] { deleteItemsProc(); });
  setCommandHandler(WindowCommand::CopyTo, [this] { m_downloads->copySelectionTo(); });
  const auto enable = [this] { enableCommands(); };
  connect(outline.selectionModel(), &QItemSelectionModel::selectionChanged, this, enable);
  connect(outline.selectionModel(), &QItemSelectionModel::currentChanged, this, enable);
  connect(&outline, &QTreeView::expanded, this, enable);
  connect(&outline, &QTreeView::collapsed, this, enable);
  connect(m_model.get(), &QAbstractItemModel::modelReset, this, enable);
  connect(m_model.get(), &QAbstractItemModel::rowsInserted, this, enable);
  connect(m_model.get(), &QAbstractItemModel::rowsRemoved, this, enable);
  connect(outline.header(), &QHeaderView::sortIndicatorChanged, this, [this](int column, Qt::SortOrder order) {
    WindowMemory::setSorting({column, order});
    m_layout->menus->setSortColumn(column);
  });
}

void SBrowserWindowController::restoreSorting() {
  if (const auto sorting = WindowMemory::sorting()) {
    m_layout->_outlineView->sortByColumn(sorting->column, sorting->order);
    m_appliesSorting = true;
  }
}

void SBrowserWindowController::setCommandHandler(WindowCommand command, std::function<void()> handler) {
  platform::assertMainThread();
  const bool offered = handler != nullptr;
  if (offered)
    m_commandHandlers[command] = std::move(handler);
  else
    m_commandHandlers.erase(command);
  m_layout->menus->setOffered(command, offered);
  const bool anyInContextMenu = m_commandHandlers.contains(WindowCommand::NewFolder) ||
                                m_commandHandlers.contains(WindowCommand::Rename) ||
                                m_commandHandlers.contains(WindowCommand::Delete);
  m_layout->_outlineView->setOwnerMenu(anyInContextMenu ? m_layout->menus->contextMenu() : nullptr);
  if (command == WindowCommand::NewFolder)
    m_layout->setNewFolderButtonShown(offered);
  enableCommands();
}

void SBrowserWindowController::runCommandHandler(WindowCommand command) const {
  const auto found = m_commandHandlers.find(command);
  if (found == m_commandHandlers.end())
    return;
  const auto handler = found->second; // it may set another one
  handler();
}

void SBrowserWindowController::actionBrowserMenuItem(const QAction* menuEntry) {
  platform::assertMainThread();
  switch (contextMenuEntryTitled(menuEntry->text())) {
  case SOutlineMenuEntry::AddNewFolder:
    runCommandHandler(WindowCommand::NewFolder);
    break;
  // On empty space the menu offers both whatever is selected.
  case SOutlineMenuEntry::EditName:
    if (!isAnySelectedRowProtected())
      runCommandHandler(WindowCommand::Rename);
    break;
  case SOutlineMenuEntry::Delete:
    if (!isAnySelectedRowProtected())
      runCommandHandler(WindowCommand::Delete);
    break;
  case SOutlineMenuEntry::Other:
    break;
  }
}

void SBrowserWindowController::createItemProc() {
  m_mutations->createItemProc();
}

void SBrowserWindowController::changeItemNameProc() {
  m_mutations->changeItemNameProc();
}

void SBrowserWindowController::deleteItemsProc() {
  m_mutations->deleteItemsProc();
}

void SBrowserWindowController::deleteDrapItemsProc(const std::vector<ItemPointer>& items) {
  m_mutations->deleteDrapItemsProc(items);
}

void SBrowserWindowController::performCommand(WindowCommand command) {
  platform::assertMainThread();
  if (!possibleCommands().contains(command))
    return;
  SOutlineView& outline = *m_layout->_outlineView;
  switch (command) {
  case WindowCommand::NewFolder:
    outline.setSelectedRowIndex(-1); // in the current folder, whatever was right-clicked before
    runCommandHandler(command);
    break;
  case WindowCommand::Upload:
  case WindowCommand::UploadFolder:
  case WindowCommand::CopyTo:
  case WindowCommand::Rename:
  case WindowCommand::Delete:
    runCommandHandler(command);
    break;
  case WindowCommand::CancelTransfer:
    m_layout->_progressView->btnCancel_Clicked(nullptr);
    break;
  case WindowCommand::Quit:
    closeAllWindows();
    break;
  case WindowCommand::SelectAll:
    outline.selectAll();
    break;
  case WindowCommand::Open:
    outlineViewRowDoubleClicked(outline.currentIndex());
    break;
  case WindowCommand::Back:
    btnToolbar_clicked(m_layout->_btn_Previous);
    break;
  case WindowCommand::Next:
    btnToolbar_clicked(m_layout->_btn_Next);
    break;
  case WindowCommand::InternalStorage:
    btnToolbar_clicked(m_layout->_btn_InternalStorage);
    break;
  case WindowCommand::ExternalStorage:
    btnToolbar_clicked(m_layout->_btn_ExternalStorage);
    break;
  case WindowCommand::Reload:
    reloadCurrentFolder();
    break;
  case WindowCommand::SortByName:
    sortBy(kFileName);
    break;
  case WindowCommand::SortByDate:
    sortBy(kDateModified);
    break;
  case WindowCommand::SortBySize:
    sortBy(kFileSize);
    break;
  case WindowCommand::Expand:
    outline.expand(outline.currentIndex().siblingAtColumn(kFileName));
    break;
  case WindowCommand::Collapse:
    outline.collapse(outline.currentIndex().siblingAtColumn(kFileName));
    break;
  case WindowCommand::LastTransfer:
    showLastTransfer();
    break;
  case WindowCommand::ShowKeys:
    m_layout->menus->showKeys();
    break;
  case WindowCommand::About:
    m_layout->menus->showAbout();
    break;
  }
  showStoragesInMenu(); // an entry marks itself when it is chosen
  m_layout->menus->setSortColumn(outline.header()->sortIndicatorSection());
}

void SBrowserWindowController::sortBy(int column) {
  SOutlineView& outline = *m_layout->_outlineView;
  const QHeaderView& header = *outline.header();
  const bool turnRound = header.sortIndicatorSection() == column && header.sortIndicatorOrder() == Qt::AscendingOrder;
  outline.sortByColumn(column, turnRound ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void SBrowserWindowController::reloadCurrentFolder() {
  platform::assertMainThread();
  QStringList names;
  ItemPointer item = _currentFolderItem;
  for (; item && item->parentItem(); item = item->parentItem())
    names.prepend(item->fileName());
  const std::size_t selected = _currentSelectedStorage == kExternalStorage ? 1 : 0;
  updateMTPChangeProcess(); // the only way to make the phone tell anew
  if (selected < _staticSource.size() && item == _staticSource[selected])
    m_foldersToReenter = names;
  m_appliesSorting = m_layout->_outlineView->header()->sortIndicatorSection() >= 0;
}

bool SBrowserWindowController::continueReloading(const ItemPointer& entered) {
  if (m_foldersToReenter.isEmpty())
    return false;
  const QString name = m_foldersToReenter.takeFirst();
  if (const auto children = entered->childObjects())
    for (const ItemPointer& child : *children)
      if (child->fileName() == name && child->isExpandable()) {
        gotoNewFolder(child);
        return true;
      }
  m_foldersToReenter.clear();
  return false;
}

bool SBrowserWindowController::isBlocked() const {
  return !m_layout->_ghostView->isHidden() || !m_layout->_progressView->isHidden();
}

bool SBrowserWindowController::isCovered() const {
  return isBlocked() || !m_layout->_loadingViewController->view()->isHidden();
}

bool SBrowserWindowController::isAnySelectedRowProtected() const {
  for (const QItemSelectionRange& range : m_layout->_outlineView->selectionModel()->selection()) {
    const ItemPointer folder = range.parent().isValid() ? m_model->itemAtIndex(range.parent()) : m_model->folder();
    // Only a storage's own top level holds protected folders: no need to look at all rows of another.
    if (!folder || !folder->isStorageRoot())
      continue;
    for (int row = range.top(); range.left() <= kFileName && row <= range.bottom(); ++row)
      if (menuTypeForItem(m_model->itemAtIndex(m_model->index(row, kFileName, range.parent()))) == kMenuTypeProtected)
        return true;
  }
  return false;
}

WindowCommandSet SBrowserWindowController::possibleCommands() const {
  platform::assertMainThread();
  const SOutlineView& outline = *m_layout->_outlineView;
  WindowState state;
  state.showsPhone = !m_layout->scrollViewBrowser->isHidden();
  state.isLoading = !m_layout->_loadingViewController->view()->isHidden();
  state.isBlocked = isBlocked();
  state.isTransferring = transferRun() && !transferRun()->isStopped();
  state.storagesEnabled = m_layout->_btn_InternalStorage->isEnabled();
  state.backAndNextEnabled = m_layout->_btn_Previous->isEnabled();
  state.storages = _staticSource.size();
  state.hasParent = _currentFolderItem && _currentFolderItem->parentItem();
  state.hasNext = _nextStack.count() > 0;
  state.hasRows = m_model->rowCount() > 0;
  state.selectedRows = outline.numberOfSelectedRows();
  if (state.selectedRows == 1)
    state.selectedType = menuTypeForItem(m_model->itemAtIndex(outline.selectionModel()->selectedIndexes().value(0)));
  else
    state.isProtectedSelected = isAnySelectedRowProtected();
  if (const ItemPointer current = m_model->itemAtIndex(outline.currentIndex())) {
    state.isCurrentExpandable = current->isExpandable();
    state.isCurrentExpanded = outline.isExpanded(outline.currentIndex().siblingAtColumn(kFileName));
  }
  return ::possibleCommands(state);
}

void SBrowserWindowController::enableCommands() {
  m_layout->menus->setPossible(possibleCommands());
}

void SBrowserWindowController::showStoragesInMenu() {
  QStringList names;
  if (!m_layout->scrollViewBrowser->isHidden())
    for (const ItemPointer& root : _staticSource)
      names.append(root->fileName());
  m_layout->menus->setStorages(names.first(qMin<qsizetype>(names.size(), 2)), _currentSelectedStorage - 1);
}

void SBrowserWindowController::onProgressActionCanceled(SProgressView* view) {
  platform::assertMainThread();
  MTPB_LOG("Enter");
  _isCanceled = true;
  _isDropOvering = false;
  setIsTransferProcess(false);
  m_transfers->cancel();
  view->hide();
  MTPB_LOG("Exit");
}

void SBrowserWindowController::mouseEntered(QEvent&) {}

void SBrowserWindowController::mouseExited(QEvent&) {
  _isDropOvering = false;
}

void SBrowserWindowController::writeItems(const QModelIndexList& rows) {
  std::vector<ItemPointer> items;
  items.reserve(std::size_t(rows.size()));
  for (const QModelIndex& row : rows)
    items.push_back(m_model->itemAtIndex(row));
  m_downloads->writeItems(items);
}

void SBrowserWindowController::performDragOperationDelete() {
  m_downloads->performDragOperationDelete();
}

int SBrowserWindowController::menuTypeForItem(const QModelIndex& item) {
  return menuTypeForItem(m_model->itemAtIndex(item));
}

int SBrowserWindowController::menuTypeForItem(const ItemPointer& item) const {
  platform::assertMainThread();
  if (!item)
    return kMenuTypeFolder;
  if (item->objectType() == SObjectTypeFile)
    return kMenuTypeFile;
  if (item->isStorageRoot())
    return kMenuTypeProtected;
  const bool isFolder = item->objectType() == SObjectTypeFolder || item->objectType() == SObjectTypeFolderKind;
  // By the item's own storage: the phone may be busy with the other one just now.
  if (isFolder && devicePath::withoutLastComponent(item->filePath()) == item->rootPath() &&
      isProtectedFolderName(item->fileName()))
    return kMenuTypeProtected;
  return kMenuTypeFolder;
}

// ---- Overlays ----

void SBrowserWindowController::showLoadingView() {
  performOnMainThread([this] { __showLoadingViewOnMainThread(); });
}

void SBrowserWindowController::__showLoadingViewOnMainThread() {
  m_layout->cover(*m_layout->_loadingViewController->view());
  m_layout->_loadingViewController->startAnimation();
}

void SBrowserWindowController::hideLoadingView() {
  performOnMainThread([this] { __hideLoadingViewOnMainThread(); });
}

void SBrowserWindowController::__hideLoadingViewOnMainThread() {
  m_layout->_loadingViewController->view()->hide();
  m_layout->_loadingViewController->stopAnimation();
  m_layout->giveKeyboardBack();
}

void SBrowserWindowController::setToolbarEnabled(bool storages, bool backAndNext) {
  m_layout->_btn_AddNewFolder->setEnabled(storages && m_commandHandlers.contains(WindowCommand::NewFolder));
  m_layout->_btn_InternalStorage->setEnabled(storages);
  m_layout->_btn_ExternalStorage->setEnabled(storages);
  m_layout->_btn_Previous->setEnabled(backAndNext);
  m_layout->_btn_Next->setEnabled(backAndNext);
  enableCommands();
}

void SBrowserWindowController::setDisableCaptureEvent(bool disable) {
  performOnMainThread([&] { __setDisableCaptureEventOnMainThread(disable); });
}

void SBrowserWindowController::__setDisableCaptureEventOnMainThread(bool disable) {
  setToolbarEnabled(!disable, !disable);
  m_layout->_ghostView->setOwnerDelegate(nullptr);
  if (disable) {
    m_layout->cover(*m_layout->_ghostView);
  } else {
    m_layout->_ghostView->hide();
    m_layout->giveKeyboardBack();
  }
}

void SBrowserWindowController::changeEventRecieverObject(QObject* view) {
  performOnMainThread([&] { __changeEventRecieverObjectOnMainThread(view); });
}

void SBrowserWindowController::__changeEventRecieverObjectOnMainThread(QObject* view) {
  setToolbarEnabled(view == nullptr, false);
  m_layout->_ghostView->setOwnerDelegate(view);
  if (view != nullptr) {
    m_layout->cover(*m_layout->_ghostView);
  } else {
    m_layout->_ghostView->hide();
    m_layout->giveKeyboardBack();
  }
}

// ---- Transfers ----

std::shared_ptr<TransferPresenter> SBrowserWindowController::makeTransfers() {
  TransferPresenter::Window own;
  own.setDisableCaptureEvent = [this](bool disable) { setDisableCaptureEvent(disable); };
  own.setIsTransferProcess = [this](bool running) {
    if (running)
      _isCanceled = false;
    setIsTransferProcess(running);
  };
  own.inhibitSuspend = m_dependencies.inhibitSuspend;
  own.sleep = m_dependencies.sleep;
  return std::make_shared<TransferPresenter>(*m_layout, std::move(own));
}

bool SBrowserWindowController::acceptDrop(const QMimeData& info, const ItemPointer& item, int childIndex) {
  return m_uploads->acceptDrop(info, item, childIndex);
}

void SBrowserWindowController::showLastTransfer() {
  platform::assertMainThread();
  auto* const dialog = new LastTransferDialog(m_transfers->lastTransfer(), window());
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->open();
}

std::shared_ptr<TransferRun> SBrowserWindowController::transferRun() const {
  return m_transfers ? m_transfers->run() : nullptr;
}

void SBrowserWindowController::setProgressInfo(const QString& text, std::uint64_t currPos, std::uint64_t totalPos) {
  if (const auto run = transferRun())
    m_transfers->setProgressInfo(*run, text, currPos, totalPos);
}

void SBrowserWindowController::abandonTransfer() {
  if (m_uploads)
    m_uploads->closeDialog();
  if (!m_transfers->run())
    return;
  m_transfers->detach();
  m_layout->_progressView->hide();
  setDisableCaptureEvent(false);
}

// ---- Device events, detach, closing ----

void SBrowserWindowController::registerMtpNotice() {
  m_events.registerMtpNotice(m_session);
}

void SBrowserWindowController::catchMTPEvent() {
  m_events.catchMTPEvent();
}

void SBrowserWindowController::updateMTPChangeProcess() {
  platform::assertMainThread();
  m_events.dropTimer();
  m_foldersToReenter.clear();
  if (!m_session || m_session->ended || _staticSource.empty())
    return;
  m_queue->perform("mtp-reset", m_session, [root = _staticSource.front()->rootPath()](DeviceSession& session) {
    session._mtpSDKWrapper->mtpReset();
    session._rootPath = root;
  });
  registerMtpNotice();
  resetOutlineView();
}

void SBrowserWindowController::deviceDisconnected() {
  platform::assertMainThread();
  MTPB_LOG("Enter");
  _isDetached = true;
  m_conditions.end();
  m_connection.cancel();
  if (m_session)
    m_session->end();
  m_loader.forgetRequests();
  m_events.dropTimer();
  m_foldersToReenter.clear();
  m_downloads->forgetItems();
  abandonTransfer();
  endQuestions();
  setDisableCaptureEvent(false);
  m_layout->showWelcome(welcomeText());
  showStoragesInMenu();
  enableCommands();
  if (m_session)
    m_queue->performLast("mtp-release", m_session,
                         [](DeviceSession& session) { session._mtpSDKWrapper->removeMtpBrowser(); });
  MTPB_LOG("Exit");
}

std::array<SBrowserChildViewDelegate*, 3> SBrowserWindowController::panels() const {
  return {m_layout->_fileNameView, m_layout->_noticeView, m_layout->_progressView};
}

void SBrowserWindowController::endQuestions() {
  // Whoever asks something has nobody to ask any more.
  m_layout->_fileNameView->cancelQuestion();
  m_layout->_noticeView->cancelQuestion();
  m_layout->_progressView->hide();
}

void SBrowserWindowController::closeAllWindows() {
  _isCanceled = true;
  performOnMainThread([this] { __closeAllWindowsOnMainThread(); });
}

void SBrowserWindowController::__closeAllWindowsOnMainThread() {
  m_transfers->cancel();
  window()->close();
}

void SBrowserWindowController::performOnMainThread(const std::function<void()>& work) const {
  platform::runOnMainAndWait([&work, alive = std::weak_ptr<char>(m_alive)] {
    if (!alive.expired())
      work();
  });
}

// ---- Sizes and dates ----

QString SBrowserWindowController::convertFileSizeFromInt(std::uint64_t bytes) {
  return ui::convertFileSizeFromInt(bytes);
}

QString SBrowserWindowController::stringFromating(const QString& number) {
  return ui::stringFromating(number);
}

QString SBrowserWindowController::convertMtpToSystemDate(const QString& text) {
  return ui::convertMtpToSystemDate(text).value_or(QString());
}

QString SBrowserWindowController::dateTimeStringFromDate(platform::dates::Instant date) {
  return ui::dateTimeStringFromDate(date);
}
