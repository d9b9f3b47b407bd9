#pragma once
// Disks and mounts that are what a test says they are, errors included. Any thread.
#include "Platform/ThreadSafety.h"
#include "Platform/Volumes.h"

#include <algorithm>
#include <functional>
#include <map>
#include <sys/eventfd.h>
#include <unistd.h>

namespace scripted {

class Volumes : public platform::Volumes {
public:
  Volumes()
      : m_fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  ~Volumes() override { ::close(m_fd); }

  static platform::Disk disk(const char* bsdName) {
    return {bsdName, QStringLiteral("/sys/block/") + QLatin1String(bsdName)};
  }
  /// A disk comes; `mounted` at once where its description has a volume path.
  void insert(const platform::Disk& disk, const platform::DiskDescription& description) {
    const platform::Lock lock(m_mutex);
    m_disks.push_back(disk);
    m_descriptions[disk.entryId] = description;
    tell({platform::DiskChange::Kind::Present, disk});
  }
  void remove(const platform::Disk& disk) {
    const platform::Lock lock(m_mutex);
    std::erase_if(m_disks, [&](const auto& other) { return other.entryId == disk.entryId; });
    m_descriptions.erase(disk.entryId);
    tell({platform::DiskChange::Kind::Gone, disk});
  }
  /// Tells of a disk once more.
  void change(const platform::Disk& disk) {
    const platform::Lock lock(m_mutex);
    tell({platform::DiskChange::Kind::Present, disk});
  }
  void mount(const platform::MountedVolume& volume) {
    const platform::Lock lock(m_mutex);
    m_mounted.push_back(volume);
  }
  /// The changes not taken yet are lost.
  void loseChanges() {
    const platform::Lock lock(m_mutex);
    m_changes.clear();
    m_lost = true;
    ::eventfd_write(m_fd, 1);
  }
  void failWith(int listError, int monitorError, int mountError) {
    const platform::Lock lock(m_mutex);
    m_listError = listError;
    m_monitorError = monitorError;
    m_mountError = mountError;
  }
  /// Called as a monitor begins (true) and ends (false), on its thread. Set before there is one.
  void onMonitor(std::function<void(bool begins)> callback) { m_onMonitor = std::move(callback); }
  int monitors() const {
    const platform::Lock lock(m_mutex);
    return m_monitors;
  }

  int disks(std::vector<platform::Disk>& found) override {
    const platform::Lock lock(m_mutex);
    if (m_listError == 0)
      found.insert(found.end(), m_disks.begin(), m_disks.end());
    return m_listError;
  }
  std::unique_ptr<platform::DiskMonitor> monitor(int& error) override {
    const platform::Lock lock(m_mutex);
    error = m_monitorError;
    if (error == 0 && m_onMonitor)
      m_onMonitor(true);
    return error != 0 ? nullptr : std::make_unique<Monitor>(*this);
  }
  std::optional<platform::DiskDescription> description(const platform::Disk& disk) override {
    const platform::Lock lock(m_mutex);
    const auto found = m_descriptions.find(disk.entryId);
    return found == m_descriptions.end() ? std::nullopt : std::optional(found->second);
  }
  int mountedVolumes(std::vector<platform::MountedVolume>& mounted) override {
    const platform::Lock lock(m_mutex);
    mounted.insert(mounted.end(), m_mounted.begin(), m_mounted.end());
    return m_mountError;
  }

private:
  class Monitor : public platform::DiskMonitor {
  public:
    explicit Monitor(Volumes& volumes)
        : m_volumes(volumes) {
      ++m_volumes.m_monitors; // monitor() holds the lock
    }
    ~Monitor() override {
      const platform::Lock lock(m_volumes.m_mutex);
      --m_volumes.m_monitors;
      if (m_volumes.m_onMonitor)
        m_volumes.m_onMonitor(false);
    }
    int fd() const override { return m_volumes.m_fd; }
    std::vector<platform::DiskChange> take(bool& lost) override {
      const platform::Lock lock(m_volumes.m_mutex);
      eventfd_t count = 0;
      ::eventfd_read(m_volumes.m_fd, &count);
      lost |= std::exchange(m_volumes.m_lost, false);
      return std::exchange(m_volumes.m_changes, {});
    }

  private:
    Volumes& m_volumes;
  };

  void tell(platform::DiskChange change) MTPB_REQUIRES(m_mutex) {
    if (m_monitors == 0)
      return; // nobody watches
    m_changes.push_back(std::move(change));
    ::eventfd_write(m_fd, 1);
  }

  const int m_fd;
  mutable platform::Mutex m_mutex;
  int m_monitors = 0, m_listError = 0, m_monitorError = 0, m_mountError = 0; // all under m_mutex
  bool m_lost = false;
  std::function<void(bool begins)> m_onMonitor;
  std::vector<platform::Disk> m_disks;
  std::map<QString, platform::DiskDescription> m_descriptions;
  std::vector<platform::MountedVolume> m_mounted;
  std::vector<platform::DiskChange> m_changes;
};

} // namespace scripted
