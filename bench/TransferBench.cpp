// What it costs to copy files, on a phone in memory, beside a bare loop of 1 MiB over the same wire: engine, wire and
// responder in one process, files on the disk of this computer. "transactions" are MTP transactions a file.
#include "TessalyMTPSdk/Engine.h"
#include "TessalyMTPSdk/MtpCodes.h"
#include "TessalyMTPSdk/TessalyMTPSdk.h"
#include "TessalyMTPSdk/Wire.h"
#include "VirtualPhone/VirtualPhone.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t LargeFile = std::size_t{256} << 20;
constexpr std::size_t SmallFile = 4096;
constexpr int SmallFiles = 1000;
constexpr std::chrono::seconds Limit{20};

class Folder {
public:
  Folder() {
    std::string name = (fs::temp_directory_path() / "benchXXXXXX").string();
    if (!mkdtemp(name.data()))
      std::abort();
    path = name;
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  fs::path path;
};

void makeFile(const fs::path& path, std::size_t size) {
  const std::string block(std::min<std::size_t>(size, 1 << 20), 'x');
  std::ofstream file(path, std::ios::binary);
  for (std::size_t at = 0; at < size; at += block.size())
    file.write(block.data(), static_cast<std::streamsize>(block.size()));
}

class Phone {
public:
  Phone() {
    mtp::setLog([](mtp::LogLevel, const std::string&) {});
    mtp::setUsbEnabled(false);
    vphone::Options options;
    options.storages = {{.folder = storage.path, .description = "Phone"}};
    phone = std::make_unique<vphone::VirtualPhone>(options);
    phone->plug();
  }
  ~Phone() { mtp::shutdown(); }
  Phone(const Phone&) = delete;
  Phone& operator=(const Phone&) = delete;

  void connect() {
    mtp::addProvider(phone->provider());
    _MTP_DEVICE_NODE* device = nullptr;
    _MTP_FILE_NODE* file = nullptr;
    if (mtpDextGetConnectedDeviceListHead(&device) != 0 || mtpDextGetStorageListHead(device, &top) != 0)
      std::abort();
    for (uint32_t status = mtpDextGetFileListHead(&top->common, &file, nullptr, nullptr); status == 0;
         status = mtpDextGetNextFileNode(file, &file))
      files.push_back(file);
  }
  bool receive(_MTP_FILE_NODE* file, const fs::path& destination) {
    const std::u16string path = destination.u16string();
    return mtpDextGetFileEx(file, path.c_str(), static_cast<uint32_t>(path.size() + 1), nullptr, nullptr) == 0;
  }
  _MTP_FILE_NODE* send(const fs::path& source) {
    const std::u16string path = source.u16string();
    _MTP_FILE_NODE* file = nullptr;
    return mtpDextSendFileEx(path.c_str(), static_cast<uint32_t>(path.size() + 1), &top->common, &file, nullptr,
                             nullptr) == 0
               ? file
               : nullptr;
  }

  Folder storage;
  Folder computer;
  std::unique_ptr<vphone::VirtualPhone> phone;
  _MTP_STORAGE_NODE* top = nullptr;
  std::vector<_MTP_FILE_NODE*> files;
};

/// The least a program can do: commands, and reads and writes of 1 MiB, without a file of its own.
class BareLoop {
public:
  explicit BareLoop(Phone& phone)
      : m_wire(phone.phone->provider()->list().at(0).open().transport)
      , m_buffer(std::size_t{1} << 20) {
    const std::uint32_t session = 1;
    command(mtp::Operation::OpenSession, {&session, 1});
    response();
    m_transaction = 1;
  }
  void command(mtp::Operation operation, std::span<const std::uint32_t> parameters) {
    m_wire->write(mtp::CommandContainer(operation, m_transaction, parameters).bytes(), true, Limit);
  }
  /// Whether it was OK; its last parameter of interest is the third.
  bool response(std::uint32_t* third = nullptr) {
    const mtp::ReadResult result = m_wire->read(m_buffer, Limit);
    const mtp::ContainerHeader header = mtp::parseHeader(m_buffer);
    if (third)
      *third = mtp::Reader(mtp::Bytes(m_buffer).first(result.size).subspan(20)).u32();
    ++m_transaction;
    return header.code == static_cast<std::uint16_t>(mtp::Response::OK);
  }
  bool receive(std::uint32_t handle) {
    command(mtp::Operation::GetObject, {&handle, 1});
    m_wire->expect(LargeFile);
    for (bool ended = false; !ended;)
      ended = m_wire->read(m_buffer, Limit).endOfTransfer;
    return response();
  }
  bool send(std::uint32_t storage, const std::u16string& name, std::size_t size, std::uint32_t& handle) {
    const std::array<std::uint32_t, 2> place{storage, mtp::TopLevelParent};
    command(mtp::Operation::SendObjectInfo, place);
    put(mtp::Operation::SendObjectInfo, mtp::objectInfoDataset({storage, mtp::TopLevelParent, false, size, name, u""}));
    if (!response(&handle))
      return false;
    command(mtp::Operation::SendObject, {});
    put(mtp::Operation::SendObject, {}, size);
    return response();
  }
  void remove(std::uint32_t handle) {
    const std::array<std::uint32_t, 2> parameters{handle, 0};
    command(mtp::Operation::DeleteObject, parameters);
    response();
  }

private:
  void put(mtp::Operation operation, const std::vector<std::byte>& dataset, std::size_t size = 0) {
    const std::size_t total = mtp::ContainerHeader::Size + (dataset.empty() ? size : dataset.size());
    std::ranges::copy(mtp::dataHeader(total, operation, m_transaction), m_buffer.begin());
    std::ranges::copy(dataset, m_buffer.begin() + mtp::ContainerHeader::Size);
    for (std::size_t at = 0; at < total; at += m_buffer.size()) {
      const std::size_t piece = std::min(total - at, m_buffer.size());
      m_wire->write(std::span(m_buffer).first(piece), at + piece == total, Limit);
    }
  }

