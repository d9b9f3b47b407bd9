#include "SBrowser/SStack.h"

#include <gtest/gtest.h>

namespace {

TEST(SStack, PopAndTopOnAnEmptyStackReturnNothingAndLeaveItEmpty) {
  SStack<int> stack;
  EXPECT_EQ(stack.top(), nullptr);
  EXPECT_EQ(stack.pop(), nullptr);
  EXPECT_EQ(stack.count(), 0);
}

TEST(SStack, TheLastPushedComesFirst) {
  SStack<int> stack;
  const auto one = std::make_shared<int>(1);
  const auto two = std::make_shared<int>(2);
  stack.pushBack(one);
  stack.pushBack(two);
  EXPECT_EQ(stack.count(), 2);
  EXPECT_EQ(stack.top(), two);
  EXPECT_EQ(stack.count(), 2);
  EXPECT_EQ(stack.pop(), two);
  EXPECT_EQ(stack.pop(), one);
  EXPECT_EQ(stack.count(), 0);
}

TEST(SStack, RemoveAllObjectEmptiesIt) {
  SStack<int> stack;
  stack.pushBack(std::make_shared<int>(1));
  stack.removeAllObject();
  EXPECT_EQ(stack.count(), 0);
  EXPECT_EQ(stack.top(), nullptr);
}

TEST(SStack, RemoveIfLeavesTheOthersInTheirOrder) {
  SStack<int> stack;
  for (int i = 1; i <= 4; ++i)
    stack.pushBack(std::make_shared<int>(i));
  stack.removeIf([](const std::shared_ptr<int>& value) { return *value % 2 == 0; });
  EXPECT_EQ(*stack.pop(), 3);
  EXPECT_EQ(*stack.pop(), 1);
}

} // namespace
