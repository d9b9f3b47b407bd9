#pragma once
// A Transport whose phone is a script: what comes back after each command is written down, byte by byte, by the test.
// Silence costs no time.
#include "TessalyMTPSdk/Transport.h"
#include "support/HexBytes.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>

namespace testsupport {

/// One thing the in pipe does: bytes, perhaps with the end of a transfer behind them, or a failure.
struct Piece {
  ByteVector bytes;
  bool endOfTransfer = true;
  mtp::IoStatus status = mtp::IoStatus::Ok;
};

inline Piece failure(mtp::IoStatus status) {
  return {{}, false, status};
}

/// What the phone does and what was done to it. Shared by the test and the transport; guarded by its mutex when several
/// threads use the session.
class Script {
public:
  struct Control {
    std::uint8_t request;
    bool toPhone;
    ByteVector data;
  };

  /// The answer to the next command that has none yet; empty: silence.
  void answer(std::vector<Piece> pieces) { m_answers.push_back(std::move(pieces)); }
  /// Asked when no answer is left. Default: silence.
  std::function<std::vector<Piece>(const ByteVector& command)> otherwise;
  std::function<mtp::ReadResult(std::span<std::byte>)> deviceStatus; // default: stall
  mtp::IoStatus resetStatus = mtp::IoStatus::Ok;
  std::function<void()> onReset;

  std::vector<ByteVector> commands;
  std::vector<Control> controls;
  std::vector<mtp::Pipe> cleared;
  std::vector<mtp::Transport::Milliseconds> readLimits;
  std::vector<std::string> happened; // "events", "write", "reset", "close"
  std::uint64_t expected = 0;
  std::atomic<bool> gone = false; // any thread
  mtp::Transport::EventHandler eventHandler;

  std::size_t resets() const { return static_cast<std::size_t>(std::ranges::count(happened, "reset")); }
  /// The operation codes of all commands.
  std::vector<unsigned> operations() const {
    std::vector<unsigned> codes;
    for (const ByteVector& command : commands)
      codes.push_back(std::to_integer<unsigned>(command.at(6)) | std::to_integer<unsigned>(command.at(7)) << 8);
    return codes;
  }

private:
  friend class ScriptedTransport;
  std::deque<std::vector<Piece>> m_answers;
  std::deque<Piece> m_coming;
};

class ScriptedTransport final : public mtp::Transport {
public:
  explicit ScriptedTransport(std::shared_ptr<Script> script)
      : m_script(std::move(script)) {}

  std::size_t maxPacketSize() const override { return 512; }

  mtp::IoStatus write(std::span<const std::byte> data, bool, Milliseconds) override {
    if (m_script->gone)
      return mtp::IoStatus::Gone;
    m_script->happened.push_back("write");
    m_script->commands.emplace_back(data.begin(), data.end());
    std::vector<Piece> pieces;
    if (!m_script->m_answers.empty()) {
      pieces = std::move(m_script->m_answers.front());
      m_script->m_answers.pop_front();
    } else if (m_script->otherwise) {
      pieces = m_script->otherwise(m_script->commands.back());
    }
    m_script->m_coming.insert(m_script->m_coming.end(), pieces.begin(), pieces.end());
    return mtp::IoStatus::Ok;
  }

  mtp::ReadResult read(std::span<std::byte> buffer, Milliseconds idle) override {
    m_script->readLimits.push_back(idle);
    if (m_script->gone)
      return {mtp::IoStatus::Gone, 0, false};
    if (m_script->m_coming.empty())
      return {mtp::IoStatus::Timeout, 0, false};
    Piece& piece = m_script->m_coming.front();
    mtp::ReadResult result{piece.status, std::min(buffer.size(), piece.bytes.size()), false};
    std::copy_n(piece.bytes.begin(), result.size, buffer.begin());
    if (result.size < piece.bytes.size()) {
      piece.bytes.erase(piece.bytes.begin(), piece.bytes.begin() + static_cast<std::ptrdiff_t>(result.size));
      return result;
    }
    result.endOfTransfer = piece.endOfTransfer && piece.status == mtp::IoStatus::Ok;
    if (piece.status == mtp::IoStatus::Gone)
      m_script->gone = true;
    m_script->m_coming.pop_front();
    return result;
  }

  void expect(std::uint64_t bytes) override { m_script->expected = bytes; }

  mtp::IoStatus controlOut(std::uint8_t request, std::span<const std::byte> data, Milliseconds) override {
    m_script->controls.push_back({request, true, ByteVector(data.begin(), data.end())});
    return mtp::IoStatus::Ok;
  }
  mtp::ReadResult controlIn(std::uint8_t request, std::span<std::byte> buffer, Milliseconds) override {
    m_script->controls.push_back({request, false, {}});
    if (m_script->deviceStatus)
      return m_script->deviceStatus(buffer);
    return {mtp::IoStatus::Stall, 0, false};
  }
  mtp::IoStatus clearHalt(mtp::Pipe pipe) override {
    m_script->cleared.push_back(pipe);
    return mtp::IoStatus::Ok;
  }
  mtp::IoStatus reset() override {
    m_script->happened.push_back("reset");
    m_script->m_coming.clear();
    if (m_script->onReset)
      m_script->onReset();
    return m_script->resetStatus;
  }
  void startEvents(EventHandler handler) override {
    m_script->happened.push_back("events");
    m_script->eventHandler = std::move(handler);
  }
  void interrupt() override {}
  bool isGone() const override { return m_script->gone; }
  void close() override {
    m_script->happened.push_back("close");
    m_script->gone = true;
  }

private:
  const std::shared_ptr<Script> m_script;
};

} // namespace testsupport
