#pragma once
// The one engine of the process: providers, open phones, records. The C interface stands on it.
#include "TessalyMTPSdk/Device.h"
#include "TessalyMTPSdk/Engine.h"

#include <chrono>
#include <functional>
#include <initializer_list>
#include <map>
#include <vector>

namespace mtp {

class EngineState {
public:
  /// Never destroyed: callers' threads may outlive main().
  static EngineState& instance();

  NodeRegistry& registry() { return m_registry; }
  EventThread& events() { return m_events; }

  /// Holds NodeRegistry::mutex. Phones that were unplugged are taken out first, so that under it every known record
  /// belongs to an attached phone.
  class Access {
  public:
    explicit Access(EngineState& engine);
    ~Access();
    std::unique_lock<std::mutex>& lock() { return m_lock; }
    /// The record that stands for the object whose record, perhaps one of a former name, is at this address, when it is
    /// of one of the kinds; null otherwise.
    Node* find(const void* address, std::initializer_list<std::int32_t> kinds) const;
    /// The attached phone with this record; null when it is gone or the record is none.
    std::shared_ptr<Device> device(const void* address) const;
    /// The attached phone after this one.
    std::shared_ptr<Device> deviceAfter(const Device& device) const;

  private:
    EngineState& m_engine;
    std::vector<std::shared_ptr<Device>> m_gone; // destroyed after the lock is given back
    std::unique_lock<std::mutex> m_lock;
  };

  void start() { m_events.start(); }
  /// Looks for phones and opens those not open yet. Blocks. 0, or why there is none.
  Status connect(std::shared_ptr<Device>& first);
  /// Why the phone at this location could not be opened when phones were last looked for; OpenFailure::None when it
  /// could, or there is none.
  OpenProblem problemAt(std::uint32_t locationId);
  /// The open phones, for the log.
  std::vector<std::string> describePhones();

  void addProvider(std::shared_ptr<DeviceProvider> provider);
  void removeProvider(const std::shared_ptr<DeviceProvider>& provider);
  void setUsbEnabled(bool enabled);
  void setTimeLimits(const TimeLimits& limits); // of phones opened from now on
  void shutdown();

private:
  EngineState();

  struct Attached {
    std::shared_ptr<Device> device;
    std::shared_ptr<DeviceProvider> provider;
  };
  struct Source {
    std::shared_ptr<DeviceProvider> provider;
    DeviceCandidate candidate;
  };

  /// A phone whose opening took long and failed: not tried again before that time.
  struct Unresponsive {
    std::weak_ptr<DeviceProvider> provider;
    std::uint64_t attachment = 0;
    std::uint32_t locationId = 0;
    std::chrono::steady_clock::time_point until;
  };

  std::vector<Source> candidates();
  void forgetProblems(const std::vector<Source>& sources);
  void noteProblem(const Source& source, OpenProblem problem);
  bool isOpen(const Source& source);
  bool open(const Source& source);
  bool isListed(const std::shared_ptr<DeviceProvider>& provider) const;
  bool isLetAlone(const Source& source, const TimeLimits& limits);
  std::vector<std::shared_ptr<Device>> takeOut(const std::function<bool(const Attached&)>& which);
  void closeDevices(const std::function<bool(const Attached&)>& which);

  NodeRegistry m_registry;
  NodeRegistry::Arena m_deviceNodes;  // guarded by NodeRegistry::mutex
  std::vector<Node*> m_deviceRecords; // likewise; of all phones ever opened
  std::vector<Attached> m_devices;    // likewise; of the attached ones
  std::mutex m_connecting;            // one thread at a time looks for phones; guards m_unresponsive
  std::vector<Unresponsive> m_unresponsive;
  std::mutex m_settings; // guards all below; taken after m_connecting, before NodeRegistry::mutex
  Attached m_opening;    // the phone just being opened
  std::vector<std::shared_ptr<DeviceProvider>> m_providers;
  std::shared_ptr<DeviceProvider> m_usb;           // made when first needed
  std::map<std::uint32_t, OpenProblem> m_problems; // by location; of phones that are there and not open
  bool m_usbEnabled = true;
  TimeLimits m_limits;
  EventThread m_events;
};

} // namespace mtp
