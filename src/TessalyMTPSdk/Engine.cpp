#include "TessalyMTPSdk/Engine.h"

#include "TessalyMTPSdk/Counting.h"
#include "TessalyMTPSdk/EngineState.h"
#include "TessalyMTPSdk/Logging.h"
#include "TessalyMTPSdk/UsbProvider.h"

#include <algorithm>
#include <utility>

namespace mtp {

namespace {

std::atomic<std::uint64_t> transactions = 0; // written by all transacting threads, read by counters()

} // namespace

void countTransaction() {
  transactions.fetch_add(1, std::memory_order_relaxed);
}

EngineState& EngineState::instance() {
  static EngineState& engine = *new EngineState;
  return engine;
}

EngineState::EngineState()
    : m_events([](Device& device, const EventContainer* event) { return device.handleEvent(event); }) {}

EngineState::Access::Access(EngineState& engine)
    : m_engine(engine)
    , m_lock(engine.m_registry.mutex) {
  m_gone = engine.takeOut([](const Attached& attached) { return attached.device->isGone(); });
}

EngineState::Access::~Access() {
  if (m_lock.owns_lock())
    m_lock.unlock();
}

Node* EngineState::Access::find(const void* address, std::initializer_list<std::int32_t> kinds) const {
  Node* node = m_engine.m_registry.find(address);
  if (!node || std::ranges::find(kinds, node->kind) == kinds.end())
    return nullptr;
  return node->listing ? &node->listing->device->store().current(*node) : node;
}

std::shared_ptr<Device> EngineState::Access::device(const void* address) const {
  const auto found = std::ranges::find_if(m_engine.m_devices, [&](const Attached& attached) {
    return static_cast<const void*>(attached.device->node()) == address;
  });
  return found != m_engine.m_devices.end() ? found->device : nullptr;
}

std::shared_ptr<Device> EngineState::Access::deviceAfter(const Device& device) const {
  auto found = std::ranges::find_if(m_engine.m_devices,
                                    [&](const Attached& attached) { return attached.device.get() == &device; });
  if (found == m_engine.m_devices.end() || ++found == m_engine.m_devices.end())
    return nullptr;
  return found->device;
}

Status EngineState::connect(std::shared_ptr<Device>& first) {
  start();
  const std::lock_guard connecting(m_connecting);
  // A phone that stopped answering may answer a new session.
  closeDevices([](const Attached& attached) { return attached.device->isGone() || attached.device->isDead(); });
  bool failed = false;
  const std::vector<Source> sources = candidates();
  forgetProblems(sources);
  for (const Source& source : sources) {
    if (!isOpen(source) && !open(source))
      failed = true;
  }
  const Access access(*this);
  if (!m_devices.empty()) {
    first = m_devices.front().device;
    return DGSTATUS_SUCCESS;
  }
  return failed ? DGSTATUS_DEVICE_OPEN_FAILED : DGSTATUS_NO_DEVICE_ATTACHED;
}

std::vector<EngineState::Source> EngineState::candidates() {
  std::vector<std::shared_ptr<DeviceProvider>> providers;
  {
    const std::lock_guard lock(m_settings);
    if (m_usbEnabled && !m_usb)
      m_usb = makeUsbProvider();
    if (m_usbEnabled)
      providers.push_back(m_usb);
    providers.insert(providers.end(), m_providers.begin(), m_providers.end());
  }
  std::vector<Source> sources;
  for (const auto& provider : providers) {
    for (DeviceCandidate& candidate : provider->list())
      sources.push_back({provider, std::move(candidate)});
  }
  return sources;
}

bool EngineState::isOpen(const Source& source) {
  const Access access(*this);
  return std::ranges::any_of(m_devices, [&](const Attached& attached) {
    return attached.provider == source.provider && attached.device->attachment() == source.candidate.attachment &&
           attached.device->locationId() == source.candidate.locationId;
  });
}

void EngineState::forgetProblems(const std::vector<Source>& sources) {
  const std::lock_guard lock(m_settings);
  std::erase_if(m_problems, [&](const auto& problem) {
    return std::ranges::none_of(sources,
                                [&](const Source& source) { return source.candidate.locationId == problem.first; });
  });
}

/// Keeps it until it changes; the log tells it when it is new, as phones are looked for again and again.
void EngineState::noteProblem(const Source& source, OpenProblem problem) {
  const std::uint32_t location = source.candidate.locationId;
  const std::string& phone = source.candidate.description;
  const std::string line = (phone.empty() ? "the phone" : phone) + ": " + problem.explanation;
  bool isNew = false;
  {
    const std::lock_guard lock(m_settings);
    OpenProblem& known = m_problems[location];
    isNew = known.failure != problem.failure || known.explanation != problem.explanation;
    known = std::move(problem);
  }
  log(isNew ? LogLevel::Warning : LogLevel::Debug, "%s", line.c_str());
}

OpenProblem EngineState::problemAt(std::uint32_t locationId) {
  const std::lock_guard lock(m_settings);
  const auto found = m_problems.find(locationId);
  return found != m_problems.end() ? found->second : OpenProblem{};
}

std::vector<std::string> EngineState::describePhones() {
  std::vector<std::string> descriptions;
  const Access access(*this);
  for (const Attached& attached : m_devices)
    descriptions.push_back(attached.device->description());
  return descriptions;
}

/// False: it cannot be opened now; the next call tries again.
bool EngineState::open(const Source& source) {
  TimeLimits limits;
  {
    const std::lock_guard lock(m_settings);
    limits = m_limits;
  }
  if (isLetAlone(source, limits))
    return false;
  Node* node = nullptr;
  {
    const std::lock_guard lock(m_registry.mutex);
    m_deviceRecords.reserve(m_deviceRecords.size() + 1);
    m_devices.reserve(m_devices.size() + 1);
    node = m_registry.create(m_deviceNodes, MTPDEXT_NODE_DEVICE, 0, nullptr);
    node->common.locationId = source.candidate.locationId;
  }
  const auto begun = limits.now();
  std::shared_ptr<Device> device;
  OpenProblem problem;
  try {
    device = Device::open(
        source.candidate, m_registry, m_events, limits, node,
        [&](const std::shared_ptr<Device>& starting) {
          const std::lock_guard lock(m_settings);
          if (!isListed(source.provider))
            return false;
          m_opening = {starting, source.provider};
          return true;
        },
        problem);
  } catch (const std::exception& error) {
    problem = {OpenFailure::Other, {}, std::string("opening it failed: ") + error.what()};
  }
  if (!device)
    noteProblem(source, std::move(problem));
  const auto took = limits.now() - begun;
  Attached opened; // these two are let go after the locks
  std::shared_ptr<Device> unwanted;
  const std::lock_guard settings(m_settings);
  const std::lock_guard lock(m_registry.mutex);
  opened = std::exchange(m_opening, {});
  if (!device && took > limits.longOpening)
    m_unresponsive.push_back(
        {source.provider, source.candidate.attachment, source.candidate.locationId, limits.now() + took});
  // The provider may have been taken away meanwhile, and its phones with it.
  if (!isListed(source.provider))
    unwanted = std::move(device);
  if (!device) {
    m_registry.retire(node);
    return false;
  }
  m_problems.erase(source.candidate.locationId);
  m_deviceRecords.push_back(node);
  m_devices.push_back({std::move(device), source.provider});
  return true;
}

/// Wants m_settings.
bool EngineState::isListed(const std::shared_ptr<DeviceProvider>& provider) const {
  return provider == m_usb || std::ranges::find(m_providers, provider) != m_providers.end();
}

/// A list of phones is asked for several times in a row; a phone that hangs must not cost its time limits each time.
/// Wants m_connecting.
bool EngineState::isLetAlone(const Source& source, const TimeLimits& limits) {
  std::erase_if(m_unresponsive, [now = limits.now()](const Unresponsive& phone) { return phone.until <= now; });
  return std::ranges::any_of(m_unresponsive, [&](const Unresponsive& phone) {
    return phone.provider.lock() == source.provider && phone.attachment == source.candidate.attachment &&
           phone.locationId == source.candidate.locationId;
  });
}

/// Takes phones off the list and retires what is known of them. Their own records stay known, as gone. Wants
/// NodeRegistry::mutex; what is returned must be let go without it.
std::vector<std::shared_ptr<Device>> EngineState::takeOut(const std::function<bool(const Attached&)>& which) {
  std::vector<std::shared_ptr<Device>> out;
  for (auto attached = m_devices.begin(); attached != m_devices.end();) {
    if (!which(*attached)) {
      ++attached;
      continue;
    }
    out.push_back(attached->device);
    attached->device->store().close();
    attached = m_devices.erase(attached);
  }
  return out;
}

void EngineState::closeDevices(const std::function<bool(const Attached&)>& which) {
  std::vector<std::shared_ptr<Device>> out;
  {
    const std::lock_guard lock(m_registry.mutex);
    out = takeOut(which);
  }
  for (const auto& device : out)
    device->close();
}

void EngineState::addProvider(std::shared_ptr<DeviceProvider> provider) {
  const std::lock_guard lock(m_settings);
  if (provider && std::ranges::find(m_providers, provider) == m_providers.end())
    m_providers.push_back(std::move(provider));
}

void EngineState::removeProvider(const std::shared_ptr<DeviceProvider>& provider) {
  std::shared_ptr<Device> opening;
  {
    const std::lock_guard lock(m_settings);
    std::erase(m_providers, provider);
    if (m_opening.provider == provider)
      opening = m_opening.device;
  }
  if (opening)
    opening->close();
  closeDevices([&](const Attached& attached) { return attached.provider == provider; });
}

void EngineState::setUsbEnabled(bool enabled) {
  const std::lock_guard lock(m_settings);
  m_usbEnabled = enabled;
}

void EngineState::setTimeLimits(const TimeLimits& limits) {
  const std::lock_guard lock(m_settings);
  m_limits = limits;
}

void EngineState::shutdown() {
  std::shared_ptr<Device> opening;
  {
    const std::lock_guard lock(m_settings);
    m_providers.clear();
    m_usb = nullptr;
    m_usbEnabled = false;
    m_problems.clear();
    opening = m_opening.device;
  }
  if (opening)
    opening->close();
  opening = nullptr;
  const auto all = [](const Attached&) { return true; };
  closeDevices(all);
  {
    const std::lock_guard connecting(m_connecting); // a phone just being opened
    closeDevices(all);
    m_unresponsive.clear();
  }
  m_events.stop();
  const std::lock_guard lock(m_registry.mutex);
  for (Node* node : m_deviceRecords)
    m_registry.retire(node);
  m_deviceRecords.clear();
  m_registry.close(m_deviceNodes);
}

void addProvider(std::shared_ptr<DeviceProvider> provider) {
  EngineState::instance().addProvider(std::move(provider));
}

void removeProvider(const std::shared_ptr<DeviceProvider>& provider) {
  EngineState::instance().removeProvider(provider);
}

void setUsbEnabled(bool enabled) {
  EngineState::instance().setUsbEnabled(enabled);
}

Counters counters() {
  return {transactions.load(std::memory_order_relaxed)};
}

std::vector<std::string> describePhones() {
  return EngineState::instance().describePhones();
}

void shutdown() {
  EngineState::instance().shutdown();
}

} // namespace mtp
