#include "TessalyMTPSdk/FolderLister.h"

#include "TessalyMTPSdk/Engine.h"
#include "support/ScriptedTransport.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

using namespace mtp;
using namespace testsupport;

namespace {

constexpr std::uint32_t Storage = 0x00010001;
constexpr std::uint32_t OtherStorage = 0x00020001;

struct Object {
  std::uint32_t handle;
  std::uint32_t parent; // 0: top level
  std::string name;
  bool folder = false;
  std::uint64_t size = 0;
  std::uint32_t storage = Storage;
};

ByteVector text(const std::string& ascii) {
  return joined(number(ascii.size() + 1, 1), hex("'" + ascii + "' 0000"));
}

/// A phone made of a table. What it leaves out or gets wrong is set by the tests.
class TablePhone {
public:
  std::vector<Object> objects;
  bool hasPropertyLists = true;
  bool ignoresDepth = false;
  bool servesAllProperties = true;               // property 0xFFFFFFFF of one object
  std::set<unsigned> refusedProperties;          // by depth, 0xA80A
  std::map<unsigned, unsigned> failingHandles;   // handle -> response code, when asked for alone
  std::function<void(unsigned operation)> after; // the answer is made
  std::function<void(ByteVector& rows, unsigned property)> spoilRows;
  std::vector<std::uint32_t> extraHandles; // in GetObjectHandles
  unsigned depthFailure = 0;               // response to any question by depth

  std::vector<Piece> operator()(const ByteVector& command) {
    const unsigned operation = word(command, 6, 2);
    const unsigned transaction = word(command, 8, 4);
    std::vector<std::uint32_t> parameters(5, 0);
    for (std::size_t i = 0; 12 + 4 * i < command.size(); ++i)
      parameters[i] = word(command, 12 + 4 * i, 4);
    unsigned code = 0x2001;
    ByteVector payload = answer(operation, parameters, code);
    if (after)
      after(operation);
    std::vector<Piece> pieces;
    if (code == 0x2001 && !payload.empty())
      pieces.push_back({joined(number(12 + payload.size(), 4), number(2, 2), number(operation, 2),
                               number(transaction, 4), payload)});
    pieces.push_back({joined(number(12, 4), number(3, 2), number(code, 2), number(transaction, 4))});
    return pieces;
  }

private:
  static std::uint32_t word(const ByteVector& bytes, std::size_t at, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = size; i-- > 0;)
      value = value << 8 | std::to_integer<std::uint32_t>(bytes.at(at + i));
    return value;
  }
  const Object* find(std::uint32_t handle) const {
    const auto found = std::ranges::find(objects, handle, &Object::handle);
    return found != objects.end() ? &*found : nullptr;
  }

  ByteVector answer(unsigned operation, const std::vector<std::uint32_t>& p, unsigned& code) {
    switch (operation) {
    case 0x1007: {
      std::vector<std::uint32_t> handles;
      for (const Object& object : objects) {
        const bool here = p[2] == 0xFFFFFFFF ? object.parent == 0 && object.storage == p[0] : object.parent == p[2];
        if (here || p[2] == 0)
          handles.push_back(object.handle);
      }
      handles.insert(handles.end(), extraHandles.begin(), extraHandles.end());
      ByteVector dataset = number(handles.size(), 4);
      for (const std::uint32_t handle : handles)
        dataset = joined(dataset, number(handle, 4));
      return dataset;
    }
    case 0x1008: {
      const Object* object = find(p[0]);
      if (!object || failingHandles.contains(p[0])) {
        code = object ? failingHandles[p[0]] : 0x2009;
        return {};
      }
      const std::uint64_t size = std::min<std::uint64_t>(object->size, 0xFFFFFFFF);
      return joined(number(object->storage, 4), number(object->folder ? 0x3001 : 0x3000, 2), number(0, 2),
                    number(size, 4), ByteVector(2 + 4 * 6), number(object->parent, 4), ByteVector(10),
                    text(object->name), hex("00"), text("20240101T000000"), hex("00"));
    }
    case 0x9803:
      return number(find(p[0])->size, 8);
    case 0x9805:
      return propertyList(p, code);
    default:
      code = 0x2005;
      return {};
    }
  }

