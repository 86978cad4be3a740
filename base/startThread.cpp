#include "base/startThread.h"

#include <string>

namespace orvel {

int startThread(pthread_t& thread, const char* name, std::size_t stackBytes, void* (*run)(void*),
                void* argument) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, stackBytes);
  const int error = pthread_create(&thread, &attributes, run, argument);
  pthread_attr_destroy(&attributes);
  if (error == 0) pthread_setname_np(thread, std::string(name).substr(0, 15).c_str());
  return error;
}

}  // namespace orvel
