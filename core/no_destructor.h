// Holds a process-lifetime object that is never destroyed. Engine threads can
// still run while the process exits, so state they touch must outlive every
// static destructor.
#pragma once

#include <new>
#include <utility>

namespace korvid {

template <typename T>
class NoDestructor {
 public:
  template <typename... Args>
  explicit NoDestructor(Args&&... args) {
    ::new (static_cast<void*>(storage_)) T(std::forward<Args>(args)...);
  }
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;

  T& operator*() noexcept { return *get(); }
  T* operator->() noexcept { return get(); }
  T* get() noexcept { return std::launder(reinterpret_cast<T*>(storage_)); }

 private:
  alignas(T) unsigned char storage_[sizeof(T)];
};

}  // namespace korvid
