#include "TessalyMTPSdk/NodeRegistry.h"

#include <cstring>
#include <new>
#include <sys/mman.h>

namespace mtp {

namespace {

constexpr std::size_t RegionSize = 16 * NodeRegistry::ChunkSize;
constexpr std::size_t MaxTextUnits = 32768;

const void* textOf(const Node& node, std::int32_t kind) {
  switch (kind) {
  case MTPDEXT_NODE_STORAGE:
    return node.storage.name;
  case MTPDEXT_NODE_FOLDER:
    return node.folder.name;
  case MTPDEXT_NODE_FILE:
    return node.file.name;
  default:
    return nullptr;
  }
}

} // namespace

NodeRegistry::~NodeRegistry() {
  for (const Region& region : m_regions)
    munmap(region.memory, region.size);
}

Node* NodeRegistry::create(Arena& arena, std::int32_t kind, std::size_t textUnits, MTPDEXT_CHAR16** text) {
  if (textUnits > MaxTextUnits)
    throw std::bad_alloc();
  const std::size_t textBytes = textUnits * sizeof(MTPDEXT_CHAR16);
  if (textBytes > 0 && (!arena.texts || ChunkSize - arena.texts->used < textBytes)) {
    Chunk* chunk = newChunk(true);
    stopFilling(arena.texts);
    arena.texts = chunk;
  }
  if (!arena.nodes || ChunkSize - arena.nodes->used < sizeof(Node)) {
    Chunk* chunk = newChunk(false);
    stopFilling(arena.nodes);
    arena.nodes = chunk;
  }
  // From here on nothing can fail.
  Node* node = new (arena.nodes->memory + arena.nodes->used) Node{};
  arena.nodes->used += sizeof(Node);
  ++arena.nodes->live;
  node->kind = kind;
  node->common.nodeType = kind;
  if (textBytes > 0) {
    *text = reinterpret_cast<MTPDEXT_CHAR16*>(arena.texts->memory + arena.texts->used);
    arena.texts->used += textBytes;
    ++arena.texts->live;
  }
  return node;
}

void NodeRegistry::retire(Node* node) {
  const void* text = textOf(*node, node->kind);
  node->kind = 0;
  node->listing = nullptr;
  node->next = nullptr;
  node->previous = nullptr;
  for (Chunk* chunk : {text ? chunkOf(text) : nullptr, chunkOf(node)}) {
    if (chunk && --chunk->live == 0 && !chunk->filling)
      release(*chunk);
  }
}

Node* NodeRegistry::find(const void* address) const {
  const auto found = m_chunks.find(numberOf(address));
  if (found == m_chunks.end() || found->second.text)
    return nullptr;
  const Chunk& chunk = found->second;
  const auto offset = static_cast<std::size_t>(static_cast<const std::byte*>(address) - chunk.memory);
  if (offset >= chunk.used || offset % sizeof(Node) != 0)
    return nullptr;
  Node* node = reinterpret_cast<Node*>(chunk.memory + offset);
  return node->kind != 0 ? node : nullptr;
}

void NodeRegistry::close(Arena& arena) {
  stopFilling(arena.nodes);
  stopFilling(arena.texts);
}

void NodeRegistry::unhold() {
  if (m_holds == 0 || --m_holds > 0)
    return;
  for (std::byte* memory : m_retired)
    giveBack(*chunkOf(memory));
  m_retired.clear();
}

std::size_t NodeRegistry::bytesInUse() const {
  std::size_t bytes = 0;
  for (const auto& [number, chunk] : m_chunks)
    bytes += chunk.used;
  return bytes;
}

NodeRegistry::Chunk* NodeRegistry::newChunk(bool text) {
  std::byte* memory = reserve();
  m_retired.reserve(m_chunks.size() + 1); // so that retiring never needs memory
  Chunk& chunk = m_chunks[numberOf(memory)];
  if (mprotect(memory, ChunkSize, PROT_READ | PROT_WRITE) != 0) {
    m_chunks.erase(numberOf(memory));
    throw std::bad_alloc();
  }
  chunk.memory = memory;
  chunk.text = text;
  m_nextChunk += ChunkSize;
  return &chunk; // stays where it is: the map never moves its values
}

/// The address of the next chunk, not yet taken.
std::byte* NodeRegistry::reserve() {
  if (m_nextChunk == m_regionEnd) {
    m_regions.reserve(m_regions.size() + 1);
    void* memory = mmap(nullptr, RegionSize + ChunkSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
      throw std::bad_alloc();
    m_regions.push_back({memory, RegionSize + ChunkSize});
    m_nextChunk = reinterpret_cast<std::byte*>((numberOf(memory) + 1) * ChunkSize);
    m_regionEnd = m_nextChunk + RegionSize;
  }
  return m_nextChunk;
}

void NodeRegistry::stopFilling(Chunk*& chunk) {
  if (!chunk)
    return;
  chunk->filling = false;
  if (chunk->live == 0)
    release(*chunk);
  chunk = nullptr;
}

void NodeRegistry::release(Chunk& chunk) {
  if (m_holds > 0)
    m_retired.push_back(chunk.memory);
  else
    giveBack(chunk);
}

void NodeRegistry::giveBack(Chunk& chunk) {
  std::byte* memory = chunk.memory;
  madvise(memory, ChunkSize, MADV_DONTNEED);
  mprotect(memory, ChunkSize, PROT_NONE); // a forgotten reader is found out at once
  m_chunks.erase(numberOf(memory));
}

NodeRegistry::Chunk* NodeRegistry::chunkOf(const void* address) {
  const auto found = m_chunks.find(numberOf(address));
  return found != m_chunks.end() ? &found->second : nullptr;
}

} // namespace mtp
