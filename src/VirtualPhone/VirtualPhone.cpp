#include "VirtualPhone/VirtualPhone.h"

#include "VirtualPhone/Attachment.h"

#include <algorithm>
#include <cstdio>

namespace vphone {

struct VirtualPhone::Shared {
  std::shared_ptr<Service> service = std::make_shared<Service>();

  mutable std::mutex mutex; // guards all below
  Options options;
  bool locked = false;
  std::uint64_t attachments = 0;
  std::shared_ptr<Attachment> attachment; // also after a fault has unplugged it

  std::shared_ptr<Attachment> plugged() const {
    std::lock_guard lock(mutex);
    return attachment && !attachment->gone() ? attachment : nullptr;
  }

  /// The storage's ID, found for it when it has none. 0 when it is taken.
  std::uint32_t identify(StorageOptions& storage) {
    auto taken = [this](std::uint32_t id) {
      return std::any_of(options.storages.begin(), options.storages.end(),
                         [id](const StorageOptions& s) { return s.storageId == id; });
    };
    if (storage.storageId)
      return taken(storage.storageId) ? 0 : storage.storageId;
    storage.storageId = 0x00010001;
    while (taken(storage.storageId))
      storage.storageId += 0x00010000;
    return storage.storageId;
  }
};

namespace {

/// Lists the phone while it is there and plugged.
class PhoneProvider final : public mtp::DeviceProvider {
public:
  using List = std::function<std::vector<mtp::DeviceCandidate>()>;
  explicit PhoneProvider(List list)
      : list_(std::move(list)) {}
  std::vector<mtp::DeviceCandidate> list() override { return list_(); }

private:
  List list_;
};

} // namespace

VirtualPhone::VirtualPhone(Options options)
    : shared_(std::make_shared<Shared>()) {
  auto storages = std::exchange(options.storages, {});
  shared_->options = std::move(options);
  for (auto& storage : storages) {
    if (shared_->identify(storage))
      shared_->options.storages.push_back(std::move(storage));
  }
}

VirtualPhone::~VirtualPhone() {
  unplug();
}

void VirtualPhone::plug() {
  std::shared_ptr<Attachment> old;
  std::lock_guard lock(shared_->mutex);
  if (shared_->attachment && !shared_->attachment->gone())
    return;
  old = std::exchange(shared_->attachment,
                      std::make_shared<Attachment>(shared_->options, shared_->locked, shared_->service));
  ++shared_->attachments;
}

void VirtualPhone::unplug() {
  std::shared_ptr<Attachment> old;
  {
    std::lock_guard lock(shared_->mutex);
    old = std::exchange(shared_->attachment, nullptr);
  }
  if (old)
    old->unplug();
}

bool VirtualPhone::plugged() const {
  return shared_->plugged() != nullptr;
}

std::shared_ptr<mtp::DeviceProvider> VirtualPhone::provider() {
  return std::make_shared<PhoneProvider>([weak = std::weak_ptr(shared_)]() -> std::vector<mtp::DeviceCandidate> {
    auto shared = weak.lock();
    auto attachment = shared ? shared->plugged() : nullptr;
    if (!attachment)
      return {};
    std::lock_guard lock(shared->mutex);
    const auto& options = shared->options;
    mtp::DeviceCandidate candidate;
    candidate.locationId = options.locationId;
    candidate.attachment = shared->attachments;
    candidate.vendorId = options.vendorId;
    candidate.productId = options.productId;
    candidate.description = options.manufacturer + " " + options.model + " (virtual)";
    candidate.open = [weak = std::weak_ptr(attachment)]() -> mtp::OpenResult {
      auto opening = weak.lock();
      return opening ? opening->open()
                     : mtp::OpenResult{nullptr, mtp::OpenFailure::Gone, "the virtual phone has been unplugged"};
    };
    return {candidate};
  });
}

bool VirtualPhone::serve(mtp::DeviceEnd& end) {
  auto attachment = shared_->plugged();
  return attachment && attachment->serve(end);
}

std::uint32_t VirtualPhone::addStorage(const StorageOptions& storage) {
  auto added = storage;
  std::error_code error;
  std::lock_guard lock(shared_->mutex);
  if (!std::filesystem::is_directory(added.folder, error) || !shared_->identify(added))
    return 0;
  shared_->options.storages.push_back(added);
  if (shared_->attachment) {
    auto& phone = shared_->attachment->phone();
    {
      std::lock_guard tree(phone.mutex);
      phone.tree.addStorage(added);
    }
    shared_->attachment->announce();
  }
  return added.storageId;
}

bool VirtualPhone::removeStorage(std::uint32_t storageId) {
  std::lock_guard lock(shared_->mutex);
  if (!std::erase_if(shared_->options.storages, [=](const StorageOptions& s) { return s.storageId == storageId; }))
    return false;
  if (shared_->attachment) {
    auto& phone = shared_->attachment->phone();
    {
      std::lock_guard tree(phone.mutex);
      phone.tree.removeStorage(storageId);
    }
    shared_->attachment->announce();
  }
  return true;
}

void VirtualPhone::setLocked(bool locked) {
  std::lock_guard lock(shared_->mutex);
  shared_->locked = locked;
  if (shared_->attachment) {
    auto& phone = shared_->attachment->phone();
    {
      std::lock_guard tree(phone.mutex);
      phone.tree.setLocked(locked);
    }
    shared_->attachment->announce();
  }
}

void VirtualPhone::setManners(const Manners& manners) {
  std::lock_guard lock(shared_->mutex);
  shared_->options.manners = manners;
  if (shared_->attachment) {
    std::lock_guard phone(shared_->attachment->phone().mutex);
    shared_->attachment->phone().manners = manners;
  }
}

Faults& VirtualPhone::faults() {
  return shared_->service->faults;
}

Statistics VirtualPhone::statistics() const {
  std::lock_guard lock(shared_->service->statisticsMutex);
  return shared_->service->statistics;
}

} // namespace vphone