  std::unique_ptr<mtp::Transport> m_wire;
  std::vector<std::byte> m_buffer;
  std::uint32_t m_transaction = 0;
};

void BareLoopDown(benchmark::State& state) {
  Phone phone;
  makeFile(phone.storage.path / "large", LargeFile);
  BareLoop loop(phone);
  std::uint32_t handle = 0;
  loop.send(0x00010001, u"seed", 1, handle); // the large file's handle came just before
  bool well = handle > 1;
  for (auto _ : state)
    well = well && loop.receive(handle - 1);
  if (!well)
    state.SkipWithError("not received");
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * LargeFile));
}

void BareLoopUp(benchmark::State& state) {
  Phone phone;
  BareLoop loop(phone);
  bool well = true;
  for (auto _ : state) {
    std::uint32_t handle = 0;
    well = well && loop.send(0x00010001, u"large", LargeFile, handle);
    state.PauseTiming();
    loop.remove(handle);
    state.ResumeTiming();
  }
  if (!well)
    state.SkipWithError("not sent");
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * LargeFile));
}

void LargeFileDown(benchmark::State& state) {
  Phone phone;
  makeFile(phone.storage.path / "large", LargeFile);
  phone.connect();
  bool well = true;
  for (auto _ : state) {
    well = well && phone.receive(phone.files.at(0), phone.computer.path / "large");
    state.PauseTiming();
    fs::remove(phone.computer.path / "large");
    state.ResumeTiming();
  }
  if (!well)
    state.SkipWithError("not received");
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * LargeFile));
}

void LargeFileUp(benchmark::State& state) {
  Phone phone;
  makeFile(phone.computer.path / "large", LargeFile);
  phone.connect();
  bool well = true;
  for (auto _ : state) {
    _MTP_FILE_NODE* file = phone.send(phone.computer.path / "large");
    state.PauseTiming();
    well = well && file && mtpDextDeleteNode(&file->common) == 0;
    state.ResumeTiming();
  }
  if (!well)
    state.SkipWithError("not sent");
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * LargeFile));
}

void SmallFilesDown(benchmark::State& state) {
  Phone phone;
  for (int i = 0; i < SmallFiles; ++i)
    makeFile(phone.storage.path / ("file" + std::to_string(i)), SmallFile);
  phone.connect();
  bool well = phone.files.size() == SmallFiles;
  const std::uint64_t before = mtp::counters().transactions;
  for (auto _ : state) {
    int i = 0;
    for (_MTP_FILE_NODE* file : phone.files)
      well = well && phone.receive(file, phone.computer.path / std::to_string(i++));
  }
  if (!well)
    state.SkipWithError("not received");
  const double files = double(state.iterations()) * SmallFiles;
  state.counters["transactions"] = double(mtp::counters().transactions - before) / files;
  state.counters["files/s"] = benchmark::Counter(files, benchmark::Counter::kIsRate);
}

void SmallFilesUp(benchmark::State& state) {
  Phone phone;
  for (int i = 0; i < SmallFiles; ++i)
    makeFile(phone.computer.path / ("file" + std::to_string(i)), SmallFile);
  phone.connect();
  bool well = true;
  std::uint64_t transactions = 0;
  for (auto _ : state) {
    std::vector<_MTP_FILE_NODE*> sent;
    const std::uint64_t before = mtp::counters().transactions;
    for (int i = 0; i < SmallFiles; ++i)
      sent.push_back(phone.send(phone.computer.path / ("file" + std::to_string(i))));
    transactions += mtp::counters().transactions - before;
    state.PauseTiming();
    for (_MTP_FILE_NODE* file : sent)
      well = well && file && mtpDextDeleteNode(&file->common) == 0;
    state.ResumeTiming();
  }
  if (!well)
    state.SkipWithError("not sent");
  const double files = double(state.iterations()) * SmallFiles;
  state.counters["transactions"] = double(transactions) / files;
  state.counters["files/s"] = benchmark::Counter(files, benchmark::Counter::kIsRate);
}

} // namespace

BENCHMARK(BareLoopDown)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(LargeFileDown)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BareLoopUp)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(LargeFileUp)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(SmallFilesDown)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(SmallFilesUp)->Unit(benchmark::kMillisecond)->UseRealTime();
