#pragma once

#include <map>
#include <string>

// Frees what the daemon keeps for the life of the process.

template <typename T> void freeObjects(std::map<std::string, T*>& objects) {
  for (const auto& [name, object] : objects)
    delete object;
  objects.clear();
}

template <typename Worker> void freeWithItems(Worker* worker) {
  for (auto* item : worker->items)
    delete item;
  delete worker;
}

template <typename Key, typename Worker> void freeWorkers(std::map<Key, Worker*>& workers) {
  for (const auto& [key, worker] : workers)
    freeWithItems(worker);
  workers.clear();
}
