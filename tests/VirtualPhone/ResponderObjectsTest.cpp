#include "VirtualPhone/Initiator.h"

#include <algorithm>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace testing_phone;

struct ResponderObjects : PhoneTest {
  static std::string contents(std::size_t size) {
    std::string text(size, 0);
    for (std::size_t i = 0; i < size; ++i)
      text[i] = char(i * 31 + i / 509);
    return text;
  }
};

TEST_F(ResponderObjects, HandlesOfTheTopOfOneStorageAreThatStoragesOnly) {
  internal.file("a.txt");
  internal.file("d/b.txt");
  card.file("c.txt");
  start();
  EXPECT_EQ(handles(Internal).size(), 2u);
  EXPECT_EQ(handles(Card).size(), 1u);
  EXPECT_EQ(handles(0xFFFFFFFF).size(), 3u);
}

TEST_F(ResponderObjects, ParentZeroMeansTheWholeStorage) {
  internal.file("a.txt");
  internal.file("d/e/b.txt");
  start();
  EXPECT_EQ(handles(Internal, 0).size(), 4u);
  EXPECT_EQ(host->run(0x1006, {Internal, 0, 0}).parameters, std::vector<std::uint32_t>{4});
  EXPECT_EQ(host->run(0x1006, {Internal, 0, Root}).parameters, std::vector<std::uint32_t>{2});
}

TEST_F(ResponderObjects, HandlesCanBeFilteredByFormat) {
  internal.file("a.jpg");
  internal.file("b.txt");
  internal.folder("c");
  start();
  EXPECT_EQ(host->run(0x1007, {Internal, 0x3801, Root}).in().list(4).size(), 1u);
  EXPECT_EQ(host->run(0x1007, {Internal, 0x3001, Root}).in().list(4).size(), 1u);
}

TEST_F(ResponderObjects, HandlesOfUnknownPlacesAreRefused) {
  internal.file("a.txt");
  card.folder("d");
  start();
  EXPECT_EQ(host->run(0x1007, {0, 0, Root}).code, 0x2008);
  EXPECT_EQ(host->run(0x1007, {0x00050001, 0, Root}).code, 0x2008);
  EXPECT_EQ(host->run(0x1007, {Internal, 0, 999}).code, 0x2009);
  EXPECT_EQ(host->run(0x1007, {Internal, 0, find(u"a.txt")}).code, 0x2009);
  EXPECT_EQ(host->run(0x1007, {Internal, 0, find(u"d", Root, Card)}).code, 0x2009);
}

TEST_F(ResponderObjects, HandlesStayTheSameWithinAConnectionAndBeginAnewAfterIt) {
  internal.file("a.txt");
  internal.file("b.txt");
  start();
  auto first = handles();
  EXPECT_EQ(handles(), first);
  host.reset();
  phone->unplug();
  phone->plug();
  connect();
  EXPECT_EQ(host->run(0x1008, {first[0]}).code, 0x2009) << "nothing has been listed yet";
}

TEST_F(ResponderObjects, ObjectInfoIsLaidOutAsItShouldBe) {
  internal.file("d/a.mp3", "1234567");
  start();
  auto d = find(u"d");
  auto in = host->run(0x1008, {find(u"a.mp3", d)}).in();
  EXPECT_EQ(in.n(4), Internal);
  EXPECT_EQ(in.n(2), 0x3009u);
  EXPECT_EQ(in.n(2), 0u);
  EXPECT_EQ(in.n(4), 7u);
  in.n(2);
  for (int i = 0; i < 6; ++i)
    in.n(4);
  EXPECT_EQ(in.n(4), d);
  EXPECT_EQ(in.n(2), 0u);
  in.n(4);
  in.n(4);
  EXPECT_EQ(in.text(), u"a.mp3");
  in.text();
  EXPECT_EQ(in.text().size(), 15u);
  in.text();
  EXPECT_TRUE(in.done());
  in = host->run(0x1008, {d}).in();
  in.n(4);
  EXPECT_EQ(in.n(2), 0x3001u);
}

