// What it costs to list one folder through the access layer: on a phone in memory (engine, wire and responder included;
// "transactions" are MTP transactions a listing), and on records that are there already (the access layer alone).
#include "MTPCore/MTPDextSDKWrapper.h"
#include "MTPCore/TessalyMtpSdk.h"
#include "Platform/Log.h"
#include "TessalyMTPSdk/Engine.h"
#include "VirtualPhone/VirtualPhone.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr const char* Location = "14200000";
constexpr const char* FolderPath = "/Phone/Phone/Many";

// A phone with one folder of so many empty files, and a wrapper bound to it.
class PhoneWithFiles {
public:
  explicit PhoneWithFiles(int files) {
    platform::setLogSink([](const QString&) {});
    mtp::setLog([](mtp::LogLevel, const std::string&) {});
    mtp::setUsbEnabled(false);
    const QString many = m_folder.filePath("Many");
    QDir().mkpath(many);
    for (int i = 0; i < files; ++i)
      QFile(QStringLiteral("%1/IMG_20240229_%2.jpg").arg(many).arg(i, 6, 10, QChar('0'))).open(QIODevice::WriteOnly);
    vphone::Options options;
    options.model = "Phone";
    options.locationId = 0x14200000;
    options.storages = {{.folder = m_folder.path().toStdString(), .description = "Phone"}};
    m_phone = std::make_unique<vphone::VirtualPhone>(options);
    m_phone->plug();
    mtp::addProvider(m_phone->provider());
    // The first folder listed teaches the engine how the phone lists; that is paid once a phone, not once a folder.
    select();
    wrapper.getFilesAtFolder(nullptr, storage, FolderPath);
  }
  ~PhoneWithFiles() {
    mtp::shutdown();
    platform::setLogSink({});
  }
  PhoneWithFiles(const PhoneWithFiles&) = delete;
  PhoneWithFiles& operator=(const PhoneWithFiles&) = delete;

  // Binds and finds the folder, as the browser does after a reset.
  void select() {
    wrapper.setLocationID(Location, FolderPath);
    wrapper.initializeNodeInfo(nullptr, &storage, &folder);
  }
  qsizetype list() {
    const auto items = wrapper.getFilesAtFolder(folder, storage, FolderPath);
    return items ? items->size() : 0;
  }

  MTPDextSDKWrapper wrapper{std::make_shared<TessalyMtpSdk>()};
  _MTP_STORAGE_NODE* storage = nullptr;
  _MTP_FOLDER_NODE* folder = nullptr;

private:
  QTemporaryDir m_folder;
  std::unique_ptr<vphone::VirtualPhone> m_phone;
};

// The folder is asked of the phone each time.
void ListFolderOnVirtualPhone(benchmark::State& state) {
  PhoneWithFiles phone(int(state.range(0)));
  std::uint64_t transactions = 0;
  for (auto _ : state) {
    state.PauseTiming();
    phone.wrapper.mtpReset();
    phone.select();
    const std::uint64_t before = mtp::counters().transactions;
    state.ResumeTiming();
    const qsizetype listed = phone.list();
    state.PauseTiming();
    transactions = mtp::counters().transactions - before;
    if (listed != state.range(0))
      state.SkipWithError("not all files were listed");
    state.ResumeTiming();
  }
  state.counters["transactions"] = double(transactions);
  state.counters["entries/s"] =
      benchmark::Counter(double(state.range(0)), benchmark::Counter::kIsIterationInvariantRate);
}

// The engine has the records: what is left is the access layer's own work.
void ListFolderFromRecords(benchmark::State& state) {
  PhoneWithFiles phone(int(state.range(0)));
  if (phone.list() != state.range(0))
    state.SkipWithError("not all files were listed");
  const std::uint64_t before = mtp::counters().transactions;
  for (auto _ : state)
    benchmark::DoNotOptimize(phone.list());
  state.counters["transactions"] = double(mtp::counters().transactions - before);
  state.counters["entries/s"] =
      benchmark::Counter(double(state.range(0)), benchmark::Counter::kIsIterationInvariantRate);
}

} // namespace

BENCHMARK(ListFolderOnVirtualPhone)
    ->RangeMultiplier(10)
    ->Range(100, 100'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(ListFolderFromRecords)
    ->RangeMultiplier(10)
    ->Range(100, 100'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
