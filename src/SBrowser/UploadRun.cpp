#include "SBrowser/UploadRun.h"

#include "MTPCore/MTPSDKUtil.h"
#include "MTPCore/MtpItemInfo.h"
#include "MTPCore/PathWalk.h"
#include "SBrowser/DownloadNames.h"
#include "SBrowser/ProtectedFolders.h"
#include "SBrowser/SItemArray.h"
#include "SBrowser/TreeLoader.h"
#include "UI/Common/NSStringPredicate.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

// How much MtpStorageInfo::UsedSize is above the free space.
constexpr std::uint64_t kUsedSizeBeyondFreeSpace = 524'288'000;

QString composed(const QString& name) {
  return name.normalized(QString::NormalizationForm_C);
}

/// Equal for names that a phone's storage takes for one: they differ in case or in how accents are spelled.
QString comparableName(const QString& name) {
  return composed(composed(name).toCaseFolded());
}

QString joined(const QString& folder, const QString& name) {
  return folder + u'/' + name;
}

/// How the list of the last transfer calls an entry.
QString outcomeName(const STransferItem& entry) {
  return entry.subFolderPath().isNull() ? entry.fileName() : joined(entry.subFolderPath(), entry.fileName());
}

} // namespace

UploadRun::UploadRun(std::shared_ptr<TransferRun> run, std::shared_ptr<DeviceQueue> queue, UploadTree& tree, Drop drop)
    : m_run(std::move(run))
    , m_queue(std::move(queue))
    , m_tree(tree)
    , m_drop(std::move(drop)) {}

void UploadRun::dropItemsToDevice() {
  m_run->onMainThread([this] { lookAtTarget(); });
  if (!m_isTargetListed && !m_run->isStopped())
    listTarget();
  plan();
  const auto work = [this](DeviceSession& session) { transfer(session); };
  if (m_run->plan().empty() && !m_run->isStopped())
    m_run->complete(); // nothing to do is done: what the phone adds by itself counts again
  else if (m_run->isStopped() || !m_queue->performHere(m_run->session(), work))
    recordCanceled(0);
  m_run->end();
  if (m_drop.proposed && !m_run->isDetached())
    m_run->onMainThread([this] { m_tree.expandDropped(m_drop.proposed); });
}

// ---- The target ----

/// The main thread does no more than it must: a folder may hold very many.
void UploadRun::lookAtTarget() {
  const SItem& target = *m_drop.target;
  m_drapAndDropPath = target.filePath();
  m_rootPath = target.rootPath();
  m_nodeID = target.nodeID();
  m_isStorage = target.isStorageRoot();
  const auto children = target.childObjects();
  m_isTargetListed = target.isListed() && children;
  if (!m_isTargetListed)
    return;
  m_targetChildren.reserve(children->count());
  for (const ItemPointer& child : *children)
    m_targetChildren.append({child, child->fileName(), {}, {}, 0, child->objectType() == SObjectTypeFolder});
}

/// A folder that nobody has opened yet has its names, too: without them a taken one would go unasked.
void UploadRun::listTarget() {
  m_queue->performHere(m_run->session(), [this](DeviceSession& session) {
    session.selectStorage(m_rootPath);
    MTPDextSDKWrapper& mtp = *session._mtpSDKWrapper;
    if (targetNode(mtp) == nullptr)
      return;
    if (TreeLoader::listingStatus(session, targetFolder(mtp), [this] { return !m_run->isStopped(); }) ==
        DGSTATUS_IO_CANCEL)
      return;
    const auto entries = mtp.getFilesAtFolder(targetFolder(mtp), session._currentStorageNode, m_drapAndDropPath);
    for (const MtpItemInfo& entry : entries.value_or(QList<MtpItemInfo>()))
      if (const QString name = entry.FileName.value_or(QString()); name != u"..")
        m_targetChildren.append({nullptr, name, entry.NodeID, entry.FilePath.value_or(QString()), entry.FileLength,
                                 entry.ObjectType == MtpObjectFolder});
  });
}

void UploadRun::indexTarget() {
  m_children.reserve(m_targetChildren.size());
  for (const Child& child : std::as_const(m_targetChildren))
    m_children.insert(comparableName(child.name), child);
  m_targetChildren.clear();
}

bool UploadRun::isTaken(const QString& name) const {
  // Another item of the same drop may be on its way to the same name.
  const QString comparable = comparableName(name);
  return m_children.contains(comparable) || m_plannedNames.contains(comparable);
}

/// Whether it is a folder of the phone's own, which is never deleted.
bool UploadRun::isProtected(const Child& child) const {
  return m_isStorage && child.isFolder && isProtectedFolderName(child.name);
}