TEST_F(ResponderObjects, SizesBeyond32BitAreAllOnesInObjectInfo) {
  auto path = internal.file("big.bin", "");
  ASSERT_EQ(truncate(path.c_str(), 5LL << 30), 0);
  start();
  auto handle = find(u"big.bin");
  auto sizeField = [&](int bytes) {
    auto in = host->run(0x1008, {handle}).in();
    in.n(8);
    return in.n(bytes);
  };
  EXPECT_EQ(sizeField(4), 0xFFFFFFFFu);
  vphone::Manners manners;
  manners.sizeModulo32 = true;
  phone->setManners(manners);
  EXPECT_EQ(sizeField(4), 1u << 30);
  manners = {};
  manners.wideObjectInfoSize = true;
  phone->setManners(manners);
  EXPECT_EQ(sizeField(8), 5ull << 30);
}

TEST_F(ResponderObjects, FilesOfEverySizeAroundPacketsAndTransfersArriveWhole) {
  std::vector<std::size_t> sizes{0, 1, 499, 500, 501, 511, 512, 1012, 65536, (1 << 20) - 12, 1 << 20, (3 << 20) + 500};
  for (auto size : sizes)
    internal.file("f" + std::to_string(size), contents(size));
  start();
  for (auto size : sizes) {
    auto name = std::to_string(size);
    auto handle = find(u"f" + std::u16string(name.begin(), name.end()));
    auto result = host->run(0x1009, {handle});
    EXPECT_EQ(result.code, 0x2001);
    EXPECT_EQ(result.dataLength, size + 12);
    EXPECT_EQ(result.data, Out().raw(contents(size)).bytes) << size;
  }
}

TEST_F(ResponderObjects, AContainerOfFullPacketsEndsWithAZeroLengthPacket) {
  internal.file("f", contents(500));
  start();
  auto handle = find(u"f");
  host->wire->write(Initiator::command(0x1009, 50, {handle}), true, 20s);
  Bytes data;
  EXPECT_EQ(host->transfer(data), mtp::IoStatus::Ok);
  EXPECT_EQ(data.size(), 512u) << "the transfer ended, the response is one of its own";
}

TEST_F(ResponderObjects, AResponderWithoutZeroLengthPacketsLetsTheResponseFollowAtOnce) {
  options.manners.zeroLengthPackets = false;
  internal.file("f", contents(500));
  start();
  auto handle = find(u"f");
  host->wire->write(Initiator::command(0x1009, 50, {handle}), true, 20s);
  Bytes data;
  EXPECT_EQ(host->transfer(data), mtp::IoStatus::Ok);
  EXPECT_EQ(data.size(), 512u + 12);
}

TEST_F(ResponderObjects, ObjectsWithoutContentsCannotBeRead) {
  internal.folder("d");
  auto path = internal.file("gone.txt");
  start();
  auto gone = find(u"gone.txt");
  EXPECT_EQ(host->run(0x1009, {find(u"d")}).code, 0x2009);
  EXPECT_EQ(host->run(0x1009, {0}).code, 0x2009);
  EXPECT_EQ(host->run(0x1009, {0xFFFFFFFF}).code, 0x2009);
  std::filesystem::remove(path);
  EXPECT_EQ(host->run(0x1009, {gone}).code, 0x2009);
}

TEST_F(ResponderObjects, AContainerOf4GiBAndMoreHasNoLengthAndEndsWithAShortPacket) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "4 GiB take minutes under ThreadSanitizer";
#endif
  TemporaryFolder memory("/dev/shm"); // where holes are read fast
  options.storages[0].folder = memory.path();
  auto path = memory.file("big.bin", "");
  ASSERT_EQ(truncate(path.c_str(), (4LL << 30) + 5), 0);
  start();
  auto handle = find(u"big.bin");
  host->wire->write(Initiator::command(0x1009, 50, {handle}), true, 20s);
  Bytes piece(1 << 20);
  std::uint64_t size = 0;
  for (bool first = true, ended = false; !ended; first = false) {
    auto part = host->wire->read(piece, 20s);
    ASSERT_EQ(part.status, mtp::IoStatus::Ok);
    if (first) {
      EXPECT_EQ((In{piece}.n(4)), 0xFFFFFFFFu);
    }
    size += part.size;
    ended = part.endOfTransfer;
  }
  EXPECT_EQ(size, (4ull << 30) + 5 + 12);
}

