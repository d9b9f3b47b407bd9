#include "VirtualPhone/Initiator.h"

#include "VirtualPhone/ObjectTree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace testing_phone;

struct ObjectTree : PhoneTest {
  /// Makes something the phone certainly reports: true when nothing was reported before it.
  bool onlyMarkerComes() {
    handles(); // the top is watched
    internal.folder("marker");
    if (!host->waitFor(0x4002))
      return false;
    return nameOf(host->last.parameter) == u"marker" && host->skipped.empty();
  }
};

TEST_F(ObjectTree, AFileMadeInAListedFolderIsAnnouncedAtCreationAndAgainWhenItIsClosed) {
  internal.folder("d");
  start();
  auto d = find(u"d");
  EXPECT_TRUE(handles(Internal, d).empty());
  auto path = internal.path() / "d" / "new.txt";
  int fd = ::open(path.c_str(), O_CREAT | O_WRONLY, 0600);
  ASSERT_TRUE(host->waitFor(0x4002));
  auto handle = host->last.parameter;
  EXPECT_EQ(nameOf(handle), u"new.txt");
  EXPECT_EQ(host->run(0x9803, {handle, 0xDC04}).in().n(8), 0u);
  ASSERT_EQ(::write(fd, "12345", 5), 5);
  ::close(fd);
  EXPECT_TRUE(host->waitFor(0x4007, handle));
  EXPECT_EQ(host->run(0x9803, {handle, 0xDC04}).in().n(8), 5u) << "what was known of the file is known anew";
  EXPECT_EQ(handles(Internal, d), std::vector<std::uint32_t>{handle});
}

TEST_F(ObjectTree, AFileDeletedInAListedFolderIsAnnounced) {
  auto path = internal.file("d/a.txt");
  start();
  auto d = find(u"d");
  auto handle = find(u"a.txt", d);
  std::filesystem::remove(path);
  EXPECT_TRUE(host->waitFor(0x4003, handle));
  EXPECT_TRUE(handles(Internal, d).empty());
  EXPECT_EQ(host->run(0x1008, {handle}).code, 0x2009);
}

TEST_F(ObjectTree, ARenamingByOthersIsARemovalAndAnAddition) {
  auto path = internal.file("a.txt");
  start();
  auto handle = find(u"a.txt");
  std::filesystem::rename(path, internal.path() / "b.txt");
  EXPECT_TRUE(host->waitFor(0x4003, handle));
  EXPECT_TRUE(host->waitFor(0x4002));
  EXPECT_EQ(nameOf(host->last.parameter), u"b.txt");
}

TEST_F(ObjectTree, FoldersTheHostHasNotListedAreNotWatched) {
  internal.folder("d/e");
  start();
  auto d = find(u"d");
  internal.file("d/new.txt");
  EXPECT_TRUE(onlyMarkerComes());
  EXPECT_EQ(handles(Internal, d).size(), 2u) << "but the file is there when it is listed";
}

TEST_F(ObjectTree, ListingByPropertiesWatchesToo) {
  internal.folder("d");
  start();
  host->run(0x9805, {find(u"d"), 0, 0xDC07, 0, 1});
  internal.file("d/new.txt");
  EXPECT_TRUE(host->waitFor(0x4002));
}

TEST_F(ObjectTree, TheHostsOwnChangesAreSilent) {
  internal.file("old.txt");
  internal.file("gone/x.txt");
  internal.file("move.txt");
  internal.folder("target");
  start();
  auto target = find(u"target");
  handles(Internal, target);
  auto gone = find(u"gone");
  handles(Internal, gone);
  EXPECT_EQ(sendFile(u"sent.txt", std::string(3000000, 's')).code, 0x2001);
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"folder", 0, true)).code, 0x2001);
  EXPECT_EQ(host->send(0x9804, {find(u"old.txt"), 0xDC07}, Out().text(u"renamed.txt").bytes).code, 0x2001);
  EXPECT_EQ(host->run(0x100B, {gone}).code, 0x2001);
  EXPECT_EQ(host->run(0x1019, {find(u"move.txt"), Internal, target}).code, 0x2001);
  EXPECT_EQ(host->run(0x101A, {find(u"renamed.txt"), Internal, target}).code, 0x2001);
  auto edited = find(u"renamed.txt");
  host->run(0x95C4, {edited});
  EXPECT_EQ(host->send(0x95C2, {edited, 0, 0, 1}, Out().raw("y").bytes).code, 0x2001);
  host->run(0x95C3, {edited, 0, 0});
  host->run(0x95C5, {edited});
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"never", 5)).code, 0x2001);
  EXPECT_TRUE(onlyMarkerComes());
}

