#include "VirtualPhone/Initiator.h"

#include <algorithm>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>

namespace {

using namespace testing_phone;

struct Row {
  std::uint32_t handle;
  std::uint16_t property;
  std::uint64_t number;
  std::u16string text;
};

struct ResponderProperties : PhoneTest {
  std::vector<Row> rows(std::uint32_t handle, std::uint32_t property, std::uint32_t depth, std::uint32_t format = 0) {
    auto result = host->run(0x9805, {handle, format, property, 0, depth});
    EXPECT_EQ(result.code, 0x2001);
    std::vector<Row> list;
    if (!result.hadData)
      return list;
    auto in = result.in();
    for (auto count = in.n(4); count > 0; --count) {
      Row row{};
      row.handle = std::uint32_t(in.n(4));
      row.property = std::uint16_t(in.n(2));
      switch (in.n(2)) {
      case 0x0004:
        row.number = in.n(2);
        break;
      case 0x0006:
        row.number = in.n(4);
        break;
      case 0x0008:
        row.number = in.n(8);
        break;
      case 0x000A:
        in.n(8);
        row.number = in.n(8);
        break;
      case 0xFFFF:
        row.text = in.text();
        break;
      default:
        ADD_FAILURE() << "unknown type";
      }
      list.push_back(row);
    }
    EXPECT_TRUE(in.done());
    return list;
  }
  std::vector<std::u16string> names(const std::vector<Row>& list) {
    std::vector<std::u16string> result;
    for (const auto& row : list)
      result.push_back(row.text);
    std::sort(result.begin(), result.end());
    return result;
  }
  using Names = std::vector<std::u16string>;
};

TEST_F(ResponderProperties, AFolderListedByDepthComesWithItsOwnRow) {
  internal.file("DCIM/a.jpg");
  internal.file("DCIM/b.jpg");
  internal.folder("DCIM/Camera");
  internal.file("DCIM/Camera/deep.jpg");
  start();
  auto folder = find(u"DCIM");
  auto list = rows(folder, 0xDC07, 1);
  EXPECT_EQ(names(list), (Names{u"Camera", u"DCIM", u"a.jpg", u"b.jpg"}));
  EXPECT_EQ(list[0].handle, folder);
}

TEST_F(ResponderProperties, HandleZeroMergesTheTopsOfAllStorages) {
  internal.file("a.txt");
  card.file("b.txt");
  start();
  auto list = rows(0, 0xDC07, 1);
  EXPECT_EQ(names(list), (Names{u"a.txt", u"b.txt"}));
  EXPECT_EQ(names(rows(0, 0xDC07, 0)), (Names{u"a.txt", u"b.txt"}));
  std::map<std::uint32_t, std::uint64_t> storage;
  for (const auto& row : rows(0, 0xDC01, 1))
    storage[row.handle] = row.number;
  for (const auto& row : list)
    EXPECT_EQ(storage[row.handle], row.text == u"a.txt" ? Internal : Card);
}

TEST_F(ResponderProperties, HandleAllWalksEverything) {
  internal.file("x/y/z.txt");
  card.file("b.txt");
  start();
  EXPECT_EQ(names(rows(0xFFFFFFFF, 0xDC07, 0)), (Names{u"b.txt", u"x", u"y", u"z.txt"}));
  EXPECT_EQ(names(rows(0, 0xDC07, 0xFFFFFFFF)), (Names{u"b.txt", u"x", u"y", u"z.txt"}));
}

TEST_F(ResponderProperties, DepthZeroIsTheObjectAlone) {
  internal.file("x/y.txt");
  start();
  EXPECT_EQ(names(rows(find(u"x"), 0xDC07, 0)), Names{u"x"});
}

TEST_F(ResponderProperties, DepthOneOfAFileIsTheFile) {
  internal.file("y.txt");
  start();
  EXPECT_EQ(names(rows(find(u"y.txt"), 0xDC07, 1)), Names{u"y.txt"});
}

TEST_F(ResponderProperties, DeeperListsGroupsAndUnknownPropertiesAreRefused) {
  internal.file("x/y.txt");
  start();
  auto x = find(u"x");
  EXPECT_EQ(host->run(0x9805, {x, 0, 0xDC07, 0, 2}).code, 0xA808);
  EXPECT_EQ(host->run(0x9805, {x, 0, 0xDC07, 0, 0xFFFFFFFF}).code, 0xA808);
  EXPECT_EQ(host->run(0x9805, {x, 0, 0, 0, 1}).code, 0x2006);
  EXPECT_EQ(host->run(0x9805, {x, 0, 0, 2, 1}).code, 0xA807);
  EXPECT_EQ(host->run(0x9805, {x, 0, 0xDC55, 0, 1}).code, 0xA80A);
  EXPECT_EQ(host->run(0x9805, {4711, 0, 0xDC07, 0, 1}).code, 0x2009);
}

TEST_F(ResponderProperties, AFormatFiltersTheList) {
  internal.file("a.jpg");
  internal.file("b.mp3");
  start();
  EXPECT_EQ(names(rows(0, 0xDC07, 1, 0x3801)), Names{u"a.jpg"});
}

TEST_F(ResponderProperties, SizesAre64BitWide) {
  auto path = internal.file("big.bin", "");
  ASSERT_EQ(truncate(path.c_str(), 5LL << 30), 0);
  start();
  auto handle = find(u"big.bin");
  EXPECT_EQ(rows(handle, 0xDC04, 0).at(0).number, 5ull << 30);
  EXPECT_EQ(host->run(0x9803, {handle, 0xDC04}).in().n(8), 5ull << 30);
}

TEST_F(ResponderProperties, DatesAreThePhonesLocalTimeWithoutAZone) {
  auto path = internal.file("a.txt");
  std::tm local{};
  local.tm_year = 124;
  local.tm_mon = 1;
  local.tm_mday = 29;
  local.tm_hour = 7;
  local.tm_min = 8;
  local.tm_sec = 9;
  local.tm_isdst = -1;
  struct timespec times[2] = {{0, UTIME_OMIT}, {mktime(&local), 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  start();
  EXPECT_EQ(rows(find(u"a.txt"), 0xDC09, 0).at(0).text, u"20240229T070809");
}

TEST_F(ResponderProperties, AllPropertiesOfAnObjectComeInOneList) {
  internal.file("d/a.jpg", "12345");
  start();
  auto d = find(u"d");
  auto a = find(u"a.jpg", d);
  std::map<std::uint16_t, Row> byCode;
  for (const auto& row : rows(a, 0xFFFFFFFF, 0))
    byCode[row.property] = row;
  EXPECT_EQ(byCode.size(), 11u);
  EXPECT_EQ(byCode[0xDC01].number, Internal);
  EXPECT_EQ(byCode[0xDC02].number, 0x3801u);
  EXPECT_EQ(byCode[0xDC04].number, 5u);
  EXPECT_EQ(byCode[0xDC07].text, u"a.jpg");
  EXPECT_EQ(byCode[0xDC0B].number, d);
  EXPECT_EQ(byCode[0xDC44].text, u"a.jpg");
  EXPECT_EQ(byCode[0xDC09].text.size(), 15u);
  EXPECT_EQ(byCode[0xDC4E].text, byCode[0xDC09].text);
}

TEST_F(ResponderProperties, NamesKeepEveryCharacter) {
  for (const char* name : {"日本語.txt", "emoji 😀.png", "a:b?c*d|e\"f.txt", "ümlaut"})
    internal.file(name);
  start();
  EXPECT_EQ(names(rows(0, 0xDC07, 1)), (Names{u"a:b?c*d|e\"f.txt", u"emoji 😀.png", u"ümlaut", u"日本語.txt"}));
}

TEST_F(ResponderProperties, SupportedPropertiesAreThoseDescribed) {
  start();
  auto codes = host->run(0x9801, {0x3000}).in().list(2);
  EXPECT_EQ(codes.size(), 11u);
  for (auto code : codes) {
    auto in = host->run(0x9802, {code, 0x3000}).in();
    EXPECT_EQ(in.n(2), code);
    in.n(2);
    EXPECT_EQ(in.n(1), code == 0xDC07 ? 1u : 0u) << "only the file name can be changed";
  }
  EXPECT_EQ(host->run(0x9802, {0xDC55, 0x3000}).code, 0xA801);
}

TEST_F(ResponderProperties, TheDescriptionOfTheSizeIsTheseVeryBytes) {
  start();
  auto data = host->run(0x9802, {0xDC04, 0x3000}).data;
  EXPECT_EQ(data, Out().n(0xDC04, 2).n(8, 2).n(0, 1).n(0, 8).n(0, 4).n(0, 1).bytes);
}

TEST_F(ResponderProperties, SingleValuesOfMissingThingsAreRefused) {
  internal.file("a.txt");
  start();
  EXPECT_EQ(host->run(0x9803, {999, 0xDC07}).code, 0x2009);
  EXPECT_EQ(host->run(0x9803, {0, 0xDC07}).code, 0x2009);
  EXPECT_EQ(host->run(0x9803, {find(u"a.txt"), 0xDC55}).code, 0xA80A);
}

TEST_F(ResponderProperties, SettingTheFileNameRenames) {
  internal.file("old.txt", "contents");
  start();
  auto handle = find(u"old.txt");
  EXPECT_EQ(host->send(0x9804, {handle, 0xDC07}, Out().text(u"neu ü.txt").bytes).code, 0x2001);
  EXPECT_EQ(read(internal.path() / "neu ü.txt"), "contents");
  EXPECT_FALSE(std::filesystem::exists(internal.path() / "old.txt"));
  EXPECT_EQ(nameOf(handle), u"neu ü.txt") << "the handle stays";
  EXPECT_EQ(find(u"neu ü.txt"), handle);
}

TEST_F(ResponderProperties, ARenamedFolderKeepsWhatIsInIt) {
  internal.file("d/x/y.txt", "deep");
  start();
  auto d = find(u"d");
  auto y = find(u"y.txt", find(u"x", d));
  EXPECT_EQ(host->send(0x9804, {d, 0xDC07}, Out().text(u"e").bytes).code, 0x2001);
  EXPECT_EQ(host->run(0x1009, {y}).data, Out().raw("deep").bytes);
}

TEST_F(ResponderProperties, ANameThatIsTakenIsAGeneralErrorAndBothFilesStay) {
  internal.file("a.txt", "a");
  internal.file("b.txt", "b");
  start();
  EXPECT_EQ(host->send(0x9804, {find(u"a.txt"), 0xDC07}, Out().text(u"b.txt").bytes).code, 0x2002);
  EXPECT_EQ(read(internal.path() / "a.txt"), "a");
  EXPECT_EQ(read(internal.path() / "b.txt"), "b");
}

TEST_F(ResponderProperties, NamesThatLeadElsewhereAreInvalid) {
  internal.file("a.txt");
  start();
  auto handle = find(u"a.txt");
  for (auto name : {u".", u"..", u"x/y", u"../a", u""})
    EXPECT_EQ(host->send(0x9804, {handle, 0xDC07}, Out().text(name).bytes).code, 0x201D);
  EXPECT_EQ(host->send(0x9804, {handle, 0xDC07}, Out().text(std::u16string(1, 0xD800)).bytes).code, 0x201D);
  EXPECT_EQ(nameOf(handle), u"a.txt");
}

TEST_F(ResponderProperties, OnlyTheFileNameCanBeSet) {
  internal.file("a.txt");
  start();
  auto handle = find(u"a.txt");
  EXPECT_EQ(host->send(0x9804, {handle, 0xDC09}, Out().text(u"20200101T000000").bytes).code, 0xA80A);
  EXPECT_EQ(host->send(0x9804, {999, 0xDC07}, Out().text(u"b").bytes).code, 0x2009);
  EXPECT_EQ(host->send(0x9804, {handle, 0xDC07}, Out().n(9, 1).bytes).code, 0xA803);
}

TEST_F(ResponderProperties, ReferencesAreKept) {
  internal.file("a.txt");
  internal.file("b.txt");
  start();
  auto a = find(u"a.txt");
  auto b = find(u"b.txt");
  EXPECT_TRUE(host->run(0x9810, {a}).in().list(4).empty());
  EXPECT_EQ(host->send(0x9811, {a}, Out().n(1, 4).n(b, 4).bytes).code, 0x2001);
  EXPECT_EQ(host->run(0x9810, {a}).in().list(4), std::vector<std::uint32_t>{b});
  EXPECT_EQ(host->send(0x9811, {a}, Out().n(1, 4).n(999, 4).bytes).code, 0xA804);
  EXPECT_EQ(host->send(0x9811, {a}, Out().n(0xFFFFFFFF, 4).n(b, 4).bytes).code, 0xA806);
}

TEST_F(ResponderProperties, AResponderThatIgnoresDepthAnswersForTheObjectItself) {
  options.manners.ignoresDepth = true;
  internal.file("x/y.txt");
  start();
  auto x = find(u"x");
  EXPECT_EQ(names(rows(x, 0xDC07, 1)), Names{u"x"});
  auto root = rows(0, 0xDC01, 1);
  ASSERT_EQ(root.size(), 1u);
  EXPECT_EQ(root[0].number, Card) << "the last storage's";
}

TEST_F(ResponderProperties, ALongListIsOneContainer) {
  constexpr std::size_t Count = 2000;
  for (std::size_t i = 0; i < Count; ++i)
    internal.file("many/IMG_20240101_" + std::to_string(100000 + i) + ".jpg", "");
  start();
  auto many = find(u"many");
  EXPECT_EQ(handles(Internal, many).size(), Count);
  for (std::uint32_t property : {0xDC07u, 0xDC02u, 0xDC04u, 0xDC09u, 0xDC01u})
    EXPECT_EQ(rows(many, property, 1).size(), Count + 1);
}

} // namespace
