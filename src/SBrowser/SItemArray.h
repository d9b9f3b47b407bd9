#pragma once
// A mutable array of tree nodes that finds its elements' places quickly and remembers how it was sorted.
#include "SBrowser/SItem.h"

#include <cstdint>
#include <memory>
#include <vector>

/// What the outline sorts its rows by.
struct SSortDescriptor {
  enum Key : std::uint8_t {
    None,         ///< the phone's order
    FileName,     ///< folders before files; then as people read names: case ignored, numbers by value
    DateModified, ///< unknown dates first, then by moment
    FileSize,
  };
  Key key = None;
  bool ascending = true;

  friend bool operator==(const SSortDescriptor&, const SSortDescriptor&) = default;
};

/// Owns its items together with whoever else does. Threads: as its items.
class SItemArray {
public:
  using Pointer = std::shared_ptr<SItem>;

  int count() const { return static_cast<int>(m_items.size()); }
  bool isEmpty() const { return m_items.empty(); }
  /// The element at `index`, which must be below count().
  const Pointer& at(int index) const { return m_items[static_cast<std::size_t>(index)]; }
  std::vector<Pointer>::const_iterator begin() const { return m_items.begin(); }
  std::vector<Pointer>::const_iterator end() const { return m_items.end(); }

  void reserve(int count) { m_items.reserve(static_cast<std::size_t>(count)); }
  void append(Pointer item);
  void insert(int index, Pointer item);
  void removeAt(int index, int count = 1);
  void removeAll();
  /// Gives memory back that was set aside for more items.
  void squeeze() { m_items.shrink_to_fit(); }

  /// Where the item stands; -1 when it is not here. Constant time, save for the first call after a change.
  int indexOf(const SItem& item) const;

  /// Sorts in place, equal items staying in their order. Does nothing when the array is sorted so already and was not
  /// changed since: what an item holds must then not have changed either (see contentsChanged()).
  void sort(const SSortDescriptor& descriptor);
  /// True when sort() would do nothing.
  bool isSortedBy(const SSortDescriptor& descriptor) const {
    return descriptor.key == SSortDescriptor::None || m_sortedBy == descriptor;
  }
  /// An item got another name, date or size: the next sort() sorts.
  void contentsChanged() { m_sortedBy = {}; }

private:
  std::vector<Pointer> m_items;
  SSortDescriptor m_sortedBy;
};
