#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "isolation/worker/LibraryConnection.h"
#include "tags/TagMessages.h"
#include "tags/readTags.h"
#include "tags/reader/serveTags.h"

namespace {

void hang() {
  volatile bool forever = true;
  while (forever) {
  }
}

void crash() {
  volatile int* nowhere = nullptr;
  *nowhere = 1;  // NOLINT(clang-analyzer-core.NullDereference)
}

void bloat() {
  constexpr std::size_t kStep = std::size_t{1} << 20;
  while (true) std::memset(::operator new(kStep), 1, kStep);
}

void answer(std::string_view bytes) {
  if (write(orvel::workerProtocol::kResultPipe, bytes.data(), bytes.size()) < 0) hang();
}

void answerWith(const std::string& bytes) {
  answer(bytes);
  hang();
}

void send(const std::string& message) {
  if (write(orvel::workerProtocol::kControlSocket, message.data(), message.size()) < 0) hang();
}

std::string question() {
  return orvel::tagMessages::encodeQuestion({0, orvel::tagMessages::kMostAskedBytes});
}

/// Asks for all that there is, again and again; takes the answers, with their descriptors, or not.
void ask(bool takesAnswers) {
  while (true) {
    send(question());
    if (takesAnswers) new auto(orvel::libraryConnection::receive());
  }
}

/// Sends messages without an end.
void chatter() {
  while (true) send("D");
}

/// Sends a result byte by byte, each just before the library loses patience with a wait.
void trickle() {
  const std::string result = orvel::workerProtocol::withLength(std::string(200000, 'x'));
  for (const char byte : result) {
    answer({&byte, 1});
    const auto begin = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - begin < std::chrono::microseconds(100)) {
    }
  }
}

/// The actions of a parser that a file has taken over: the file begins with "!" and one of these.
const std::map<std::string, void (*)()> kDeeds = {
    {"crash", crash},
    {"hang", hang},
    {"bloat", bloat},
    {"throw", [] { throw std::runtime_error("thrown by the parser"); }},
    {"exit", [] { _exit(0); }},
    {"nonsense", [] { answerWith(std::string("\3\0\0\0???", 7)); }},
    {"flood", [] { answerWith(std::string(4, '\x7F')); }},
    {"half", [] { answerWith(std::string("\x40\0\0\0half", 8)); }},
    {"ask", [] { ask(false); }},
    {"asktake", [] { ask(true); }},
    {"chatter", chatter},
    {"trickle", trickle},
    {"deaf",
     [] {
       close(orvel::workerProtocol::kControlSocket);
       close(orvel::workerProtocol::kResultPipe);
       hang();
     }},
    {"socket", [] { socket(AF_INET, SOCK_STREAM, 0); }},
    {"fork", [] { [[maybe_unused]] const pid_t child = fork(); }},
    {"execute", [] { execl("/bin/true", "true", nullptr); }},
    {"kill", [] { kill(getppid(), SIGTERM); }},
    {"unlink", [] { unlink("/nowhere"); }},
    {"open", [] { [[maybe_unused]] const int file = open("/etc/passwd", O_RDONLY); }},
    {"code",
     [] { mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); }},
    {"map", [] { mmap(nullptr, 4096, PROT_READ, MAP_SHARED, 5, 0); }},
};

orvel::TagResult readHostile(orvel::TagStream& stream, orvel::ReadingDepth depth) {
  const TagLib::ByteVector head = stream.readBlock(16);
  stream.seek(0, TagLib::IOStream::Beginning);
  if (head.startsWith("!")) {
    const std::string deed(head.data() + 1, head.size() - 1);
    kDeeds.at(deed.substr(0, deed.find('.')))();
  }
  return orvel::readTags(stream, depth);
}

}  // namespace

int main() {
  _exit(orvel::serveTags(readHostile));
}
