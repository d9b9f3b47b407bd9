#pragma once
// For tests that copy files between a phone in memory and the computer.
#include "EngineFixture.h"

#include "TessalyMTPSdk/MtpCodes.h"

#include <functional>
#include <optional>

namespace testsupport {

using Strings = std::vector<std::string>;

/// Bytes that differ from place to place and from seed to seed.
inline std::string pattern(std::size_t size, unsigned seed = 1) {
  std::string bytes(size, '\0');
  std::uint32_t state = seed * 2654435761u + 1;
  for (char& byte : bytes) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<char>(state >> 24);
  }
  return bytes;
}

inline void write(const std::filesystem::path& path, const std::string& bytes) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
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

class TransferFixture : public EngineWithPhone {
protected:
  static constexpr std::uint32_t Cancel = 0x10000007;

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
