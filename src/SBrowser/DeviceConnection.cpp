#include "SBrowser/DeviceConnection.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"

namespace {

/// The phone may just have been attached and tell its storages only after a moment.
std::optional<QList<MtpStorageInfo>> askForStorages(DeviceSession& session, const DeviceConnection::Sleeper& sleep) {
  std::optional<QList<MtpStorageInfo>> storages;
  for (int attempt = 0; attempt < DeviceConnection::kAttempts && !storages && !session.ended; ++attempt) {
    storages = session.mtp->storageInfoLists();
    sleep(DeviceConnection::kPause);
  }
  return storages;
}

} // namespace

DeviceConnection::DeviceConnection(std::shared_ptr<DeviceQueue> queue, AccessObjectFactory createAccessObject,
                                   Sleeper sleep)
    : m_queue(std::move(queue))
    , m_createAccessObject(std::move(createAccessObject))
    , m_sleep(std::move(sleep)) {}

DeviceConnection::~DeviceConnection() {
  cancel();
}

void DeviceConnection::connectDevice(const QString& locationID, Connected connected) {
  platform::assertMainThread();
  cancel();
  m_attempt = std::make_shared<DeviceSession>(m_createAccessObject(), locationID);
  const auto finish = [this, alive = std::weak_ptr<char>(m_alive), connected](ConnectedDevice device) {
    if (alive.expired() || m_attempt != device.session)
      return; // given up meanwhile
    m_attempt.reset();
    connected(std::move(device));
  };
  m_queue->perform("mtp-connect", m_attempt, [attempt = m_attempt, sleep = m_sleep, finish](DeviceSession& session) {
    session.bind();
    std::optional<QList<MtpStorageInfo>> storages = askForStorages(session, sleep);
    if (session.ended)
      return;
    if (!storages) {
      MTPB_LOG("Get list storage fail!!!");
      return;
    }
    ConnectedDevice device{attempt, session.mtp->getMTPFriendlyName().value_or(QString()), std::move(*storages)};
    platform::runOnMainAndWait([&] { finish(std::move(device)); });
  });
}

void DeviceConnection::cancel() {
  platform::assertMainThread();
  if (m_attempt)
    m_attempt->end();
  m_attempt.reset();
}