TEST_F(ResponderObjects, PartialReadsAreCutAtTheEnd) {
  internal.file("f", contents(2000));
  start();
  auto handle = find(u"f");
  auto result = host->run(0x101B, {handle, 100, 512});
  EXPECT_EQ(result.data, Out().raw(contents(2000).substr(100, 512)).bytes);
  EXPECT_EQ(result.parameters, std::vector<std::uint32_t>{512});
  result = host->run(0x101B, {handle, 1990, 512});
  EXPECT_EQ(result.data.size(), 10u);
  EXPECT_EQ(result.parameters, std::vector<std::uint32_t>{10});
  EXPECT_EQ(host->run(0x101B, {handle, 2000, 5}).data.size(), 0u);
  EXPECT_EQ(host->run(0x101B, {handle, 2001, 5}).code, 0x201D);
}

TEST_F(ResponderObjects, PartialReadsReachBeyond4GiB) {
  auto path = internal.file("big.bin", "");
  ASSERT_EQ(truncate(path.c_str(), 5LL << 30), 0);
  std::fstream(path, std::ios::in | std::ios::out | std::ios::binary).seekp((5LL << 30) - 4).write("tail", 4);
  start();
  auto offset = (5ull << 30) - 4;
  auto result = host->run(0x95C1, {find(u"big.bin"), std::uint32_t(offset), std::uint32_t(offset >> 32), 100});
  EXPECT_EQ(result.data, Out().raw("tail").bytes);
  EXPECT_EQ(result.parameters, std::vector<std::uint32_t>{4});
}

TEST_F(ResponderObjects, AFileSentIsThere) {
  internal.folder("d");
  start();
  auto d = find(u"d");
  for (std::size_t size : {0, 1, 500, 512, 1012, (2 << 20) + 3}) {
    auto name = std::to_string(size);
    auto result = sendFile(std::u16string(name.begin(), name.end()), contents(size), d);
    EXPECT_EQ(result.code, 0x2001);
    ASSERT_EQ(result.parameters.size(), 3u);
    EXPECT_EQ(result.parameters[0], Internal);
    EXPECT_EQ(result.parameters[1], d);
    EXPECT_EQ(read(internal.path() / "d" / name), contents(size)) << size;
    EXPECT_EQ(host->run(0x9803, {result.parameters[2], 0xDC04}).in().n(8), size);
  }
}

TEST_F(ResponderObjects, ASentFileKeepsItsUtcDate) {
  start();
  EXPECT_EQ(sendFile(u"a.txt", "x", Root, u"20200102T030405Z").code, 0x2001);
  struct stat s {};
  ASSERT_EQ(stat((internal.path() / "a.txt").c_str(), &s), 0);
  EXPECT_EQ(s.st_mtime, 1577934245);
}

TEST_F(ResponderObjects, ATransferWithoutLengthEndsWithTheShortPacket) {
  start();
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"big", 0xFFFFFFFF)).code, 0x2001);
  EXPECT_EQ(host->send(0x100D, {}, Out().raw(contents(100000)).bytes, 0xFFFFFFFF).code, 0x2001);
  EXPECT_EQ(read(internal.path() / "big"), contents(100000));
}

TEST_F(ResponderObjects, AFileSentShortIsNotKept) {
  start();
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 1000)).code, 0x2001);
  EXPECT_EQ(host->send(0x100D, {}, Out().raw(contents(999)).bytes).code, 0x2007);
  EXPECT_FALSE(std::filesystem::exists(internal.path() / "a"));
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 1000)).code, 0x2001);
  EXPECT_EQ(host->send(0x100D, {}, Out().raw(contents(500)).bytes, 1012).code, 0x2007);
  EXPECT_TRUE(handles().empty());
}

