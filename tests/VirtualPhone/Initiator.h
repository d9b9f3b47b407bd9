#pragma once
// A hand-written MTP initiator for the virtual phone's tests: raw bytes over a wire, none of the engine's code for
// them.
#include "VirtualPhone/VirtualPhone.h"

#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <mutex>

namespace testing_phone {

using namespace std::chrono_literals;
using Bytes = std::vector<std::byte>;

/// A folder that goes when the test does.
class TemporaryFolder {
public:
  explicit TemporaryFolder(const std::filesystem::path& where = std::filesystem::temp_directory_path()) {
    std::string pattern = where / "phone-XXXXXX";
    path_ = mkdtemp(pattern.data());
  }
  ~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path file(const std::filesystem::path& name, std::string_view contents = "x") const {
    std::filesystem::create_directories((path_ / name).parent_path());
    std::ofstream(path_ / name, std::ios::binary) << contents;
    return path_ / name;
  }
  std::filesystem::path folder(const std::filesystem::path& name) const {
    std::filesystem::create_directories(path_ / name);
    return path_ / name;
  }

private:
  std::filesystem::path path_;
};

inline std::string read(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// Little-endian bytes, written and read one by one.
struct Out {
  Bytes bytes;
  Out& n(std::uint64_t v, int size) {
    for (int i = 0; i < size; ++i)
      bytes.push_back(std::byte(v >> (8 * i)));
    return *this;
  }
  Out& text(std::u16string_view s) {
    if (s.empty())
      return n(0, 1);
    n(s.size() + 1, 1);
    for (auto c : s)
      n(c, 2);
    return n(0, 2);
  }
  Out& raw(std::string_view s) {
    for (char c : s)
      bytes.push_back(std::byte(c));
    return *this;
  }
};

struct In {
  Bytes bytes;
  std::size_t at = 0;
  std::uint64_t n(int size) {
    std::uint64_t v = 0;
    if (at + std::size_t(size) > bytes.size()) {
      ADD_FAILURE() << "dataset too short";
      return 0;
    }
    for (int i = 0; i < size; ++i)
      v |= std::uint64_t(bytes[at++]) << (8 * i);
    return v;
  }
  std::u16string text() {
    std::u16string s;
    for (auto units = n(1); units > 0; --units)
      s.push_back(char16_t(n(2)));
    if (!s.empty()) {
      EXPECT_EQ(s.back(), 0);
      s.pop_back();
    }
    return s;
  }
  std::vector<std::uint32_t> list(int size) {
    std::vector<std::uint32_t> values(n(4));
    for (auto& v : values)
      v = std::uint32_t(n(size));
    return values;
  }
  bool done() const { return at == bytes.size(); }
};

/// What one transaction gave.
struct Result {
  mtp::IoStatus status = mtp::IoStatus::Ok; // of the wire; when not Ok the rest is what came before
  std::uint16_t code = 0;
  std::vector<std::uint32_t> parameters;
  std::uint32_t dataLength = 0; // the data container's length field
  bool hadData = false;
  Bytes data; // without its header
  In in() const { return {data, 0}; }
};

struct EventSeen {
  std::uint16_t code = 0;
  std::uint32_t parameter = 0;
  bool operator==(const EventSeen&) const = default;
};

class Initiator {
public:
  static constexpr auto Patience = 20s;

  explicit Initiator(std::unique_ptr<mtp::Transport> transport)
      : wire(std::move(transport)) {
    wire->startEvents([this](std::span<const std::byte> event) {
      In in{Bytes(event.begin(), event.end())};
      std::lock_guard lock(mutex_);
      EXPECT_EQ(in.n(4), event.size());
      EXPECT_EQ(in.n(2), 4u);
      EventSeen seen;
      seen.code = std::uint16_t(in.n(2));
      in.n(4);
      seen.parameter = std::uint32_t(in.n(4));
      events_.push_back(seen);
      came_.notify_all();
    });
  }
  ~Initiator() { wire->close(); }

  std::unique_ptr<mtp::Transport> wire;
  std::uint32_t transaction = 0;
  std::chrono::milliseconds patience = Patience;

  static Bytes command(std::uint16_t code, std::uint32_t id, const std::vector<std::uint32_t>& parameters = {}) {
    Out out;
    out.n(12 + 4 * parameters.size(), 4).n(1, 2).n(code, 2).n(id, 4);
    for (auto p : parameters)
      out.n(p, 4);
    return out.bytes;
  }
  static Bytes data(std::uint16_t code, std::uint32_t id, const Bytes& payload, std::uint32_t length = 0) {
    Out out;
    out.n(length ? length : 12 + payload.size(), 4).n(2, 2).n(code, 2).n(id, 4);
    out.bytes.insert(out.bytes.end(), payload.begin(), payload.end());
    return out.bytes;
  }

  Result run(std::uint16_t code, const std::vector<std::uint32_t>& parameters = {}) {
    auto status = wire->write(command(code, ++transaction, parameters), true, patience);
    return status == mtp::IoStatus::Ok ? receive(code) : Result{status, 0, {}, 0, false, {}};
  }
  Result send(std::uint16_t code, const std::vector<std::uint32_t>& parameters, const Bytes& payload,
              std::uint32_t length = 0) {
    auto status = wire->write(command(code, ++transaction, parameters), true, patience);
    if (status == mtp::IoStatus::Ok)
      status = wire->write(data(code, transaction, payload, length), true, patience);
    return status == mtp::IoStatus::Ok ? receive(code) : Result{status, 0, {}, 0, false, {}};
  }

  /// One transfer, to its end.
  mtp::IoStatus transfer(Bytes& bytes) {
    Bytes piece(1 << 16);
    for (;;) {
      auto part = wire->read(piece, patience);
      if (part.status != mtp::IoStatus::Ok)
        return part.status;
      bytes.insert(bytes.end(), piece.begin(), piece.begin() + std::ptrdiff_t(part.size));
      if (part.endOfTransfer)
        return part.status;
    }
  }

  Result receive(std::uint16_t code) {
    Result result;
    for (;;) {
      Bytes bytes;
      result.status = transfer(bytes);
      if (result.status != mtp::IoStatus::Ok)
        return result;
      if (bytes.size() < 12) {
        ADD_FAILURE() << "a container of " << bytes.size() << " bytes";
        return result;
      }
      In in{bytes};
      auto length = std::uint32_t(in.n(4));
      auto type = in.n(2);
      auto itsCode = std::uint16_t(in.n(2));
      EXPECT_EQ(in.n(4), transaction);
      if (type == 2) {
        EXPECT_EQ(itsCode, code);
        result.hadData = true;
        result.dataLength = length;
        result.data.assign(bytes.begin() + 12, bytes.end());
        continue;
      }
      EXPECT_EQ(type, 3u);
      EXPECT_EQ(length, bytes.size());
      result.code = itsCode;
      while (!in.done())
        result.parameters.push_back(std::uint32_t(in.n(4)));
      return result;
    }
  }

  void open() { ASSERT_EQ(run(0x1002, {1}).code, 0x2001); }

  /// Waits for an event that fits and takes it and those before it away.
  bool waitFor(std::uint16_t code, std::optional<std::uint32_t> parameter = {}) {
    std::unique_lock lock(mutex_);
    auto fits = [&] {
      for (std::size_t i = 0; i < events_.size(); ++i) {
        if (events_[i].code == code && (!parameter || events_[i].parameter == *parameter)) {
          last = events_[i];
          skipped.assign(events_.begin(), events_.begin() + std::ptrdiff_t(i));
          events_.erase(events_.begin(), events_.begin() + std::ptrdiff_t(i) + 1);
          return true;
        }
      }
      return false;
    };
    return came_.wait_for(lock, Patience, fits);
  }
  EventSeen last;                 // what waitFor() found
  std::vector<EventSeen> skipped; // and what had come before it

private:
  std::mutex mutex_;
  std::condition_variable came_;
  std::vector<EventSeen> events_;
};

inline Bytes objectInfo(std::u16string_view name, std::uint32_t size, bool folder = false,
                        std::u16string_view modified = u"") {
  Out out;
  out.n(0, 4).n(folder ? 0x3001 : 0x3000, 2).n(0, 2).n(size, 4).n(0, 2).n(0, 4).n(0, 4).n(0, 4).n(0, 4).n(0, 4).n(0, 4);
  out.n(0, 4).n(folder ? 1 : 0, 2).n(0, 4).n(0, 4).text(name).text(u"").text(modified).text(u"");
  return out.bytes;
}

/// A phone with an internal storage and a card, and a host with an open session.
struct PhoneTest : testing::Test {
  static constexpr std::uint32_t Internal = 0x00010001;
  static constexpr std::uint32_t Card = 0x00020001;
  static constexpr std::uint32_t Root = 0xFFFFFFFF;

  TemporaryFolder internal;
  TemporaryFolder card;
  vphone::Options options = makeOptions();
  std::unique_ptr<vphone::VirtualPhone> phone;
  std::unique_ptr<Initiator> host;

  vphone::Options makeOptions() {
    vphone::Options made;
    made.storages = {{internal.path(), "Internal storage"}, {card.path(), "SD card"}};
    made.storages[1].removable = true;
    return made;
  }
  /// Starts the phone as `options` have it and opens a session.
  void start() {
    host.reset();
    phone = std::make_unique<vphone::VirtualPhone>(options);
    phone->plug();
    connect();
  }
  void connect() {
    host.reset();
    auto candidates = phone->provider()->list();
    ASSERT_EQ(candidates.size(), 1u);
    auto opened = candidates[0].open();
    ASSERT_TRUE(opened.transport) << opened.explanation;
    host = std::make_unique<Initiator>(std::move(opened.transport));
    host->open();
  }
  void TearDown() override {
    host.reset();
    phone.reset();
  }

  std::vector<std::uint32_t> handles(std::uint32_t storage = Internal, std::uint32_t parent = Root) {
    auto result = host->run(0x1007, {storage, 0, parent});
    EXPECT_EQ(result.code, 0x2001);
    return result.hadData ? result.in().list(4) : std::vector<std::uint32_t>();
  }
  std::u16string nameOf(std::uint32_t handle) {
    auto result = host->run(0x9803, {handle, 0xDC07});
    return result.code == 0x2001 ? result.in().text() : u"";
  }
  /// The handle of a name in a folder; 0 when there is none.
  std::uint32_t find(std::u16string_view name, std::uint32_t parent = Root, std::uint32_t storage = Internal) {
    for (auto handle : handles(storage, parent)) {
      if (nameOf(handle) == name)
        return handle;
    }
    return 0;
  }
  Result sendFile(std::u16string_view name, std::string_view contents, std::uint32_t parent = Root,
                  std::u16string_view modified = u"") {
    auto info =
        host->send(0x100C, {Internal, parent}, objectInfo(name, std::uint32_t(contents.size()), false, modified));
    if (info.code != 0x2001)
      return info;
    auto sent = host->send(0x100D, {}, Out().raw(contents).bytes);
    sent.parameters = info.parameters;
    return sent;
  }
};

} // namespace testing_phone
