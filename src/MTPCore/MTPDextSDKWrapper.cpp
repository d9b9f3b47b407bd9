#include "MTPCore/MTPDextSDKWrapper.h"

#include "MTPCore/DevicePath.h"
#include "MTPCore/FileTransfer.h"
#include "MTPCore/LinkFolder.h"
#include "MTPCore/ListWalk.h"
#include "MTPCore/MTPSDKUtil.h"
#include "MTPCore/NameMatch.h"
#include "MTPCore/NodeMutations.h"
#include "MTPCore/PathWalk.h"
#include "MTPCore/StorageCollector.h"
#include "MTPCore/Utf16Buffer.h"
#include "Platform/Log.h"
#include "Platform/NotificationCenter.h"

#include <QStringList>
#include <QStringView>

#include <algorithm>
#include <exception>
#include <new>
#include <string>
#include <typeinfo>

namespace {

constexpr AccessFace ownFace{"MTPDextSDKWrapper", "mtpDext", true};
constexpr std::uint32_t LongestDeviceName = 64 * 1024; // bytes; MTP strings end at 510

// The end of a list, and success: everything else is worth a log line.
bool isListFailure(std::uint32_t status) {
  return (status & ~std::uint32_t(DGSTATUS_NO_MORE_DATA)) != 0;
}

// What follows reads records: the caller holds the nodes and knows the kind.

// The text by which a storage is found; none without a name.
std::optional<QStringView> storageLabel(const _MTP_STORAGE_NODE& storage) {
  const char16_t* const text = storage.name;
  std::uint32_t length = storage.nameLength;
  if (text == nullptr)
    return std::nullopt;
  if (length > 0 && text[length - 1] == 0)
    --length;
  return QStringView(text, length);
}

// The storages in one line of the log.
QString describe(const QList<MtpStorageInfo>& storages) {
  QStringList texts;
  for (const MtpStorageInfo& storage : storages)
    texts.append(storage.volumePath.value_or(QString()) + QStringLiteral(" diskType = ") +
                 QString::number(storage.diskType) + QStringLiteral(", diskIndex = ") +
                 QString::number(storage.diskIndex) + QStringLiteral(", CommonNode = ") + storage.CommonNode +
                 QStringLiteral(", TotalSpace = ") + QString::number(storage.TotalSpace) +
                 QStringLiteral(", UsedSize = ") + QString::number(storage.UsedSize));
  return texts.join(QStringLiteral("; "));
}

MtpItemInfo namedItem(const void* node, const char16_t* name, std::uint32_t nameSize, const QString& folderPath,
                      int objectType) {
  MtpItemInfo item;
  item.NodeID = MTPDextSDKWrapper::nodeIDOf(node);
  item.FileName = MTPDextSDKWrapper::getLabelFromMtpString(name, nameSize);
  if (!folderPath.isNull())
    item.FilePath = item.FileName ? devicePath::joined(folderPath, *item.FileName) : folderPath;
  item.ObjectType = objectType;
  return item;
}

// Keeps the node that a name means best: the one of exactly this name, else the first one that has the same name but
// for case and composition. Phones whose file system tells "a.jpg" from "A.JPG" may have both.
template <class Node> class BestNamed {
public:
  explicit BestNamed(const QString& name)
      : m_name(name) {}

  /// Whether better ones are still possible.
  bool offer(Node* node) {
    if (node->name == nullptr)
      return true;
    const QStringView label(node->name, MTPDextSDKWrapper::wildcharLength(node->name, node->nameSize));
    const bool exact = label == m_name;
    if (exact || (m_best == nullptr && isSameName(label, m_name)))
      m_best = node;
    return !exact;
  }
  Node* best() const { return m_best; }

private:
  const QString& m_name;
  Node* m_best = nullptr;
};

MtpItemInfo folderItem(const _MTP_FOLDER_NODE& folder, const QString& folderPath) {
  return namedItem(&folder, folder.name, folder.nameSize, folderPath, MtpObjectFolder);
}

MtpItemInfo fileItem(const _MTP_FILE_NODE& file, const QString& folderPath) {
  MtpItemInfo item = namedItem(&file, file.name, file.nameSize, folderPath, MtpObjectFile);
  item.FileLength = file.fileLength;
  if (const char16_t* const date = file.date)
    item.DateModify = QStringView(date, file.dateLength).toString();
  return item;
}

} // namespace

MTPDextSDKWrapper::MTPDextSDKWrapper(std::shared_ptr<MtpSdk> sdk, ComputerSide computer)
    : MTPDextSDKWrapper(ownFace, std::move(sdk), std::move(computer)) {}

MTPDextSDKWrapper::MTPDextSDKWrapper(const AccessFace& face, std::shared_ptr<MtpSdk> sdk, ComputerSide computer)
    : m_face(face)
    , m_sdk(std::move(sdk))
    , m_computer(std::move(computer)) {}

