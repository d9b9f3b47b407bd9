/* The C interface of the MTP engine: node records, status codes' carrier type, operations.
 *
 * Records are owned by the engine. A caller never allocates or frees one; it keeps addresses and gives whole lists back
 * with the release operations. An address is a name: every operation looks it up in the engine's registry, and a name
 * the engine no longer knows (released list, removed object, unplugged phone, garbage) is answered with a status and
 * never followed. No address is used twice while a device session lives. To read fields of a record while other threads
 * may release lists, hold the records first (mtpDextHoldNodes) and ask for the node's kind (mtpDextGetNodeKind).
 *
 * Null where an address is wanted for the answer: 0x10000002. A phone that is gone: 0x12000001 for its device record,
 * 0x10000004 for all records below it.
 *
 * Every operation may be called from any thread. Those that talk to the phone block for the length of their MTP
 * transactions, one at a time a device, each bounded by its own time-out; they say "blocks". Status: 0 success, 1 call
 * again with a buffer of the size handed out, 2 end of a list; the others are named in StatusCodes.h. */
#ifndef TESSALYMTPSDK_H
#define TESSALYMTPSDK_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* UTF-16 code unit, native byte order. */
#ifdef __cplusplus
typedef char16_t MTPDEXT_CHAR16;
#else
typedef uint_least16_t MTPDEXT_CHAR16;
#endif

#pragma pack(push, 1)

/* Header of every node, 12 bytes. */
typedef struct _MTP_COMMON_NODE {
  uint32_t nodeId;     /* object handle; for a storage the MTP storage ID */
  int32_t nodeType;    /* MTPDEXT_NODE_… */
  uint32_t locationId; /* device node: the USB location ID; 0 elsewhere */
} _MTP_COMMON_NODE;

/* 16 bytes. */
typedef struct _MTP_DEVICE_NODE {
  _MTP_COMMON_NODE common;
  uint32_t reserved;
} _MTP_DEVICE_NODE;

/* 52 bytes. Lengths in code units, a terminating zero unit included when present. */
typedef struct _MTP_STORAGE_NODE {
  _MTP_COMMON_NODE common;
  const MTPDEXT_CHAR16* name; /* StorageDescription */
  uint32_t nameLength;
  const MTPDEXT_CHAR16* volume; /* VolumeIdentifier */
  uint32_t volumeLength;
  uint64_t totalCapacity; /* bytes */
  uint64_t freeSpace;     /* bytes */
} _MTP_STORAGE_NODE;

/* 52 bytes. */
typedef struct _MTP_FOLDER_NODE {
  _MTP_COMMON_NODE common;
  uint32_t reserved0;
  const MTPDEXT_CHAR16* name;
  uint32_t nameSize; /* code units, terminating zero included */
  const MTPDEXT_CHAR16* reserved1;
  uint32_t reserved1Size;
  const MTPDEXT_CHAR16* reserved2;
  uint32_t reserved2Size;
} _MTP_FOLDER_NODE;

/* 60 bytes. */
typedef struct _MTP_FILE_NODE {
  _MTP_COMMON_NODE common;
  uint32_t reserved0;
  uint64_t fileLength; /* bytes; what the phone tells, 64-bit wherever it can */
  const MTPDEXT_CHAR16* name;
  uint32_t nameSize; /* code units, terminating zero included */
  const MTPDEXT_CHAR16* reserved1;
  uint32_t reserved1Size;
  const MTPDEXT_CHAR16* date; /* DateModified as the phone sent it ("YYYYMMDDThhmmss…"); not terminated */
  uint32_t dateLength;        /* code units */
} _MTP_FILE_NODE;

#pragma pack(pop)

enum { MTPDEXT_NODE_DEVICE = 1, MTPDEXT_NODE_STORAGE = 2, MTPDEXT_NODE_FOLDER = 3, MTPDEXT_NODE_FILE = 4 };

/* Progress of a transfer, called on the thread that asked for it, at least every 100 ms and at most a hundred times a
 * second, and once at the end. 0: go on; anything else: stop (0x10000007). Positions in bytes. What it asks of the
 * phone itself is refused: the phone is in the middle of a transaction. */
typedef uint32_t (*mtpDextProgressCallback)(uint64_t current, uint64_t total, void* context);
/* A device event (MTP event code, its first two parameters), called on the engine's event thread; returns 0. The
 * callback may not call the engine back for work that talks to the phone: it would wait for its own thread. */
