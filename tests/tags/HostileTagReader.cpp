#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

#include "isolation/worker/LibraryConnection.h"
#include "tags/TagMessages.h"
#include "tags/readFile.h"
#include "tags/reader/serveTags.h"
#include "tests/support/breakDown.h"

namespace {

using namespace orvel::test::breakDown;

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

/// Sends a long result byte by byte.
void trickle() {
  for (const char byte : orvel::workerProtocol::withLength(std::string(200000, 'x'))) {
    answer({&byte, 1});
    for (volatile int spin = 0; spin < 50000;) spin = spin + 1;
  }
}

/// The actions of a parser that a file has taken over: the file begins with "!" and one of these.
const std::map<std::string, void (*)()> kDeeds = {
    {"crash", crash},
    {"hang", hang},
    {"bloat", bloat},
    {"throw", [] { throw std::runtime_error("thrown by\x1b[2Jthe parser"); }},
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
    {"open", [] { [[maybe_unused]] const int file = open("/etc/passwd", O_RDONLY); }},
};

/// The lies of a parser that was taken over, about every later file.
const std::map<std::string, orvel::TagResult (*)()> kLies = {
    {"nosong", [] { return orvel::TagResult{orvel::TagResult::Outcome::Untagged}; }},
    {"error",
     []() -> orvel::TagResult { throw std::runtime_error(std::string(32 << 20, '\x1b')); }},
    {"surplus",
     []() -> orvel::TagResult {
       const std::string result = orvel::workerProtocol::withLength(
           orvel::tagMessages::encodeResult(7, {orvel::TagResult::Outcome::Tagged}));
       answer(result + result);
       return {orvel::TagResult::Outcome::Tagged};
     }},
};

orvel::TagResult readHostile(orvel::TagStream& stream, orvel::ReadingGoal goal) {
  static orvel::TagResult (*lie)() = nullptr;
  const TagLib::ByteVector head = stream.readBlock(16);
  stream.seek(0, TagLib::IOStream::Beginning);
  if (lie != nullptr) return lie();
  if (head.startsWith("!")) {
    const std::string command(head.data() + 1, head.size() - 1);
    const std::string deed = command.substr(0, command.find('.'));
    if (kDeeds.contains(deed)) kDeeds.at(deed)();
    if (kLies.contains(deed)) lie = kLies.at(deed);
  }
  return orvel::readFile(stream, goal);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (std::string_view(arguments[0]).ends_with("of-another-build")) send("\x7F\0\0\0");
  _exit(orvel::serveTags(readHostile, argumentCount > 1));
}