MTPDextSDKWrapper::~MTPDextSDKWrapper() = default;

// ---- Binding ----

void MTPDextSDKWrapper::setLocationID(const QString& locationID) {
  {
    const platform::Lock lock(m_textMutex);
    m_locationID = locationID;
  }
  m_currentDeviceNode = findDevice();
  m_isDetached = false;
}

void MTPDextSDKWrapper::setLocationID(const QString& locationID, const QString& rootPath) {
  {
    const platform::Lock lock(m_textMutex);
    m_rootPath = rootPath;
  }
  setLocationID(locationID);
}

_MTP_DEVICE_NODE* MTPDextSDKWrapper::findDevice() {
  _MTP_DEVICE_NODE* head = nullptr;
  if (getMTPDeviceHead(&head) != DGSTATUS_SUCCESS || head == nullptr)
    return nullptr;
  return deviceWithLocationId(head, location());
}

std::uint64_t MTPDextSDKWrapper::location() const {
  const platform::Lock lock(m_textMutex);
  return parseHexadecimal(m_locationID).value_or(0);
}

QString MTPDextSDKWrapper::getCurrentRootPath() const {
  const platform::Lock lock(m_textMutex);
  return m_rootPath;
}

_MTP_DEVICE_NODE* MTPDextSDKWrapper::getCurrentDeviceNode() const {
  return m_currentDeviceNode;
}

_MTP_STORAGE_NODE* MTPDextSDKWrapper::getCurrentStorageNode() const {
  return m_currentStorageNode;
}

_MTP_STORAGE_NODE* MTPDextSDKWrapper::getStorageHeadNode() const {
  return m_storageHeadNode;
}

// ---- Devices ----

std::uint32_t MTPDextSDKWrapper::getMTPDeviceHead(_MTP_DEVICE_NODE** deviceNode) {
  *deviceNode = nullptr;
  if (isDetached())
    return DGSTATUS_UNSUCCESSFUL;
  if (m_face.hasInit)
    if (const std::uint32_t status = m_sdk->sdkInit(); status != DGSTATUS_SUCCESS)
      return status;
  const std::uint32_t status = m_sdk->getConnectedDeviceListHead(deviceNode);
  if (status != DGSTATUS_SUCCESS) {
    log(MTPB_HERE).line("%sGetConnectedDeviceListHead is faild. status = %s", m_face.operationPrefix,
                        qUtf8Printable(MTPSDKUtil::statusString(status)));
    *deviceNode = nullptr;
    return status;
  }
  MTPSDKUtil::logMTPDeviceNode(*deviceNode);
  return status;
}

std::uint32_t MTPDextSDKWrapper::getMTPNextDevice(_MTP_DEVICE_NODE* deviceNode, _MTP_DEVICE_NODE** next) {
  *next = nullptr;
  if (isDetached())
    return DGSTATUS_UNSUCCESSFUL;
  const std::uint32_t status = m_sdk->getNextDevice(deviceNode, next);
  if (status == DGSTATUS_SUCCESS)
    MTPSDKUtil::logMTPDeviceNode(*next);
  return status;
}

_MTP_DEVICE_NODE* MTPDextSDKWrapper::deviceWithLocationId(_MTP_DEVICE_NODE* deviceNode, std::uint64_t locationId) {
  if (isDetached())
    return nullptr;
  if (deviceNode == nullptr && getMTPDeviceHead(&deviceNode) != DGSTATUS_SUCCESS)
    return nullptr;

  _MTP_DEVICE_NODE* found = nullptr;
  const NodeHold hold(*m_sdk);
  walkList(
      deviceNode,
      [&](_MTP_DEVICE_NODE* device) {
        if (!isNode(device, MTPDEXT_NODE_DEVICE))
          return false;
        if (device->common.locationId == std::uint32_t(locationId))
          found = device;
        return found == nullptr;
      },
      [&](_MTP_DEVICE_NODE* device) {
        _MTP_DEVICE_NODE* next = nullptr;
        if (getMTPNextDevice(device, &next) == DGSTATUS_SUCCESS)
          return next;
        found = device; // the last one listed stands in for a location that no phone has
        return static_cast<_MTP_DEVICE_NODE*>(nullptr);
      });
  return found;
}

std::optional<QString> MTPDextSDKWrapper::getMTPFriendlyName() {
  std::optional<QString> name;
  getMTPFriendlyName(m_currentDeviceNode, name);
  return name;
}

std::uint32_t MTPDextSDKWrapper::getMTPFriendlyName(_MTP_DEVICE_NODE* deviceNode, std::optional<QString>& name) {
  return readDeviceName(&MtpSdk::getFriendlyName, deviceNode, name, log(MTPB_HERE));
}