TEST_F(ResponderObjects, AHostThatForgetsTheZeroLengthPacketIsForgiven) {
  start();
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 500)).code, 0x2001);
  host->wire->write(Initiator::command(0x100D, ++host->transaction), true, 20s);
  host->wire->write(Initiator::data(0x100D, host->transaction, Out().raw(contents(500)).bytes), false, 20s);
  EXPECT_EQ(host->receive(0x100D).code, 0x2001);
  EXPECT_EQ(read(internal.path() / "a"), contents(500));
}

TEST_F(ResponderObjects, FoldersNeedNoSecondStep) {
  start();
  auto result = host->send(0x100C, {Internal, Root}, objectInfo(u"Neuer Ordner", 0, true));
  ASSERT_EQ(result.code, 0x2001);
  EXPECT_EQ(result.parameters[1], Root);
  EXPECT_TRUE(std::filesystem::is_directory(internal.path() / "Neuer Ordner"));
  EXPECT_EQ(sendFile(u"in it", "x", result.parameters[2]).code, 0x2001);
  EXPECT_EQ(read(internal.path() / "Neuer Ordner" / "in it"), "x");
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"Neuer Ordner", 0, true)).code, 0x2002);
}

TEST_F(ResponderObjects, ParentZeroIsNoPlaceToSendTo) {
  start();
  EXPECT_EQ(host->send(0x100C, {Internal, 0}, objectInfo(u"a", 1)).code, 0x2009);
}

TEST_F(ResponderObjects, SendingToWrongPlacesIsRefused) {
  internal.file("f");
  card.folder("d");
  start();
  EXPECT_EQ(host->send(0x100C, {0, Root}, objectInfo(u"a", 1)).code, 0x2008);
  EXPECT_EQ(host->send(0x100C, {Internal, 999}, objectInfo(u"a", 1)).code, 0x2009);
  EXPECT_EQ(host->send(0x100C, {Internal, find(u"d", Root, Card)}, objectInfo(u"a", 1)).code, 0x2009);
  EXPECT_EQ(host->send(0x100C, {Internal, find(u"f")}, objectInfo(u"a", 1)).code, 0x201A);
}

TEST_F(ResponderObjects, AnExistingNameIsAGeneralError) {
  internal.file("a.txt", "old");
  start();
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a.txt", 1)).code, 0x2002);
  EXPECT_EQ(read(internal.path() / "a.txt"), "old");
}

TEST_F(ResponderObjects, OnAStorageThatFoldsCaseANameInOtherCaseOverwrites) {
  options.storages[0].foldsCase = true;
  internal.file("A.JPG", "precious");
  start();
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"A.JPG", 1)).code, 0x2002);
  EXPECT_EQ(sendFile(u"a.jpg", "new").code, 0x2001);
  EXPECT_EQ(read(internal.path() / "A.JPG"), "new");
  EXPECT_EQ(handles().size(), 1u);
}

TEST_F(ResponderObjects, NamesThatLeadElsewhereAreInvalidParameters) {
  start();
  for (auto name : {u"", u".", u"..", u"/", u"a/b", u"../../etc/x"})
    EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(name, 1)).code, 0x201D);
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(std::u16string(u"a\0b", 3), 1)).code, 0x201D);
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(std::u16string(1, 0xDC00), 1)).code, 0x201D);
  EXPECT_TRUE(std::filesystem::is_empty(internal.path()));
}

TEST_F(ResponderObjects, ANameOf254UnitsIsRefusedOnlyByTheDisk) {
  start();
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(std::u16string(254, u'a'), 0, true)).code, 0x2001);
  // 254 units of three bytes each: a fine name, but too long for the file system
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(std::u16string(254, u'日'), 0, true)).code, 0x2002);
}

TEST_F(ResponderObjects, AFileTooLargeForTheStorageIsRefusedBeforehand) {
  options.storages[0].capacity = 10000;
  options.storages[1].maxFileSize = 0xFFFFFFFF;
  internal.file("there", contents(4000));
  start();
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 6001)).code, 0x200C);
  EXPECT_EQ(sendFile(u"b", contents(6000)).code, 0x2001);
  EXPECT_EQ(host->send(0x100C, {Card, Root}, objectInfo(u"a", 0xFFFFFFFF)).code, 0xA809);
}