/// Whether replacing what bears this name costs the phone a folder with all that is in it.
bool UploadRun::deletesFolder(const QString& name) const {
  const Children namesakes = m_children.values(comparableName(name));
  return std::any_of(namesakes.begin(), namesakes.end(),
                     [this](const Child& child) { return child.isFolder && !isProtected(child); });
}

// ---- Planning ----

void UploadRun::plan() {
  indexTarget();
  for (const QString& path : m_drop.paths) {
    if (!m_run->isStopped())
      planPath(path);
    else if (const QString name = lastPathComponent(path); !UploadPlanner::isIgnored(name))
      m_unplanned.append(name);
  }
}

void UploadRun::planPath(const QString& path) {
  const QString name = lastPathComponent(path);
  if (UploadPlanner::isIgnored(name))
    return;
  if (isTaken(name)) {
    const ClashAnswer answer = m_run->askAboutClash(name, std::size_t(m_drop.paths.size()), deletesFolder(name));
    if (m_run->isStopped()) {
      m_unplanned.append(name);
      return;
    }
    if (answer == ClashAnswerSkip) {
      m_run->record(name, TransferOutcome::Skipped);
      return;
    }
  }
  bool isDirectory = false;
  if (!UploadPlanner::macFileExistsAtPath(path, isDirectory) || path == u"/") {
    m_run->record(name, TransferOutcome::Skipped);
    return;
  }
  if (isDirectory) {
    m_plannedNames.insert(comparableName(name));
    planFolder(path, name);
  } else if (UploadPlanner::kindAt(path) == UploadPlanner::Kind::File) {
    m_plannedNames.insert(comparableName(name));
    const std::uint64_t size = UploadPlanner::getMacFileSize(path);
    m_run->plan().push_back(UploadPlanner::fileEntry(path, QString(), size));
    m_sizes.insert(m_run->plan().back().get(), size);
    m_run->addToTotalTransferSize(size);
  } else {
    m_run->record(name, TransferOutcome::Skipped);
  }
}

void UploadRun::planFolder(const QString& path, const QString& name) {
  m_run->plan().push_back(UploadPlanner::folderEntry(path, QString()));
  const STransferItem* const folder = m_run->plan().back().get();
  UploadPlanner planner([this] { return m_run->isStopped(); },
                        [this, folder](const QString& leftOut, std::uint32_t status) {
                          m_run->record(leftOut, status == 0 ? TransferOutcome::Skipped : TransferOutcome::Failed,
                                        status);
                          if (status != 0)
                            m_incomplete.insert(folder);
                        });
  const QString parent = path.first(path.lastIndexOf(u'/'));
  std::uint64_t size = 0;
  const auto below = planner.getListFileInMacFolder(parent.isEmpty() ? QStringLiteral("/") : parent, name, size);
  if (!below || below->empty())
    return;
  m_run->plan().insert(m_run->plan().end(), below->begin(), below->end());
  m_run->addToTotalTransferSize(size);
  m_sizes.insert(folder, size);
}

// ---- Sending ----

/// What the run has not come to, from this entry of the plan on.
void UploadRun::recordCanceled(std::size_t next) {
  for (; next < m_run->plan().size(); ++next)
    m_run->record(outcomeName(*m_run->plan()[next]), TransferOutcome::Canceled);
  for (const QString& name : std::as_const(m_unplanned))
    m_run->record(name, TransferOutcome::Canceled);
}

void UploadRun::transfer(DeviceSession& session) {
  session.selectStorage(m_rootPath);
  const auto& plan = m_run->plan();
  std::size_t next = 0;
  for (bool goesOn = true; goesOn && next < plan.size() && !m_run->isStopped(); ++next)
    goesOn = transferEntry(session, *plan[next]);
  recordCanceled(next);
  if (m_run->isDetached())
    return;
  showAdded();
  if (m_run->isCanceled())
    return;
  m_run->complete();
  m_run->onMainThread([this] { m_tree.uploadCompleted(); });
}

bool UploadRun::transferEntry(DeviceSession& session, const STransferItem& entry) {
  m_run->beginEntry(entry);
  session.selectStorage(m_rootPath); // which a question that went unanswered may have undone
  if (entry.subFolderPath().isNull())
    m_isMerging = false;
  std::uint32_t status = replace(session, entry);
  if (status == DGSTATUS_SUCCESS && !m_run->isDetached())
    status = entry.objectType() == SObjectTypeFolder ? sendFolder(session, entry) : sendFile(session, entry);
  const bool isCopied = status == DGSTATUS_SUCCESS && !m_run->isDetached();
  if (!isCopied && m_run->isStopped()) {
    m_run->record(outcomeName(entry), TransferOutcome::Canceled);
    return false;
  }
  m_run->record(outcomeName(entry), isCopied ? TransferOutcome::Copied : TransferOutcome::Failed, status);
  m_run->finishEntry(entry);
  return status != DGSTATUS_STORAGE_FULL;
}

