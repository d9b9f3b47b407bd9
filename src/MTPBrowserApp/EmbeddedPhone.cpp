#include "MTPBrowserApp/EmbeddedPhone.h"

#include "MTPBrowserApp/SampleTree.h"
#include "Platform/Log.h"
#include "Platform/MainThread.h"
#include "Platform/UserDefaults.h"
#include "TessalyMTPSdk/Engine.h"
#include "VirtualPhone/VirtualPhone.h"

#include <QStandardPaths>

namespace {

// No bus of a real computer has this number, so no real phone is ever at this place.
constexpr std::uint32_t location = 0xFE100000;

} // namespace

EmbeddedPhoneMode embeddedPhoneMode() {
  QString text = qEnvironmentVariable("MTPBROWSER_VIRTUAL_PHONE").trimmed().toLower();
  if (text.isEmpty())
    text = platform::userDefaults::stringForKey(QStringLiteral("VirtualPhone")).trimmed().toLower();
  if (text == u"auto")
    return EmbeddedPhoneMode::Auto;
  if (text == u"always")
    return EmbeddedPhoneMode::Always;
  if (!text.isEmpty() && text != u"never")
    MTPB_LOG("the virtual phone's mode is never, auto or always, not %s", qUtf8Printable(text));
  return EmbeddedPhoneMode::Never;
}

QString embeddedPhoneFolder() {
  const QString chosen = qEnvironmentVariable("MTPBROWSER_VIRTUAL_PHONE_FOLDER");
  return !chosen.isEmpty() ? chosen
                           : QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                                 QStringLiteral("/MTPBrowser/VirtualPhone");
}

EmbeddedPhone::EmbeddedPhone(platform::VirtualDeviceRegistry& registry, Identity identity)
    : m_registry(registry)
    , m_identity(identity) {}

EmbeddedPhone::~EmbeddedPhone() {
  detach();
}

bool EmbeddedPhone::attach(const QString& folder) {
  platform::assertMainThread();
  if (m_phone)
    return true;
  const SampleTree tree = ensureSampleTree(folder);
  if (tree.phoneFolder.isEmpty())
    return false;
  vphone::Options options;
  options.model = "TESSALY-VP-1";
  options.friendlyName = "Virtual Phone";
  options.serial = "VP00000001";
  options.locationId = location;
  options.vendorId = m_identity.vendorId;
  options.productId = m_identity.productId;
  const auto storage = [](const QString& path, const char* name, std::uint32_t id, bool removable) {
    vphone::StorageOptions result;
    result.folder = path.toStdString();
    result.description = name;
    result.storageId = id;
    result.removable = removable;
    return result;
  };
  options.storages = {storage(tree.phoneFolder, "Phone", 0x00010001, false),
                      storage(tree.cardFolder, "Card", 0x00020001, true)};
  m_phone = std::make_unique<vphone::VirtualPhone>(std::move(options));
  m_provider = m_phone->provider();
  mtp::addProvider(m_provider);
  m_phone->plug();
  platform::VirtualUsbDevice device;
  device.locationId = location;
  device.vendorId = m_identity.vendorId;
  device.productId = m_identity.productId;
  device.product = QStringLiteral("TESSALY-VP-1");
  device.serialNumber = QStringLiteral("VP00000001");
  m_registry.attach(device);
  return true;
}

void EmbeddedPhone::detach() {
  if (!m_phone)
    return;
  m_registry.detach(location);
  m_phone->unplug();
  mtp::removeProvider(m_provider);
  m_provider.reset();
  m_phone.reset();
}
