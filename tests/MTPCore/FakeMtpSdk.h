#pragma once
// A scripted MTP SDK in memory for tests of the layers above it.
//
// A test builds phones out of objects (named by Handle) and may change them at any time, also from other threads. The
// records that the SDK hands out are made when an object is listed and retired when a list is released, an object
// removed or a phone unplugged; the next listing makes new ones at new addresses, as the real engine does. A retired
// record is overwritten as soon as nobody holds the nodes: code that reads without a hold reads garbage, and
// ThreadSanitizer sees it.
#include "MTPCore/MtpSdk.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringView>

#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

class FakeMtpSdk : public MtpSdk {
public:
  /// The operations that scripts and counters name.
  enum class Operation {
    SdkInit,
    GetConnectedDeviceListHead,
    GetNextDevice,
    ReleaseDeviceList,
    GetStorageListHead,
    GetNextStorageNode,
    ReleaseStorageList,
    GetFriendlyName,
    GetModelName,
    GetFolderListHead,
    GetNextSiblingFolderNode,
    GetParentFolderNode,
    GetFileListHead,
    GetNextFileNode,
    CreateFolderNode,
    RenameNode,
    DeleteNode,
    GetFileEx,
    SendFileEx,
    GetThumb,
    RequestEventNotifyEx,
    LibIsExist,
    HoldNodes,  // hook only
    GetNodeKind // hook only, run behind the answer: what the caller learnt may be out of date when it acts on it
  };
  using Handle = std::size_t; ///< Names an object of the test's phones for good.

  // ---- Building and changing phones; any thread ----

  Handle addDevice(std::uint32_t locationId, const QString& modelName, const QString& friendlyName = {}) {
    const std::lock_guard lock(m_mutex);
    const Handle handle = newObject(MTPDEXT_NODE_DEVICE, locationId, modelName);
    m_objects[handle].friendlyName = (friendlyName.isNull() ? modelName : friendlyName).toStdU16String();
    m_devices.push_back(handle);
    return handle;
  }
  Handle addStorage(Handle device, std::uint32_t storageId, const QString& name, std::uint64_t totalCapacity = 0,
                    std::uint64_t freeSpace = 0) {
    const std::lock_guard lock(m_mutex);
    const Handle handle = newObject(MTPDEXT_NODE_STORAGE, storageId, name);
    m_objects[handle].length = totalCapacity;
    m_objects[handle].freeSpace = freeSpace;
    adopt(device, handle);
    return handle;
  }
  Handle addFolder(Handle parent, const QString& name) {
    const std::lock_guard lock(m_mutex);
    const Handle handle = newObject(MTPDEXT_NODE_FOLDER, std::uint32_t(m_objects.size()), name);
    adopt(parent, handle);
    return handle;
  }
  Handle addFile(Handle parent, const QString& name, std::uint64_t length = 0,
                 const QString& date = QStringLiteral("20240229T101112")) {
    const std::lock_guard lock(m_mutex);
    const Handle handle = newObject(MTPDEXT_NODE_FILE, std::uint32_t(m_objects.size()), name);
    m_objects[handle].length = length;
    m_objects[handle].date = date.toStdU16String();
    adopt(parent, handle);
    return handle;
  }
  /// A phone at this location cannot be opened (MTPDEXT_OPEN_…): it is attached and not listed. MTPDEXT_OPEN_DONE: it
  /// could be.
  void setOpenFailure(std::uint32_t locationId, std::int32_t failure, const std::string& holder = {}) {
    const std::lock_guard lock(m_mutex);
    m_openFailures[locationId] = {failure, holder};
  }
  /// Takes the object and all below it from the phone; their records are retired.
  void remove(Handle handle) {
    const std::lock_guard lock(m_mutex);
    Object& object = m_objects[handle];
    for (std::vector<Handle>* list : {&m_objects[object.parent].folders, &m_objects[object.parent].files}) {
      std::erase(*list, handle);
      renumber(*list);
    }
    retire(handle);
  }
  void rename(Handle handle, const QString& name) {
    const std::lock_guard lock(m_mutex);
    m_objects[handle].name = name.toStdU16String();
    retire(handle);
  }
  /// What the file holds; its length follows.
  void setContent(Handle handle, const QByteArray& content) {
    const std::lock_guard lock(m_mutex);
    m_objects[handle].content = content;
    m_objects[handle].length = std::uint64_t(content.size());
    retire(handle);
  }
  void setThumbnail(Handle handle, const QByteArray& thumbnail) {
    const std::lock_guard lock(m_mutex);
    m_objects[handle].thumbnail = thumbnail;
  }
  void setLength(Handle handle, std::uint64_t length) {
    const std::lock_guard lock(m_mutex);
    m_objects[handle].length = length;
    retire(handle);
  }
  /// Pulls the cable: every record of the phone is retired and the device is no longer listed.
  void unplug(Handle device) {
    const std::lock_guard lock(m_mutex);
    std::erase(m_devices, device);
    retire(device);
  }
  void plug(Handle device) {
    const std::lock_guard lock(m_mutex);
    m_devices.push_back(device);
  }
  /// Sends a device event on the calling thread. Returns whether a callback was registered.
  bool sendEvent(Handle device, std::int32_t code, std::uint64_t parameter1 = 0, std::uint64_t parameter2 = 0) {
    const std::lock_guard running(m_eventMutex);
    Registration registration;
    {
      const std::lock_guard lock(m_mutex);
      registration = m_objects[device].registration;
    }
    if (registration.callback == nullptr)
      return false;
    registration.callback(code, parameter1, parameter2, registration.context);
    return true;
  }

