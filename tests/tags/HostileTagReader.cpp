#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <stdexcept>
#include <string>

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

void answerWith(const std::string& bytes) {
  if (write(orvel::workerProtocol::kResultPipe, bytes.data(), bytes.size()) > 0) hang();
}

/// Asks for all that there is, again and again, without taking an answer.
void ask() {
  const std::string question =
      orvel::tagMessages::encodeQuestion({0, orvel::tagMessages::kMostAskedBytes});
  iovec part{const_cast<char*>(question.data()), question.size()};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  while (true) sendmsg(orvel::workerProtocol::kControlSocket, &message, MSG_NOSIGNAL);
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
    {"ask", ask},
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
