#include "VirtualPhone/Faults.h"

#include <gtest/gtest.h>

namespace {

using namespace vphone;

TEST(Faults, OneWithoutConditionsStrikesTheNextTransactionOnce) {
  Faults faults;
  faults.add({});
  EXPECT_TRUE(faults.next(0x1001));
  EXPECT_FALSE(faults.next(0x1001));
}

TEST(Faults, ConditionsMustAllHold) {
  Faults faults;
  Fault fault;
  fault.transaction = 1;
  fault.operation = 0x1007;
  faults.add(fault);
  EXPECT_FALSE(faults.next(0x1007)) << "transaction 0";
  EXPECT_FALSE(faults.next(0x1008)) << "transaction 1, another operation";
  EXPECT_FALSE(faults.next(0x1007)) << "transaction 2";
}

TEST(Faults, SeveralForTheSameTransactionTakeTurns) {
  Faults faults;
  Fault first;
  first.value = 1;
  Fault second;
  second.value = 2;
  faults.add(first);
  faults.add(second);
  EXPECT_EQ(faults.next(0x1001)->value, 1u);
  EXPECT_EQ(faults.next(0x1001)->value, 2u);
}

TEST(Faults, ClearingForgetsAllAndCountsAnew) {
  Faults faults;
  faults.next(0x1001);
  faults.countStrike();
  faults.add({});
  faults.clear();
  EXPECT_EQ(faults.transactions(), 0u);
  EXPECT_EQ(faults.struck(), 0u);
  EXPECT_FALSE(faults.next(0x1001));
}

} // namespace