  // ---- Odd records ----

  /// The record's name pointer is null, its length as it would be with a name.
  void setNullName(Handle handle) {
    const std::lock_guard lock(m_mutex);
    m_objects[handle].nullName = true;
    retire(handle);
  }
  /// The record's name is these code units, its length field this number (at most units.size() + 1: a zero follows).
  void setRawName(Handle handle, const std::u16string& units, std::uint32_t lengthField) {
    const std::lock_guard lock(m_mutex);
    m_objects[handle].name = units;
    m_objects[handle].nameLengthField = lengthField;
    retire(handle);
  }
  /// A file without date text.
  void setNullDate(Handle handle) {
    const std::lock_guard lock(m_mutex);
    m_objects[handle].nullDate = true;
    retire(handle);
  }
  /// What the first call of the thumbnail operation says the buffer needs, and its status.
  void setThumbnailFirstAnswer(std::uint32_t byteSize, std::uint32_t status) {
    const std::lock_guard lock(m_mutex);
    m_thumbnailFirstAnswer = {byteSize, status};
  }
  /// A transfer into a file answers 0 and leaves no file there.
  void setLosesReceivedFiles(bool loses) {
    const std::lock_guard lock(m_mutex);
    m_losesReceivedFiles = loses;
  }
  /// What the first call of the name operations says the buffer needs.
  void setNameByteSize(Handle device, std::uint32_t byteSize) {
    const std::lock_guard lock(m_mutex);
    m_objects[device].nameByteSize = byteSize;
  }

  // ---- Scripts ----

  /// From now on every call of the operation answers this status and does nothing; none: behave.
  void setStatus(Operation operation, std::optional<std::uint32_t> status) {
    const std::lock_guard lock(m_mutex);
    m_scripts[operation].status = status;
  }
  /// The n-th call from now on (1 is the next one) answers this status and does nothing.
  void setStatusAt(Operation operation, int call, std::uint32_t status) {
    const std::lock_guard lock(m_mutex);
    m_scripts[operation].statusAt[m_scripts[operation].calls + call] = status;
  }
  /// The status that ends the list which the operation walks, 2 unless said otherwise.
  void setListEnd(Operation operation, std::uint32_t status) {
    const std::lock_guard lock(m_mutex);
    m_scripts[operation].listEnd = status;
  }
  /// Runs on the calling thread before each call of the operation; may block or change the phones.
  void setHook(Operation operation, std::function<void()> hook) {
    const std::lock_guard lock(m_mutex);
    m_scripts[operation].hook = std::make_shared<std::function<void()>>(std::move(hook));
  }
  /// Makes `next` follow `handle` in every list walk: a list of a broken SDK, perhaps without end.
  void setNext(Handle handle, Handle next) {
    const std::lock_guard lock(m_mutex);
    m_objects[handle].nextOverride = next;
  }