TEST_F(ResponderObjects, AFileThatTurnsOutTooLargeIsCutOffAndRemoved) {
  options.storages[0].capacity = 10000;
  start();
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 0xFFFFFFFF)).code, 0x2001);
  EXPECT_EQ(host->send(0x100D, {}, Out().raw(contents(20000)).bytes, 0xFFFFFFFF).code, 0x200C);
  EXPECT_TRUE(std::filesystem::is_empty(internal.path()));
  EXPECT_EQ(sendFile(u"b", contents(10)).code, 0x2001);
}

TEST_F(ResponderObjects, SendObjectNeedsAnObjectInfoRightBefore) {
  start();
  EXPECT_EQ(host->send(0x100D, {}, Out().raw("x").bytes).code, 0x2015);
  ASSERT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"a", 1)).code, 0x2001);
  EXPECT_EQ(host->run(0x1004).code, 0x2001);
  EXPECT_EQ(host->send(0x100D, {}, Out().raw("x").bytes).code, 0x2015);
  EXPECT_TRUE(handles().empty());
  EXPECT_EQ(sendFile(u"a", "x").code, 0x2001);
}

TEST_F(ResponderObjects, AReadOnlyStorageRefusesEveryChange) {
  options.storages[0].readOnly = true;
  internal.file("a");
  start();
  auto a = find(u"a");
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"b", 1)).code, 0x200E);
  EXPECT_EQ(host->run(0x100B, {a}).code, 0x200E);
  EXPECT_EQ(host->send(0x9804, {a, 0xDC07}, Out().text(u"c").bytes).code, 0x200E);
  EXPECT_EQ(host->run(0x1019, {a, Card, 0}).code, 0x200E);
  EXPECT_EQ(host->run(0x101A, {a, Internal, 0}).code, 0x200E);
  EXPECT_EQ(host->run(0x95C4, {a}).code, 0x200E);
  EXPECT_EQ(read(internal.path() / "a"), "x");
}

TEST_F(ResponderObjects, DeletingAFolderDeletesAllBelowIt) {
  internal.file("d/e/f.txt");
  internal.file("d/g.txt");
  start();
  auto d = find(u"d");
  auto g = find(u"g.txt", d);
  EXPECT_EQ(host->run(0x100B, {d}).code, 0x2001);
  EXPECT_TRUE(std::filesystem::is_empty(internal.path()));
  EXPECT_EQ(host->run(0x1008, {g}).code, 0x2009);
  EXPECT_EQ(host->run(0x100B, {d}).code, 0x2009);
}

TEST_F(ResponderObjects, ADeletionThatFailsInPartIsPartial) {
  options.manners.undeletable = {"kept.txt"};
  internal.file("d/kept.txt");
  internal.file("d/goes.txt");
  start();
  auto d = find(u"d");
  EXPECT_EQ(handles(Internal, d).size(), 2u);
  EXPECT_EQ(host->run(0x100B, {d}).code, 0x2012);
  EXPECT_TRUE(std::filesystem::exists(internal.path() / "d/kept.txt"));
  EXPECT_FALSE(std::filesystem::exists(internal.path() / "d/goes.txt"));
  EXPECT_EQ(handles(Internal, d).size(), 1u);
  EXPECT_EQ(host->run(0x100B, {find(u"kept.txt", d)}).code, 0x200D);
}

TEST_F(ResponderObjects, DeletionByFormatIsNotSupported) {
  internal.file("a");
  start();
  EXPECT_EQ(host->run(0x100B, {0xFFFFFFFF, 0x3801}).code, 0x2014);
  EXPECT_EQ(host->run(0x100B, {0xFFFFFFFF}).code, 0x2009);
  EXPECT_EQ(handles().size(), 1u);
}