typedef uint32_t (*mtpDextEventCallback)(int32_t code, uint64_t parameter1, uint64_t parameter2, void* context);

/* Prepares the engine (USB, threads). Cheap and harmless when done already. */
uint32_t mtpDextSdkInit(void);

/* Devices. The head looks for attached phones and opens those not yet open (blocks). A device's record stays valid, and
 * its event registration too, as long as the phone is attached, also after mtpDextReleaseDeviceList. No device: status
 * 0x12000001 and a null head; phones there, but none that can be opened: 0x12000003, at once for a phone that has just
 * hung while it was opened (until as much time has passed again). Releasing the list retires the folder and file
 * records of this device. */
uint32_t mtpDextGetConnectedDeviceListHead(_MTP_DEVICE_NODE** head);
uint32_t mtpDextGetNextDevice(_MTP_DEVICE_NODE* device, _MTP_DEVICE_NODE** next);
uint32_t mtpDextReleaseDeviceList(_MTP_DEVICE_NODE* device);

/* What kept a phone from being opened when the devices were last listed. */
enum {
  MTPDEXT_OPEN_DONE = 0,          /* nothing: it is open; or no MTP interface was seen at that location */
  MTPDEXT_OPEN_NO_PERMISSION = 1, /* the user may not open it */
  MTPDEXT_OPEN_IN_USE = 2,        /* another program has it */
  MTPDEXT_OPEN_PTP_ONLY = 3,      /* it speaks PTP without MTP: picture-transfer mode, or a camera */
  MTPDEXT_OPEN_NO_ANSWER = 4      /* it does not answer, or answers nonsense */
};
/* `holder` (may be null) gets the name of a program that has the phone, as the system gives it (UTF-8 as a rule),
 * terminated and cut to `holderSize` bytes; empty when there is none or it cannot be seen. Never blocks. */
uint32_t mtpDextGetOpenFailure(uint32_t locationId, int32_t* failure, char* holder, uint32_t holderSize);

/* Storages. The head asks the phone (blocks). No storage (locked phone, charging mode): 0x12000002 and a null head.
 * Releasing a storage list retires its storages and every folder and file record below them. */
uint32_t mtpDextGetStorageListHead(_MTP_DEVICE_NODE* device, _MTP_STORAGE_NODE** head);
uint32_t mtpDextGetNextStorageNode(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next);
uint32_t mtpDextReleaseStorageList(_MTP_STORAGE_NODE* storage);

/* Names, two-call protocol: null buffer: status 1 and the size in bytes; buffer of that size: 0. The text is UTF-16
 * with a terminating zero unit, which the size includes. A buffer too small: 1 and the size. */
uint32_t mtpDextGetFriendlyName(_MTP_DEVICE_NODE* device, void* buffer, uint32_t* byteSize);
uint32_t mtpDextGetModelName(_MTP_DEVICE_NODE* device, void* buffer, uint32_t* byteSize);

/* Folders and files directly in a folder or at a storage's top level (parent null). The first of the two heads asked
 * for lists the folder (blocks), the other uses the same fetch. Empty: 2 and a null head. The callback, which may be
 * null, is asked now and then with zeros, on this thread: not 0 ends the listing with 0x10000007. */
uint32_t mtpDextGetFolderListHead(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent, _MTP_FOLDER_NODE** head,
                                  mtpDextProgressCallback callback, void* context);
uint32_t mtpDextGetNextSiblingFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next);
uint32_t mtpDextGetParentFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** parent); /* 2: top of its storage */
uint32_t mtpDextGetFileListHead(_MTP_COMMON_NODE* parent, _MTP_FILE_NODE** head, mtpDextProgressCallback callback,
                                void* context);
uint32_t mtpDextGetNextFileNode(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next);

/* Changes and transfers (block). What the computer changed is in its folder's lists at once; they are not fetched
 * again. A name that another object of the folder has, but for case and composition, is refused before anything is
 * sent: 0x10000005 (a file has it), 0x10000006 (a folder). A name that cannot be: 0x11000005. No room: 0x1000000A. */
uint32_t mtpDextCreateFolderNode(_MTP_COMMON_NODE* parent, const MTPDEXT_CHAR16* name, uint32_t byteSize,
                                 _MTP_FOLDER_NODE** created);
