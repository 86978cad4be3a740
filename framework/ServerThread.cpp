#include <orvel/BaseServer.h>
#include <pthread.h>

#include <cassert>
#include <semaphore>

#include "base/Log.h"
#include "base/startThread.h"
#include "framework/Server.h"

namespace orvel {

struct ServerThread::Thread {
  const std::size_t stackBytes;
  pthread_t thread = 0;
  std::binary_semaphore ended{0};
  bool joinable = false;  ///< the thread exists and was not joined; used by the owner's thread only

  [[nodiscard]] bool isCurrent() const { return pthread_equal(thread, pthread_self()) != 0; }
};

void* runner(void* runnable) {
  static_cast<Runnable*>(runnable)->runLoop();
  return nullptr;
}

ServerThread::ServerThread(const char* serverName, std::size_t threadStackBytes)
    : name(serverName), thread(new Thread{threadStackBytes}) {}

ServerThread::~ServerThread() {
  assert(!launched() && "joined before it is destroyed");
}

bool ServerThread::launched() const {
  return thread->joinable;
}

void ServerThread::launch() {
  assert(!launched());
  OV_DEBUG("pthread_create");
  const int error = startThread(thread->thread, name, thread->stackBytes, run, this);
  if (error != 0) {
    OV_ERROR("pthread_create FAILED %d", error);
    return;
  }
  thread->joinable = true;
}

void* ServerThread::run(void* server) {
  auto& self = *static_cast<ServerThread*>(server);
  setLogOrigin(self.name);
  void* const result = runner(static_cast<Runnable*>(&self));
  self.thread->ended.release();
  return result;
}

bool ServerThread::hasEndedBy(Deadline deadline) {
  if (!launched() || thread->isCurrent()) return true;
  if (!thread->ended.try_acquire_until(deadline)) return false;
  thread->ended.release();  // for the next who asks
  return true;
}

void ServerThread::pause() {
  int current = state;
  while (current != STOPPING) {
    if (state.compare_exchange_weak(current, PAUSED)) return;
  }
  OV_WARN("SYSTEM is Stopping cannot be paused %s", name);
}

void ServerThread::join() {
  OV_INFO("%s join", name);
  if (launched() && !thread->isCurrent()) {
    pthread_join(thread->thread, nullptr);
    thread->joinable = false;
  }
  OV_INFO("%s joined", name);
}

void ServerThread::resumeUnlessStopping() {
  int current = state;
  while (current != STOPPING) {
    if (state.compare_exchange_weak(current, RUNNING)) return;
  }
}

}  // namespace orvel