TEST_F(ResponderObjects, DeletionDoesNotFollowLinks) {
  TemporaryFolder outside;
  outside.file("precious.txt");
  internal.folder("d");
  std::filesystem::create_symlink(outside.path(), internal.path() / "d" / "link");
  start();
  EXPECT_EQ(host->run(0x100B, {find(u"d")}).code, 0x2001);
  EXPECT_TRUE(std::filesystem::exists(outside.path() / "precious.txt"));
}

TEST_F(ResponderObjects, MovedThingsKeepTheirHandles) {
  internal.file("d/e/f.txt", "deep");
  internal.folder("t");
  start();
  auto e = find(u"e", find(u"d"));
  auto f = find(u"f.txt", e);
  auto t = find(u"t");
  EXPECT_EQ(host->run(0x1019, {e, Internal, t}).code, 0x2001);
  EXPECT_EQ(read(internal.path() / "t/e/f.txt"), "deep");
  EXPECT_EQ(find(u"e", t), e);
  EXPECT_EQ(find(u"f.txt", e), f);
  EXPECT_TRUE(handles(Internal, find(u"d")).empty());
  EXPECT_EQ(host->run(0x1019, {f, Card, 0}).code, 0x2001) << "another storage, its top is 0 here";
  EXPECT_EQ(read(card.path() / "f.txt"), "deep");
  EXPECT_EQ(host->run(0x9803, {f, 0xDC01}).in().n(4), Card);
}

TEST_F(ResponderObjects, MovingIntoWrongPlacesIsRefused) {
  internal.file("d/e/f.txt");
  internal.file("g.txt");
  card.file("g.txt");
  start();
  auto d = find(u"d");
  auto e = find(u"e", d);
  auto g = find(u"g.txt");
  EXPECT_EQ(host->run(0x1019, {d, Internal, Root}).code, 0x2009);
  EXPECT_EQ(host->run(0x1019, {d, 0, 0}).code, 0x2008);
  EXPECT_EQ(host->run(0x1019, {d, Internal, e}).code, 0x201A) << "into itself";
  EXPECT_EQ(host->run(0x1019, {d, Internal, g}).code, 0x201A);
  EXPECT_EQ(host->run(0x1019, {g, Card, 0}).code, 0x2002);
  EXPECT_EQ(host->run(0x1019, {999, Card, 0}).code, 0x2009);
  EXPECT_EQ(host->run(0x1019, {g, Card, e}).code, 0x2009) << "a folder of another storage";
}

TEST_F(ResponderObjects, CopiesAreThingsOfTheirOwn) {
  internal.file("d/e/f.txt", "deep");
  start();
  auto d = find(u"d");
  auto result = host->run(0x101A, {d, Card, 0});
  ASSERT_EQ(result.code, 0x2001);
  ASSERT_EQ(result.parameters.size(), 1u);
  EXPECT_NE(result.parameters[0], d);
  EXPECT_EQ(read(card.path() / "d/e/f.txt"), "deep");
  EXPECT_EQ(read(internal.path() / "d/e/f.txt"), "deep");
  EXPECT_EQ(find(u"d", Root, Card), result.parameters[0]);
  EXPECT_EQ(host->run(0x101A, {d, Card, 0}).code, 0x2002);
}

TEST_F(ResponderObjects, ACopyThatDoesNotFitIsRefused) {
  options.storages[1].capacity = 100;
  internal.file("d/f.bin", contents(101));
  start();
  EXPECT_EQ(host->run(0x101A, {find(u"d"), Card, 0}).code, 0x200C);
  EXPECT_TRUE(std::filesystem::is_empty(card.path()));
}

