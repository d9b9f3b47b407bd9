#include "SBrowser/Uploads.h"

#include "Platform/MainThread.h"
#include "Platform/UserDefaults.h"
#include "SBrowser/SBrowserDependencies.h"
#include "SBrowser/SBrowserOutlineModel.h"
#include "SBrowser/SBrowserWindowController.h"
#include "SBrowser/TransferPresenter.h"
#include "SBrowser/WindowLayout.h"
#include "SBrowser/WindowMenus.h"
#include "UI/LoadingView/SLoadingAniView.h"
#include "UI/LoadingView/SLoadingAniViewController.h"
#include "stringDefine/VornLocalStringDefine.h"

#include <QDir>
#include <QFileDialog>
#include <QMainWindow>
#include <QMimeData>

namespace {

const QString kFolderKey = QStringLiteral("UploadFolder"); // where files were chosen last

QString localized(const char* key) {
  return VornLocalStringDefine::QX_LocalizedStringWithKey(QLatin1StringView(key));
}

/// Whether its folder still holds the item: one that was listed anew holds other items in its place.
bool isInTree(const SItem& item) {
  const std::shared_ptr<SItem> parent = item.parentItem();
  return item.isStorageRoot() ||
         (parent && parent->childObjects() && parent->childObjects()->indexOf(item) >= 0 && isInTree(*parent));
}

bool isContainer(const SItem& item) {
  return item.objectType() < SObjectTypeFile;
}

} // namespace

Uploads::Uploads(SBrowserWindowController& window, std::shared_ptr<DeviceQueue> queue,
                 const SBrowserDependencies& dependencies)
    : m_window(window)
    , m_queue(std::move(queue))
    , m_startWorker(dependencies.startWorker)
    , m_drop(*window.layout()._outlineView, *dependencies.timers, dropOwner())
    , m_timers(*dependencies.timers) {}

Uploads::~Uploads() {
  closeDialog();
}

// ---- Drops ----

UploadDrop::Owner Uploads::dropOwner() {
  SBrowserWindowController* const window = &m_window;
  const auto itemAt = [window](const QModelIndex& row) { return window->outlineModel().itemAtIndex(row); };
  UploadDrop::Owner owner;
  // Asked at every move of the pointer: possibleCommands() would look at all selected rows each time.
  owner.isReady = [window] {
    const WindowLayout& layout = window->layout();
    return window->currentFolderItem() && !layout.scrollViewBrowser->isHidden() &&
           layout._loadingViewController->view()->isHidden() && !window->isBlocked();
  };
  owner.validateDrop = [this, itemAt](const QModelIndex& row, bool isFromTree) {
    return validateDrop(itemAt(row), -1, isFromTree).copies;
  };
  owner.targetRow = [this, itemAt, window](const QModelIndex& row) {
    const ItemPointer target = targetOf(itemAt(row));
    return target && target != window->currentFolderItem() ? window->outlineModel().indexOfItem(*target)
                                                           : QModelIndex();
  };
  owner.acceptDrop = [this, itemAt](const QMimeData& info, const QModelIndex& row) {
    acceptDrop(info, itemAt(row), -1);
  };
  owner.dragEnded = [window] { window->setIsDropOvering(false); };
  return owner;
}

Uploads::Proposal Uploads::validateDrop(const ItemPointer& item, int childIndex, bool isFromOutline) {
  platform::assertMainThread();
  m_window.setIsDropOvering(!isFromOutline);
  const bool isWhole = !item || childIndex == 0 || !isContainer(*item);
  return {isWhole ? nullptr : item, isWhole ? -1 : childIndex, !isFromOutline};
}

Uploads::ItemPointer Uploads::targetOf(const ItemPointer& item) const {
  const ItemPointer proposed = item ? item : m_window.currentFolderItem();
  return proposed && !isContainer(*proposed) ? proposed->parentItem() : proposed;
}

bool Uploads::acceptDrop(const QMimeData& info, const ItemPointer& item, int) {
  upload(localPaths(info), item);
  return true;
}

void Uploads::upload(const QStringList& paths, const ItemPointer& item) {
  platform::assertMainThread();
  const ItemPointer target = targetOf(item);
  if (!target)
    return;
  if (paths.isEmpty()) {
    if (item)
      expandDropped(item);
    return;
  }
  const auto run = m_window.transfers().begin(m_window.session());
  if (!run)
    return;
  _dropTargetItem = target;
  _drapAndDropPath = target->filePath();
  UploadTree& tree = *this;
  const auto upload = std::make_shared<UploadRun>(run, m_queue, tree, UploadRun::Drop{paths, target, item});
  if (!m_startWorker("mtp-upload", [upload] { upload->dropItemsToDevice(); })) {
    for (const QString& path : paths)
      run->record(lastPathComponent(path), TransferOutcome::Canceled);
    run->complete();
    run->end();
  }
}