std::uint32_t MTPDextSDKWrapper::getMTPModelName(_MTP_DEVICE_NODE* deviceNode, std::optional<QString>& name) {
  static const QString prefix = QStringLiteral("TESSALY-");
  const std::uint32_t status = readDeviceName(&MtpSdk::getModelName, deviceNode, name, log(MTPB_HERE));
  if (name) {
    if (name->startsWith(prefix) && name->size() > prefix.size())
      name->remove(0, prefix.size());
    name->removeIf([](QChar character) { return QStringView(u"/\\?%*|\"<>:").contains(character); });
  }
  if (status != DGSTATUS_SUCCESS)
    log(MTPB_HERE).line("Get MTP model Name is failed. status = %s", qUtf8Printable(MTPSDKUtil::statusString(status)));
  return status;
}

std::uint32_t MTPDextSDKWrapper::readDeviceName(NameOperation operation, _MTP_DEVICE_NODE* deviceNode,
                                                std::optional<QString>& name, const AccessLog& where) {
  if (isDetached() || deviceNode == nullptr)
    return DGSTATUS_UNSUCCESSFUL;
  std::uint32_t byteSize = 0;
  std::uint32_t status = (m_sdk.get()->*operation)(deviceNode, nullptr, &byteSize);
  if (status != DGSTATUS_MORE_DATA)
    return status;
  std::unique_ptr<char16_t[]> buffer;
  if (byteSize <= LongestDeviceName)
    buffer.reset(new (std::nothrow) char16_t[byteSize / 2 + 1]());
  if (!buffer) {
    where.line("Memory allocate is failed. status = %s", qUtf8Printable(MTPSDKUtil::statusString(status)));
    return DGSTATUS_MORE_DATA;
  }
  std::uint32_t filled = byteSize;
  status = (m_sdk.get()->*operation)(deviceNode, buffer.get(), &filled);
  if (status != DGSTATUS_SUCCESS)
    return status;
  const std::uint32_t units = std::min(byteSize, filled) / 2;
  name = QStringView(buffer.get(), units > 0 ? units - 1 : 0).toString();
  return status;
}

std::uint32_t MTPDextSDKWrapper::registerMtpRequestEventNotifyEx(_MTP_DEVICE_NODE* deviceNode,
                                                                 mtpDextEventCallback callback, void* context) {
  if (isDetached() || deviceNode == nullptr)
    return DGSTATUS_UNSUCCESSFUL;
  return m_sdk->requestEventNotifyEx(deviceNode, callback, context);
}

void MTPDextSDKWrapper::removeMtpBrowser() {
  // The addresses are kept: the device's stays good while the phone is attached, and events are registered with it.
  if (_MTP_STORAGE_NODE* const storage = m_currentStorageNode)
    m_sdk->releaseStorageList(storage);
  if (_MTP_DEVICE_NODE* const device = m_currentDeviceNode)
    m_sdk->releaseDeviceList(device);
}

void MTPDextSDKWrapper::mtpReset() {
  removeMtpBrowser();
  const platform::Lock lock(m_textMutex);
  m_rootPath.clear();
}

// ---- Storages ----

_MTP_STORAGE_NODE* MTPDextSDKWrapper::knownStorageHead() {
  if (!isNode(m_storageHeadNode, MTPDEXT_NODE_STORAGE)) {
    _MTP_STORAGE_NODE* head = nullptr;
    if (_MTP_DEVICE_NODE* const device = m_currentDeviceNode)
      m_storageStatus = getMTPStorageListHead(device, &head);
    m_storageHeadNode = head;
  }
  return m_storageHeadNode;
}

std::uint32_t MTPDextSDKWrapper::getMTPStorageListHead(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE** storage) {
  *storage = nullptr;
  if (isDetached())
    return DGSTATUS_UNSUCCESSFUL;
  if (deviceNode == nullptr)
    if (const std::uint32_t status = getMTPDeviceHead(&deviceNode); status != DGSTATUS_SUCCESS)
      return status;
  const std::uint32_t status = m_sdk->getStorageListHead(deviceNode, storage);
  if (status == DGSTATUS_SUCCESS)
    MTPSDKUtil::logMTPStorageNode(*storage);
  return status;
}

std::uint32_t MTPDextSDKWrapper::getMTPNextStorage(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next) {
  *next = nullptr;
  if (isDetached() || storage == nullptr) {
    log(MTPB_HERE).line("Current Storage List is NULL.");
    return DGSTATUS_UNSUCCESSFUL;
  }
  const std::uint32_t status = m_sdk->getNextStorageNode(storage, next);
  if (status == DGSTATUS_SUCCESS)
    MTPSDKUtil::logMTPStorageNode(*next);
  else
    log(MTPB_HERE).line("%sGetNextStorageNode is failed. Current Storage Node = %p, status = %s",
                        m_face.operationPrefix, static_cast<const void*>(storage),
                        qUtf8Printable(MTPSDKUtil::statusString(status)));
  return status;
}