  ByteVector propertyList(const std::vector<std::uint32_t>& p, unsigned& code) {
    if (!hasPropertyLists) {
      code = 0x2005;
      return {};
    }
    std::uint32_t count = 0;
    ByteVector rows;
    if (p[4] == 1 && depthFailure != 0) {
      code = depthFailure;
      return {};
    }
    if (p[4] == 1 && refusedProperties.contains(p[2])) {
      code = 0xA80A;
      return {};
    }
    if (p[4] == 0 && (!servesAllProperties || failingHandles.contains(p[0]))) {
      code = failingHandles.contains(p[0]) ? failingHandles[p[0]] : 0xA807;
      return {};
    }
    for (const Object& object : objects) {
      const bool self = object.handle == p[0];
      const bool child = p[4] == 1 && !ignoresDepth && object.parent == p[0];
      if (!self && !child)
        continue;
      for (const unsigned property : {0xDC01u, 0xDC02u, 0xDC04u, 0xDC07u, 0xDC09u}) {
        if (p[2] != property && p[2] != 0xFFFFFFFF)
          continue;
        ++count;
        rows = joined(rows, number(object.handle, 4), number(property, 2), value(object, property));
      }
    }
    ByteVector dataset = joined(number(count, 4), rows);
    if (spoilRows)
      spoilRows(dataset, p[2]);
    return dataset;
  }

  static ByteVector value(const Object& object, unsigned property) {
    switch (property) {
    case 0xDC01:
      return joined(number(6, 2), number(object.storage, 4));
    case 0xDC02:
      return joined(number(4, 2), number(object.folder ? 0x3001 : 0x3000, 2));
    case 0xDC04:
      return joined(number(8, 2), number(object.size, 8));
    case 0xDC07:
      return joined(number(0xFFFF, 2), text(object.name));
    default:
      return joined(number(0xFFFF, 2), text("20240101T000000"));
    }
  }
};

class Listings : public ::testing::Test {
protected:
  Listings() {
    setLog([](LogLevel, const std::string&) {});
    script->otherwise = [this](const ByteVector& command) { return phone(command); };
    info.operations = {0x1001, 0x1007, 0x1008, 0x9803, 0x9805};
    phone.objects = {
        {1, 0, "DCIM", true},    {2, 0, "note.txt", false, 5}, {3, 0, "card.txt", false, 6, OtherStorage},
        {10, 1, "Camera", true}, {11, 1, "a.jpg", false, 100}, {12, 1, "b.jpg", false, std::uint64_t{5} << 30},
    };
  }
  ~Listings() override { setLog(nullptr); }

  Status list(std::uint32_t parent, std::uint32_t storage = Storage) {
    if (!lister) {
      session = std::make_unique<Session>(std::make_unique<ScriptedTransport>(script));
      lister = std::make_unique<FolderLister>(*session, info);
    }
    script->commands.clear();
    return lister->list(
        storage, parent, [this] { return wanted; }, folder);
  }
  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const ListedObject& object : folder.objects) {
      std::string name;
      for (const char16_t unit : folder.name(object))
        name += static_cast<char>(unit);
      all.push_back(name);
    }
    return all;
  }
  /// "operation:property" of all commands sent since the last list().
  std::vector<std::string> asked() const {
    std::vector<std::string> all;
    for (const ByteVector& command : script->commands) {
      char line[32];
      const auto at = [&](std::size_t i) { return i < command.size() ? std::to_integer<unsigned>(command[i]) : 0u; };
      std::snprintf(line, sizeof line, "%02X%02X:%02X%02X", at(7), at(6), at(21), at(20));
      all.push_back(line);
    }
    return all;
  }

  TablePhone phone;
  std::shared_ptr<Script> script = std::make_shared<Script>();
  DeviceInfo info;
  std::unique_ptr<Session> session;
  std::unique_ptr<FolderLister> lister;
  ListedFolder folder;
  bool wanted = true;
};

using Strings = std::vector<std::string>;

} // namespace

