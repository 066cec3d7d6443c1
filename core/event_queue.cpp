#include "core/event_queue.h"

#include "core/no_destructor.h"

namespace korvid {

void EventQueue::push(int32_t code) {
  const std::lock_guard lock(mutex_);
  entries_.push_back(QueuedEvent{code, 0, 0, 0});
}

void EventQueue::pop() {
  const std::lock_guard lock(mutex_);
  if (!entries_.empty()) entries_.pop_front();
}

void EventQueue::clear() {
  const std::lock_guard lock(mutex_);
  entries_.clear();
}

bool EventQueue::empty() const {
  const std::lock_guard lock(mutex_);
  return entries_.empty();
}

std::size_t EventQueue::size() const {
  const std::lock_guard lock(mutex_);
  return entries_.size();
}

std::optional<QueuedEvent> EventQueue::front() const {
  const std::lock_guard lock(mutex_);
  if (entries_.empty()) return std::nullopt;
  return entries_.front();
}

EventQueue& Events() {
  // Never destroyed: engine threads may still push while the process exits.
  static NoDestructor<EventQueue> queue;
  return *queue;
}

}  // namespace korvid