/// Whether all that belongs to the dropped entry is there to be sent, as far as can be told now.
bool UploadRun::comesWhole(const STransferItem& entry) const {
  const QFileInfo source(entry.srcPath());
  if (!source.isReadable() || m_incomplete.contains(&entry))
    return false;
  if (entry.objectType() != SObjectTypeFolder)
    return true;
  const auto& plan = m_run->plan();
  auto below = std::find_if(plan.begin(), plan.end(), [&](const auto& planned) { return planned.get() == &entry; });
  const auto isReadable = [](const STransferItem& file) {
    return file.objectType() == SObjectTypeFolder || QFileInfo(file.srcPath()).isReadable();
  };
  while (++below != plan.end() && !(*below)->subFolderPath().isNull())
    if (!isReadable(**below))
      return false;
  return source.isDir() && source.isExecutable();
}

/// The old object goes right before the new one is sent, and not at all when that one cannot come. A folder of the
/// phone's own stays; what is in the dropped one goes into it.
std::uint32_t UploadRun::replace(DeviceSession& session, const STransferItem& entry) {
  if (!entry.subFolderPath().isNull())
    return DGSTATUS_SUCCESS; // what is below a folder has nothing to replace: the folder went whole
  const QString comparable = comparableName(entry.fileName());
  Children namesakes = m_children.values(comparable);
  if (namesakes.isEmpty())
    return DGSTATUS_SUCCESS;
  const auto isOther = [&](const Child& child) { return composed(child.name) != composed(entry.fileName()); };
  if (std::any_of(namesakes.begin(), namesakes.end(), isOther) && namesakes.size() > 1)
    return DGSTATUS_NODE_FILE_DUPNAME_EXISTED; // with one of them gone the others would still be in the way
  const auto own =
      std::find_if(namesakes.begin(), namesakes.end(), [this](const Child& child) { return isProtected(child); });
  if (own != namesakes.end())
    return mergeInto(*own, entry);
  for (Child& child : namesakes)
    if (!lookAt(child))
      return DGSTATUS_IO_CANCEL;
  if (!comesWhole(entry))
    return DGSTATUS_FILE_OPEN_FAILED;
  if (const std::uint32_t status = lookForRoom(session, entry, namesakes); status != DGSTATUS_SUCCESS)
    return status;
  MTPDextSDKWrapper& mtp = *session._mtpSDKWrapper;
  for (const Child& child : std::as_const(namesakes)) {
    if (m_run->isStopped())
      return DGSTATUS_IO_CANCEL;
    std::uint32_t status = DGSTATUS_SUCCESS;
    const bool deleted =
        mtp.deleteItemAtPath(mtp.getCurrentDeviceNode(), mtp.getStorageHeadNode(), child.nodeID, child.path, status);
    if (m_run->isDetached())
      return DGSTATUS_IO_CANCEL;
    if (deleted)
      forget(child);
  }
  return DGSTATUS_SUCCESS; // what could not be deleted is in the way, and sending will say so
}

/// Whether what is in the dropped entry can go into the folder.
std::uint32_t UploadRun::mergeInto(const Child& folder, const STransferItem& entry) {
  if (entry.objectType() != SObjectTypeFolder)
    return DGSTATUS_NODE_FOLDER_DUPNAME_EXISTED;
  if (!QFileInfo(entry.srcPath()).isDir())
    return DGSTATUS_FILE_OPEN_FAILED;
  m_isMerging = true;
  if (folder.item)
    m_merged.push_back(folder.item);
  return DGSTATUS_SUCCESS;
}

/// False when the window is gone.
bool UploadRun::lookAt(Child& child) {
  return !child.item || m_run->onMainThread([&] {
    child.nodeID = child.item->nodeID();
    child.path = child.item->filePath();
    child.size = child.item->fileSize();
  });
}