TEST_F(Listings, FindOutByDepthWithSixTransactionsAndNeedFewerAfterwards) {
  ASSERT_EQ(list(FolderLister::TopLevel), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"DCIM", "note.txt"})) << "the other storage's top level is left out";
  EXPECT_EQ(script->commands.size(), 6u);
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "a.jpg", "b.jpg"})) << "without the parent's own row";
  EXPECT_LE(script->commands.size(), 5u);
  EXPECT_TRUE(folder.objects[0].folder);
  EXPECT_FALSE(folder.objects[1].folder);
  EXPECT_EQ(folder.objects[1].size, 100u);
  EXPECT_EQ(folder.objects[2].size, std::uint64_t{5} << 30);
  EXPECT_EQ(folder.date(folder.objects[2]), u"20240101T000000");
}

TEST_F(Listings, AskForTheTopLevelOfOneStorageInTheRightWords) {
  list(FolderLister::TopLevel);
  EXPECT_EQ(script->commands.at(0), hex("18000000 0100 0710 01000000 01000100 00000000 FFFFFFFF"));
  EXPECT_EQ(script->commands.at(1), hex("20000000 0100 0598 02000000 00000000 00000000 07DC0000 00000000 01000000"));
}

TEST_F(Listings, AnEmptyFolderSaysNothingAboutThePhone) {
  phone.objects = {{1, 0, "empty", true}};
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_TRUE(folder.objects.empty());
  EXPECT_EQ(script->commands.size(), 1u);
  phone.objects.push_back({5, 1, "new"});
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), Strings{"new"});
  EXPECT_EQ(asked()[1], "9805:DC07") << "now it is found out";
}

TEST_F(Listings, AreOneAnObjectWhereDepthIsIgnored) {
  phone.ignoresDepth = true;
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "a.jpg", "b.jpg"}));
  EXPECT_EQ(folder.objects[2].size, std::uint64_t{5} << 30);
  EXPECT_EQ(script->commands.size(), 3u + 2u);
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(script->commands.size(), 3u + 1u);
}

TEST_F(Listings, UseObjectInfoWherePropertyListsAreNotServed) {
  info.operations = {0x1001, 0x1007, 0x1008, 0x9803};
  phone.hasPropertyLists = false;
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "a.jpg", "b.jpg"}));
  EXPECT_EQ(folder.objects[2].size, std::uint64_t{5} << 30) << "asked from ObjectSize";
  EXPECT_EQ(script->commands.size(), 1u + 3u + 1u);
}

TEST_F(Listings, KeepThirtyTwoBitSizesWhereNobodyTellsMore) {
  info.operations = {0x1001, 0x1007, 0x1008};
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(folder.objects[2].size, 0xFFFFFFFFu);
  EXPECT_EQ(script->commands.size(), 1u + 3u);
}

TEST_F(Listings, FallToObjectInfoWhereAllPropertiesOfAnObjectAreRefused) {
  phone.ignoresDepth = true;
  phone.servesAllProperties = false;
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "a.jpg", "b.jpg"}));
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  const Strings again = asked();
  EXPECT_EQ(std::ranges::count_if(again, [](const std::string& a) { return a.starts_with("9805"); }), 0)
      << "and remember it";
}

TEST_F(Listings, ARefusedDepthIsRememberedAsOneAnObject) {
  for (const unsigned refusal : {0xA807u, 0xA808u, 0x2005u, 0x2006u, 0xA801u, 0xA80Au}) {
    lister.reset();
    session.reset();
    script->gone = false;
    phone.depthFailure = refusal;
    ASSERT_EQ(list(1), DGSTATUS_SUCCESS) << std::hex << refusal;
    EXPECT_EQ(names().size(), 3u);
    ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
    EXPECT_EQ(script->commands.size(), 4u) << std::hex << refusal;
  }
}

TEST_F(Listings, AGeneralErrorIsAnsweredTheOtherWayAndNotRemembered) {
  phone.depthFailure = 0x2002;
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names().size(), 3u);
  phone.depthFailure = 0;
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(asked()[1], "9805:DC07") << "found out now";
  phone.depthFailure = 0x2002;
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names().size(), 3u);
  phone.depthFailure = 0;
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(asked(), (Strings{"9805:DC07", "9805:DC02", "9805:DC04", "9805:DC09"}));
}

