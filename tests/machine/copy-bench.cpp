// Files of one folder, copied three ways between the same phone and the same computer: by the engine, by libmtp, and by
// the least that their bytes can cost (a synchronous loop of transfers of 1 MiB, which touches no file of its own and
// asks nothing besides). Seconds from an opened session and a listed folder to the last answer.
//
//   copy-bench engine|libmtp|bare down FOLDER LOCAL    every file of FOLDER, into the folder LOCAL
//   copy-bench engine|libmtp|bare up FOLDER LOCAL      every file of the folder LOCAL, into FOLDER
//                                                      FOLDER: at the top of the first storage
#include "BenchPhones.h"
#include "TessalyMTPSdk/Engine.h"

#include <chrono>
#include <cinttypes>
#include <filesystem>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using namespace bench;

class Report {
public:
  explicit Report(std::string how)
      : m_how(std::move(how)) {}
  void add(uint64_t bytes) {
    ++m_files;
    m_bytes += bytes;
  }
  void tell() const {
    std::printf("%s\t%" PRIu64 "\t%" PRIu64 "\t%.3f\n", m_how.c_str(), m_files, m_bytes,
                std::chrono::duration<double>(Clock::now() - m_start).count());
  }

private:
  std::string m_how;
  uint64_t m_files = 0;
  uint64_t m_bytes = 0;
  Clock::time_point m_start = Clock::now();
};

std::vector<fs::path> filesOf(const fs::path& folder) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

uint32_t textLength(const std::u16string& text) {
  return static_cast<uint32_t>(text.size() + 1);
}

/// The browser's callback costs about as much: it hands the figures on.
uint32_t goOn(uint64_t, uint64_t, void*) {
  return 0;
}

void engine(bool up, const std::string& folder, const fs::path& local) {
  _MTP_FOLDER_NODE* const node = folderOfEngine(folder);
  std::vector<_MTP_FILE_NODE*> there;
  _MTP_FILE_NODE* file = nullptr;
  for (uint32_t status = mtpDextGetFileListHead(&node->common, &file, nullptr, nullptr); status == 0;
       status = mtpDextGetNextFileNode(file, &file)) {
    there.push_back(file);
  }
  const auto here = up ? filesOf(local) : std::vector<fs::path>();
  const uint64_t before = mtp::counters().transactions;
  Report report("engine");
  for (const fs::path& source : here) {
    const std::u16string path = source.u16string();
    if (mtpDextSendFileEx(path.c_str(), textLength(path), &node->common, &file, goOn, nullptr) != 0) {
      give_up("the engine does not send");
    }
    report.add(file->fileLength);
  }
  for (std::size_t i = 0; !up && i < there.size(); ++i) {
    const std::u16string path = (local / probe::nameOf(there[i])).u16string();
    if (mtpDextGetFileEx(there[i], path.c_str(), textLength(path), goOn, nullptr) != 0) {
      give_up("the engine does not receive");
    }
    report.add(there[i]->fileLength);
  }
  report.tell();
  std::printf("engine-transactions\t%" PRIu64 "\n", mtp::counters().transactions - before);
  mtp::shutdown();
}

void libmtp(bool up, const std::string& folder, const fs::path& local) {
  struct Object {
    uint32_t id;
    uint64_t size;
    std::string name;
  };
  LIBMTP_mtpdevice_t* const device = openByLibmtp();
  const uint32_t id = folderOfLibmtp(device, folder);
  std::vector<Object> there;
  for (LIBMTP_file_t* file = up ? nullptr : LIBMTP_Get_Files_And_Folders(device, device->storage->id, id);
       file != nullptr;) {
    there.push_back({file->item_id, file->filesize, file->filename});
    LIBMTP_file_t* const next = file->next;
    LIBMTP_destroy_file_t(file);
    file = next;
  }
  const auto here = up ? filesOf(local) : std::vector<fs::path>();
  Report report("libmtp");
  for (const fs::path& source : here) {
    LIBMTP_file_t* const file = LIBMTP_new_file_t();
    file->filename = strdup(source.filename().c_str());
    file->filesize = fs::file_size(source);
    file->filetype = LIBMTP_FILETYPE_UNKNOWN;
    file->parent_id = id;
    file->storage_id = device->storage->id;
    if (LIBMTP_Send_File_From_File(device, source.c_str(), file, nullptr, nullptr) != 0) {
      give_up("libmtp does not send");
    }
    report.add(file->filesize);
    LIBMTP_destroy_file_t(file);
  }
  for (const Object& object : there) {
    if (LIBMTP_Get_File_To_File(device, object.id, (local / object.name).c_str(), nullptr, nullptr) != 0) {
      give_up("libmtp does not receive");
    }
    report.add(object.size);
  }
  report.tell();
  LIBMTP_Release_Device(device);
}

/// MTP 1.1, 5.3.1: an undefined object of this name and size, without dates.
std::vector<unsigned char> objectInfo(uint32_t storage, uint32_t parent, uint32_t size, const std::string& name) {
  std::vector<unsigned char> bytes;
  Bare::put(bytes, storage, 4);
  Bare::put(bytes, 0x3000, 2);
  Bare::put(bytes, 0, 2);
  Bare::put(bytes, size, 4);
  bytes.insert(bytes.end(), 26, 0); // thumbnail and picture
  Bare::put(bytes, parent, 4);
  bytes.insert(bytes.end(), 10, 0); // association, sequence
  Bare::put(bytes, static_cast<uint32_t>(name.size() + 1), 1);
  for (const char letter : name) {
    Bare::put(bytes, static_cast<unsigned char>(letter), 2);
  }
  bytes.insert(bytes.end(), 5, 0); // the name's end; dates, keywords
  return bytes;
}

void bare(bool up, const std::string& folder, const fs::path& local) {
  struct File {
    std::string name;
    uint32_t size;
  };
  Bare phone;
  const uint32_t id = phone.openFolder(folder);
  const auto there = phone.children(id); // up as well: the others have listed it, too
  std::vector<File> here;
  for (const fs::path& source : up ? filesOf(local) : std::vector<fs::path>()) {
    here.push_back({source.filename(), static_cast<uint32_t>(fs::file_size(source))});
  }
  Report report("bare");
  for (const File& file : here) {
    phone.push(0x100C, {phone.storage, id}, objectInfo(phone.storage, id, file.size, file.name), 0);
    phone.push(0x100D, {}, {}, file.size);
    report.add(file.size);
  }
  for (std::size_t i = 0; !up && i < there.size(); ++i) {
    report.add(phone.pull(0x1009, {there[i]}));
  }
  report.tell();
}

} // namespace

int main(int argumentCount, char** arguments) {
  const std::string way = argumentCount == 5 ? arguments[2] : "";
  if (way != "down" && way != "up") {
    give_up("usage: copy-bench engine|libmtp|bare down|up FOLDER LOCAL");
  }
  const std::string how = arguments[1];
  (how == "engine" ? engine : how == "libmtp" ? libmtp : bare)(way == "up", arguments[3], arguments[4]);
}
