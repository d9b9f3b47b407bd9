#include "VirtualPhone/Disk.h"

#include "VirtualPhone/Initiator.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

using namespace testing_phone;
using namespace vphone;

struct Disk : testing::Test {
  TemporaryFolder folder;
  Fd fd{::open(folder.path().c_str(), O_PATH | O_DIRECTORY)};
};

TEST_F(Disk, LinksAreNeitherFilesNorFolders) {
  folder.file("f");
  folder.folder("d");
  std::filesystem::create_symlink("f", folder.path() / "lf");
  std::filesystem::create_symlink("d", folder.path() / "ld");
  EXPECT_TRUE(disk::openFile(fd.get(), "f", O_RDONLY));
  EXPECT_TRUE(disk::openFolder(fd.get(), "d"));
  EXPECT_FALSE(disk::openFile(fd.get(), "lf", O_RDONLY));
  EXPECT_FALSE(disk::openFolder(fd.get(), "ld"));
  EXPECT_FALSE(disk::facts(fd.get(), "lf"));
  std::set<std::string> names;
  disk::read(fd.get(), [&](const char* name, bool) { names.insert(name); });
  EXPECT_EQ(names, (std::set<std::string>{"d", "f"}));
}

TEST_F(Disk, ANamedPipeHoldsNobody) {
  ASSERT_EQ(mkfifo((folder.path() / "p").c_str(), 0600), 0);
  EXPECT_FALSE(disk::openFile(fd.get(), "p", O_RDONLY));
  EXPECT_FALSE(disk::openFile(fd.get(), "p", O_WRONLY));
}

TEST_F(Disk, DeletingGoesOnBehindWhatCannotBeDeleted) {
  folder.file("d/a");
  folder.file("d/e/kept");
  folder.file("d/z");
  auto result = disk::removeTree(fd.get(), "d", {"kept"});
  EXPECT_EQ(result.deleted, 2u);
  EXPECT_EQ(result.failed, 3u) << "the file and the two folders around it";
  EXPECT_EQ(disk::removeTree(fd.get(), "d", {}).failed, 0u);
  EXPECT_EQ(disk::removeTree(fd.get(), "d", {}).failed, 1u) << "no longer there";
}

TEST_F(Disk, CopiesKeepContentsAndDates) {
  auto path = folder.file("d/a", std::string(3000000, 'q'));
  struct timespec times[2] = {{0, UTIME_OMIT}, {1000000000, 5}};
  utimensat(AT_FDCWD, path.c_str(), times, 0);
  EXPECT_TRUE(disk::copyTree(fd.get(), "d", fd.get(), "e"));
  EXPECT_EQ(testing_phone::read(folder.path() / "e/a"), std::string(3000000, 'q'));
  struct stat s {};
  stat((folder.path() / "e/a").c_str(), &s);
  EXPECT_EQ(s.st_mtim.tv_sec, 1000000000);
  EXPECT_FALSE(disk::copyTree(fd.get(), "d", fd.get(), "e")) << "never over something";
}

TEST_F(Disk, MovingNeverReplaces) {
  folder.file("a", "a");
  folder.file("b", "b");
  EXPECT_FALSE(disk::move(fd.get(), "a", fd.get(), "b"));
  EXPECT_EQ(errno, EEXIST);
  EXPECT_TRUE(disk::move(fd.get(), "a", fd.get(), "c"));
  EXPECT_EQ(testing_phone::read(folder.path() / "c"), "a");
}

TEST_F(Disk, UsedBytesAreThoseOfAllFilesBelow) {
  folder.file("a", std::string(10, 'x'));
  folder.file("d/e/b", std::string(20, 'x'));
  EXPECT_EQ(disk::usedBytes(fd.get()), 30u);
  EXPECT_EQ(disk::usedBytes(fd.get(), "d"), 20u);
  EXPECT_EQ(disk::usedBytes(fd.get(), "a"), 10u);
}

TEST_F(Disk, NamesAreFoundInOtherCaseTheSameCaseFirst) {
  folder.file("A.jpg");
  EXPECT_EQ(disk::findFolded(fd.get(), "a.JPG"), "A.jpg");
  folder.file("a.JPG");
  EXPECT_EQ(disk::findFolded(fd.get(), "a.JPG"), "a.JPG");
  EXPECT_FALSE(disk::findFolded(fd.get(), "b"));
}

TEST_F(Disk, AMovedDescriptorIsClosedOnce) {
  Fd one(::open("/dev/null", O_RDONLY));
  int number = one.get();
  Fd two(std::move(one));
  EXPECT_EQ(two.get(), number);
  EXPECT_FALSE(one); // NOLINT(bugprone-use-after-move): that is the question
  two.reset();
  EXPECT_EQ(fcntl(number, F_GETFD), -1);
}

} // namespace