TEST_F(ObjectTree, ChangesByOthersWhileTheHostWritesAreStillTold) {
  internal.file("other.txt");
  start();
  auto other = find(u"other.txt");
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 5)).code, 0x2001);
  std::filesystem::remove(internal.path() / "other.txt");
  EXPECT_EQ(host->send(0x100D, {}, Out().raw("12345").bytes).code, 0x2001);
  EXPECT_TRUE(host->waitFor(0x4003, other));
}

TEST_F(ObjectTree, SomethingElseUnderAnOldNameGetsANewHandle) {
  auto path = internal.file("thing");
  start();
  auto handle = find(u"thing");
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  EXPECT_TRUE(host->waitFor(0x4003, handle));
  EXPECT_TRUE(host->waitFor(0x4002));
  EXPECT_NE(find(u"thing"), handle);
}

TEST_F(ObjectTree, ListingsSeeChangesAtOnce) {
  start();
  for (int i = 0; i < 50; ++i) {
    auto path = internal.file("f" + std::to_string(i));
    EXPECT_EQ(handles().size(), 1u) << i;
    std::filesystem::remove(path);
    EXPECT_EQ(handles().size(), 0u) << i;
  }
}

TEST_F(ObjectTree, MoreChangesThanTheKernelRemembersAreFoundByLooking) {
  std::ifstream limit("/proc/sys/fs/inotify/max_queued_events");
  std::size_t most = 16384;
  limit >> most;
  if (most > 20000)
    GTEST_SKIP() << "this computer remembers " << most << " changes";
  vphone::ObjectTree tree;
  auto id = tree.addStorage({internal.path(), "x"});
  auto& top = tree.storage(id)->top;
  internal.file("early");
  ASSERT_TRUE(tree.list(top));
  std::filesystem::remove(internal.path() / "early");
  // Two events a round; nobody reads them meanwhile.
  for (std::size_t i = 0; i < most / 2 + 10; ++i) {
    auto path = internal.path() / ("t" + std::to_string(i));
    ::close(::open(path.c_str(), O_CREAT | O_RDONLY, 0600));
    ::unlink(path.c_str());
  }
  internal.file("late");
  tree.catchUp();
  ASSERT_TRUE(tree.list(top));
  ASSERT_EQ(top.contents->children.size(), 1u);
  EXPECT_EQ(top.contents->children[0]->name, "late");
}

TEST_F(ObjectTree, ACardCanComeAndGo) {
  start();
  TemporaryFolder other;
  other.file("photo.jpg");
  auto id = phone->addStorage({other.path(), "Second card"});
  EXPECT_EQ(id, 0x00030001u);
  EXPECT_TRUE(host->waitFor(0x4004, id));
  EXPECT_EQ(host->run(0x1004).in().list(4).size(), 3u);
  auto photo = find(u"photo.jpg", Root, id);
  EXPECT_NE(photo, 0u);
  EXPECT_TRUE(phone->removeStorage(id));
  EXPECT_TRUE(host->waitFor(0x4005, id));
  EXPECT_EQ(host->run(0x1007, {id, 0, Root}).code, 0x2008);
  EXPECT_EQ(host->run(0x1009, {photo}).code, 0x2009);
  EXPECT_FALSE(phone->removeStorage(id));
  EXPECT_EQ(phone->addStorage({"/no/such/folder", "x"}), 0u);
}

} // namespace