template <class Visit> void MTPDextSDKWrapper::walkStorages(_MTP_STORAGE_NODE* head, Visit visit) {
  const NodeHold hold(*m_sdk);
  walkList(
      head, [&](_MTP_STORAGE_NODE* storage) { return isNode(storage, MTPDEXT_NODE_STORAGE) && visit(storage); },
      [&](_MTP_STORAGE_NODE* storage) {
        _MTP_STORAGE_NODE* next = nullptr;
        return getMTPNextStorage(storage, &next) == DGSTATUS_SUCCESS ? next : nullptr;
      });
}

_MTP_STORAGE_NODE* MTPDextSDKWrapper::getStorageNode(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE** storageHead,
                                                     const QString& name) {
  if (isDetached() || deviceNode == nullptr || storageHead == nullptr || name.isNull()) {
    log(MTPB_HERE).line("Input parameter is invalide. current device node is NULL");
    return nullptr;
  }
  const QStringList components = devicePath::components(name);
  if (components.isEmpty()) {
    log(MTPB_HERE).line("Get storage name is failed");
    return nullptr;
  }
  _MTP_STORAGE_NODE* found = nullptr;
  walkStorages(*storageHead, [&](_MTP_STORAGE_NODE* storage) {
    const std::optional<QStringView> label = storageLabel(*storage);
    if (label && isSameName(*label, components.last()))
      found = storage;
    return found == nullptr;
  });
  return found;
}

std::optional<QList<MtpStorageInfo>> MTPDextSDKWrapper::storageInfoLists() {
  log(MTPB_HERE).line("ENTER");
  QList<MtpStorageInfo> storages;
  {
    const std::lock_guard monitor(m_monitor);
    storages = collectStorages(log(MTPB_HERE));
  }
  log(MTPB_HERE).line("EXIT");
  if (storages.isEmpty())
    return std::nullopt;
  return storages;
}

ConnectCondition MTPDextSDKWrapper::connectCondition() {
  using Kind = ConnectCondition::Kind;
  std::int32_t failure = MTPDEXT_OPEN_DONE;
  char holder[64] = {};
  m_sdk->getOpenFailure(std::uint32_t(location()), &failure, holder, sizeof holder);
  switch (failure) {
  case MTPDEXT_OPEN_NO_PERMISSION:
    return {Kind::NoPermission, {}};
  case MTPDEXT_OPEN_IN_USE:
    return {Kind::InUse, holder[0] != 0 ? QString::fromUtf8(holder) : QString()};
  case MTPDEXT_OPEN_PTP_ONLY:
    return {Kind::PictureTransfer, {}};
  case MTPDEXT_OPEN_NO_ANSWER:
    return {Kind::NotAnswering, {}};
  default:
    break;
  }
  switch (m_storageStatus) {
  case DGSTATUS_SUCCESS: // none worth showing; or no MTP interface was seen, and nobody was asked
  case DGSTATUS_NO_STORAGE_ATTACHED:
  case DGSTATUS_NO_DEVICE_ATTACHED: // it is changing its mode, or leaving
  case DGSTATUS_UNSUCCESSFUL:       // given up meanwhile
    return {Kind::NoStorages, {}};
  default:
    return {Kind::NotAnswering, {}};
  }
}

bool MTPDextSDKWrapper::connectForStorages(const AccessLog& where) {
  // A node that the SDK knows no more is as good as none.
  if (!isNode(m_currentDeviceNode, MTPDEXT_NODE_DEVICE))
    m_currentDeviceNode = findDevice();
  _MTP_DEVICE_NODE* const device = m_currentDeviceNode;
  _MTP_STORAGE_NODE* const head = knownStorageHead();
  if (device != nullptr && head != nullptr)
    return true;
  where.line("failed to connect, %p, %p", static_cast<const void*>(device), static_cast<const void*>(head));
  return false;
}

QList<MtpStorageInfo> MTPDextSDKWrapper::collectStorages(const AccessLog& where) {
  std::optional<QString> modelName;
  if (!connectForStorages(where) || getMTPModelName(m_currentDeviceNode, modelName) != DGSTATUS_SUCCESS || !modelName)
    return {};
  StorageCollector collector(*modelName);
  walkStorages(m_storageHeadNode, [&](_MTP_STORAGE_NODE* storage) {
    const QString name = StorageCollector::shownName(*storage);
    where.line("StorageName : %s, length : %d", qUtf8Printable(name), int(storage->nameLength));
    where.line("StorageName : %s, StorageId : %x", qUtf8Printable(name), storage->common.nodeId);
    collector.add(*storage);
    return true;
  });
  QList<MtpStorageInfo> storages = collector.storages();
  where.line("device storage list: %s", qUtf8Printable(describe(storages)));
  return storages;
}

// ---- List steps ----

