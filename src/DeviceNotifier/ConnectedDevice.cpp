#include "DeviceNotifier/ConnectedDevice.h"

#include "Platform/Log.h"

#include <algorithm>

namespace detection {

_connected_device* DeviceQueue::append(std::unique_ptr<_connected_device> record) {
  const platform::Lock lock(m_mutex);
  m_records.push_back(std::move(record));
  return m_records.back().get();
}

std::unique_ptr<_connected_device> DeviceQueue::remove(const _connected_device* record) {
  return takeFirst([record](const _connected_device& other) { return &other == record; });
}

std::unique_ptr<_connected_device> DeviceQueue::takeFirst(const std::function<bool(const _connected_device&)>& wanted) {
  const platform::Lock lock(m_mutex);
  const auto found =
      std::find_if(m_records.begin(), m_records.end(), [&wanted](const auto& record) { return wanted(*record); });
  if (found == m_records.end())
    return nullptr;
  auto taken = std::move(*found);
  m_records.erase(found);
  return taken;
}

void DeviceQueue::find(const std::function<bool(_connected_device&)>& visit) {
  const platform::Lock lock(m_mutex);
  for (const auto& record : m_records)
    if (visit(*record))
      return;
}

std::size_t DeviceQueue::size() const {
  const platform::Lock lock(m_mutex);
  return m_records.size();
}

void ConnectedDeviceFree(std::unique_ptr<_connected_device> pConnectedDevice) {
  MTPB_LOG("ENTER");
  if (pConnectedDevice == nullptr) {
    MTPB_LOG("pConnectedDevice is NULL.");
    return;
  }
  if (pConnectedDevice->deviceInterface) {
    pConnectedDevice->deviceInterface.reset();
    MTPB_LOG("(*pConnectedDevice->deviceInterface)->Release( pConnectedDevice->deviceInterface )");
  }
  if (pConnectedDevice->notification) {
    pConnectedDevice->notification.reset();
    MTPB_LOG("IOObjectRelease( pConnectedDevice->notification ) result= %d", 0);
  }
  pConnectedDevice.reset();
  MTPB_LOG("EXIT");
}

} // namespace detection