TEST_F(Listings, AFolderThatVanishesWhileFindingOutIsAStatusAndNothingIsRemembered) {
  phone.depthFailure = 0x2009;
  EXPECT_EQ(list(1), DGSTATUS_INTERNAL_INVALIDOBJECTHANDLE);
  phone.depthFailure = 0;
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(script->commands.size(), 2u + 3u) << "by depth";
}

TEST_F(Listings, GoOnWithoutDatesThatThePhoneRefuses) {
  phone.refusedProperties = {0xDC09};
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names().size(), 3u);
  EXPECT_TRUE(folder.date(folder.objects[1]).empty());
  EXPECT_EQ(folder.objects[1].size, 100u);
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(asked(), (Strings{"9805:DC07", "9805:DC02", "9805:DC04"}));
}

TEST_F(Listings, TellStoragesApartByHandlesWhereTheStorageIsRefused) {
  phone.refusedProperties = {0xDC01};
  ASSERT_EQ(list(FolderLister::TopLevel), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"DCIM", "note.txt"}));
  ASSERT_EQ(list(FolderLister::TopLevel, OtherStorage), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), Strings{"card.txt"});
  EXPECT_LE(script->commands.size(), 6u);
}

TEST_F(Listings, AreOneAnObjectWhereSizesByDepthAreRefused) {
  phone.refusedProperties = {0xDC04};
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names().size(), 3u);
  EXPECT_EQ(folder.objects[1].size, 100u);
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(script->commands.size(), 4u);
}

TEST_F(Listings, UnreadableRowsSendThemTheOtherWay) {
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  phone.spoilRows = [](ByteVector& rows, unsigned property) {
    if (property == 0xDC02)
      rows.pop_back();
  };
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "a.jpg", "b.jpg"}));
  phone.spoilRows = nullptr;
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(script->commands.size(), 4u) << "only that once";
}

TEST_F(Listings, AnUnreadableAnswerIsAskedForOnceMore) {
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  phone.spoilRows = [this](ByteVector& rows, unsigned property) {
    if (property != 0xDC02)
      return;
    rows.pop_back();
    phone.spoilRows = nullptr;
  };
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "a.jpg", "b.jpg"}));
  EXPECT_EQ(asked(), (Strings{"9805:DC07", "9805:DC02", "9805:DC07", "9805:DC02", "9805:DC04", "9805:DC09"}));
}

TEST_F(Listings, AnAnswerCutShortWhileFindingOutSettlesNothing) {
  bool cut = false;
  script->otherwise = [&](const ByteVector& command) {
    auto pieces = phone(command);
    if (!cut && command[6] == std::byte{0x05} && command[7] == std::byte{0x98}) {
      cut = true;
      pieces.front().bytes.pop_back();
    }
    return pieces;
  };
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "a.jpg", "b.jpg"}));
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(script->commands.size(), 2u + 3u) << "by depth";
}

TEST_F(Listings, AnObjectGoneBetweenTwoQuestionsIsLeftOut) {
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  phone.after = [this](unsigned) { std::erase_if(phone.objects, [](const Object& o) { return o.handle == 11; }); };
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "b.jpg"}));
  EXPECT_EQ(folder.objects[1].size, std::uint64_t{5} << 30) << "the rows still meet their objects";
}

TEST_F(Listings, AnObjectGoneBetweenHandlesAndPropertiesDoesNotFailTheOthers) {
  info.operations = {0x1001, 0x1007, 0x1008};
  phone.failingHandles = {{11, 0x2009}};
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "b.jpg"}));
  phone.failingHandles = {{10, 0x2002}};
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"a.jpg", "b.jpg"}));
}

TEST_F(Listings, OneObjectThatIsRefusedDoesNotCostTheOthersTheirSixtyFourBitSize) {
  info.operations = {0x1001, 0x1007, 0x1008, 0x9805};
  phone.ignoresDepth = true;
  phone.failingHandles = {{11, 0x2002}};
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "b.jpg"}));
  EXPECT_EQ(folder.objects[1].size, std::uint64_t{5} << 30);
}

