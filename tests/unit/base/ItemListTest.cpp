#include "base/ItemList.h"

#include <vector>

#include <gtest/gtest.h>

#include "support/Eventually.h"
#include "support/Gate.h"

namespace {

class ItemListTest : public ::testing::Test {
protected:
  void appendFirst(size_t count) {
    for (size_t i = 0; i < count; ++i)
      list.append(&numbers[i]);
  }
  std::vector<int> walked() {
    std::vector<int> visited;
    list.walk([&visited](int& number) { visited.push_back(number); });
    return visited;
  }

  // A walk on another thread that stops at the gate, at its first item.
  std::future<void> beginWalk() {
    gate.close();
    std::future<void> walk = std::async(std::launch::async, [this] {
      list.walk([this](int& number) {
        gate.pass();
        visitedByOther.push_back(number);
      });
    });
    eventuallyOrAbort([this] { return gate.holdsAThread(); }, "a walk at the gate");
    return walk;
  }

  std::vector<int> numbers{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
  ItemList<int> list;
  Gate gate;
  std::vector<int> visitedByOther;
};

TEST_F(ItemListTest, IsEmptyAtFirst) {
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.size(), 0u);
  EXPECT_EQ(list.begin(), list.end());
  EXPECT_EQ(walked(), std::vector<int>{});
}

TEST_F(ItemListTest, KeepsItsItemsInTheOrderOfTheirInsertion) {
  for (size_t count = 1; count <= numbers.size(); ++count) {
    list.append(&numbers[count - 1]);
    const std::vector<int> expected(numbers.begin(), numbers.begin() + static_cast<long>(count));
    EXPECT_EQ(walked(), expected);
    EXPECT_EQ(list.size(), count);
    EXPECT_EQ(*list.begin(), &numbers[0]);
    EXPECT_EQ(*(list.end() - 1), &numbers[count - 1]);
  }
}

TEST_F(ItemListTest, KeepsAnItemAsOftenAsItIsInserted) {
  list.append(&numbers[3]);
  list.append(&numbers[3]);
  EXPECT_EQ(walked(), (std::vector<int>{3, 3}));
}

TEST_F(ItemListTest, TakesAnotherListForItsOwn) {
  appendFirst(20);
  list.replace({&numbers[5], &numbers[2]});
  EXPECT_EQ(walked(), (std::vector<int>{5, 2}));
  EXPECT_FALSE(list.empty());
  list.append(&numbers[9]);
  EXPECT_EQ(walked(), (std::vector<int>{5, 2, 9}));
  list.replace({});
  EXPECT_TRUE(list.empty());
  list.append(&numbers[1]);
  EXPECT_EQ(walked(), std::vector<int>{1});
}

TEST_F(ItemListTest, ShowsAnItemAppendedDuringAWalkToTheNextWalk) {
  appendFirst(2);
  const std::future<void> walk = beginWalk();
  list.append(&numbers[7]);
  gate.open();
  walk.wait();
  EXPECT_EQ(visitedByOther, (std::vector<int>{0, 1}));
  EXPECT_EQ(walked(), (std::vector<int>{0, 1, 7}));
}

TEST_F(ItemListTest, GrowsOnlyOnceTheWalkOverTheSmallerListIsOver) {
  appendFirst(8);
  const std::future<void> walk = beginWalk();
  const std::future<void> growth =
      std::async(std::launch::async, [this] { list.append(&numbers[8]); });
  EXPECT_TRUE(staysUnderWay(growth));
  gate.open();
  walk.wait();
  growth.wait();
  EXPECT_EQ(visitedByOther, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(walked().size(), 9u);
}

TEST_F(ItemListTest, ReturnsFromAReplacementOnlyOnceNoWalkSeesTheOldList) {
  appendFirst(3);
  const std::future<void> walk = beginWalk();
  const std::future<void> replacement =
      std::async(std::launch::async, [this] { list.replace({&numbers[1]}); });
  EXPECT_TRUE(staysUnderWay(replacement));
  gate.open();
  walk.wait();
  replacement.wait();
  EXPECT_EQ(visitedByOther, (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(walked(), std::vector<int>{1});
}

TEST_F(ItemListTest, AwaitsAWalkOnlyIfOneHasBegun) {
  appendFirst(1);
  list.awaitWalkEnd();
  walked();
  list.awaitWalkEnd();
  const std::future<void> walk = beginWalk();
  const std::future<void> end = std::async(std::launch::async, [this] { list.awaitWalkEnd(); });
  EXPECT_TRUE(staysUnderWay(end));
  gate.open();
  EXPECT_TRUE(eventually([&] { return isOver(end); }));
}

TEST_F(ItemListTest, AwaitsTheEndOfTheWalkUnderWayAndNotOfTheNextOne) {
  appendFirst(1);
  Gate next;
  gate.close();
  next.close();
  const std::future<void> walks = std::async(std::launch::async, [&] {
    list.walk([&](int&) { gate.pass(); });
    list.walk([&](int&) { next.pass(); });
  });
  eventuallyOrAbort([this] { return gate.holdsAThread(); }, "a walk at the gate");
  const std::future<void> end = std::async(std::launch::async, [this] { list.awaitWalkEnd(); });
  EXPECT_TRUE(staysUnderWay(end));
  gate.open();
  eventuallyOrAbort([&] { return next.holdsAThread(); }, "the next walk");
  EXPECT_TRUE(eventually([&] { return isOver(end); }));
  next.open();
}

} // namespace
