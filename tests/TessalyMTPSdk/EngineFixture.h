#pragma once
// For tests that use the engine through its C interface with a phone in memory.
#include "TessalyMTPSdk/Engine.h"
#include "TessalyMTPSdk/EngineState.h"
#include "TessalyMTPSdk/TessalyMTPSdk.h"
#include "VirtualPhone/VirtualPhone.h"

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

namespace testsupport {

/// A folder of its own, gone with the object.
class TemporaryFolder {
public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "engineXXXXXX").string();
    if (!mkdtemp(name.data()))
      throw std::runtime_error("no temporary folder");
    m_path = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return m_path; }
  void folder(const std::string& name) const { std::filesystem::create_directories(m_path / name); }
  void file(const std::string& name, std::uintmax_t size = 0) const {
    std::filesystem::create_directories((m_path / name).parent_path());
    std::ofstream(m_path / name).flush();
    if (size > 0)
      std::filesystem::resize_file(m_path / name, size);
  }

private:
  std::filesystem::path m_path;
};

/// Waits for what other threads bring about, with an end.
class Signal {
public:
  void raise() {
    const std::lock_guard lock(m_mutex);
    ++m_count;
    m_changed.notify_all();
  }
  bool waitFor(int count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(20), [&] { return m_count >= count; });
  }
  int count() {
    const std::lock_guard lock(m_mutex);
    return m_count;
  }

private:
  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_count = 0;
};

inline mtp::TimeLimits shortLimits() {
  using std::chrono::milliseconds;
  mtp::TimeLimits limits;
  limits.opening = limits.information = limits.object = limits.listing = milliseconds(150);
  limits.deletion = limits.settling = milliseconds(150);
  limits.stopping = milliseconds(20);
  limits.idle = milliseconds(100);
  limits.afterGarbage = limits.probe = limits.control = milliseconds(80);
  limits.quiet = milliseconds(10);
  return limits;
}

inline std::string narrow(const char16_t* text, std::size_t units) {
  std::string narrowed;
  for (std::size_t i = 0; i < units && text[i] != 0; ++i)
    narrowed += text[i] < 128 ? static_cast<char>(text[i]) : '?';
  return narrowed;
}
inline std::string nameOf(const _MTP_FOLDER_NODE* folder) {
  return narrow(folder->name, folder->nameSize);
}
inline std::string nameOf(const _MTP_FILE_NODE* file) {
  return narrow(file->name, file->nameSize);
}
inline std::string nameOf(const _MTP_STORAGE_NODE* storage) {
  return narrow(storage->name, storage->nameLength);
}

/// The engine alone in the process: no USB, nothing left of another test.
class Engine : public ::testing::Test {
protected:
  Engine() {
    mtp::shutdown();
    mtp::setUsbEnabled(false);
    mtp::setLog([this](mtp::LogLevel level, const std::string& line) {
      const std::lock_guard lock(m_logMutex);
      m_log += line + "\n";
      if (level != mtp::LogLevel::Debug)
        m_loudLog += line + "\n";
    });
    mtp::EngineState::instance().setTimeLimits(mtp::TimeLimits());
  }
  ~Engine() override {
    mtp::shutdown();
    mtp::setLog(nullptr);
  }

  std::string log() {
    const std::lock_guard lock(m_logMutex);
    return m_log;
  }
  std::string loudLog() {
    const std::lock_guard lock(m_logMutex);
    return m_loudLog;
  }

  static std::vector<_MTP_FOLDER_NODE*> foldersIn(_MTP_STORAGE_NODE* storage, _MTP_FOLDER_NODE* parent = nullptr) {
    std::vector<_MTP_FOLDER_NODE*> folders;
    _MTP_FOLDER_NODE* folder = nullptr;
    uint32_t status = mtpDextGetFolderListHead(storage, parent, &folder, nullptr, nullptr);
    for (; status == 0 && folder; status = mtpDextGetNextSiblingFolderNode(folder, &folder))
      folders.push_back(folder);
    EXPECT_TRUE(status == 2) << std::hex << status;
    return folders;
  }
  template <typename Parent> static std::vector<_MTP_FILE_NODE*> filesIn(Parent* parent) {
    std::vector<_MTP_FILE_NODE*> files;
    _MTP_FILE_NODE* file = nullptr;
    uint32_t status = mtpDextGetFileListHead(&parent->common, &file, nullptr, nullptr);
    for (; status == 0 && file; status = mtpDextGetNextFileNode(file, &file))
      files.push_back(file);
    EXPECT_TRUE(status == 2) << std::hex << status;
    return files;
  }
  template <typename Node>
  static std::vector<std::string> namesOf(const std::vector<Node*>& nodes, bool sorted = true) {
    std::vector<std::string> names;
    for (const Node* node : nodes)
      names.push_back(nameOf(node));
    if (sorted)
      std::sort(names.begin(), names.end());
    return names;
  }
  template <typename Node> static Node* named(const std::vector<Node*>& nodes, const std::string& name) {
    for (Node* node : nodes) {
      if (nameOf(node) == name)
        return node;
    }
    ADD_FAILURE() << "no " << name;
    return nullptr;
  }
  static uint32_t kindOf(const void* node, int32_t* kind = nullptr) {
    int32_t ignored = 0;
    return mtpDextGetNodeKind(node, kind ? kind : &ignored);
  }

private:
  std::mutex m_logMutex;
  std::string m_log;
  std::string m_loudLog;
};

/// The engine with one virtual phone of one storage, "Phone".
class EngineWithPhone : public Engine {
protected:
  void start(vphone::Manners manners = {}) {
    vphone::Options options;
    options.storages.push_back({.folder = storage.path(), .description = "Phone"});
    options.manners = std::move(manners);
    start(std::move(options));
  }
  void start(vphone::Options options) {
    phone = std::make_unique<vphone::VirtualPhone>(std::move(options));
    phone->plug();
    mtp::addProvider(phone->provider());
  }
  _MTP_DEVICE_NODE* device() {
    _MTP_DEVICE_NODE* head = nullptr;
    EXPECT_EQ(mtpDextGetConnectedDeviceListHead(&head), 0u) << log();
    return head;
  }
  _MTP_STORAGE_NODE* firstStorage() {
    _MTP_STORAGE_NODE* head = nullptr;
    EXPECT_EQ(mtpDextGetStorageListHead(device(), &head), 0u) << log();
    return head;
  }
  ~EngineWithPhone() override {
    mtp::shutdown(); // before the phone goes
  }

  /// From now on `told` counts the events that reach the callback; stopListening() before the test ends.
  void startListening() {
    EXPECT_EQ(mtpDextRequestEventNotifyEx(
                  device(),
                  [](int32_t, uint64_t, uint64_t, void* context) {
                    static_cast<Signal*>(context)->raise();
                    return uint32_t{0};
                  },
                  &told),
              0u);
  }
  void stopListening() { EXPECT_EQ(mtpDextRequestEventNotifyEx(device(), nullptr, nullptr), 0u); }
  /// Waits until the engine has handled what the phone has reported so far: until it tells of a new folder in the
  /// listed folder `elsewhere`, which comes last. How many other events reached the callback meanwhile; -1: it never
  /// told.
  int newsUntilNow(const std::string& elsewhere) {
    const int before = told.count();
    storage.folder(elsewhere + "/last" + std::to_string(++m_lasts));
    return told.waitFor(before + 1) ? told.count() - before - 1 : -1;
  }

  Signal told;
  TemporaryFolder storage;
  std::unique_ptr<vphone::VirtualPhone> phone;

private:
  int m_lasts = 0;
};

} // namespace testsupport
