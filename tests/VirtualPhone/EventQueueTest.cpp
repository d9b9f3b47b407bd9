#include "VirtualPhone/EventQueue.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

using vphone::EventQueue;

TEST(EventQueue, EventsWithoutASessionAreDropped) {
  EventQueue queue;
  queue.push({{mtp::Event::ObjectAdded, 1}});
  queue.setOpen(true);
  queue.push({{mtp::Event::ObjectAdded, 2}, {mtp::Event::ObjectRemoved, 3}});
  EXPECT_EQ(queue.pop()->parameter, 2u);
  EXPECT_EQ(queue.pop()->code, mtp::Event::ObjectRemoved);
}

TEST(EventQueue, ANewSessionBeginsWithoutOldEvents) {
  EventQueue queue;
  queue.setOpen(true);
  queue.push({{mtp::Event::ObjectAdded, 1}});
  queue.setOpen(true);
  queue.push({{mtp::Event::ObjectAdded, 2}});
  EXPECT_EQ(queue.pop()->parameter, 2u);
}

TEST(EventQueue, TheOldestGoWhenNobodyFetchesThem) {
  EventQueue queue;
  queue.setOpen(true);
  for (std::uint32_t i = 0; i < 10005; ++i)
    queue.push({{mtp::Event::ObjectAdded, i}});
  EXPECT_EQ(queue.pop()->parameter, 5u);
}

TEST(EventQueue, EndingWakesWhoWaits) {
  EventQueue queue;
  std::jthread waiting([&] { EXPECT_FALSE(queue.pop()); });
  queue.end();
  waiting.join();
  queue.begin();
  queue.setOpen(true);
  queue.push({{mtp::Event::ObjectAdded, 1}});
  EXPECT_TRUE(queue.pop());
}

} // namespace
