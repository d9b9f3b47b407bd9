#pragma once
// Walking the SDK's linked lists of nodes.
#include "Platform/Log.h"

#include <cstddef>

/// Calls visit(node) for each node of a list until it answers false; step(node) gives the next node or null.
///
/// Ends also in a list that leads back into itself, as a broken SDK might make one: a mark, set anew after twice as
/// many steps each time, comes to lie on the ring and is then met again. Nodes of the ring may be visited more than
/// once.
template <class Node, class Visit, class Step> void walkList(Node* first, Visit visit, Step step) {
  const Node* mark = first;
  std::size_t stepsToNextMark = 1024;
  std::size_t steps = 0;
  for (Node* node = first; node != nullptr && visit(node);) {
    node = step(node);
    if (node != nullptr && node == mark) {
      MTPB_LOG("The list comes back to node %p and has no end.", static_cast<const void*>(node));
      return;
    }
    if (++steps == stepsToNextMark) {
      mark = node;
      stepsToNextMark *= 2;
      steps = 0;
    }
  }
}
