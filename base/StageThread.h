#pragma once

#include <chrono>
#include <stop_token>

namespace orvel {

/// The stage that the current thread carries.
///
/// Code deep below a stage (a waiting SQLite connection, a tag reader) asks here whether its stage
/// was stopped, without every call in between passing a token on.
namespace stageThread {

/// Marks the current thread as one of Orvel's own, for the rest of its life, and gives it the
/// chosen priority. `token` is raised when its server is stopped.
void enter(std::stop_token token) noexcept;

/// Gives a thread of Orvel's that carries no stage a token for the calls that it makes from now on.
void lendToken(std::stop_token token) noexcept;

/// True on threads that carry a stage, a pipeline or the controller.
bool isCurrent() noexcept;

/// The token of the current thread's server; on foreign threads one that is never raised.
const std::stop_token& stopToken() noexcept;

/// Sleeps; returns false, at once, when the current thread's server is stopped.
bool sleep(std::chrono::milliseconds time);

}  // namespace stageThread
}  // namespace orvel
