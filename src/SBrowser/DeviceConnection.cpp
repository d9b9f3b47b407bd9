#include "SBrowser/DeviceConnection.h"

#include "Platform/Log.h"
#include "Platform/MainThread.h"

namespace {

/// The phone may just have been attached and tell its storages only after a moment.
std::optional<QList<MtpStorageInfo>> askForStorages(DeviceSession& session, int attempts,
                                                    const DeviceConnection::Sleeper& sleep) {
  std::optional<QList<MtpStorageInfo>> storages;
  for (int attempt = 0; attempt < attempts && !storages && !session.ended; ++attempt) {
    storages = session._mtpSDKWrapper->storageInfoLists();
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

void DeviceConnection::connectDevice(const QString& locationID, int attempts, Connected connected, Failed failed) {
  platform::assertMainThread();
  cancel();
  m_attempt = std::make_shared<DeviceSession>(m_createAccessObject(), locationID);
  const bool begun = m_queue->perform(
      "mtp-connect", m_attempt,
      [attempt = m_attempt, attempts, sleep = m_sleep, finish = finisher(), connected = std::move(connected),
       failed](DeviceSession& session) {
        session.bind();
        std::optional<QList<MtpStorageInfo>> storages = askForStorages(session, attempts, sleep);
        if (session.ended)
          return;
        if (!storages) {
          MTPB_LOG("Get list storage fail!!!");
          const ConnectCondition condition = session._mtpSDKWrapper->connectCondition();
          finish(attempt, [&] { failed(condition); });
          return;
        }
        ConnectedDevice device{attempt, session._mtpSDKWrapper->getMTPFriendlyName().value_or(QString()),
                               std::move(*storages)};
        finish(attempt, [&] { connected(std::move(device)); });
      });
  if (begun)
    return;
  m_attempt.reset(); // no thread was to be had
  failed({ConnectCondition::Kind::NotAnswering, {}});
}

std::function<void(const std::shared_ptr<DeviceSession>& attempt, const std::function<void()>& report)>
DeviceConnection::finisher() {
  return [this, alive = std::weak_ptr<char>(m_alive)](const std::shared_ptr<DeviceSession>& attempt,
                                                      const std::function<void()>& report) {
    platform::runOnMainAndWait([&] {
      if (alive.expired() || m_attempt != attempt)
        return; // given up meanwhile
      m_attempt.reset();
      report();
    });
  };
}

void DeviceConnection::cancel() {
  platform::assertMainThread();
  if (m_attempt)
    m_attempt->end();
  m_attempt.reset();
}