// ---- Dialogs ----

void Uploads::chooseFiles() {
  choose(false);
}

void Uploads::chooseFolder() {
  choose(true);
}

void Uploads::choose(bool folder) {
  platform::assertMainThread();
  closeDialog();
  // Where the user is now: the tree may be made anew while the dialog is open.
  const ItemPointer target = m_window.currentFolderItem();
  auto* const dialog = new QFileDialog(m_window.window());
  m_dialog = dialog;
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setLayoutDirection(m_window.window()->layoutDirection());
  dialog->setWindowTitle(textWithoutMnemonic(localized(folder ? "menu_file_upload_folder" : "menu_file_upload")));
  dialog->setAcceptMode(QFileDialog::AcceptOpen);
  dialog->setFileMode(folder ? QFileDialog::Directory : QFileDialog::ExistingFiles);
  dialog->setOption(QFileDialog::ShowDirsOnly, folder);
  dialog->setSupportedSchemes({QStringLiteral("file")});
  const QString before = platform::userDefaults::stringForKey(kFolderKey);
  dialog->setDirectory(!before.isEmpty() && QDir(before).exists() ? before : QDir::homePath());
  QObject::connect(dialog, &QFileDialog::filesSelected, dialog, [this, dialog, target](const QStringList& chosen) {
    platform::userDefaults::setValue(kFolderKey, dialog->directory().absolutePath());
    QStringList paths;
    for (const QString& path : chosen)
      paths.append(QDir::cleanPath(path));
    upload(paths, target);
  });
  dialog->open();
}

void Uploads::closeDialog() {
  if (m_dialog)
    delete m_dialog.data();
}

// ---- The tree ----

void Uploads::removeReplaced(const ItemPointer& item) {
  m_window.outlineModel().removeItem(item);
  if (item->parentItem() == m_window.currentFolderItem() && !m_reloadTimer)
    m_reloadTimer = m_timers.oneShot(kReloadDelay, [this] { showRemovals(); });
}

void Uploads::showRemovals() {
  m_reloadTimer.reset();
  if (const ItemPointer current = m_window.currentFolderItem())
    m_window.reloadDataOfOutlineView(current);
}

void Uploads::addUploaded(const ItemPointer& target, const std::vector<ItemPointer>& items, bool expands) {
  const bool hasOldRows = m_reloadTimer != nullptr;
  m_reloadTimer.reset();
  if (!items.empty() && !isInTree(*target)) {
    m_window.reloadCurrentFolder();
    return;
  }
  if (!items.empty() && target->isListed())
    insert(target, items);
  if (expands && target->isListed())
    m_window.expandItem(target);
  else if (hasOldRows || target == m_window.currentFolderItem())
    showRemovals();
}

void Uploads::insert(const ItemPointer& target, const std::vector<ItemPointer>& items) {
  const auto children =
      target->childObjects() ? std::make_shared<SItemArray>(*target->childObjects()) : std::make_shared<SItemArray>();
  int firstFile = 0;
  while (firstFile < children->count() && children->at(firstFile)->objectType() != SObjectTypeFile)
    ++firstFile;
  for (const ItemPointer& item : items)
    if (item->objectType() == SObjectTypeFile)
      children->append(item);
    else
      children->insert(firstFile++, item);
  m_window.outlineModel().setChildren(target, children);
}

void Uploads::mergedInto(const ItemPointer& folder) {
  m_window.layout()._outlineView->collapse(m_window.outlineModel().indexOfItem(*folder));
  folder->setIsListed(false);
  m_window.publishChildren(folder, nullptr);
}

void Uploads::uploadCompleted() {
  _drapAndDropPath = QString();
  _dropTargetItem.reset();
  m_window.setIsDropOvering(false);
}

void Uploads::expandDropped(const ItemPointer& item) {
  const QModelIndex row = m_window.outlineModel().indexOfItem(*item);
  if (row.isValid() && item->isExpandable() && !m_window.layout()._outlineView->isExpanded(row))
    m_window.layout()._outlineView->expand(row);
}