std::uint32_t MTPDextSDKWrapper::getMTPFolderListHead(_MTP_FOLDER_NODE* parent, _MTP_STORAGE_NODE* atStorage,
                                                      _MTP_FOLDER_NODE** child, mtpDextProgressCallback callback,
                                                      void* context) {
  *child = nullptr;
  if (isDetached())
    return DGSTATUS_UNSUCCESSFUL;
  const std::uint32_t status = m_sdk->getFolderListHead(atStorage, parent, child, callback, context);
  if (isListFailure(status))
    log(MTPB_HERE).line("%sGetFolderListHead is failed. Current Folder Node = %p, status = %s", m_face.operationPrefix,
                        static_cast<const void*>(parent), qUtf8Printable(MTPSDKUtil::statusString(status)));
  else if (status == DGSTATUS_SUCCESS)
    MTPSDKUtil::logMTPFolderNode(*child);
  return status;
}

std::uint32_t MTPDextSDKWrapper::getMTPNextFolder(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next) {
  *next = nullptr;
  if (isDetached())
    return DGSTATUS_UNSUCCESSFUL;
  const std::uint32_t status = m_sdk->getNextSiblingFolderNode(folder, next);
  if (isListFailure(status))
    log(MTPB_HERE).line("%sGetNextSiblingFolderNode is failed. Current Folder Node = %p, status = %s",
                        m_face.operationPrefix, static_cast<const void*>(folder),
                        qUtf8Printable(MTPSDKUtil::statusString(status)));
  else if (status == DGSTATUS_SUCCESS)
    MTPSDKUtil::logMTPFolderNode(*next);
  return status;
}

std::uint32_t MTPDextSDKWrapper::getMTPFileListHead(_MTP_COMMON_NODE* commonNode, _MTP_FILE_NODE** head,
                                                    mtpDextProgressCallback callback, void* context) {
  *head = nullptr;
  if (isDetached())
    return DGSTATUS_SUCCESS;
  const std::uint32_t status = m_sdk->getFileListHead(commonNode, head, callback, context);
  if (isListFailure(status))
    log(MTPB_HERE).line("%sGetFileListHead is failed. Common Node = %p, status = %s", m_face.operationPrefix,
                        static_cast<const void*>(commonNode), qUtf8Printable(MTPSDKUtil::statusString(status)));
  else if (status == DGSTATUS_SUCCESS)
    MTPSDKUtil::logMTPFileNode(*head);
  return status;
}

std::uint32_t MTPDextSDKWrapper::getMTPNextFile(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next) {
  *next = nullptr;
  if (isDetached())
    return DGSTATUS_SUCCESS;
  const std::uint32_t status = m_sdk->getNextFileNode(file, next);
  if (isListFailure(status))
    log(MTPB_HERE).line("%sGetNextFileNode is failed. Current File Node = %p, status = %s", m_face.operationPrefix,
                        static_cast<const void*>(file), qUtf8Printable(MTPSDKUtil::statusString(status)));
  else if (status == DGSTATUS_SUCCESS)
    MTPSDKUtil::logMTPFileNode(*next);
  return status;
}

template <class Node, class Step, class Visit>
std::uint32_t MTPDextSDKWrapper::walkNodes(Node* head, std::int32_t kind, Step step, Visit visit) {
  const NodeHold hold(*m_sdk);
  std::uint32_t failure = DGSTATUS_SUCCESS;
  walkList(
      head,
      [&](Node* node) {
        if (!isNode(node, kind))
          failure = DGSTATUS_NODE_IS_NOT_EXISTED;
        return failure == DGSTATUS_SUCCESS && visit(node);
      },
      [&](Node* node) {
        Node* next = nullptr;
        const std::uint32_t status = step(node, &next);
        failure = isListFailure(status) && next == nullptr ? status : std::uint32_t(DGSTATUS_SUCCESS);
        return next;
      });
  return failure;
}

template <class Visit> std::uint32_t MTPDextSDKWrapper::walkFolders(_MTP_FOLDER_NODE* head, Visit visit) {
  const auto step = [this](_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next) {
    const std::uint32_t status = getMTPNextFolder(folder, next);
    if (status != DGSTATUS_SUCCESS)
      *next = nullptr;
    return status;
  };
  return walkNodes(head, MTPDEXT_NODE_FOLDER, step, visit);
}

template <class Visit>
std::uint32_t MTPDextSDKWrapper::walkFiles(_MTP_FILE_NODE* head, FailedStep failedStep, Visit visit) {
  const auto step = [this, failedStep](_MTP_FILE_NODE* file, _MTP_FILE_NODE** next) {
    const std::uint32_t status = getMTPNextFile(file, next);
    if (status != DGSTATUS_SUCCESS && failedStep == FailedStep::Ends)
      *next = nullptr;
    return status;
  };
  return walkNodes(head, MTPDEXT_NODE_FILE, step, visit);
}

// ---- Listing ----

