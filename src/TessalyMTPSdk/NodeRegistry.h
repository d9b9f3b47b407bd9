#pragma once
// The memory of the node records and the only place that knows which addresses name one.
#include "TessalyMTPSdk/TessalyMTPSdk.h"

#include <cstddef>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace mtp {

struct Listing;

/// One record and what the engine keeps beside it. The record is written before its address is handed out and never
/// changed afterwards, so that readers need no lock; the rest is guarded by NodeRegistry::mutex.
struct Node {
  union {
    _MTP_COMMON_NODE common;
    _MTP_DEVICE_NODE device;
    _MTP_STORAGE_NODE storage;
    _MTP_FOLDER_NODE folder;
    _MTP_FILE_NODE file;
  };
  std::int32_t kind; // MTPDEXT_NODE_…; 0: retired, nobody may be told anything about it
  Listing* listing;  // folder, file: the listing it stands in; storage: its top level; device: none
  Node* next;        // in that listing, of the same kind; storages, of the device
  Node* previous;
};
static_assert(offsetof(Node, common) == 0 && sizeof(Node) == 88);

/// Records live in chunks of address space that are never used for anything else again, so an address that once named a
/// record never names another one. Memory (not address space) goes back to the system a chunk at a time, when all its
/// records are retired and nobody holds records. One instance for all devices; every function except the constructor
/// wants `mutex` held.
class NodeRegistry {
public:
  static constexpr std::size_t ChunkSize = std::size_t{1} << 20;

  /// Guards the registry, all nodes and all object stores. Never held during a transaction; a session's lock is never
  /// taken under it (the other way round it is, when a lost session makes all that is known void).
  std::mutex mutex;

private:
  struct Chunk {
    std::byte* memory = nullptr;
    std::size_t used = 0; // bytes from the start
    std::size_t live = 0; // records, or records whose text is here
    bool text = false;
    bool filling = true; // an arena still puts records here
  };

public:
  /// Where one device's records are put.
  class Arena {
    friend class NodeRegistry;
    Chunk* nodes = nullptr;
    Chunk* texts = nullptr;
  };

  NodeRegistry() = default;
  ~NodeRegistry();
  NodeRegistry(const NodeRegistry&) = delete;
  NodeRegistry& operator=(const NodeRegistry&) = delete;

  /// A zeroed record of the kind with the common header's type set, and `text`, room for `textUnits` code units that
  /// lives as long as the record. At most 32,768 units. Throws std::bad_alloc.
  Node* create(Arena& arena, std::int32_t kind, std::size_t textUnits, MTPDEXT_CHAR16** text);
  /// Forgets the record. It stays readable while records are held.
  void retire(Node* node);
  /// The record at this very address, or null. Never follows the address.
  Node* find(const void* address) const;
  /// The arena's device has gone: its chunks can go back as soon as their records are retired.
  void close(Arena& arena);

  void hold() { ++m_holds; }
  void unhold();

  /// Bytes of records and text in chunks that have not gone back.
  std::size_t bytesInUse() const;

private:
  Chunk* newChunk(bool text);
  std::byte* reserve();
  void stopFilling(Chunk*& chunk);
  void release(Chunk& chunk);
  void giveBack(Chunk& chunk);
  Chunk* chunkOf(const void* address);
  static std::uintptr_t numberOf(const void* address) { return reinterpret_cast<std::uintptr_t>(address) / ChunkSize; }

  std::unordered_map<std::uintptr_t, Chunk> m_chunks; // by address / ChunkSize
  std::vector<std::byte*> m_retired;                  // chunks waiting for the last hold to end
  struct Region {
    void* memory;
    std::size_t size;
  };
  std::vector<Region> m_regions;    // all address space ever reserved
  std::byte* m_nextChunk = nullptr; // in the last region
  std::byte* m_regionEnd = nullptr;
  std::size_t m_holds = 0;
};

} // namespace mtp