TEST_F(Listings, AFolderOfWhichNothingCanBeReadIsAStatusNotAnEmptyFolder) {
  info.operations = {0x1001, 0x1007, 0x1008};
  phone.failingHandles = {{10, 0x2002}, {11, 0x2002}, {12, 0x2002}};
  EXPECT_EQ(list(1), DGSTATUS_INTERNAL_GENERALERROR);
  phone.failingHandles = {{10, 0x2009}, {11, 0x2009}, {12, 0x2009}};
  EXPECT_EQ(list(1), DGSTATUS_SUCCESS) << "all of it was deleted meanwhile";
  EXPECT_TRUE(folder.objects.empty());
}

TEST_F(Listings, APhoneThatGarblesEveryObjectIsNotAskedForAllOfThem) {
  info.operations = {0x1001, 0x1007, 0x1008};
  for (std::uint32_t handle = 100; handle < 600; ++handle)
    phone.objects.push_back({handle, 1, std::to_string(handle)});
  script->otherwise = [this](const ByteVector& command) -> std::vector<Piece> {
    const bool info = command[6] == std::byte{0x08} && command[7] == std::byte{0x10};
    return info ? std::vector<Piece>{failure(IoStatus::Stall)} : phone(command);
  };
  EXPECT_EQ(list(1), DGSTATUS_INTERNAL_DRIVER_READ_ERROR);
  EXPECT_LE(std::ranges::count(script->operations(), 0x1008u), 32);
}

TEST_F(Listings, AStorageThatLeavesMeanwhileEndsThem) {
  info.operations = {0x1001, 0x1007, 0x1008};
  phone.failingHandles = {{11, 0x2013}};
  EXPECT_EQ(list(1), DGSTATUS_INTERNAL_STORENOTAVAILABLE);
}

TEST_F(Listings, EachHandleComesOnceAndTheFolderItselfNever) {
  info.operations = {0x1001, 0x1007, 0x1008};
  phone.extraHandles = {11, 11, 1, 0, 0xFFFFFFFF};
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "a.jpg", "b.jpg"}));
  EXPECT_EQ(script->commands.size(), 4u);
}

TEST_F(Listings, RowsOfOneHandleTwiceAreOneObject) {
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  phone.objects.push_back({11, 1, "again.jpg", false, 7});
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"Camera", "a.jpg", "b.jpg"}));
}

TEST_F(Listings, AreBrokenOffWhenNobodyWantsThemAnyMore) {
  wanted = false;
  EXPECT_EQ(list(1), DGSTATUS_IO_CANCEL);
  EXPECT_LE(script->commands.size(), 2u);
}

TEST_F(Listings, ASilentPhoneIsAStatusNotAnEmptyFolder) {
  script->otherwise = nullptr;
  EXPECT_EQ(list(1), DGSTATUS_INTERNAL_DEVICE_NOT_RESPONSE);
}

TEST_F(Listings, APhoneThatFallsSilentOnPropertyListsIsAskedObjectByObject) {
  script->otherwise = [this](const ByteVector& command) -> std::vector<Piece> {
    const bool propertyList = command[6] == std::byte{0x05} && command[7] == std::byte{0x98};
    return propertyList ? std::vector<Piece>() : phone(command);
  };
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names().size(), 3u);
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(script->commands.size(), 1u + 3u + 1u) << "and never again by list";
}

TEST_F(Listings, KeepHostileNamesAsTheyAre) {
  phone.objects = {{1, 0, "x", true}, {2, 1, ""}, {3, 1, "../../etc"}, {4, 1, "a/b"}, {5, 1, std::string(254, 'n')}};
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  EXPECT_EQ(names(), (Strings{"", "../../etc", "a/b", std::string(254, 'n')}));
}

TEST_F(Listings, ManyObjectsInAnyOrderMeetTheirRows) {
  phone.objects = {{1, 0, "x", true}};
  for (std::uint32_t i = 0; i < 2000; ++i)
    phone.objects.push_back({2 + i * 7919 % 65536 + (i << 16), 1, std::to_string(i), false, i});
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  phone.after = [this](unsigned) { std::ranges::reverse(phone.objects); };
  ASSERT_EQ(list(1), DGSTATUS_SUCCESS);
  ASSERT_EQ(folder.objects.size(), 2000u);
  for (const ListedObject& object : folder.objects) {
    const std::u16string_view name = folder.name(object);
    ASSERT_EQ(std::to_string(object.size), std::string(name.begin(), name.end()));
  }
}