/// Success when the new object finds room where the old ones are: these must not go for one that cannot come. Also when
/// the phone does not know its room, which sending will find out. What does not grow costs no question.
std::uint32_t UploadRun::lookForRoom(DeviceSession& session, const STransferItem& entry, const Children& replaced) {
  const std::uint64_t wanted = m_sizes.value(&entry);
  std::uint64_t room = 0;
  const auto suffices = [&](std::uint64_t more) {
    room = more > wanted - room ? wanted : room + more; // no more is needed, and nothing overflows
    return room == wanted;
  };
  for (const Child& child : replaced)
    if (suffices(child.size))
      return DGSTATUS_SUCCESS;
  std::optional<std::uint64_t> freeSpace;
  if (const std::uint32_t status = askForRoom(session, freeSpace); status != DGSTATUS_SUCCESS)
    return status;
  if (!freeSpace || suffices(*freeSpace))
    return DGSTATUS_SUCCESS;
  for (const Child& child : replaced)
    if (suffices(sizeBelow(*session._mtpSDKWrapper, child, wanted - room)))
      return DGSTATUS_SUCCESS;
  return DGSTATUS_STORAGE_FULL;
}

/// Not successful when there is no answer; `freeSpace` stays empty when the phone's answer does not tell.
std::uint32_t UploadRun::askForRoom(DeviceSession& session, std::optional<std::uint64_t>& freeSpace) const {
  // Listed anew: what is known of a storage is as old as its listing.
  session._mtpSDKWrapper->initializeNodeInfo(nullptr, &session._currentStorageNode, &session._currentFolderNode);
  for (const MtpStorageInfo& storage : session._mtpSDKWrapper->storageInfoLists().value_or(QList<MtpStorageInfo>()))
    if (storage.volumePath == m_rootPath && session._currentStorageNode != nullptr) {
      if (storage.TotalSpace > 0)
        freeSpace = storage.UsedSize - kUsedSizeBeyondFreeSpace;
      return DGSTATUS_SUCCESS;
    }
  return DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE;
}

/// The bytes of the files below a folder of the phone, as far as `enough`. A phone whose folders lead round in circles
/// is followed no further than paths go.
std::uint64_t UploadRun::sizeBelow(MTPDextSDKWrapper& mtp, const Child& folder, std::uint64_t enough) const {
  std::uint64_t size = 0;
  QList<std::pair<QString, QString>> folders{{folder.nodeID, folder.path}};
  while (!folders.isEmpty() && size < enough && !m_run->isStopped()) {
    const auto [nodeID, path] = folders.takeLast();
    _MTP_COMMON_NODE* node = mtp.getCommonNodeFromNodeID(nodeID);
    if (node == nullptr)
      node = PathWalk::nodeAt(mtp, mtp.getCurrentDeviceNode(), mtp.knownStorageHead(), path);
    if (mtp.nodeKind(node) != MTPDEXT_NODE_FOLDER || path.size() >= download::kLongestPath)
      continue;
    const auto below =
        mtp.getFilesAtFolder(reinterpret_cast<_MTP_FOLDER_NODE*>(node), mtp.getCurrentStorageNode(), path);
    for (const MtpItemInfo& item : below.value_or(QList<MtpItemInfo>())) {
      size += std::min(item.FileLength, enough - size);
      if (item.ObjectType == MtpObjectFolder && item.FileName != u"..")
        folders.append({item.NodeID, item.FilePath.value_or(QString())});
    }
  }
  return size;
}

void UploadRun::forget(const Child& child) {
  const QString comparable = comparableName(child.name);
  for (auto it = m_children.find(comparable); it != m_children.end() && it.key() == comparable; ++it)
    if (it->nodeID == child.nodeID || (child.item && it->item == child.item)) {
      m_children.erase(it);
      break;
    }
  if (!child.item || std::erase(m_added, child.item) > 0)
    return; // not in the tree, or not yet
  m_hasReplaced = true;
  m_run->onMainThread([&] { m_tree.removeReplaced(child.item); });
}

std::uint32_t UploadRun::sendFolder(DeviceSession& session, const STransferItem& entry) {
  if (m_isMerging && entry.subFolderPath().isNull())
    return DGSTATUS_SUCCESS; // it is there
  MTPDextSDKWrapper& mtp = *session._mtpSDKWrapper;
  _MTP_COMMON_NODE* parent = makeTarget(mtp);
  // Without the target the storage's top level would be meant, and a namesake there is no folder of this upload.
  if (parent != nullptr && !entry.subFolderPath().isNull())
    parent = reinterpret_cast<_MTP_COMMON_NODE*>(
        mtp.getFolderNode(entry.subFolderPath(), mtp.getCurrentStorageNode(), targetFolder(mtp)));
  if (parent == nullptr)
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  std::uint32_t status = DGSTATUS_SUCCESS;
  _MTP_FOLDER_NODE* const folder = mtp.createFolder(parent, entry.fileName(), status);
  if (m_isMerging && status == DGSTATUS_NODE_FOLDER_DUPNAME_EXISTED)
    return DGSTATUS_SUCCESS; // its contents go into that one likewise
  if (status != DGSTATUS_SUCCESS || !entry.subFolderPath().isNull())
    return status;
  const ItemPointer item = newItem(entry);
  item->setObjectType(SObjectTypeFolder);
  item->setDateModified(ui::kUnknownDate.toString());
  if (const auto info = mtp.getFolderNodeInfo(folder, entry.subFolderPath()))
    item->setNodeID(info->NodeID);
  added(item);
  return status;
}

