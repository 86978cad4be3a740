#include "tests/faults/OpenedFiles.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace orvel::test {

namespace {

[[noreturn]] void fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

OpenedFiles::OpenedFiles() : events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (events.get() < 0) fail("inotify");
}

void OpenedFiles::watch(const std::string& folder) {
  const int id = inotify_add_watch(events.get(), folder.c_str(), IN_OPEN);
  if (id < 0) fail(folder);
  folders[id] = folder;
}

std::set<std::string> OpenedFiles::take() {
  std::set<std::string> opened;
  alignas(inotify_event) std::array<char, 65536> buffer{};
  for (ssize_t bytes = 0; (bytes = read(events.get(), buffer.data(), buffer.size())) > 0;) {
    for (ssize_t at = 0; at < bytes;) {
      const auto& event = *reinterpret_cast<const inotify_event*>(buffer.data() + at);
      if ((event.mask & IN_Q_OVERFLOW) != 0) throw std::runtime_error("inotify lost events");
      if (event.len > 0 && (event.mask & IN_ISDIR) == 0) {
        opened.insert(folders[event.wd] + "/" + event.name);
      }
      at += static_cast<ssize_t>(sizeof event + event.len);
    }
  }
  return opened;
}

}  // namespace orvel::test
