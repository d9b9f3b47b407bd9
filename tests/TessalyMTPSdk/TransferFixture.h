#pragma once
// For tests that copy files between a phone in memory and the computer.
#include "EngineFixture.h"

#include "TessalyMTPSdk/MtpCodes.h"

#include <atomic>
#include <cstring>
#include <functional>
#include <optional>

namespace testsupport {

using Strings = std::vector<std::string>;

/// Bytes that differ from place to place and from seed to seed.
inline std::string pattern(std::size_t size, unsigned seed = 1) {
  std::string bytes(size + sizeof(std::uint64_t), '\0');
  std::uint64_t state = seed * 2654435761u + 1;
  for (std::size_t at = 0; at < size; at += sizeof(state)) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    std::memcpy(bytes.data() + at, &state, sizeof(state));
  }
  bytes.resize(size);
  return bytes;
}

inline void write(const std::filesystem::path& path, const std::string& bytes) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string read(const std::filesystem::path& path) {
  std::error_code none;
  const auto size = std::filesystem::file_size(path, none);
  std::string bytes(none ? 0 : size, '\0');
  std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

inline Strings entriesOf(const std::filesystem::path& folder) {
  Strings names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

/// A progress callback's context: notes the calls and answers what `answer` says.
struct Progress {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> calls;
  std::function<std::uint32_t(std::uint64_t current)> answer;

  static uint32_t callback(uint64_t current, uint64_t total, void* context) {
    auto& self = *static_cast<Progress*>(context);
    self.calls.emplace_back(current, total);
    return self.answer ? self.answer(current) : 0;
  }
};

/// Time that passes by being asked for: what is paced by it comes often, however fast the machine is.
inline std::function<std::chrono::steady_clock::time_point()> hastyClock() {
  auto asked = std::make_shared<std::atomic<int>>(0);
  return [asked, start = std::chrono::steady_clock::now()] { return start + std::chrono::milliseconds(4 * ++*asked); };
}

class TransferFixture : public EngineWithPhone {
protected:
  static constexpr std::uint32_t Cancel = 0x10000007;

  /// Progress is told after every few pieces. For phones opened from now on.
  static void useHastyClock() {
    mtp::TimeLimits limits;
    limits.now = hastyClock();
    mtp::EngineState::instance().setTimeLimits(limits);
  }
  uint32_t receive(_MTP_FILE_NODE* file, const std::filesystem::path& destination, Progress* progress = nullptr) {
    const std::u16string path = destination.u16string();
    return mtpDextGetFileEx(file, path.c_str(), static_cast<uint32_t>(path.size() + 1),
                            progress ? Progress::callback : nullptr, progress);
  }
  template <typename Parent>
  uint32_t send(const std::filesystem::path& source, Parent* parent, Progress* progress = nullptr) {
    const std::u16string path = source.u16string();
    return mtpDextSendFileEx(path.c_str(), static_cast<uint32_t>(path.size() + 1), &parent->common, &created,
                             progress ? Progress::callback : nullptr, progress);
  }
  static std::uint64_t transactions() { return mtp::counters().transactions; }
  std::uint64_t asked(mtp::Operation operation) {
    const auto operations = phone->statistics().operations;
    const auto found = operations.find(static_cast<std::uint16_t>(operation));
    return found != operations.end() ? found->second : 0;
  }
  void fault(vphone::FaultKind kind, vphone::FaultPhase phase, mtp::Operation operation, std::uint64_t atByte = 0,
             std::uint32_t value = 0) {
    phone->faults().add({.kind = kind,
                         .phase = phase,
                         .transaction = std::nullopt,
                         .operation = static_cast<std::uint16_t>(operation),
                         .atByte = atByte,
                         .value = value});
  }
  void respond(mtp::Operation operation, mtp::Response code) {
    fault(vphone::FaultKind::Respond, vphone::FaultPhase::Response, operation, 0, static_cast<std::uint32_t>(code));
  }
  std::filesystem::path onPhone(const std::string& name) const { return storage.path() / name; }
  std::filesystem::path here(const std::string& name) const { return computer.path() / name; }

  TemporaryFolder computer;
  _MTP_FILE_NODE* created = nullptr;
};

} // namespace testsupport
