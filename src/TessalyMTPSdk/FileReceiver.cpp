#include "TessalyMTPSdk/FileReceiver.h"

#include "TessalyMTPSdk/Logging.h"
#include "TessalyMTPSdk/ObjectDates.h"

namespace mtp {

namespace {

/// Of a smaller file the listing is believed until its contents say something else: asking would take as long as the
/// contents.
constexpr std::uint64_t SmallestAskedFor = FileWriter::Small;

} // namespace

FileReceiver::FileReceiver(Device& device, Subject subject, FileFacts facts, TransferProgress progress)
    : m_device(device)
    , m_subject(std::move(subject))
    , m_facts(std::move(facts))
    , m_progress(std::move(progress))
    , m_waiting([this] { return m_progress.waiting(); })
    , m_watch([this](std::uint64_t) { return m_progress.waiting(); }) {}

bool FileReceiver::isSmall() const {
  return m_facts.size < SmallestAskedFor;
}

Status FileReceiver::receive(const std::string& destination) {
  if (!isSmall()) {
    if (const Status status = m_partial.open(destination); status != DGSTATUS_SUCCESS)
      return status;
  }
  m_alone = m_device.session().exclusive(m_watch);
  if (!m_alone)
    return DGSTATUS_IO_CANCEL;
  if (!m_device.isCurrent(m_subject.epoch))
    return DGSTATUS_NODE_IS_NOT_EXISTED;
  if (isSmall())
    m_declared = {m_facts.size};
  else if (const Reply reply = askSize(m_device, m_subject.handle, m_declared, m_watch); !reply.ok())
    return refused(reply);
  m_progress.setTotal(likelySize());
  if (const Status status = receiveContents(destination); status != DGSTATUS_SUCCESS)
    return status;
  return m_progress.done() ? m_partial.commit(parseDate(m_facts.date)) : DGSTATUS_IO_CANCEL;
}

/// That there is no room for a small file shows when it is written. It is made in the middle of a transaction, which
/// has to be ended in order.
Status FileReceiver::prepare(const std::string& destination) try {
  if (const Status status = isSmall() ? m_partial.open(destination) : m_partial.checkRoom(likelySize());
      status != DGSTATUS_SUCCESS)
    return status;
  m_writer.emplace(m_partial.file(), m_partial.replaces(), likelySize());
  return DGSTATUS_SUCCESS;
} catch (const std::exception&) { // no memory, no thread
  return DGSTATUS_INSUFFICIENT_RESOURCE;
}

/// What 32 bits cannot tell the listing may.
std::uint64_t FileReceiver::likelySize() const {
  return m_declared.fits(m_facts.size) ? m_facts.size : m_declared.bytes;
}

bool FileReceiver::take(Bytes piece) {
  m_received += piece.size();
  if (!m_writer) // a small file is over sooner than a phone that was cancelled is ready again
    return m_received <= FileWriter::Small;
  return m_writer->put(piece, m_waiting);
}

Status FileReceiver::receiveContents(const std::string& destination) {
  Status prepared = isSmall() ? DGSTATUS_SUCCESS : prepare(destination);
  if (prepared != DGSTATUS_SUCCESS)
    return prepared;
  const Reply reply = m_device.session().receive(
      Operation::GetObject, {m_subject.handle}, [this](Bytes piece) { return take(piece); },
      [this](std::uint64_t moved) { return m_progress.at(moved); }, likelySize(),
      isSmall() ? [&] { prepared = prepare(destination); } : Session::Asked());
  if (prepared != DGSTATUS_SUCCESS)
    return prepared;
  if (m_writer && m_writer->status() != DGSTATUS_SUCCESS)
    return m_writer->status();
  if (!reply.ok())
    return refused(reply);
  if (const Status status = checkSize(); status != DGSTATUS_SUCCESS)
    return status;
  m_alone.unlock(); // the rest is the computer's
  if (!m_writer->finish(m_waiting))
    return m_progress.isStopped() ? DGSTATUS_IO_CANCEL : m_writer->status();
  return DGSTATUS_SUCCESS;
}

Status FileReceiver::refused(const Reply& reply) {
  return reply.code == Response::InvalidObjectHandle ? noteVanished(m_device, m_subject) : reply.status;
}

/// A file that changed on the phone while it was read is whole if the phone says so.
Status FileReceiver::checkSize() {
  if (m_declared.fits(m_received))
    return DGSTATUS_SUCCESS;
  const Reply reply = askSize(m_device, m_subject.handle, m_declared, m_watch);
  if (!reply.ok())
    return refused(reply);
  if (m_declared.fits(m_received))
    return DGSTATUS_SUCCESS;
  log(LogLevel::Warning, "the phone declared %llu bytes and sent %llu",
      static_cast<unsigned long long>(m_declared.bytes), static_cast<unsigned long long>(m_received));
  return DGSTATUS_INTERNAL_SIZE_MISMATCH;
}

} // namespace mtp