TEST_F(ResponderObjects, PartsOfAFileCanBeWrittenWhileItIsEdited) {
  internal.file("f", "0123456789");
  start();
  auto f = find(u"f");
  EXPECT_EQ(host->send(0x95C2, {f, 2, 0, 3}, Out().raw("abc").bytes).code, 0x2002) << "not being edited";
  EXPECT_EQ(host->run(0x95C3, {f, 5, 0}).code, 0x2002);
  EXPECT_EQ(host->run(0x95C5, {f}).code, 0x2002);
  EXPECT_EQ(host->run(0x95C4, {f}).code, 0x2001);
  auto result = host->send(0x95C2, {f, 2, 0, 3}, Out().raw("abc").bytes);
  EXPECT_EQ(result.code, 0x2001);
  EXPECT_EQ(result.parameters, std::vector<std::uint32_t>{3});
  EXPECT_EQ(host->send(0x95C2, {f, 11, 0, 1}, Out().raw("x").bytes).code, 0x201D) << "no holes";
  EXPECT_EQ(host->run(0x95C3, {f, 6, 0}).code, 0x2001);
  EXPECT_EQ(host->run(0x95C5, {f}).code, 0x2001);
  EXPECT_EQ(read(internal.path() / "f"), "01abc5");
  EXPECT_EQ(host->run(0x9803, {f, 0xDC04}).in().n(8), 6u);
}

TEST_F(ResponderObjects, LinksAndSpecialFilesDoNotExist) {
  TemporaryFolder outside;
  outside.file("secret.txt");
  internal.file("real.txt");
  std::filesystem::create_symlink(outside.path(), internal.path() / "folderlink");
  std::filesystem::create_symlink(outside.path() / "secret.txt", internal.path() / "filelink");
  ASSERT_EQ(mkfifo((internal.path() / "pipe").c_str(), 0600), 0);
  start();
  EXPECT_EQ(handles().size(), 1u);
  EXPECT_EQ(handles(Internal, 0).size(), 1u);
  EXPECT_EQ(host->send(0x100C, {Internal, Root}, objectInfo(u"filelink", 1)).code, 0x2002)
      << "nor can one be overwritten";
}

TEST_F(ResponderObjects, AFolderReplacedByALinkLeadsNowhere) {
  TemporaryFolder outside;
  outside.file("secret.txt", "secret");
  internal.file("d/secret.txt", "public");
  start();
  auto d = find(u"d");
  auto file = find(u"secret.txt", d);
  std::filesystem::remove_all(internal.path() / "d");
  std::filesystem::create_symlink(outside.path(), internal.path() / "d");
  EXPECT_EQ(host->run(0x1009, {file}).code, 0x2009);
  EXPECT_EQ(host->run(0x1007, {Internal, 0, d}).code, 0x2009);
}

TEST_F(ResponderObjects, OneThumbnailIsFoundAndElseThereIsNone) {
  // A JPEG head: APP1 with "Exif", little-endian TIFF, an empty first directory and a second one with the thumbnail.
  Out tiff;
  tiff.raw("II").n(42, 2).n(8, 4).n(0, 2).n(14, 4).n(2, 2);
  tiff.n(0x0201, 2).n(4, 2).n(1, 4).n(44, 4).n(0x0202, 2).n(4, 2).n(1, 4).n(5, 4).n(0, 4).raw("thumb");
  Out jpeg;
  jpeg.n(0xD8FF, 2).n(0xE1FF, 2);
  auto length = tiff.bytes.size() + 8;
  jpeg.n(length >> 8, 1).n(length & 0xFF, 1).raw("Exif").n(0, 2);
  jpeg.bytes.insert(jpeg.bytes.end(), tiff.bytes.begin(), tiff.bytes.end());
  std::string file(reinterpret_cast<const char*>(jpeg.bytes.data()), jpeg.bytes.size());
  internal.file("a.jpg", file);
  internal.file("b.jpg", "no picture at all");
  internal.file("c.txt", file);
  start();
  auto a = find(u"a.jpg");
  EXPECT_EQ(host->run(0x100A, {a}).data, Out().raw("thumb").bytes);
  auto in = host->run(0x1008, {a}).in();
  in.n(8);
  in.n(4);
  EXPECT_EQ(in.n(2), 0x3801u);
  EXPECT_EQ(in.n(4), 5u);
  EXPECT_EQ(host->run(0x100A, {find(u"b.jpg")}).code, 0x2010);
  EXPECT_EQ(host->run(0x100A, {find(u"c.txt")}).code, 0x2010);
  EXPECT_EQ(host->run(0x100A, {999}).code, 0x2009);
}

} // namespace