uint32_t mtpDextRenameNode(_MTP_COMMON_NODE* node, const MTPDEXT_CHAR16* newName, uint32_t byteSize);
uint32_t mtpDextDeleteNode(_MTP_COMMON_NODE* node);
/* Copies a file of the phone to the path `destination` (UTF-16, `length` code units, the terminating zero included). It
 * is written beside it under another name (see PartialFile.h) and replaces what is there only when it is whole. */
uint32_t mtpDextGetFileEx(_MTP_FILE_NODE* file, const MTPDEXT_CHAR16* destination, uint32_t length,
                          mtpDextProgressCallback callback, void* context);
/* Copies the file at the path `source` into a folder or storage, under its own last component and with its date. On
 * 0x10000005 and 0x10000006 `created` is the object that has the name. A copy that fails or is stopped is taken away
 * again. */
uint32_t mtpDextSendFileEx(const MTPDEXT_CHAR16* source, uint32_t length, _MTP_COMMON_NODE* parent,
                           _MTP_FILE_NODE** created, mtpDextProgressCallback callback, void* context);
/* The thumbnail's bytes, two-call protocol. The phone has none, or an empty one: 0x1310000E. */
uint32_t mtpDextGetThumb(_MTP_FILE_NODE* file, void* buffer, uint32_t* byteSize);

/* Registers the event callback of the device (null: none any more; on return no call is running, unless the caller is
 * the callback itself). It hears of what the phone does by itself: what some phones report of the computer's own
 * changes is kept from it. */
uint32_t mtpDextRequestEventNotifyEx(_MTP_DEVICE_NODE* device, mtpDextEventCallback callback, void* context);

/* Records stay readable (not: known) between hold and unhold, which nest and may be on any thread. */
void mtpDextHoldNodes(void);
void mtpDextUnholdNodes(void);
/* The kind (MTPDEXT_NODE_…) of the record at this address when the engine knows it: 0; else 0x10000004, or 0x12000001
 * for the device record of a phone that is gone. Never follows the address. */
uint32_t mtpDextGetNodeKind(const void* address, int32_t* kind);

#ifdef __cplusplus
}

static_assert(sizeof(_MTP_COMMON_NODE) == 12 && offsetof(_MTP_COMMON_NODE, nodeType) == 4 &&
              offsetof(_MTP_COMMON_NODE, locationId) == 8);
static_assert(sizeof(_MTP_DEVICE_NODE) == 16 && offsetof(_MTP_DEVICE_NODE, reserved) == 12);
static_assert(sizeof(_MTP_STORAGE_NODE) == 52 && offsetof(_MTP_STORAGE_NODE, name) == 12 &&
              offsetof(_MTP_STORAGE_NODE, nameLength) == 20 && offsetof(_MTP_STORAGE_NODE, volume) == 24 &&
              offsetof(_MTP_STORAGE_NODE, volumeLength) == 32 && offsetof(_MTP_STORAGE_NODE, totalCapacity) == 36 &&
              offsetof(_MTP_STORAGE_NODE, freeSpace) == 44);
static_assert(sizeof(_MTP_FOLDER_NODE) == 52 && offsetof(_MTP_FOLDER_NODE, name) == 16 &&
              offsetof(_MTP_FOLDER_NODE, nameSize) == 24 && offsetof(_MTP_FOLDER_NODE, reserved1) == 28 &&
              offsetof(_MTP_FOLDER_NODE, reserved1Size) == 36 && offsetof(_MTP_FOLDER_NODE, reserved2) == 40 &&
              offsetof(_MTP_FOLDER_NODE, reserved2Size) == 48);
static_assert(sizeof(_MTP_FILE_NODE) == 60 && offsetof(_MTP_FILE_NODE, fileLength) == 16 &&
              offsetof(_MTP_FILE_NODE, name) == 24 && offsetof(_MTP_FILE_NODE, nameSize) == 32 &&
              offsetof(_MTP_FILE_NODE, reserved1) == 36 && offsetof(_MTP_FILE_NODE, reserved1Size) == 44 &&
              offsetof(_MTP_FILE_NODE, date) == 48 && offsetof(_MTP_FILE_NODE, dateLength) == 56);
#endif

#endif
