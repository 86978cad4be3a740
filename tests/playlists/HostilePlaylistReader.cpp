#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <map>
#include <string>

#include "isolation/WorkerProtocol.h"
#include "isolation/worker/LibraryConnection.h"
#include "playlists/reader/servePlaylists.h"
#include "tests/support/breakDown.h"

namespace {

using namespace orvel;
using namespace orvel::playlistMessages;

using namespace orvel::test::breakDown;

void pipe(const std::string& bytes) {
  if (write(workerProtocol::kResultPipe, bytes.data(), bytes.size()) < 0) _exit(0);
}

void pipeForEver(const std::string& bytes) {
  while (true) pipe(bytes);
}

/// A byte now and then of a result that never ends.
void trickle() {
  pipe(std::string("\0\0\3\0", 4));
  while (true) {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    while (Clock::now() - begin < std::chrono::milliseconds(5)) continue;
    pipe("x");
  }
}

/// Fills the socket, which is not for results.
void chatter() {
  while (libraryConnection::send(std::string(4000, 'x'))) {
  }
}

/// Ends with 11 when any file can be reached by its name.
void reach() {
  struct stat status {};
  char target[16];
  const bool isReached = open("/etc/passwd", O_RDONLY) >= 0 || stat("/etc/passwd", &status) == 0 ||
                         access("/etc/passwd", F_OK) == 0 ||
                         readlink("/proc/self/exe", target, sizeof target) >= 0 ||
                         std::ifstream("/proc/self/mem").is_open();
  _exit(isReached ? 11 : 10);
}

/// The deeds of a parser that a list has taken over: an entry is "!" and one of these.
const std::map<std::string, void (*)(std::uint32_t id)> kDeeds = {
    {"crash", [](auto) { crash(); }},
    {"hang", [](auto) { hang(); }},
    {"bloat", [](auto) { bloat(); }},
    {"exit", [](auto) { _exit(0); }},
    {"nonsense", [](auto) { pipe(workerProtocol::withLength("???")), hang(); }},
    {"huge", [](auto) { pipe(std::string(4, '\x7F')), hang(); }},
    {"half", [](auto) { pipe(std::string("\x40\0\0\0half", 8)), hang(); }},
    {"trickle", [](auto) { trickle(); }},
    {"chatter", [](auto) { chatter(); }},
    {"deaf",
     [](auto) {
       close(workerProtocol::kControlSocket);
       close(workerProtocol::kResultPipe);
       hang();
     }},
    {"void", [](auto id) { pipeForEver(workerProtocol::withLength(encodePaths(id, {}))); }},
    {"many",
     [](auto id) {
       pipeForEver(workerProtocol::withLength(encodePaths(id, std::vector<std::string>(50000))));
     }},
    {"long",
     [](auto id) {
       const std::string longest(kMostPathBytes, 'x');
       pipeForEver(workerProtocol::withLength(encodePaths(id, {longest, longest, longest})));
     }},
    {"other", [](auto id) { pipe(workerProtocol::withLength(encodeEnd(id + 1, {}))), hang(); }},
    {"twice",
     [](auto id) {
       pipe(workerProtocol::withLength(encodeEnd(id, {PlaylistVerdict::Success, false})));
     }},
    {"reach", [](auto) { reach(); }},
    {"socket", [](auto) { socket(AF_INET, SOCK_STREAM, 0); }},
    {"fork", [](auto) { [[maybe_unused]] const pid_t child = fork(); }},
    {"execute", [](auto) { execl("/bin/true", "true", nullptr); }},
    {"kill", [](auto) { kill(getppid(), SIGTERM); }},
    {"unlink", [](auto) { unlink("/nowhere"); }},
    {"create", [](auto) { mkdir("/tmp/orvel-was-here", 0700); }},
    {"code",
     [](auto) { mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); }},
};

}  // namespace

int main(int argumentCount, char** /*arguments*/) {
  _exit(servePlaylists(
      [](const Request& request, const OnPlaylistEntry& onEntry) {
        return parsePlaylist(request.path, [&](const char* uri) {
          const char* const mark = std::strrchr(uri, '!');
          if (mark != nullptr) kDeeds.at(mark + 1)(request.id);
          onEntry(uri);
        });
      },
      argumentCount > 1));
}