std::optional<QList<MtpItemInfo>>
MTPDextSDKWrapper::getFoldersAtFolder(_MTP_FOLDER_NODE* folder, _MTP_STORAGE_NODE* currentStorage,
                                      const QString& folderPath, bool isContainParentFolder, std::uint32_t* failure) {
  if (isDetached())
    return std::nullopt;
  QList<MtpItemInfo> items;
  if (isContainParentFolder)
    if (std::optional<MtpItemInfo> entry = parentEntry(folder, folderPath))
      items.append(*std::move(entry));

  _MTP_FOLDER_NODE* head = nullptr;
  std::uint32_t status = getMTPFolderListHead(folder, currentStorage, &head, nullptr, nullptr);
  if (!isListFailure(status))
    status = walkFolders(head, [&](_MTP_FOLDER_NODE* child) {
      items.append(folderItem(*child, folderPath));
      return true;
    });
  if (failure != nullptr)
    *failure = status;
  if (isDetached())
    return std::nullopt;
  return items;
}

std::optional<MtpItemInfo> MTPDextSDKWrapper::parentEntry(_MTP_FOLDER_NODE* folder, const QString& folderPath) {
  MtpItemInfo entry;
  entry.NodeID = QStringLiteral("");
  entry.FileName = QStringLiteral("..");
  _MTP_COMMON_NODE* const parent = getParentFolderNode(folder);
  if (parent == nullptr) {
    if (const QString rootPath = getCurrentRootPath(); !rootPath.isNull())
      entry.FilePath = rootPath;
    entry.ObjectType = MtpObjectFile;
    return entry;
  }
  switch (nodeKind(parent)) {
  case MTPDEXT_NODE_FOLDER:
    entry.ObjectType = MtpObjectFolder;
    break;
  case MTPDEXT_NODE_STORAGE:
    entry.ObjectType = MtpObjectStorage;
    break;
  default:
    return std::nullopt;
  }
  entry.NodeID = nodeIDOf(parent);
  if (!folderPath.isNull())
    entry.FilePath = devicePath::withoutLastComponent(folderPath);
  return entry;
}

std::optional<QList<MtpItemInfo>> MTPDextSDKWrapper::getFilesAtFolder(_MTP_FOLDER_NODE* folder,
                                                                      _MTP_STORAGE_NODE* currentStorage,
                                                                      const QString& folderPath,
                                                                      std::uint32_t* failure) {
  std::uint32_t folderFailure = DGSTATUS_SUCCESS;
  std::optional<QList<MtpItemInfo>> items =
      getFoldersAtFolder(folder, currentStorage, folderPath, false, &folderFailure);
  if (!items)
    return std::nullopt;
  auto* const parent = folder != nullptr ? reinterpret_cast<_MTP_COMMON_NODE*>(folder)
                                         : reinterpret_cast<_MTP_COMMON_NODE*>(currentStorage);
  const std::uint32_t fileFailure = appendFiles(*items, parent, folderPath);
  if (failure != nullptr)
    *failure = folderFailure != DGSTATUS_SUCCESS ? folderFailure : fileFailure;
  return items;
}

std::optional<QList<MtpItemInfo>> MTPDextSDKWrapper::contentsOfFileInfo(_MTP_COMMON_NODE* commonNode,
                                                                        const QString& parent) {
  QList<MtpItemInfo> items;
  appendFiles(items, commonNode, parent);
  if (items.isEmpty())
    return std::nullopt;
  return items;
}

std::uint32_t MTPDextSDKWrapper::appendFiles(QList<MtpItemInfo>& items, _MTP_COMMON_NODE* commonNode,
                                             const QString& folderPath) {
  _MTP_FILE_NODE* head = nullptr;
  const std::uint32_t status = getMTPFileListHead(commonNode, &head, nullptr, nullptr);
  if (isListFailure(status))
    return status;
  return walkFiles(head, FailedStep::GoesOn, [&](_MTP_FILE_NODE* file) {
    items.append(fileItem(*file, folderPath));
    return true;
  });
}

std::optional<MtpItemInfo> MTPDextSDKWrapper::getFileNodeInfo(_MTP_FILE_NODE* fileNode, const QString& folderPath) {
  const NodeHold hold(*m_sdk);
  if (isDetached() || !isNode(fileNode, MTPDEXT_NODE_FILE))
    return std::nullopt;
  return fileItem(*fileNode, folderPath);
}

std::optional<MtpItemInfo> MTPDextSDKWrapper::getFolderNodeInfo(_MTP_FOLDER_NODE* folderNode,
                                                                const QString& folderPath) {
  const NodeHold hold(*m_sdk);
  if (isDetached() || !isNode(folderNode, MTPDEXT_NODE_FOLDER))
    return std::nullopt;
  return folderItem(*folderNode, folderPath);
}

std::uint32_t MTPDextSDKWrapper::wildcharLength(const char16_t* text, std::uint32_t dataSize) {
  if (text == nullptr)
    return 0;
  const char16_t* const end = std::char_traits<char16_t>::find(text, dataSize, u'\0');
  return end != nullptr ? std::uint32_t(end - text) : dataSize;
}

