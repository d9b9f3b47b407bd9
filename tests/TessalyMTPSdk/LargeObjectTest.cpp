// Objects of more than 4 GiB, copied whole in both directions. Their files are almost nothing but holes, and so are the
// copies: see pwrite() below.
#include "TransferFixture.h"

#include <algorithm>
#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using namespace testsupport;

/// Takes the place of the system's: bytes that are all zero become a hole. All else is as the system has it.
extern "C" ssize_t pwrite(int file, const void* data, size_t size, off_t at) {
  static auto* const system = reinterpret_cast<decltype(&::pwrite)>(::dlsym(RTLD_NEXT, "pwrite"));
  const auto* bytes = static_cast<const char*>(data);
  struct stat facts {};
  if (size < 4096 || bytes[0] != 0 || std::memcmp(bytes, bytes + 1, size - 1) != 0 || fstat(file, &facts) != 0 ||
      facts.st_size > at) // what a hole would have to be made in
    return system(file, data, size, at);
  return ftruncate(file, at + static_cast<off_t>(size)) == 0 ? static_cast<ssize_t>(size) : -1;
}

namespace {

/// Where holes cost nothing to read, if there is such a place with enough room by its own account.
const bool inMemory = [] {
  struct statvfs facts {};
  return statvfs("/dev/shm", &facts) == 0 && (std::uint64_t{facts.f_bavail} * facts.f_frsize) >> 30 >= 6 &&
         setenv("TMPDIR", "/dev/shm", 1) == 0;
}();

constexpr std::uint64_t FourGiB = std::uint64_t{1} << 32;
constexpr std::uint64_t Size = FourGiB + (std::uint64_t{64} << 20) + 4321;

/// Where the file has bytes of its own: at both ends, and around the places at which 32 bits run over.
const std::vector<std::uint64_t> Marks{0,         (FourGiB >> 1) - 600, FourGiB - 1200, FourGiB - 12, FourGiB + 70'000,
                                       Size - 600};
constexpr std::size_t MarkSize = 600;

class LargeObject : public TransferFixture {
protected:
  static void make(const std::filesystem::path& path) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    ASSERT_GE(file, 0);
    ASSERT_EQ(::ftruncate(file, static_cast<off_t>(Size)), 0);
    for (std::size_t i = 0; i < Marks.size(); ++i) {
      const std::string mark = pattern(MarkSize, static_cast<unsigned>(i + 1));
      ASSERT_EQ(::pwrite(file, mark.data(), mark.size(), static_cast<off_t>(Marks[i])), ssize_t{MarkSize});
    }
    ::close(file);
  }
  /// The marks are where they were, and there is nothing between them.
  static void expectWhole(const std::filesystem::path& path) {
    ASSERT_EQ(std::filesystem::file_size(path), Size);
    const int file = ::open(path.c_str(), O_RDONLY);
    ASSERT_GE(file, 0);
    std::string zeros(1 << 20, '\0'), bytes;
    for (off_t data = ::lseek(file, 0, SEEK_DATA); data >= 0 && static_cast<std::uint64_t>(data) < Size;) {
      const off_t hole = ::lseek(file, data, SEEK_HOLE);
      for (off_t at = data; at < hole;) {
        bytes.resize(static_cast<std::size_t>(std::min<off_t>(hole - at, 1 << 20)));
        ASSERT_EQ(::pread(file, bytes.data(), bytes.size(), at), static_cast<ssize_t>(bytes.size()));
        forgetMarks(bytes, static_cast<std::uint64_t>(at));
        ASSERT_EQ(std::memcmp(bytes.data(), zeros.data(), bytes.size()), 0) << "near " << at;
        at += static_cast<off_t>(bytes.size());
      }
      data = ::lseek(file, hole, SEEK_DATA);
    }
    for (std::size_t i = 0; i < Marks.size(); ++i) {
      std::string mark(MarkSize, '\0');
      ASSERT_EQ(::pread(file, mark.data(), mark.size(), static_cast<off_t>(Marks[i])), ssize_t{MarkSize});
      EXPECT_EQ(mark, pattern(MarkSize, static_cast<unsigned>(i + 1))) << i;
    }
    ::close(file);
  }

private:
  static void forgetMarks(std::string& bytes, std::uint64_t at) {
    for (const std::uint64_t mark : Marks) {
      const std::uint64_t from = std::max(mark, at);
      const std::uint64_t to = std::min(mark + MarkSize, at + bytes.size());
      if (from < to)
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(from - at), to - from, '\0');
    }
  }
};

} // namespace

TEST_F(LargeObject, IsReceivedWhole) {
  make(onPhone("film.mp4"));
  start();
  Progress progress;
  const auto files = filesIn(firstStorage());
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0]->fileLength, Size);
  ASSERT_EQ(receive(files[0], here("film.mp4"), &progress), 0u) << log();
  expectWhole(here("film.mp4"));
  EXPECT_EQ(progress.calls.back(), (std::pair<std::uint64_t, std::uint64_t>(Size, Size)));
}

TEST_F(LargeObject, IsSentWhole) {
  make(here("film.mp4"));
  start();
  Progress progress;
  ASSERT_EQ(send(here("film.mp4"), firstStorage(), &progress), 0u) << log();
  expectWhole(onPhone("film.mp4"));
  ASSERT_TRUE(created);
  EXPECT_EQ(created->fileLength, Size);
  EXPECT_EQ(progress.calls.back(), (std::pair<std::uint64_t, std::uint64_t>(Size, Size)));
}

TEST_F(LargeObject, IsReceivedWholeFromAPhoneWhoseSizesWrapAround) {
  make(onPhone("film.mp4"));
  vphone::Manners manners;
  manners.sizeModulo32 = true;
  start(manners);
  const auto files = filesIn(firstStorage());
  ASSERT_EQ(files.size(), 1u);
  ASSERT_EQ(receive(files[0], here("film.mp4")), 0u) << log();
  expectWhole(here("film.mp4"));
}

TEST_F(LargeObject, CancelledBehindFourGiBLeavesNothingAndTheSessionGoesOn) {
  make(onPhone("film.mp4"));
  start();
  const auto files = filesIn(firstStorage());
  ASSERT_EQ(files.size(), 1u);
  Progress progress;
  progress.answer = [](std::uint64_t current) { return current > FourGiB ? Cancel : 0; };
  EXPECT_EQ(receive(files[0], here("film.mp4"), &progress), Cancel);
  EXPECT_EQ(entriesOf(computer.path()), Strings{});
  write(here("small"), "text");
  EXPECT_EQ(send(here("small"), firstStorage()), 0u) << log();
}
