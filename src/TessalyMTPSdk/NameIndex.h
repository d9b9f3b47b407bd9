#pragma once
// Finds the object of a folder whose name a storage may take for another one's. Guarded by NodeRegistry::mutex.
#include "TessalyMTPSdk/NodeRegistry.h"

#include <string_view>
#include <unordered_map>

namespace mtp {

/// The name a folder's or file's record shows.
std::u16string_view nameOf(const Node& node);

/// Keeps a number an object, not its name: 100,000 objects cost some megabytes.
class NameIndex {
public:
  void insert(Node& node);
  void remove(const Node& node);
  /// An object with an equal folded name (see foldedName) other than `except`; null when there is none.
  Node* find(std::u16string_view name, const Node* except) const;

private:
  std::unordered_multimap<std::size_t, Node*> m_nodes; // by the hash of the folded name
};

} // namespace mtp
