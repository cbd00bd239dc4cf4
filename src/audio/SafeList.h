#pragma once
// CSafeList: a list with an optional lock, chosen at construction. The file queues and the
// effect registry are locked lists; a list touched by one thread only can do without.

#include <deque>
#include <optional>

#include "audio/CritSect.h"

template <typename T>
class CSafeList {
 public:
  explicit CSafeList(bool locked) : locked_(locked) {}

  void PushBack(T value) {
    Guard guard(*this);
    items_.push_back(std::move(value));
  }
  std::optional<T> PopFront() {
    Guard guard(*this);
    if (items_.empty()) return std::nullopt;
    T value = std::move(items_.front());
    items_.pop_front();
    return value;
  }
  bool Remove(const T& value) {
    Guard guard(*this);
    for (auto it = items_.begin(); it != items_.end(); ++it) {
      if (*it == value) {
        items_.erase(it);
        return true;
      }
    }
    return false;
  }
  size_t Count() {
    Guard guard(*this);
    return items_.size();
  }
  void Clear() {
    Guard guard(*this);
    items_.clear();
  }
  // Calls fn on every item under the lock.
  template <typename Fn>
  void ForEach(Fn&& fn) {
    Guard guard(*this);
    for (auto& item : items_) fn(item);
  }

 private:
  struct Guard {
    explicit Guard(CSafeList& list) : list_(list) {
      if (list_.locked_) list_.lock_.Enter();
    }
    ~Guard() {
      if (list_.locked_) list_.lock_.Leave();
    }
    CSafeList& list_;
  };

  bool locked_;
  CCritSect lock_;
  std::deque<T> items_;
};