  // ---- Looking ----

  int calls(Operation operation) {
    const std::lock_guard lock(m_mutex);
    return m_scripts[operation].calls;
  }
  int calls() {
    const std::lock_guard lock(m_mutex);
    int all = 0;
    for (const auto& [operation, script] : m_scripts)
      all += script.calls;
    return all;
  }
  /// "folder/" and "file" names of what is in a folder or storage, in the phone's order, folders first.
  std::vector<std::string> contents(Handle parent) {
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> names;
    for (const Handle folder : m_objects[parent].folders)
      names.push_back(QString::fromStdU16String(m_objects[folder].name).toStdString() + "/");
    for (const Handle file : m_objects[parent].files)
      names.push_back(QString::fromStdU16String(m_objects[file].name).toStdString());
    return names;
  }
  /// The object of this very name in a folder or storage; throws when there is none.
  Handle child(Handle parent, const QString& name) {
    const std::lock_guard lock(m_mutex);
    for (const std::vector<Handle>* list : {&m_objects[parent].folders, &m_objects[parent].files})
      for (const Handle handle : *list)
        if (m_objects[handle].name == name.toStdU16String())
          return handle;
    throw std::out_of_range(name.toStdString());
  }
  QByteArray content(Handle handle) {
    const std::lock_guard lock(m_mutex);
    return m_objects[handle].content;
  }
  /// The path of the computer that the last transfer was asked to read.
  QString lastSource() {
    const std::lock_guard lock(m_mutex);
    return m_lastSource;
  }
  /// The address of the object's record; made when there is none.
  template <class NodeType> NodeType* node(Handle handle) {
    const std::lock_guard lock(m_mutex);
    return reinterpret_cast<NodeType*>(record(handle));
  }
  _MTP_DEVICE_NODE* deviceNode(Handle handle) { return node<_MTP_DEVICE_NODE>(handle); }
  _MTP_STORAGE_NODE* storageNode(Handle handle) { return node<_MTP_STORAGE_NODE>(handle); }
  _MTP_FOLDER_NODE* folderNode(Handle handle) { return node<_MTP_FOLDER_NODE>(handle); }
  _MTP_FILE_NODE* fileNode(Handle handle) { return node<_MTP_FILE_NODE>(handle); }
  _MTP_COMMON_NODE* commonNode(Handle handle) { return node<_MTP_COMMON_NODE>(handle); }
  int holds() {
    const std::lock_guard lock(m_mutex);
    return m_holds;
  }

  // ---- The SDK ----

  std::uint32_t sdkInit() override {
    if (const auto status = enter(Operation::SdkInit))
      return *status;
    return 0;
  }

  std::uint32_t getConnectedDeviceListHead(_MTP_DEVICE_NODE** head) override {
    *head = nullptr;
    if (const auto status = enter(Operation::GetConnectedDeviceListHead))
      return *status;
    const std::lock_guard lock(m_mutex);
    if (m_devices.empty())
      return NoDevice;
    renumber(m_devices);
    *head = reinterpret_cast<_MTP_DEVICE_NODE*>(record(m_devices.front()));
    return 0;
  }
  std::uint32_t getNextDevice(_MTP_DEVICE_NODE* device, _MTP_DEVICE_NODE** next) override {
    return step(Operation::GetNextDevice, device, MTPDEXT_NODE_DEVICE, next);
  }
  std::uint32_t releaseDeviceList(_MTP_DEVICE_NODE* device) override {
    if (const auto status = enter(Operation::ReleaseDeviceList))
      return *status;
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known = find(device, MTPDEXT_NODE_DEVICE);
    if (!known)
      return NotExisting;
    retireBelow(*known); // the device's own record stays while it is attached
    return 0;
  }