std::optional<QString> MTPDextSDKWrapper::getLabelFromMtpString(const char16_t* text, std::uint32_t dataSize) {
  if (text == nullptr)
    return std::nullopt;
  try {
    return QStringView(text, wildcharLength(text, dataSize)).toString();
  } catch (const std::exception& exception) {
    MTPB_LOG("Name : %s", typeid(exception).name());
    MTPB_LOG("Reason :%s", exception.what());
    return std::nullopt;
  }
}

// ---- Paths ----

_MTP_FOLDER_NODE* MTPDextSDKWrapper::searchFolder(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE** storageHead,
                                                  _MTP_STORAGE_NODE** retStorage, const QString& filePath) {
  if (isDetached())
    return nullptr;
  // A component that is no folder (the name of a file, above all) sends the next one back to the top level.
  const PathWalk walk =
      PathWalk::along(*this, deviceNode, storageHead != nullptr ? *storageHead : nullptr, filePath,
                      [this](const QString& name, _MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent) {
                        return getFolderNode(name, storage, parent);
                      });
  switch (walk.end) {
  case PathWalk::End::NoModelName:
    log(MTPB_HERE).line("Get model name is failed.");
    return nullptr;
  case PathWalk::End::NoStorage:
    log(MTPB_HERE).line("getStorageNode is failed.");
    return nullptr;
  case PathWalk::End::Walked:
    break;
  }
  *retStorage = walk.storage;
  return walk.deepest;
}

void MTPDextSDKWrapper::initializeNodeInfo(const void*, _MTP_STORAGE_NODE** currentStorage,
                                           _MTP_FOLDER_NODE** currentFolder) {
  *currentStorage = nullptr;
  *currentFolder = nullptr;
  if (isDetached())
    return;
  _MTP_DEVICE_NODE* const device = m_currentDeviceNode;
  _MTP_STORAGE_NODE* head = nullptr;
  if (device != nullptr)
    getMTPStorageListHead(device, &head);
  m_storageHeadNode = head;
  *currentFolder = searchFolder(device, &head, currentStorage, getCurrentRootPath());
  m_currentStorageNode = *currentStorage;
}

_MTP_FOLDER_NODE* MTPDextSDKWrapper::getFolderNode(const QString& name, _MTP_STORAGE_NODE* atStorage,
                                                   _MTP_FOLDER_NODE* parent) {
  _MTP_FOLDER_NODE* folder = nullptr;
  for (const QString& component : devicePath::components(name)) {
    folder = findChildFolder(component, atStorage, parent);
    if (folder == nullptr)
      return nullptr;
    parent = folder;
  }
  return folder;
}

_MTP_FOLDER_NODE* MTPDextSDKWrapper::findChildFolder(const QString& name, _MTP_STORAGE_NODE* atStorage,
                                                     _MTP_FOLDER_NODE* parent) {
  _MTP_FOLDER_NODE* head = nullptr;
  getMTPFolderListHead(parent, atStorage, &head, nullptr, nullptr);
  BestNamed<_MTP_FOLDER_NODE> folders(name);
  walkFolders(head, [&](_MTP_FOLDER_NODE* folder) { return folders.offer(folder); });
  return folders.best();
}

_MTP_FILE_NODE* MTPDextSDKWrapper::getFileNode(_MTP_COMMON_NODE* commonNode, const QString& name) {
  _MTP_FILE_NODE* head = nullptr;
  const std::uint32_t status = getMTPFileListHead(commonNode, &head, nullptr, nullptr);
  if (status != DGSTATUS_SUCCESS && status != 0x10000014)
    return nullptr;
  BestNamed<_MTP_FILE_NODE> files(name);
  walkFiles(head, FailedStep::Ends, [&](_MTP_FILE_NODE* file) { return files.offer(file); });
  return files.best();
}

_MTP_COMMON_NODE* MTPDextSDKWrapper::getParentFolderNode(_MTP_FOLDER_NODE* folder) {
  if (isDetached() || folder == nullptr)
    return nullptr;
  _MTP_FOLDER_NODE* parent = nullptr;
  switch (m_sdk->getParentFolderNode(folder, &parent)) {
  case DGSTATUS_SUCCESS:
    return reinterpret_cast<_MTP_COMMON_NODE*>(parent);
  case DGSTATUS_NO_MORE_DATA:
    return reinterpret_cast<_MTP_COMMON_NODE*>(m_currentStorageNode.load());
  default:
    return nullptr;
  }
}

// ---- Changes and transfers ----

_MTP_FOLDER_NODE* MTPDextSDKWrapper::createFolder(_MTP_COMMON_NODE* parent, const QString& name, std::uint32_t& error) {
  return NodeMutations(*this, *m_sdk, log(MTPB_HERE)).createFolder(parent, name, error);
}

