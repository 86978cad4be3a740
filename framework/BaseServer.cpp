#include "framework/BaseServer.h"

#include <string>

#include "base/Log.h"

namespace orvel {

namespace {

/// The kernel keeps 15 characters of a thread's name.
void nameThread(pthread_t thread, const char* name) {
  pthread_setname_np(thread, std::string(name).substr(0, 15).c_str());
}

}  // namespace

ServerThread::ServerThread(const char* serverName, std::size_t threadStackBytes)
    : name(serverName), stackBytes(threadStackBytes) {}

ServerThread::~ServerThread() = default;

void ServerThread::launch() {
  OV_DEBUG("pthread_create");
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, stackBytes);
  const int error = pthread_create(&thread, &attributes, run, this);
  pthread_attr_destroy(&attributes);
  if (error != 0) {
    OV_ERROR("pthread_create FAILED %d", error);
    return;
  }
  joinable = true;
  nameThread(thread, name);
}

void* ServerThread::run(void* server) {
  auto& self = *static_cast<ServerThread*>(server);
  void* const result = runner(static_cast<Runnable*>(&self));
  self.ended.release();
  return result;
}

bool ServerThread::hasEndedBy(Deadline deadline) {
  if (!joinable || pthread_equal(thread, pthread_self()) != 0) return true;
  if (!ended.try_acquire_until(deadline)) return false;
  ended.release();  // for the next who asks
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
  if (joinable && pthread_equal(thread, pthread_self()) == 0) {
    pthread_join(thread, nullptr);
    joinable = false;
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