  std::uint32_t getStorageListHead(_MTP_DEVICE_NODE* device, _MTP_STORAGE_NODE** head) override {
    *head = nullptr;
    if (const auto status = enter(Operation::GetStorageListHead))
      return *status;
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known = find(device, MTPDEXT_NODE_DEVICE);
    if (!known)
      return NotExisting;
    if (m_objects[*known].folders.empty())
      return NoStorage;
    *head = reinterpret_cast<_MTP_STORAGE_NODE*>(record(m_objects[*known].folders.front()));
    return 0;
  }
  std::uint32_t getNextStorageNode(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next) override {
    return step(Operation::GetNextStorageNode, storage, MTPDEXT_NODE_STORAGE, next);
  }
  std::uint32_t releaseStorageList(_MTP_STORAGE_NODE* storage) override {
    if (const auto status = enter(Operation::ReleaseStorageList))
      return *status;
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known = find(storage, MTPDEXT_NODE_STORAGE);
    if (!known)
      return NotExisting;
    retireBelow(m_objects[*known].parent);
    return 0;
  }

  std::uint32_t getFriendlyName(_MTP_DEVICE_NODE* device, void* buffer, std::uint32_t* byteSize) override {
    return deviceText(Operation::GetFriendlyName, device, &Object::friendlyName, buffer, byteSize);
  }
  std::uint32_t getModelName(_MTP_DEVICE_NODE* device, void* buffer, std::uint32_t* byteSize) override {
    return deviceText(Operation::GetModelName, device, &Object::name, buffer, byteSize);
  }