_MTP_COMMON_NODE* MTPDextSDKWrapper::checkCreateFolder(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE** storageHead,
                                                       const QString& folderPath, std::uint32_t& error) {
  return NodeMutations(*this, *m_sdk, log(MTPB_HERE))
      .checkCreateFolder(deviceNode, storageHead != nullptr ? *storageHead : nullptr, folderPath, error);
}

bool MTPDextSDKWrapper::renameItemAtPath(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead,
                                         const QString& source, const QString& toName, std::uint32_t& error) {
  return NodeMutations(*this, *m_sdk, log(MTPB_HERE)).renameItemAtPath(deviceNode, storageHead, source, toName, error);
}

bool MTPDextSDKWrapper::deleteItemAtPath(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead,
                                         const QString& fileNode, const QString& path, std::uint32_t& error) {
  return NodeMutations(*this, *m_sdk, log(MTPB_HERE)).deleteItemAtPath(deviceNode, storageHead, fileNode, path, error);
}

bool MTPDextSDKWrapper::uploadFileFromMTP(const QString& nodeID, const QString& source, const QString& destination,
                                          const QString&, mtpDextProgressCallback callback, void* context,
                                          std::uint32_t& error) {
  return FileTransfer(*this, *m_sdk, m_computer, log(MTPB_HERE))
      .receive(nodeID, source, destination, callback, context, error);
}

bool MTPDextSDKWrapper::downloadFileToMTP(_MTP_COMMON_NODE* parent, const QString& source, const QString& destination,
                                          mtpDextProgressCallback callback, void* context, QString* retFileNode,
                                          std::uint32_t& error) {
  if (!FileTransfer(*this, *m_sdk, m_computer, log(MTPB_HERE))
           .send(parent, source, destination, callback, context, retFileNode, error))
    return false;
  QString locationID;
  {
    const platform::Lock lock(m_textMutex);
    locationID = m_locationID;
  }
  platform::NotificationCenter::defaultCenter().post(QStringLiteral("QXVORN_NOTI_MTP_BROWSER_RESCAN"),
                                                     {{QStringLiteral("LocationID"), locationID}});
  return true;
}

std::uint32_t MTPDextSDKWrapper::getMTPFileThumb(_MTP_FILE_NODE* fileNode, const QString& destination) {
  return FileTransfer(*this, *m_sdk, m_computer, log(MTPB_HERE)).receiveThumbnail(fileNode, destination);
}

void MTPDextSDKWrapper::validateFilePathForMtp(const QString& path, std::unique_ptr<char16_t[]>& uniName,
                                               std::uint32_t& byteLength) {
  uniName.reset();
  byteLength = 0;
  const platform::Lock lock(_accLock);
  try {
    const std::optional<QString> openable = LinkFolder(m_computer.linkFolder, log(MTPB_HERE)).openablePath(path);
    if (!openable)
      return;
    Utf16Buffer buffer = makeUtf16Buffer(*openable);
    uniName = std::move(buffer.text);
    byteLength = buffer.byteSize;
  } catch (const std::exception& exception) {
    log(MTPB_HERE).line("Name : %s", typeid(exception).name());
    log(MTPB_HERE).line("Reason :%s", exception.what());
  }
}

// ---- Nodes ----

bool MTPDextSDKWrapper::checkNodeExist(_MTP_COMMON_NODE* commonNode) {
  if (isDetached())
    return false;
  const std::int32_t kind = nodeKind(commonNode);
  return kind != 0 && m_sdk->libIsExist(commonNode, kind) != 0;
}

_MTP_COMMON_NODE* MTPDextSDKWrapper::getCommonNodeFromNodeID(const QString& nodeID) {
  if (isDetached())
    return nullptr;
  const std::uint64_t address = parseHexadecimal(nodeID).value_or(0);
  auto* const node = reinterpret_cast<_MTP_COMMON_NODE*>(static_cast<std::uintptr_t>(address));
  return nodeKind(node) != 0 ? node : nullptr;
}

_MTP_FILE_NODE* MTPDextSDKWrapper::getFileNodeFromNodeID(const QString& nodeID, _MTP_DEVICE_NODE*, _MTP_STORAGE_NODE*,
                                                         const QString&) {
  _MTP_COMMON_NODE* const node = getCommonNodeFromNodeID(nodeID);
  return nodeKind(node) == MTPDEXT_NODE_FILE ? reinterpret_cast<_MTP_FILE_NODE*>(node) : nullptr;
}

std::int32_t MTPDextSDKWrapper::nodeKind(const void* node) {
  std::int32_t kind = 0;
  if (node == nullptr || m_sdk->getNodeKind(node, &kind) != DGSTATUS_SUCCESS)
    return 0;
  return kind;
}

bool MTPDextSDKWrapper::isNode(const void* node, std::int32_t kind) {
  return nodeKind(node) == kind;
}

QString MTPDextSDKWrapper::nodeIDOf(const void* node) {
  return QString::number(qulonglong(reinterpret_cast<std::uintptr_t>(node)), 16);
}
