#pragma once
// The one object through which the browser reaches one attached phone: its storages, folders and files, their changes
// and copies. Its second face, for the legacy library, is MTPSDKWrapper.
#include "MTPCore/AccessLog.h"
#include "MTPCore/ComputerSide.h"
#include "MTPCore/ConnectCondition.h"
#include "MTPCore/MtpItemInfo.h"
#include "MTPCore/MtpSdk.h"
#include "Platform/SourceLocation.h"
#include "Platform/ThreadSafety.h"

#include <QList>
#include <QString>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

/// Access to one phone, bound by its USB location.
///
/// Nodes are addresses of records that the SDK owns and may forget at any moment (released list, removed object,
/// unplugged phone). Hand them back to this object only; nobody else may follow them. Every operation here asks the SDK
/// whether it still knows a node before reading it, and answers a node that it does not know like a missing one.
///
/// Threads: every operation may be called from any thread. Those that say "blocks" talk to the phone, each of their MTP
/// transactions bounded by its time-out; keep them off the main thread. Binding again while another thread works with
/// the phone is safe in memory, but which phone the other one sees is then open.
///
/// Failures: nothing throws. Statuses are the SDK's (MTPSDKUtil.h); DGSTATUS_UNSUCCESSFUL (0x10000001) is this object's
/// own, for a detached phone and unusable arguments; so are CreateFolderRefused, SendRefused and ReceiveRefused, for
/// which no name is printed. While isDetached() every operation that would reach the SDK
/// refuses at once with it, or with null, or nothing.
class MTPDextSDKWrapper {
public:
  static constexpr std::uint32_t CreateFolderRefused = 0x20000002; ///< no memory for a name; unusable arguments
  static constexpr std::uint32_t SendRefused = 0x23000001;         ///< unusable arguments of downloadFileToMTP()
  static constexpr std::uint32_t ReceiveRefused = 0x23000002;      ///< unusable arguments of uploadFileFromMTP()

  /// init Not bound, not detached.
  explicit MTPDextSDKWrapper(std::shared_ptr<MtpSdk> sdk, ComputerSide computer = ComputerSide::ofProgram());
  virtual ~MTPDextSDKWrapper();
  MTPDextSDKWrapper(const MTPDextSDKWrapper&) = delete;
  MTPDextSDKWrapper& operator=(const MTPDextSDKWrapper&) = delete;

  // ---- Device and storage session ----

  /// setLocationID: Binds to the phone at this USB location (hexadecimal text, "0x" allowed) and clears isDetached().
  /// A location that no phone has binds as deviceWithLocationId() says. While isDetached() no phone is found: bind once
  /// more, or let storageInfoLists() look for it. Blocks.
  void setLocationID(const QString& locationID);
  /// setLocationID:rootPath: The same, and keeps the browser's root path. Blocks.
  void setLocationID(const QString& locationID, const QString& rootPath);
  /// getCurrentRootPath The root path as it was given; empty at first and after mtpReset().
  QString getCurrentRootPath() const;

  /// getMTPFriendlyName The bound phone's name for its user; nothing when it cannot be had. Blocks.
  std::optional<QString> getMTPFriendlyName();
  /// getMTPFriendlyName:name: The same of any device; `name` is written on status 0 only. Blocks.
  std::uint32_t getMTPFriendlyName(_MTP_DEVICE_NODE* deviceNode, std::optional<QString>& name);
  /// getMTPModelName:name: The model name as device paths begin with it: the maker's prefix and all characters that
  /// file names must not have are removed. On any status but 0 `name` stays what it was, cleaned in the same way.
  /// Blocks.
  std::uint32_t getMTPModelName(_MTP_DEVICE_NODE* deviceNode, std::optional<QString>& name);

  /// storageInfoLists The phone's storages worth showing, internal ones first, at most one of each disk type; nothing
  /// when there are none (phone locked, gone, not ready). One caller at a time, others wait. Blocks.
  std::optional<QList<MtpStorageInfo>> storageInfoLists();
  /// What keeps the phone at this object's location from being shown, when storageInfoLists() has just given nothing.
  /// Never blocks.
  ConnectCondition connectCondition();

