#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

// Items in insertion order, walked by one thread while another appends or replaces them: those of a
// worker, or those that watch a sensor.
//
// Shape:   a null item ends every walk.
// Threads: no lock, and the walking side never waits. One thread at a time changes the list (the
//          main thread at start-up, then the scenario thread or whoever it waits for) and may look
//          at it in between with `begin` and `end`.
//
// Why it is safe: an append fills a slot before it publishes the new size, in place while there is
// room. What takes the list's place is published by one atomic pointer, and what it replaces is
// freed only once the walk that may still see it is over: `walks` is odd during a walk, and all of
// these accesses are in one total order, so a changer that reads an even number after publishing
// knows that the next walk sees the new list.
template <typename T> class ItemList {
public:
  ItemList() : current(std::make_unique<Block>(0)), published(current.get()) {}

  void append(T* item) {
    if (current->size == current->slots.size()) {
      const size_t roomier = current->slots.empty() ? 8 : 2 * current->slots.size();
      publish(std::make_unique<Block>(begin(), end(), roomier));
    }
    current->slots[current->size] = item;
    ++current->size;
  }

  // Takes `kept` for the list. On return no walk sees the previous one any more.
  void replace(const std::vector<T*>& kept) {
    publish(std::make_unique<Block>(kept.data(), kept.data() + kept.size(), kept.size()));
  }

  // Calls `visit(item)` for each item. For the worker alone; an item appended meanwhile has to wait
  // for the next walk.
  template <typename Visit> void walk(Visit visit) {
    ++walks;
    const Block& block = *published.load();
    const size_t size = block.size;
    for (size_t i = 0; i < size && block.slots[i]; ++i)
      visit(*block.slots[i]);
    ++walks;
  }

  // The number of the walk under way, or 0.
  uint32_t walkUnderWay() const {
    const uint32_t seen = walks;
    return seen % 2 == 0 ? 0 : seen;
  }

  // Returns when a walk that has begun is over. For the changing side: it is never called by the
  // walking thread.
  void awaitWalkEnd() const {
    const uint32_t seen = walkUnderWay();
    if (seen == 0) return;
    while (walks == seen)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

  T* const* begin() const { return current->slots.data(); }
  T* const* end() const { return current->slots.data() + current->size; }
  size_t size() const { return current->size; }
  bool empty() const { return size() == 0; }

private:
  struct Block {
    explicit Block(size_t capacity) : slots(capacity) {}
    Block(T* const* first, T* const* last, size_t capacity)
        : slots(first, last), size(slots.size()) {
      slots.resize(capacity);
    }
    std::vector<T*> slots; // never resized once published
    std::atomic<size_t> size{0};
  };

  void publish(std::unique_ptr<Block> next) {
    published = next.get();
    std::swap(current, next);
    awaitWalkEnd();
  }

  std::unique_ptr<Block> current; // the changing side's own handle
  std::atomic<Block*> published;
  std::atomic<uint32_t> walks{0};
};
