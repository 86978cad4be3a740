#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace orvel {

/// Holds a `T` that is constructed in place and never destroyed.
///
/// For function-local statics that any thread may use until the process ends: a host may call
/// exit() while stage threads still run, and a destructor would take the object away from them.
///
///     Registry& Registry::instance() {
///       static NoDestructor<Registry> registry;
///       return *registry;
///     }
///
/// A class with a private constructor declares `friend class NoDestructor<Registry>;`. Leak
/// checkers stay silent: the static storage still refers to everything that the object owns.
template <class T>
class NoDestructor {
 public:
  template <class... Arguments>
  explicit NoDestructor(Arguments&&... arguments) {
    ::new (static_cast<void*>(storage)) T(std::forward<Arguments>(arguments)...);
  }
  NoDestructor(const NoDestructor&) = delete;
  NoDestructor& operator=(const NoDestructor&) = delete;

  T* get() { return std::launder(reinterpret_cast<T*>(storage)); }
  T& operator*() { return *get(); }
  T* operator->() { return get(); }

 private:
  alignas(T) std::byte storage[sizeof(T)];
};

}  // namespace orvel