std::uint32_t UploadRun::sendFile(DeviceSession& session, const STransferItem& entry) {
  MTPDextSDKWrapper& mtp = *session._mtpSDKWrapper;
  const QString subFolder = entry.subFolderPath();
  std::uint32_t status = DGSTATUS_SUCCESS;
  QString nodeID;
  mtp.downloadFileToMTP(subFolder.isNull() ? makeTarget(mtp) : nullptr, entry.srcPath(),
                        subFolder.isNull() ? m_drapAndDropPath : joined(m_drapAndDropPath, subFolder),
                        ProgressContentsCallback, m_run.get(), &nodeID, status);
  if (status != DGSTATUS_SUCCESS || !subFolder.isNull())
    return status;
  const ItemPointer item = newItem(entry);
  item->setObjectType(SObjectTypeFile);
  _MTP_FILE_NODE* node = mtp.getFileNodeFromNodeID(nodeID);
  if (node == nullptr)
    node = mtp.getFileNode(targetNode(mtp), entry.fileName());
  if (const auto info = mtp.getFileNodeInfo(node, m_drapAndDropPath)) {
    item->setMtpDate(info->DateModify.value_or(QString()));
    item->setNodeID(info->NodeID);
    item->setFileSize(info->FileLength);
  }
  added(item);
  return status;
}

UploadRun::ItemPointer UploadRun::newItem(const STransferItem& entry) const {
  ItemPointer item = SItem::newObject();
  item->setFileName(composed(entry.fileName())); // as the phone got it
  item->setRootPath(m_rootPath);
  item->setFilePath(joined(m_drapAndDropPath, item->fileName()));
  item->setParentItem(m_drop.target);
  return item;
}

void UploadRun::added(const ItemPointer& item) {
  m_children.insert(comparableName(item->fileName()),
                    {item, item->fileName(), {}, {}, 0, item->objectType() == SObjectTypeFolder});
  m_added.push_back(item);
}

_MTP_COMMON_NODE* UploadRun::targetNode(MTPDextSDKWrapper& mtp) {
  if (mtp.nodeKind(m_targetNode) != 0)
    return m_targetNode;
  if (m_isStorage)
    return m_targetNode = reinterpret_cast<_MTP_COMMON_NODE*>(mtp.getCurrentStorageNode());
  m_targetNode = mtp.getCommonNodeFromNodeID(m_nodeID);
  if (m_targetNode == nullptr) // listed anew since the drop: the path still names it
    m_targetNode = PathWalk::nodeAt(mtp, mtp.getCurrentDeviceNode(), mtp.knownStorageHead(), m_drapAndDropPath);
  if (mtp.nodeKind(m_targetNode) != MTPDEXT_NODE_FOLDER)
    m_targetNode = nullptr; // a file took the folder's place
  return m_targetNode;
}

_MTP_COMMON_NODE* UploadRun::makeTarget(MTPDextSDKWrapper& mtp) {
  if (targetNode(mtp) != nullptr)
    return m_targetNode;
  _MTP_STORAGE_NODE* head = mtp.knownStorageHead();
  std::uint32_t status = DGSTATUS_SUCCESS;
  m_targetNode = mtp.checkCreateFolder(mtp.getCurrentDeviceNode(), &head, m_drapAndDropPath, status);
  if (status != DGSTATUS_SUCCESS)
    m_targetNode = nullptr;
  return m_targetNode;
}

_MTP_FOLDER_NODE* UploadRun::targetFolder(MTPDextSDKWrapper& mtp) {
  _MTP_COMMON_NODE* const node = targetNode(mtp);
  return mtp.nodeKind(node) == MTPDEXT_NODE_FOLDER ? reinterpret_cast<_MTP_FOLDER_NODE*>(node) : nullptr;
}

void UploadRun::showAdded() {
  for (const ItemPointer& folder : m_merged)
    m_run->onMainThread([&] { m_tree.mergedInto(folder); });
  if (!m_added.empty() || m_hasReplaced)
    m_run->onMainThread(
        [this] { m_tree.addUploaded(m_drop.target, m_added, !m_added.empty() && !m_run->isCanceled()); });
}
