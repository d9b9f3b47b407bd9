#include "ProbeCopies.h"

#include "ProbeNodes.h"
#include "TessalyMTPSdk/Engine.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace probe {

namespace {

namespace fs = std::filesystem;

constexpr uint32_t EndOfList = 2;
constexpr uint32_t NotFound = 0x10000001;
constexpr uint32_t Cancelled = 0x10000007;

uint32_t textLength(const std::u16string& text) {
  return static_cast<uint32_t>(text.size() + 1);
}

class Copier {
public:
  Copier(std::string cancelName, uint64_t cancelAt)
      : m_cancelName(std::move(cancelName))
      , m_cancelAt(cancelAt) {}

  uint32_t put(const fs::path& local, _MTP_COMMON_NODE* parent) {
    const std::u16string path = local.u16string();
    if (!fs::is_directory(local)) {
      begin(local);
      _MTP_FILE_NODE* created = nullptr;
      return end(mtpDextSendFileEx(path.c_str(), textLength(path), parent, &created, progress, this));
    }
    const std::u16string name = local.filename().u16string();
    _MTP_FOLDER_NODE* folder = nullptr;
    begin(local);
    const uint32_t status = end(mtpDextCreateFolderNode(parent, name.c_str(), 2 * textLength(name), &folder));
    if (status != 0)
      return status;
    std::vector<fs::path> entries;
    for (const auto& entry : fs::directory_iterator(local))
      entries.push_back(entry.path());
    std::sort(entries.begin(), entries.end());
    uint32_t result = 0;
    for (const fs::path& entry : entries)
      keep(result, put(entry, &folder->common));
    return result;
  }

  uint32_t get(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* folder, const fs::path& local) {
    fs::create_directories(local);
    uint32_t result = 0;
    _MTP_FILE_NODE* file = nullptr;
    uint32_t status = mtpDextGetFileListHead(folder ? &folder->common : &storage->common, &file, nullptr, nullptr);
    while (status == 0) {
      const fs::path destination = local / nameOf(file);
      const std::u16string path = destination.u16string();
      begin(destination);
      keep(result, end(mtpDextGetFileEx(file, path.c_str(), textLength(path), progress, this)));
      status = mtpDextGetNextFileNode(file, &file);
    }
    if (status != EndOfList) {
      keep(result, status);
      return result;
    }
    _MTP_FOLDER_NODE* child = nullptr;
    status = mtpDextGetFolderListHead(storage, folder, &child, nullptr, nullptr);
    while (status == 0) {
      keep(result, get(storage, child, local / nameOf(child)));
      status = mtpDextGetNextSiblingFolderNode(child, &child);
    }
    keep(result, status == EndOfList ? 0 : status);
    return result;
  }

private:
  static uint32_t progress(uint64_t current, uint64_t total, void* context) {
    Copier& copier = *static_cast<Copier*>(context);
    if (!copier.m_told && total > 0 && current >= total / 4 && current < total) {
      copier.m_told = true;
      std::printf("under\t%s\n", copier.m_path.c_str());
      std::fflush(stdout);
    }
    return copier.m_path.filename() == copier.m_cancelName && current >= copier.m_cancelAt ? 1 : 0;
  }
  void begin(const fs::path& path) {
    m_path = path;
    m_told = false;
  }
  uint32_t end(uint32_t status) const {
    std::printf("copied\t%08" PRIx32 "\t%s\n", status, m_path.c_str());
    std::fflush(stdout);
    return status;
  }
  static void keep(uint32_t& result, uint32_t status) {
    if (result == 0 && status != Cancelled)
      result = status;
  }

  std::string m_cancelName;
  uint64_t m_cancelAt;
  fs::path m_path;
  bool m_told = false;
};

/// What a path "Storage/folder/…/last" names.
struct Place {
  _MTP_STORAGE_NODE* storage = nullptr;
  _MTP_FOLDER_NODE* folder = nullptr; ///< null: the storage itself, or a file
  _MTP_FILE_NODE* file = nullptr;
};

uint32_t find(_MTP_DEVICE_NODE* device, const fs::path& path, Place& place) {
  auto name = path.begin();
  uint32_t status = mtpDextGetStorageListHead(device, &place.storage);
  while (status == 0 && nameOf(place.storage) != name->string())
    status = mtpDextGetNextStorageNode(place.storage, &place.storage);
  while (status == 0 && ++name != path.end()) {
    _MTP_FOLDER_NODE* child = nullptr;
    status = mtpDextGetFolderListHead(place.storage, place.folder, &child, nullptr, nullptr);
    while (status == 0 && nameOf(child) != name->string())
      status = mtpDextGetNextSiblingFolderNode(child, &child);
    if (status == EndOfList && std::next(name) == path.end()) {
      _MTP_COMMON_NODE* const parent = place.folder ? &place.folder->common : &place.storage->common;
      status = mtpDextGetFileListHead(parent, &place.file, nullptr, nullptr);
      while (status == 0 && nameOf(place.file) != name->string())
        status = mtpDextGetNextFileNode(place.file, &place.file);
    }
    place.folder = child;
  }
  return status == EndOfList ? NotFound : status;
}

} // namespace

uint32_t copies(_MTP_DEVICE_NODE* device, const std::string& command, const std::vector<std::string>& words) {
  const bool deletes = command == "delete";
  if (words.size() < (deletes ? 1u : 2u)) {
    std::fprintf(stderr, "engine-probe: words are missing\n");
    return NotFound;
  }
  Place place;
  uint32_t status = find(device, words[command == "put" ? 1 : 0], place);
  if (status != 0)
    return status;
  Copier copier(words.size() > 3 ? words[2] : std::string(),
                words.size() > 3 ? std::strtoull(words[3].c_str(), nullptr, 10) : 0);
  _MTP_COMMON_NODE* const folder = place.folder ? &place.folder->common : &place.storage->common;
  const uint64_t before = mtp::counters().transactions;
  if (deletes)
    status = mtpDextDeleteNode(place.file ? &place.file->common : folder);
  else if (command == "put")
    status = copier.put(words[0], folder);
  else
    status = copier.get(place.storage, place.folder, words[1]);
  std::printf("copies\t%" PRIu64 "\n", mtp::counters().transactions - before);
  return status;
}

} // namespace probe
