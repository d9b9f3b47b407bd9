#include "TessalyMTPSdk/NodeRegistry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <set>
#include <sys/mman.h>
#include <unistd.h>

using namespace mtp;

namespace {

class Records : public ::testing::Test {
protected:
  Node* file(std::u16string_view name = u"x") {
    MTPDEXT_CHAR16* text = nullptr;
    Node* node = registry.create(arena, MTPDEXT_NODE_FILE, name.size() + 1, &text);
    std::copy(name.begin(), name.end(), text);
    node->file.name = text;
    node->file.nameSize = static_cast<uint32_t>(name.size() + 1);
    return node;
  }
  /// Whether the address may be read at all.
  static bool isReadable(const void* address) {
    int pipes[2];
    EXPECT_EQ(pipe(pipes), 0);
    const bool readable = write(pipes[1], address, 1) == 1;
    close(pipes[0]);
    close(pipes[1]);
    return readable;
  }
  static constexpr std::size_t SeveralChunks = 3 * NodeRegistry::ChunkSize / sizeof(Node);

  NodeRegistry registry;
  NodeRegistry::Arena arena;
};

} // namespace

TEST_F(Records, ARecordIsKnownByItsAddressAndKind) {
  Node* node = file();
  EXPECT_EQ(registry.find(node), node);
  EXPECT_EQ(registry.find(&node->common), node);
  EXPECT_EQ(node->kind, MTPDEXT_NODE_FILE);
  EXPECT_EQ(node->common.nodeType, MTPDEXT_NODE_FILE);
  EXPECT_EQ(node->common.nodeId, 0u);
}

TEST_F(Records, NoOtherAddressIsKnown) {
  const Node* node = file();
  const auto* byte = reinterpret_cast<const std::byte*>(node);
  EXPECT_EQ(registry.find(nullptr), nullptr);
  for (const std::ptrdiff_t offset : {-88, -1, 1, 4, 8, 44, 87, 88, 176, 1 << 19})
    EXPECT_EQ(registry.find(byte + offset), nullptr) << offset;
  EXPECT_EQ(registry.find(node->file.name), nullptr) << "text is no record";
  int onTheStack = 0;
  EXPECT_EQ(registry.find(&onTheStack), nullptr);
  for (const std::uintptr_t garbage : {std::uintptr_t{1}, std::uintptr_t{0xDEADBEEF}, ~std::uintptr_t{0}})
    EXPECT_EQ(registry.find(reinterpret_cast<const void*>(garbage)), nullptr);
}

TEST_F(Records, ARetiredRecordIsUnknown) {
  Node* node = file();
  Node* other = file();
  registry.retire(node);
  EXPECT_EQ(registry.find(node), nullptr);
  EXPECT_EQ(registry.find(other), other);
}

TEST_F(Records, NoAddressIsUsedTwice) {
  std::set<const void*> addresses;
  for (int round = 0; round < 4; ++round) {
    std::vector<Node*> nodes;
    for (std::size_t i = 0; i < SeveralChunks; ++i) {
      nodes.push_back(file());
      ASSERT_TRUE(addresses.insert(nodes.back()).second);
    }
    for (Node* node : nodes)
      registry.retire(node);
  }
}

TEST_F(Records, MemoryGoesBackWhenAllRecordsOfAChunkAreRetired) {
  std::vector<Node*> nodes;
  for (std::size_t i = 0; i < SeveralChunks; ++i)
    nodes.push_back(file());
  EXPECT_GE(registry.bytesInUse(), SeveralChunks * sizeof(Node));
  for (Node* node : nodes)
    registry.retire(node);
  EXPECT_LE(registry.bytesInUse(), 2 * NodeRegistry::ChunkSize) << "only what is being filled stays";
  EXPECT_FALSE(isReadable(nodes[0]));
  EXPECT_EQ(registry.find(nodes[0]), nullptr);
}

TEST_F(Records, HeldRecordsStayReadableButAreUnknown) {
  std::vector<Node*> nodes;
  for (std::size_t i = 0; i < SeveralChunks; ++i)
    nodes.push_back(file(u"name"));
  registry.hold();
  registry.hold();
  for (Node* node : nodes)
    registry.retire(node);
  registry.unhold();
  EXPECT_EQ(registry.find(nodes[0]), nullptr);
  EXPECT_TRUE(isReadable(nodes[0]));
  EXPECT_EQ(std::u16string_view(nodes[0]->file.name), u"name");
  registry.unhold();
  EXPECT_FALSE(isReadable(nodes[0])) << "the last hold ended";
  EXPECT_LE(registry.bytesInUse(), 2 * NodeRegistry::ChunkSize);
}

TEST_F(Records, OneUnholdTooManyIsHarmless) {
  registry.unhold();
  registry.hold();
  registry.unhold();
  EXPECT_TRUE(file());
}

TEST_F(Records, AClosedArenaKeepsNoMemory) {
  Node* node = file();
  registry.close(arena);
  EXPECT_EQ(registry.find(node), node);
  registry.retire(node);
  EXPECT_EQ(registry.bytesInUse(), 0u);
}

TEST_F(Records, TextIsAsLongAsAskedForAndItsOwn) {
  Node* first = file(std::u16string(255, u'a'));
  Node* second = file(std::u16string(255, u'b'));
  EXPECT_EQ(std::u16string_view(first->file.name), std::u16string(255, u'a'));
  EXPECT_EQ(std::u16string_view(second->file.name), std::u16string(255, u'b'));
}

TEST_F(Records, TextBeyondAllReasonIsRefused) {
  MTPDEXT_CHAR16* text = nullptr;
  EXPECT_THROW(registry.create(arena, MTPDEXT_NODE_FILE, std::size_t{1} << 40, &text), std::bad_alloc);
  EXPECT_EQ(registry.bytesInUse(), 0u);
}

TEST_F(Records, ARecordIsAlignedForItsPointersAndTextForItsUnits) {
  for (int i = 0; i < 10; ++i) {
    const Node* node = file(u"ab");
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(node) % alignof(Node), 0u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(node->file.name) % alignof(MTPDEXT_CHAR16), 0u);
  }
}
