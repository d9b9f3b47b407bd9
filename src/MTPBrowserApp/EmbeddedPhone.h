#pragma once
// The virtual phone that lives in the program, for looking around without a phone.
#include "Platform/VirtualDeviceRegistry.h"

#include <QString>

#include <memory>

namespace vphone {
class VirtualPhone;
}
namespace mtp {
class DeviceProvider;
}

/// When the embedded phone is attached.
enum class EmbeddedPhoneMode {
  Never,
  Auto,  ///< when no phone is attached at the program's start
  Always ///< at the program's start, attached phones or not
};

/// The mode chosen by the environment variable MTPBROWSER_VIRTUAL_PHONE or, where it is unset, the user default
/// "VirtualPhone": "never", "auto", "always" (case ignored); anything else, with a log line, and nothing at all: Never.
EmbeddedPhoneMode embeddedPhoneMode();

/// The folder the phone's files live in: MTPBROWSER_VIRTUAL_PHONE_FOLDER, else in the user's data folder.
QString embeddedPhoneFolder();

/// A virtual phone with the sample tree, known to the engine and to the registry the detector watches. Main thread.
class EmbeddedPhone {
public:
  /// USB identity the phone shows to the detector.
  struct Identity {
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
  };

  /// `registry` must outlive it.
  EmbeddedPhone(platform::VirtualDeviceRegistry& registry, Identity identity);
  /// Pulls the cable; waits for the phone's threads.
  ~EmbeddedPhone();
  EmbeddedPhone(const EmbeddedPhone&) = delete;
  EmbeddedPhone& operator=(const EmbeddedPhone&) = delete;

  /// Attaches it, its files made in `folder` if they are not there yet. False, with a log line, when they cannot be.
  bool attach(const QString& folder);
  void detach();
  bool attached() const { return m_phone != nullptr; }

private:
  platform::VirtualDeviceRegistry& m_registry;
  Identity m_identity;
  std::unique_ptr<vphone::VirtualPhone> m_phone;
  std::shared_ptr<mtp::DeviceProvider> m_provider;
};