  std::uint32_t getFolderListHead(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent, _MTP_FOLDER_NODE** head,
                                  mtpDextProgressCallback callback, void* context) override {
    *head = nullptr;
    if (const auto status = enter(Operation::GetFolderListHead))
      return *status;
    if (callback != nullptr && callback(0, 0, context) != 0)
      return 0x10000007;
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known =
        parent != nullptr ? find(parent, MTPDEXT_NODE_FOLDER) : find(storage, MTPDEXT_NODE_STORAGE);
    if (!known)
      return NotExisting;
    if (m_objects[*known].folders.empty())
      return EndOfList;
    *head = reinterpret_cast<_MTP_FOLDER_NODE*>(record(m_objects[*known].folders.front()));
    return 0;
  }
  std::uint32_t getNextSiblingFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next) override {
    return step(Operation::GetNextSiblingFolderNode, folder, MTPDEXT_NODE_FOLDER, next);
  }
  std::uint32_t getParentFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** parent) override {
    *parent = nullptr;
    if (const auto status = enter(Operation::GetParentFolderNode))
      return *status;
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known = find(folder, MTPDEXT_NODE_FOLDER);
    if (!known)
      return NotExisting;
    const Handle above = m_objects[*known].parent;
    if (m_objects[above].kind == MTPDEXT_NODE_STORAGE)
      return EndOfList;
    *parent = reinterpret_cast<_MTP_FOLDER_NODE*>(record(above));
    return 0;
  }
  std::uint32_t getFileListHead(_MTP_COMMON_NODE* parent, _MTP_FILE_NODE** head, mtpDextProgressCallback,
                                void*) override {
    *head = nullptr;
    if (const auto status = enter(Operation::GetFileListHead))
      return *status;
    const std::lock_guard lock(m_mutex);
    std::optional<Handle> known = find(parent, MTPDEXT_NODE_FOLDER);
    if (!known)
      known = find(parent, MTPDEXT_NODE_STORAGE);
    if (!known)
      return NotExisting;
    if (m_objects[*known].files.empty())
      return EndOfList;
    *head = reinterpret_cast<_MTP_FILE_NODE*>(record(m_objects[*known].files.front()));
    return 0;
  }
  std::uint32_t getNextFileNode(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next) override {
    return step(Operation::GetNextFileNode, file, MTPDEXT_NODE_FILE, next);
  }

  // Changes of the phone and transfers. Names clash as on most phones, whatever their case.
  std::uint32_t createFolderNode(_MTP_COMMON_NODE* parent, const char16_t* name, std::uint32_t byteSize,
                                 _MTP_FOLDER_NODE** created) override {
    *created = nullptr;
    if (const auto status = enter(Operation::CreateFolderNode))
      return *status;
    const std::optional<QString> text = terminated(name, byteSize / 2);
    if (!text || byteSize % 2 != 0)
      return InvalidParameter;
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known = findContainer(parent);
    if (!known)
      return NotExisting;
    if (const std::optional<Handle> clash = namesake(*known, *text))
      return clashStatus(*clash);
    const Handle folder = newObject(MTPDEXT_NODE_FOLDER, std::uint32_t(m_objects.size()), *text);
    adopt(*known, folder);
    *created = reinterpret_cast<_MTP_FOLDER_NODE*>(record(folder));
    return 0;
  }
  std::uint32_t renameNode(_MTP_COMMON_NODE* node, const char16_t* newName, std::uint32_t byteSize) override {
    if (const auto status = enter(Operation::RenameNode))
      return *status;
    const std::optional<QString> text = terminated(newName, byteSize / 2);
    if (!text || byteSize % 2 != 0)
      return InvalidParameter;
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known = findItem(node);
    if (!known)
      return NotExisting;
    m_objects[*known].name = text->toStdU16String();
    retire(*known);
    return 0;
  }
  std::uint32_t deleteNode(_MTP_COMMON_NODE* node) override {
    if (const auto status = enter(Operation::DeleteNode))
      return *status;
    std::optional<Handle> known;
    {
      const std::lock_guard lock(m_mutex);
      known = findItem(node);
    }
    if (!known)
      return NotExisting;
    remove(*known);
    return 0;
  }
  std::uint32_t getFileEx(_MTP_FILE_NODE* file, const char16_t* destination, std::uint32_t length,
                          mtpDextProgressCallback callback, void* context) override {
    if (const auto status = enter(Operation::GetFileEx))
      return *status;
    const std::optional<QString> path = terminated(destination, length);
    if (!path)
      return InvalidParameter;
    QByteArray content;
    bool loses = false;
    {
      const std::lock_guard lock(m_mutex);
      const std::optional<Handle> known = find(file, MTPDEXT_NODE_FILE);
      if (!known)
        return NotExisting;
      content = m_objects[*known].content;
      loses = m_losesReceivedFiles;
    }
    if (!progress(content.size(), callback, context))
      return Canceled;
    if (loses)
      return 0;
    QFile written(*path);
    if (!written.open(QIODevice::WriteOnly) || written.write(content) != content.size())
      return OpenFailed;
    return 0;
  }
  std::uint32_t sendFileEx(const char16_t* source, std::uint32_t length, _MTP_COMMON_NODE* parent,
                           _MTP_FILE_NODE** created, mtpDextProgressCallback callback, void* context) override {
    *created = nullptr;
    if (const auto status = enter(Operation::SendFileEx))
      return *status;
    const std::optional<QString> path = terminated(source, length);
    if (!path)
      return InvalidParameter;
    const QString name = path->mid(path->lastIndexOf(u'/') + 1);
    Handle folder = 0;
    {
      const std::lock_guard lock(m_mutex);
      m_lastSource = *path;
      const std::optional<Handle> known = findContainer(parent);
      if (!known)
        return NotExisting;
      folder = *known;
      if (const std::optional<Handle> clash = namesake(folder, name)) {
        *created = reinterpret_cast<_MTP_FILE_NODE*>(record(*clash));
        return clashStatus(*clash);
      }
    }
    QFile file(*path);
    if (!file.open(QIODevice::ReadOnly))
      return OpenFailed;
    const QByteArray content = file.readAll();
    if (!progress(content.size(), callback, context))
      return Canceled;
    const Handle sent = addFile(folder, name);
    setContent(sent, content);
    *created = fileNode(sent);
    return 0;
  }
  std::uint32_t getThumb(_MTP_FILE_NODE* file, void* buffer, std::uint32_t* byteSize) override {
    if (const auto status = enter(Operation::GetThumb))
      return *status;
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known = find(file, MTPDEXT_NODE_FILE);
    if (!known)
      return NotExisting;
    const QByteArray& image = m_objects[*known].thumbnail;
    if (image.isNull())
      return NoThumbnail;
    if (buffer == nullptr) {
      *byteSize = m_thumbnailFirstAnswer ? m_thumbnailFirstAnswer->first : std::uint32_t(image.size());
      return m_thumbnailFirstAnswer ? m_thumbnailFirstAnswer->second : 1;
    }
    const std::uint32_t room = *byteSize;
    *byteSize = std::uint32_t(image.size());
    std::memcpy(buffer, image.constData(), std::min(room, *byteSize));
    return room < *byteSize ? 1 : 0;
  }

  std::uint32_t requestEventNotifyEx(_MTP_DEVICE_NODE* device, mtpDextEventCallback callback, void* context) override {
    if (const auto status = enter(Operation::RequestEventNotifyEx))
      return *status;
    const std::lock_guard running(m_eventMutex); // waits for a running callback of another thread
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known = find(device, MTPDEXT_NODE_DEVICE);
    if (!known)
      return NotExisting;
    m_objects[*known].registration = {callback, context};
    return 0;
  }

  int libIsExist(_MTP_COMMON_NODE* node, std::int32_t nodeType) override {
    if (const auto status = enter(Operation::LibIsExist))
      return int(*status);
    const std::lock_guard lock(m_mutex);
    return find(node, nodeType) ? 1 : 0;
  }

  void holdNodes() override {
    enter(Operation::HoldNodes);
    const std::lock_guard lock(m_mutex);
    ++m_holds;
  }
  void unholdNodes() override {
    const std::lock_guard lock(m_mutex);
    if (--m_holds > 0)
      return;
    for (const std::shared_ptr<Record>& retired : m_retiredButHeld)
      overwrite(*retired);
    m_retiredButHeld.clear();
  }
  std::uint32_t getNodeKind(const void* address, std::int32_t* kind) override {
    std::uint32_t status = NotExisting;
    {
      const std::lock_guard lock(m_mutex);
      if (const auto it = m_known.find(address); it != m_known.end()) {
        *kind = m_objects[it->second].kind;
        status = 0;
      }
    }
    enter(Operation::GetNodeKind);
    return status;
  }
  std::uint32_t getOpenFailure(std::uint32_t locationId, std::int32_t* failure, char* holder,
                               std::uint32_t holderSize) override {
    const std::lock_guard lock(m_mutex);
    const OpenFailure& known = m_openFailures[locationId];
    *failure = known.failure;
    holder[known.holder.copy(holder, holderSize - 1)] = 0;
    return 0;
  }

