#include "base/StandardErrorSilence.h"

#include <cassert>
#include <iostream>
#include <optional>

#include "base/Mutex.h"
#include "base/NoDestructor.h"
#include "base/NullStream.h"

namespace orvel {

namespace {

/// Shared by all instances. Never destroyed: any thread may write to std::cerr until the process
/// ends.
struct Redirection {
  Mutex mutex;
  int holders ORVEL_GUARDED_BY(mutex) = 0;
  sqlstl::basic_onullstream<char> nothing;
  std::optional<sqlstl::stream_redirector> active ORVEL_GUARDED_BY(mutex);
};

Redirection& redirection() {
  static NoDestructor<Redirection> shared;
  return *shared;
}

}  // namespace

StandardErrorSilence::StandardErrorSilence() {
  Redirection& shared = redirection();
  const MutexLock lock(shared.mutex);
  if (shared.holders++ == 0) shared.active.emplace(std::cerr, shared.nothing.rdbuf());
}

StandardErrorSilence::~StandardErrorSilence() {
  Redirection& shared = redirection();
  const MutexLock lock(shared.mutex);
  assert(shared.holders > 0);
  if (--shared.holders == 0) shared.active.reset();
}

}  // namespace orvel