  /// getMTPDeviceHead: The first attached device. `deviceNode` is null on any status but 0. Blocks.
  std::uint32_t getMTPDeviceHead(_MTP_DEVICE_NODE** deviceNode);
  /// getMTPNextDevice:next: 2 at the end of the list.
  std::uint32_t getMTPNextDevice(_MTP_DEVICE_NODE* deviceNode, _MTP_DEVICE_NODE** next);
  /// deviceWithLocationId:locationId: The device at this location (low 32 bits), sought from `deviceNode` on, or from
  /// the list's head when that is null (blocks then). When the SDK ends the list with a status, the last device listed:
  /// a single attached phone is found whatever its location. Otherwise null.
  _MTP_DEVICE_NODE* deviceWithLocationId(_MTP_DEVICE_NODE* deviceNode, std::uint64_t locationId);

  /// getMTPStorageListHead:storage: The first storage of a device; null stands for the first attached device. Blocks.
  std::uint32_t getMTPStorageListHead(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE** storage);
  /// getMTPNextStorage:next: 2 at the end of the list (logged like every other status but 0).
  std::uint32_t getMTPNextStorage(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next);
  /// getStorageNode:storageHead:name: The storage named by the last component of `name`, case ignored, in the list that
  /// begins at *storageHead; or null.
  _MTP_STORAGE_NODE* getStorageNode(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE** storageHead, const QString& name);

  /// getCurrentDeviceNode The bound device, or null.
  _MTP_DEVICE_NODE* getCurrentDeviceNode() const;
  /// getCurrentStorageNode The storage of the last initializeNodeInfo(), or null.
  _MTP_STORAGE_NODE* getCurrentStorageNode() const;
  /// getStorageHeadNode The head of the bound device's storage list, or null.
  _MTP_STORAGE_NODE* getStorageHeadNode() const;
  /// The same, listed anew when there is none or the SDK has forgotten it. Blocks then.
  _MTP_STORAGE_NODE* knownStorageHead();

  /// registerMtpRequestEventNotifyEx:callback:context: Has `callback` called for each event of the device, on a thread
  /// of the SDK; a null callback ends that, and on return none is running (unless the caller is the callback itself).
  std::uint32_t registerMtpRequestEventNotifyEx(_MTP_DEVICE_NODE* deviceNode, mtpDextEventCallback callback,
                                                void* context);

  /// removeMtpBrowser Gives the current storage list and the device list back to the SDK, also when detached. Bind
  /// again before further work with the phone.
  void removeMtpBrowser();
  /// mtpReset removeMtpBrowser(), and forgets the root path.
  void mtpReset();

  /// isDetached Whether the phone is known to be gone.
  bool isDetached() const { return m_isDetached.load(); }
  /// setIsDetached: True from the moment the phone is known to be gone. Calls under way end with their next step.
  void setIsDetached(bool isDetached) { m_isDetached.store(isDetached); }

  // ---- Folders, files, paths ----
  //
  // A device path is "/" model name "/" storage name "/" folder names, compared ignoring case and the way accents are
  // spelled; the model name may be left out. A null QString stands for "no path given".

  /// getFoldersAtFolder:currentStorage:folderPath:isContainParentFolder: The folders in `folder` (null: at the
  /// storage's top level), in the phone's order; in front of them, when the flag is set, the entry ".." for the parent.
  /// Nothing when detached, also when that happens meanwhile. `failure` becomes the status with which the list broke
  /// off, as it does when the phone takes an object away in the middle of it; 0: it is whole. Blocks.
  std::optional<QList<MtpItemInfo>> getFoldersAtFolder(_MTP_FOLDER_NODE* folder, _MTP_STORAGE_NODE* currentStorage,
                                                       const QString& folderPath, bool isContainParentFolder,
                                                       std::uint32_t* failure = nullptr);
  /// getFilesAtFolder:currentStorage:folderPath: The folders and then the files in `folder`; nothing when detached.
  /// `failure` as above. Blocks.
  std::optional<QList<MtpItemInfo>> getFilesAtFolder(_MTP_FOLDER_NODE* folder, _MTP_STORAGE_NODE* currentStorage,
                                                     const QString& folderPath, std::uint32_t* failure = nullptr);
  /// contentsOfFileInfo:parent: The files in a folder or at a storage's top level; nothing when there are none.
  /// `parent` is the path they get. Blocks.
  std::optional<QList<MtpItemInfo>> contentsOfFileInfo(_MTP_COMMON_NODE* commonNode, const QString& parent);
  /// getFileNodeInfo:folderPath: What is known of a file; nothing for null and unknown nodes.
  std::optional<MtpItemInfo> getFileNodeInfo(_MTP_FILE_NODE* fileNode, const QString& folderPath);
  /// getFolderNodeInfo:folderPath: What is known of a folder; nothing for null and unknown nodes.
  std::optional<MtpItemInfo> getFolderNodeInfo(_MTP_FOLDER_NODE* folderNode, const QString& folderPath);

