#pragma once
// A last-in-first-out stack of objects: the folders that the next button returns to.
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

/// Owns what lies on it. Belongs to one thread.
template <typename Object> class SStack {
public:
  using Pointer = std::shared_ptr<Object>;

  /// `pushBack:` Puts an object on top.
  void pushBack(Pointer object) { itemSrc.push_back(std::move(object)); }
  /// The object on top; null when empty.
  Pointer top() const { return itemSrc.empty() ? nullptr : itemSrc.back(); }
  /// Takes the object on top away and returns it; null when empty.
  Pointer pop() {
    if (itemSrc.empty())
      return nullptr;
    Pointer object = std::move(itemSrc.back());
    itemSrc.pop_back();
    return object;
  }
  std::int64_t count() const { return static_cast<std::int64_t>(itemSrc.size()); }
  /// `removeAllObject` Empties the stack.
  void removeAllObject() { itemSrc.clear(); }
  /// Takes away every object for which `condition` holds.
  template <typename Condition> void removeIf(const Condition& condition) { std::erase_if(itemSrc, condition); }

private:
  std::vector<Pointer> itemSrc; // the last one is the top
};
