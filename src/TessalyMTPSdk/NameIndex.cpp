#include "TessalyMTPSdk/NameIndex.h"

#include "TessalyMTPSdk/ObjectNames.h"

namespace mtp {

namespace {

std::size_t hashOf(std::u16string_view folded) {
  return std::hash<std::u16string_view>()(folded);
}

} // namespace

std::u16string_view nameOf(const Node& node) {
  return node.kind == MTPDEXT_NODE_FOLDER ? std::u16string_view(node.folder.name, node.folder.nameSize - 1)
                                          : std::u16string_view(node.file.name, node.file.nameSize - 1);
}

void NameIndex::insert(Node& node) {
  m_nodes.emplace(hashOf(foldedName(nameOf(node))), &node);
}

void NameIndex::remove(const Node& node) {
  const auto [first, last] = m_nodes.equal_range(hashOf(foldedName(nameOf(node))));
  for (auto each = first; each != last; ++each) {
    if (each->second == &node) {
      m_nodes.erase(each);
      return;
    }
  }
}

Node* NameIndex::find(std::u16string_view name, const Node* except) const {
  const std::u16string folded = foldedName(name);
  const auto [first, last] = m_nodes.equal_range(hashOf(folded));
  for (auto each = first; each != last; ++each) {
    if (each->second != except && foldedName(nameOf(*each->second)) == folded)
      return each->second;
  }
  return nullptr;
}

} // namespace mtp