  /// searchFolder:storageHead:retStorage:filePath: The deepest folder that the path names, null when it names only a
  /// storage or nothing. *retStorage is the path's storage (null when it names none); it is not written when the model
  /// name cannot be had or the storage is none of those from *storageHead on. Blocks.
  _MTP_FOLDER_NODE* searchFolder(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE** storageHead,
                                 _MTP_STORAGE_NODE** retStorage, const QString& filePath);
  /// initializeNodeInfo:currentStorage:currentFolder: Lists the storages afresh and resolves the root path: hands out
  /// its storage and folder (or null) and makes the storage the current one. The first argument is not used. Blocks.
  void initializeNodeInfo(const void* unused, _MTP_STORAGE_NODE** currentStorage, _MTP_FOLDER_NODE** currentFolder);
  /// getFolderNode:atStorage:parent: The folder of this name in `parent` (null: at the storage's top level), or of this
  /// relative path ("a/b") below it; null when there is none. Case is ignored; a folder of exactly this name comes
  /// first. Blocks.
  _MTP_FOLDER_NODE* getFolderNode(const QString& name, _MTP_STORAGE_NODE* atStorage, _MTP_FOLDER_NODE* parent);
  /// getFileNode:name: The file of this name in a folder or at a storage's top level, case ignored (a file of exactly
  /// this name comes first), or null. Blocks.
  _MTP_FILE_NODE* getFileNode(_MTP_COMMON_NODE* commonNode, const QString& name);
  /// getParentFolderNode: The folder that holds this one; the current storage node for a folder at the top level; null.
  _MTP_COMMON_NODE* getParentFolderNode(_MTP_FOLDER_NODE* folder);

  /// getMTPFolderListHead:atStorage:child:callback:context: The first folder in `parent` (null: at the storage's top
  /// level); null where there is none. Blocks.
  std::uint32_t getMTPFolderListHead(_MTP_FOLDER_NODE* parent, _MTP_STORAGE_NODE* atStorage, _MTP_FOLDER_NODE** child,
                                     mtpDextProgressCallback callback, void* context);
  /// getMTPNextFolder:next: 2 at the end of the list.
  std::uint32_t getMTPNextFolder(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next);
  /// getMTPFileListHead:head:callback:context: The first file in a folder or at a storage's top level; null where there
  /// is none. When detached 0 and no file, unlike the folder operations: a file listing is then simply empty. Blocks.
  std::uint32_t getMTPFileListHead(_MTP_COMMON_NODE* commonNode, _MTP_FILE_NODE** head,
                                   mtpDextProgressCallback callback, void* context);
  /// getMTPNextFile:next: 2 at the end of the list; when detached 0 and no file.
  std::uint32_t getMTPNextFile(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next);

  /// checkNodeExist: Whether the phone still has the node. May block.
  bool checkNodeExist(_MTP_COMMON_NODE* commonNode);

  // ---- Changes and transfers ----
  //
  // All of them block: on the phone, on the disk. `error` is written always; success is 0. A path names an item only
  // when each of its names is found in the one before: what bears the same name elsewhere is never touched. The storage
  // head is where the path's storage is sought from; one that the SDK knows no more stands for knownStorageHead().

