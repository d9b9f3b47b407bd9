/* The engine under the names of the older library: every operation does what its mtpDext… namesake in TessalyMTPSdk.h
 * does, with the same records, arguments, results, threads and blocking. There is no initialisation call. */
#ifndef CORVMTPSDK_H
#define CORVMTPSDK_H

#include "TessalyMTPSdk/TessalyMTPSdk.h"

#ifdef __cplusplus
extern "C" {
#endif

uint32_t mtpGetConnectedDeviceListHead(_MTP_DEVICE_NODE** head);
uint32_t mtpGetNextDevice(_MTP_DEVICE_NODE* device, _MTP_DEVICE_NODE** next);
uint32_t mtpReleaseDeviceList(_MTP_DEVICE_NODE* device);

uint32_t mtpGetStorageListHead(_MTP_DEVICE_NODE* device, _MTP_STORAGE_NODE** head);
uint32_t mtpGetNextStorageNode(_MTP_STORAGE_NODE* storage, _MTP_STORAGE_NODE** next);
uint32_t mtpReleaseStorageList(_MTP_STORAGE_NODE* storage);

uint32_t mtpGetFriendlyName(_MTP_DEVICE_NODE* device, void* buffer, uint32_t* byteSize);
uint32_t mtpGetModelName(_MTP_DEVICE_NODE* device, void* buffer, uint32_t* byteSize);

uint32_t mtpGetFolderListHead(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent, _MTP_FOLDER_NODE** head,
                              mtpDextProgressCallback callback, void* context);
uint32_t mtpGetNextSiblingFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** next);
uint32_t mtpGetParentFolderNode(_MTP_FOLDER_NODE* folder, _MTP_FOLDER_NODE** parent);
uint32_t mtpGetFileListHead(_MTP_COMMON_NODE* parent, _MTP_FILE_NODE** head, mtpDextProgressCallback callback,
                            void* context);
uint32_t mtpGetNextFileNode(_MTP_FILE_NODE* file, _MTP_FILE_NODE** next);

uint32_t mtpCreateFolderNode(_MTP_COMMON_NODE* parent, const MTPDEXT_CHAR16* name, uint32_t byteSize,
                             _MTP_FOLDER_NODE** created);
uint32_t mtpRenameNode(_MTP_COMMON_NODE* node, const MTPDEXT_CHAR16* newName, uint32_t byteSize);
uint32_t mtpDeleteNode(_MTP_COMMON_NODE* node);
uint32_t mtpGetFileEx(_MTP_FILE_NODE* file, const MTPDEXT_CHAR16* destination, uint32_t length,
                      mtpDextProgressCallback callback, void* context);
uint32_t mtpSendFileEx(const MTPDEXT_CHAR16* source, uint32_t length, _MTP_COMMON_NODE* parent,
                       _MTP_FILE_NODE** created, mtpDextProgressCallback callback, void* context);
uint32_t mtpGetThumb(_MTP_FILE_NODE* file, void* buffer, uint32_t* byteSize);

uint32_t mtpRequestEventNotifyEx(_MTP_DEVICE_NODE* device, mtpDextEventCallback callback, void* context);

/* Whether the node, a record of the given kind (MTPDEXT_NODE_…), still exists on the phone: non-zero when it does. From
 * memory while nothing says that its folder changed, else with one MTP transaction (blocks). Never follows an address
 * the engine does not know. */
uint32_t libIsExist(const void* node, int32_t nodeType);

#ifdef __cplusplus
}
#endif

#endif