private:
  struct OpenFailure {
    std::int32_t failure = MTPDEXT_OPEN_DONE;
    std::string holder;
  };
  static constexpr std::uint32_t EndOfList = 2;
  static constexpr std::uint32_t NotExisting = 0x10000004;
  static constexpr std::uint32_t NoDevice = 0x12000001;
  static constexpr std::uint32_t NoStorage = 0x12000002;
  static constexpr std::uint32_t InvalidParameter = 0x10000002;
  static constexpr std::uint32_t Canceled = 0x10000007;
  static constexpr std::uint32_t OpenFailed = 0x11000001;
  static constexpr std::uint32_t NoThumbnail = 0x1310000E;

  struct Record {
    union {
      _MTP_COMMON_NODE common;
      _MTP_DEVICE_NODE device;
      _MTP_STORAGE_NODE storage;
      _MTP_FOLDER_NODE folder;
      _MTP_FILE_NODE file;
    } node;
    std::u16string name; // what the record's pointers point to
    std::u16string date;
  };
  struct Registration {
    mtpDextEventCallback callback = nullptr;
    void* context = nullptr;
  };
  struct Object {
    std::int32_t kind = 0;
    std::uint32_t id = 0; // location ID, storage ID, object handle
    Handle parent = 0;
    std::size_t index = 0;       // in the parent's list
    std::vector<Handle> folders; // a device's storages, too
    std::vector<Handle> files;
    std::u16string name, friendlyName, date;
    QByteArray content, thumbnail;
    std::uint64_t length = 0, freeSpace = 0;
    std::optional<std::uint32_t> nameLengthField, nameByteSize;
    std::optional<Handle> nextOverride;
    bool nullName = false, nullDate = false;
    Registration registration;
    std::shared_ptr<Record> record; // null while not listed
  };
  struct Script {
    int calls = 0;
    std::optional<std::uint32_t> status;
    std::map<int, std::uint32_t> statusAt;
    std::uint32_t listEnd = EndOfList;
    std::shared_ptr<std::function<void()>> hook;
  };

  Handle newObject(std::int32_t kind, std::uint32_t id, const QString& name) {
    Object object;
    object.kind = kind;
    object.id = id;
    object.name = name.toStdU16String();
    m_objects.push_back(std::move(object));
    return m_objects.size() - 1;
  }
  // The text of a buffer of so many units, the last one zero and no other.
  static std::optional<QString> terminated(const char16_t* text, std::uint32_t units) {
    if (text == nullptr || units == 0)
      return std::nullopt;
    const std::u16string_view all(text, units);
    if (all.find(u'\0') != units - 1)
      return std::nullopt;
    return QStringView(text, units - 1).toString();
  }
  static bool progress(qint64 total, mtpDextProgressCallback callback, void* context) {
    return callback == nullptr || (callback(0, std::uint64_t(total), context) == 0 &&
                                   callback(std::uint64_t(total), std::uint64_t(total), context) == 0);
  }
  std::optional<Handle> findContainer(const void* address) {
    const std::optional<Handle> folder = find(address, MTPDEXT_NODE_FOLDER);
    return folder ? folder : find(address, MTPDEXT_NODE_STORAGE);
  }
  std::optional<Handle> findItem(const void* address) {
    const std::optional<Handle> folder = find(address, MTPDEXT_NODE_FOLDER);
    return folder ? folder : find(address, MTPDEXT_NODE_FILE);
  }
  std::optional<Handle> namesake(Handle parent, const QString& name) {
    for (const std::vector<Handle>* list : {&m_objects[parent].folders, &m_objects[parent].files})
      for (const Handle handle : *list)
        if (QString::fromStdU16String(m_objects[handle].name).compare(name, Qt::CaseInsensitive) == 0)
          return handle;
    return std::nullopt;
  }
  std::uint32_t clashStatus(Handle handle) {
    return m_objects[handle].kind == MTPDEXT_NODE_FILE ? 0x10000005 : 0x10000006;
  }
  void adopt(Handle parent, Handle child) {
    std::vector<Handle>& list =
        m_objects[child].kind == MTPDEXT_NODE_FILE ? m_objects[parent].files : m_objects[parent].folders;
    m_objects[child].parent = parent;
    m_objects[child].index = list.size();
    list.push_back(child);
  }
  void renumber(const std::vector<Handle>& list) {
    for (std::size_t i = 0; i < list.size(); ++i)
      m_objects[list[i]].index = i;
  }

  // Counts the call and tells the scripted status, if any.
  std::optional<std::uint32_t> enter(Operation operation) {
    std::shared_ptr<std::function<void()>> hook;
    std::optional<std::uint32_t> status;
    {
      const std::lock_guard lock(m_mutex);
      Script& script = m_scripts[operation];
      ++script.calls;
      hook = script.hook;
      status = script.status;
      if (const auto at = script.statusAt.find(script.calls); at != script.statusAt.end())
        status = at->second;
    }
    if (hook && *hook)
      (*hook)();
    return status;
  }

  void* record(Handle handle) {
    Object& object = m_objects[handle];
    if (object.record)
      return &object.record->node;
    auto made = std::make_shared<Record>();
    std::memset(&made->node, 0, sizeof made->node);
    made->name = object.name;
    made->date = object.date;
    const char16_t* const name = object.nullName ? nullptr : made->name.c_str();
    const std::uint32_t length = object.nameLengthField.value_or(std::uint32_t(object.name.size() + 1));
    made->node.common.nodeId = object.id;
    made->node.common.nodeType = object.kind;
    switch (object.kind) {
    case MTPDEXT_NODE_DEVICE:
      made->node.common.nodeId = std::uint32_t(handle);
      made->node.common.locationId = object.id;
      break;
    case MTPDEXT_NODE_STORAGE:
      made->node.storage.name = name;
      made->node.storage.nameLength = length;
      made->node.storage.totalCapacity = object.length;
      made->node.storage.freeSpace = object.freeSpace;
      break;
    case MTPDEXT_NODE_FOLDER:
      made->node.folder.name = name;
      made->node.folder.nameSize = length;
      break;
    default:
      made->node.file.name = name;
      made->node.file.nameSize = length;
      made->node.file.fileLength = object.length;
      made->node.file.date = object.nullDate ? nullptr : made->date.c_str();
      made->node.file.dateLength = std::uint32_t(made->date.size());
    }
    object.record = made;
    m_known[&made->node] = handle;
    m_all.push_back(made);
    return &made->node;
  }
  void retire(Handle handle) {
    if (const std::shared_ptr<Record> old = std::move(m_objects[handle].record)) {
      m_known.erase(&old->node);
      if (m_holds > 0)
        m_retiredButHeld.push_back(old);
      else
        overwrite(*old);
    }
    m_objects[handle].record = nullptr;
    retireBelow(handle);
  }
  void retireBelow(Handle handle) {
    for (const Handle child : m_objects[handle].folders)
      retire(child);
    for (const Handle child : m_objects[handle].files)
      retire(child);
  }
  // Addresses are not used again, so that a stale one stays a stale one.
  static void overwrite(Record& record) {
    std::memset(&record.node, 0xDD, sizeof record.node);
    std::fill(record.name.begin(), record.name.end(), u'\xDDDD');
    std::fill(record.date.begin(), record.date.end(), u'\xDDDD');
  }
  std::optional<Handle> find(const void* address, std::int32_t kind) {
    const auto it = m_known.find(address);
    if (it == m_known.end() || m_objects[it->second].kind != kind)
      return std::nullopt;
    return it->second;
  }

  template <class NodeType>
  std::uint32_t step(Operation operation, NodeType* node, std::int32_t kind, NodeType** next) {
    *next = nullptr;
    if (const auto status = enter(operation))
      return *status;
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known = find(node, kind);
    if (!known)
      return NotExisting;
    const Object& object = m_objects[*known];
    std::optional<Handle> following = object.nextOverride;
    if (!following) {
      const std::vector<Handle>& list = kind == MTPDEXT_NODE_DEVICE ? m_devices
                                        : kind == MTPDEXT_NODE_FILE ? m_objects[object.parent].files
                                                                    : m_objects[object.parent].folders;
      if (object.index + 1 < list.size())
        following = list[object.index + 1];
    }
    if (!following)
      return m_scripts[operation].listEnd;
    *next = reinterpret_cast<NodeType*>(record(*following));
    return 0;
  }

  std::uint32_t deviceText(Operation operation, _MTP_DEVICE_NODE* device, std::u16string Object::*member, void* buffer,
                           std::uint32_t* byteSize) {
    if (const auto status = enter(operation))
      return *status;
    const std::lock_guard lock(m_mutex);
    const std::optional<Handle> known = find(device, MTPDEXT_NODE_DEVICE);
    if (!known)
      return NotExisting;
    const std::u16string& text = m_objects[*known].*member;
    const auto needed = std::uint32_t(2 * (text.size() + 1));
    if (buffer == nullptr) {
      *byteSize = m_objects[*known].nameByteSize.value_or(needed);
      return 1;
    }
    const std::uint32_t room = *byteSize;
    if (room < needed && !m_objects[*known].nameByteSize) {
      *byteSize = needed;
      return 1;
    }
    std::memcpy(buffer, text.c_str(), std::min(room, needed));
    return 0;
  }

  std::mutex m_mutex;
  std::recursive_mutex m_eventMutex; // held while a callback runs
  std::deque<Object> m_objects;
  std::vector<Handle> m_devices;
  std::map<std::uint32_t, OpenFailure> m_openFailures; // by location
  std::map<Operation, Script> m_scripts;
  std::unordered_map<const void*, Handle> m_known;
  std::vector<std::shared_ptr<Record>> m_all;
  std::vector<std::shared_ptr<Record>> m_retiredButHeld;
  int m_holds = 0;
  QString m_lastSource;
  std::optional<std::pair<std::uint32_t, std::uint32_t>> m_thumbnailFirstAnswer;
  bool m_losesReceivedFiles = false;
};