  /// createFolder:name:error: A new folder in a folder or at a storage's top level; the phone gets the name in composed
  /// form (Unicode NFC). Null on any status but 0: 0x10000005 or 0x10000006 when a file or folder has the name.
  _MTP_FOLDER_NODE* createFolder(_MTP_COMMON_NODE* parent, const QString& name, std::uint32_t& error);
  /// checkCreateFolder:storageHead:folderPath:error: Makes every missing folder of a path. Returns the last folder
  /// found or made, the storage for a path without folders, or null: for a path whose storage is unknown (status 0),
  /// without a model name, and with CreateFolderRefused. When a folder cannot be made, `error` tells why, nothing
  /// further is made, and what is returned is not the folder that the path names.
  _MTP_COMMON_NODE* checkCreateFolder(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE** storageHead,
                                      const QString& folderPath, std::uint32_t& error);
  /// renameItemAtPath:storageHead:source:toName:error: Gives the folder or file at `source` another name, as it stands
  /// (not composed). What the path does not name is answered with the SDK's status for a missing node.
  bool renameItemAtPath(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead, const QString& source,
                        const QString& toName, std::uint32_t& error);
  /// deleteItemAtPath:storageHead:fileNode:path:error: Deletes the node with this identifier, or, when the phone has it
  /// no more (or the text is null), the folder or file at `path`. Folders go with everything in them. Neither there:
  /// DGSTATUS_UNSUCCESSFUL.
  bool deleteItemAtPath(_MTP_DEVICE_NODE* deviceNode, _MTP_STORAGE_NODE* storageHead, const QString& fileNode,
                        const QString& path, std::uint32_t& error);

  /// uploadFileFromMTP:source:destination:relativeFolder:callback:context:error: Copies a file of the phone to
  /// `destination`, a full path of the computer, replacing what is there only when the copy is whole. The file is the
  /// one with this identifier, or, when the SDK knows it no more (or the text is null), the one at `source`; relative
  /// folder is not used. The copy carries the phone's date and is marked with its origin (Platform/DownloadMark.h).
  ///
  /// The callback runs on the calling thread; its answer other than 0 stops the transfer with the SDK's status for
  /// that. ReceiveRefused without a bound device, source or destination, and when detached; DGSTATUS_UNSUCCESSFUL when
  /// there is no such file; DGSTATUS_FILE_INVALID_CHAR for a destination that is no path here. When the SDK reports a
  /// whole copy and the file is not there, the process ends with the system's error as its exit status.
  bool uploadFileFromMTP(const QString& nodeID, const QString& source, const QString& destination,
                         const QString& relativeFolder, mtpDextProgressCallback callback, void* context,
                         std::uint32_t& error);
  /// downloadFileToMTP:source:destination:callback:context:retFileNode:error: Copies a file of the computer to the
  /// phone, into `parent`, or, when that is null or known no more, into the folder at the device path `destination`,
  /// which is made where it is missing. The name is the source's, composed. `retFileNode` (may be null) gets the new
  /// file's identifier, on 0x10000005 and 0x10000006 that of the file or folder which has the name already, else "".
  ///
  /// The callback is as in uploadFileFromMTP(). SendRefused without a bound device, source or destination, and when
  /// detached; the status of the creation when a folder of `destination` could not be made. After each file sent
  /// "QXVORN_NOTI_MTP_BROWSER_RESCAN" with {"LocationID"} is posted on the process's notification centre, on the
  /// calling thread.
  bool downloadFileToMTP(_MTP_COMMON_NODE* parent, const QString& source, const QString& destination,
                         mtpDextProgressCallback callback, void* context, QString* retFileNode, std::uint32_t& error);
  /// getMTPFileThumb:destination: Writes the file's thumbnail, an image as the phone has it, to a path of the computer,
  /// whole or not at all.
  std::uint32_t getMTPFileThumb(_MTP_FILE_NODE* fileNode, const QString& destination);
  /// validateFilePathForMtp:uniName:byteLength: A path in composed form by which the SDK can open this file of the
  /// computer: the file's own or, where its name is stored otherwise, that of a symbolic link (LinkFolder.h). UTF-16
  /// with a terminating zero unit, the caller's; the size in bytes includes it. Null and 0 when there is no such way.
  /// One caller at a time, others wait.
  void validateFilePathForMtp(const QString& path, std::unique_ptr<char16_t[]>& uniName, std::uint32_t& byteLength);

  // ---- Nodes and their identifiers ----

