// The engine under the names of the older library.
#include "TessalyMTPSdk/corvmtpsdk.h"

#include "EngineFixture.h"

using namespace testsupport;

namespace {

class OlderNames : public EngineWithPhone {
protected:
  OlderNames() {
    storage.file("DCIM/Camera/one.jpg", 1);
    storage.file("note.txt", 3);
    start();
    EXPECT_EQ(mtpGetConnectedDeviceListHead(&head), 0u) << "without any initialisation";
    EXPECT_EQ(mtpGetStorageListHead(head, &first), 0u);
    EXPECT_EQ(mtpGetFolderListHead(first, nullptr, &dcim, nullptr, nullptr), 0u);
    EXPECT_EQ(mtpGetFileListHead(&first->common, &note, nullptr, nullptr), 0u);
  }

  _MTP_DEVICE_NODE* head = nullptr;
  _MTP_STORAGE_NODE* first = nullptr;
  _MTP_FOLDER_NODE* dcim = nullptr;
  _MTP_FILE_NODE* note = nullptr;
};

} // namespace

TEST_F(OlderNames, NameTheSameRecords) {
  _MTP_DEVICE_NODE* device = nullptr;
  _MTP_FOLDER_NODE* folder = nullptr;
  _MTP_FILE_NODE* file = nullptr;
  EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&device), 0u);
  EXPECT_EQ(device, head);
  EXPECT_EQ(mtpDextGetFolderListHead(first, nullptr, &folder, nullptr, nullptr), 0u);
  EXPECT_EQ(folder, dcim);
  EXPECT_EQ(mtpDextGetFileListHead(&first->common, &file, nullptr, nullptr), 0u);
  EXPECT_EQ(file, note);
  EXPECT_EQ(nameOf(dcim), "DCIM");
  EXPECT_EQ(nameOf(note), "note.txt");
}

TEST_F(OlderNames, EndTheirListsWithTwo) {
  _MTP_DEVICE_NODE* device = head;
  _MTP_STORAGE_NODE* nextStorage = first;
  _MTP_FOLDER_NODE* folder = dcim;
  _MTP_FILE_NODE* file = note;
  EXPECT_EQ(mtpGetNextDevice(head, &device), 2u);
  EXPECT_EQ(mtpGetNextStorageNode(first, &nextStorage), 2u);
  EXPECT_EQ(mtpGetNextSiblingFolderNode(dcim, &folder), 2u);
  EXPECT_EQ(mtpGetNextFileNode(note, &file), 2u);
  EXPECT_EQ(mtpGetParentFolderNode(dcim, &folder), 2u) << "the top of its storage";
  EXPECT_EQ(device, nullptr);
  EXPECT_EQ(nextStorage, nullptr);
  EXPECT_EQ(folder, nullptr);
  EXPECT_EQ(file, nullptr);
  _MTP_FOLDER_NODE* camera = nullptr;
  ASSERT_EQ(mtpGetFolderListHead(first, dcim, &camera, nullptr, nullptr), 0u);
  EXPECT_EQ(mtpGetParentFolderNode(camera, &folder), 0u);
  EXPECT_EQ(folder, dcim);
}

TEST_F(OlderNames, HandNamesOutInTwoCalls) {
  uint32_t size = 0;
  ASSERT_EQ(mtpGetModelName(head, nullptr, &size), 1u);
  std::u16string name(size / 2, u'?');
  EXPECT_EQ(mtpGetModelName(head, name.data(), &size), 0u);
  EXPECT_EQ(name, std::u16string(u"Virtual Phone") + u'\0');
  size = 0;
  EXPECT_EQ(mtpGetFriendlyName(head, nullptr, &size), 1u);
  EXPECT_GE(size, 2u);
}

TEST_F(OlderNames, ReleaseWhatTheyListed) {
  EXPECT_EQ(mtpReleaseDeviceList(head), 0u);
  EXPECT_EQ(kindOf(note), 0x10000004u);
  EXPECT_EQ(kindOf(first), 0u);
  EXPECT_EQ(mtpReleaseStorageList(first), 0u);
  EXPECT_EQ(kindOf(first), 0x10000004u);
  EXPECT_EQ(kindOf(head), 0u);
}

TEST_F(OlderNames, RegisterForEvents) {
  Signal events;
  ASSERT_EQ(mtpRequestEventNotifyEx(
                head,
                [](int32_t, uint64_t, uint64_t, void* context) -> uint32_t {
                  static_cast<Signal*>(context)->raise();
                  return 0;
                },
                &events),
            0u);
  storage.file("new.txt", 1);
  EXPECT_TRUE(events.waitFor(1));
  EXPECT_EQ(mtpRequestEventNotifyEx(head, nullptr, nullptr), 0u);
}

TEST_F(OlderNames, TellWhetherANodeStillExists) {
  EXPECT_NE(libIsExist(head, MTPDEXT_NODE_DEVICE), 0u);
  EXPECT_NE(libIsExist(first, MTPDEXT_NODE_STORAGE), 0u);
  EXPECT_NE(libIsExist(dcim, MTPDEXT_NODE_FOLDER), 0u);
  EXPECT_NE(libIsExist(note, MTPDEXT_NODE_FILE), 0u);
  EXPECT_EQ(libIsExist(note, MTPDEXT_NODE_FOLDER), 0u) << "of another kind";
  EXPECT_EQ(libIsExist(note, 0), 0u);
  EXPECT_EQ(libIsExist(nullptr, MTPDEXT_NODE_FILE), 0u);
  phone->unplug();
  EXPECT_EQ(libIsExist(head, MTPDEXT_NODE_DEVICE), 0u);
  EXPECT_EQ(libIsExist(note, MTPDEXT_NODE_FILE), 0u);
}

TEST_F(OlderNames, ChangeAndMoveTheSameObjects) {
  _MTP_FOLDER_NODE* folder = nullptr;
  uint32_t size = 0;
  EXPECT_EQ(mtpCreateFolderNode(&dcim->common, u"new", 8, &folder), 0u);
  EXPECT_EQ(mtpRenameNode(&folder->common, u"x", 4), 0u);
  EXPECT_EQ(mtpGetThumb(note, nullptr, &size), 0x1310000Eu);
  const TemporaryFolder computer;
  computer.file("sent.txt", 7);
  const std::u16string source = (computer.path() / "sent.txt").u16string();
  const std::u16string destination = (computer.path() / "received.txt").u16string();
  const auto units = [](const std::u16string& path) { return static_cast<uint32_t>(path.size() + 1); };
  _MTP_FILE_NODE* file = nullptr;
  EXPECT_EQ(mtpSendFileEx(source.c_str(), units(source), &folder->common, &file, nullptr, nullptr), 0u);
  EXPECT_EQ(nameOf(file), "sent.txt");
  EXPECT_EQ(mtpGetFileEx(file, destination.c_str(), units(destination), nullptr, nullptr), 0u);
  EXPECT_EQ(std::filesystem::file_size(computer.path() / "received.txt"), 7u);
  EXPECT_EQ(mtpDeleteNode(&folder->common), 0u);
}