  /// getCommonNodeFromNodeID: The node of an identifier text (hexadecimal, "0x" allowed); null for any other text and
  /// for a node that the SDK does not know (any more).
  _MTP_COMMON_NODE* getCommonNodeFromNodeID(const QString& nodeID);
  /// getFileNodeFromNodeID:currentDevice:storageHead:filePath: The same for files: null for a node that is none. The
  /// other arguments are not used.
  _MTP_FILE_NODE* getFileNodeFromNodeID(const QString& nodeID, _MTP_DEVICE_NODE* currentDevice = nullptr,
                                        _MTP_STORAGE_NODE* storageHead = nullptr, const QString& filePath = {});
  /// The kind (MTPDEXT_NODE_…) of a node, 0 for null and nodes that the SDK does not know. Never follows the address,
  /// never blocks.
  std::int32_t nodeKind(const void* node);
  /// The identifier text of a node, "%llx" of its address.
  static QString nodeIDOf(const void* node);

  // ---- Texts of records; the caller holds the nodes ----

  /// wildcharLength:dataSize: The number of units before the first zero unit, at most `dataSize`; 0 for null.
  static std::uint32_t wildcharLength(const char16_t* text, std::uint32_t dataSize);
  /// getLabelFromMtpString:dataSize: The name so long; nothing for a null pointer.
  static std::optional<QString> getLabelFromMtpString(const char16_t* text, std::uint32_t dataSize);

protected:
  /// For the same work under other names; `face` lives as long as the program.
  MTPDextSDKWrapper(const AccessFace& face, std::shared_ptr<MtpSdk> sdk, ComputerSide computer);

private:
  using NameOperation = std::uint32_t (MtpSdk::*)(_MTP_DEVICE_NODE*, void*, std::uint32_t*);

  bool isNode(const void* node, std::int32_t kind);
  AccessLog log(const platform::SourceLocation& where) const { return {m_face, where}; }
  std::uint64_t location() const;
  _MTP_DEVICE_NODE* findDevice();
  std::uint32_t readDeviceName(NameOperation operation, _MTP_DEVICE_NODE* deviceNode, std::optional<QString>& name,
                               const AccessLog& where);
  bool connectForStorages(const AccessLog& where);
  QList<MtpStorageInfo> collectStorages(const AccessLog& where);
  _MTP_FOLDER_NODE* findChildFolder(const QString& name, _MTP_STORAGE_NODE* atStorage, _MTP_FOLDER_NODE* parent);
  std::optional<MtpItemInfo> parentEntry(_MTP_FOLDER_NODE* folder, const QString& folderPath);
  std::uint32_t appendFiles(QList<MtpItemInfo>& items, _MTP_COMMON_NODE* commonNode, const QString& folderPath);
  // Each holds the nodes and calls visit(node) for every node of the list until it answers false.
  template <class Visit> void walkStorages(_MTP_STORAGE_NODE* head, Visit visit);
  // These answer the status with which the list broke off; 0: it is whole. `step(node, &next)` takes one step.
  template <class Node, class Step, class Visit>
  std::uint32_t walkNodes(Node* head, std::int32_t kind, Step step, Visit visit);
  template <class Visit> std::uint32_t walkFolders(_MTP_FOLDER_NODE* head, Visit visit);
  enum class FailedStep { GoesOn, Ends }; // GoesOn: with the file it gives all the same, if any
  template <class Visit> std::uint32_t walkFiles(_MTP_FILE_NODE* head, FailedStep failedStep, Visit visit);

  const AccessFace& m_face;
  const std::shared_ptr<MtpSdk> m_sdk;
  const ComputerSide m_computer;

  mutable platform::Mutex m_textMutex;
  QString m_locationID MTPB_GUARDED_BY(m_textMutex);
  QString m_rootPath MTPB_GUARDED_BY(m_textMutex);
  // Written by whichever thread binds or resolves, read by all.
  std::atomic<_MTP_DEVICE_NODE*> m_currentDeviceNode{nullptr};
  std::atomic<_MTP_STORAGE_NODE*> m_currentStorageNode{nullptr};
  std::atomic<_MTP_STORAGE_NODE*> m_storageHeadNode{nullptr};
  std::atomic<std::uint32_t> m_storageStatus{
      0};                                // of the last listing; written by who lists, read for connectCondition()
  std::atomic<bool> m_isDetached{false}; // written by the browser (and by binding), polled by every operation
  std::recursive_mutex m_monitor;        // one storageInfoLists() at a time
  platform::Mutex _accLock;              // one validateFilePathForMtp() at a time: they share the folder of links
};
