#include "playlists/reader/servePlaylists.h"

#include <unistd.h>

#include <cstdint>
#include <iostream>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "isolation/worker/Confinement.h"
#include "isolation/worker/LibraryConnection.h"
#include "playlists/PlaylistMessages.h"
#include "playlists/reader/handedFile.h"
#include "playlists/reader/prepareParser.h"

namespace orvel {

namespace {

using namespace playlistMessages;
using namespace workerProtocol;
using libraryConnection::Message;

/// The largest lists take the parser some 400 MiB.
constexpr ParserNeeds kNeeds{std::uint64_t{512} << 20, true};

/// Sends the track paths of one list in pieces.
class TrackSender {
 public:
  explicit TrackSender(const Request& request) : id(request.id), paths(request.mostEntries) {}

  /// Must not throw: its caller is C. Out of memory, the process ends.
  void add(const char* uri) {
    std::string path;
    if (!paths.next(uri, path) || path.size() > kMostPathBytes) return endIfCut();
    constexpr std::size_t kOverhead = 32;
    if (bytes + path.size() + kOverhead > kMostPieceBytes) flush();
    bytes += path.size() + kOverhead;
    piece.push_back(std::move(path));
  }

  /// Sends the remaining paths and the list's end.
  void end(PlaylistVerdict verdict) {
    flush();
    send(encodeEnd(id, {verdict, paths.areCut()}));
  }

 private:
  /// Ends a list with an entry too many, and this process, since the parser cannot be stopped. The
  /// verdict is known: the parser reports entries of sound lists only.
  void endIfCut() {
    if (!paths.areCut()) return;
    end(PlaylistVerdict::Success);
    _exit(Worn);
  }
  void flush() {
    if (!piece.empty()) send(encodePaths(id, piece));
    piece.clear();
    bytes = 0;
  }
  static void send(const std::string& message) {
    if (!libraryConnection::writeResult(message)) _exit(NoConnection);
  }

  const std::uint32_t id;
  TrackPaths paths;
  std::vector<std::string> piece;
  std::size_t bytes = 0;
};

/// Answers one request.
ExitStatus serve(Message message, ServeList parse) {
  const auto request = decodeRequest(message.text);
  if (!request) return NoConnection;
  const bool isOpen = !message.descriptors.empty();
  handedFile::hand(request->path, isOpen ? std::move(message.descriptors.front()) : Descriptor());
  TrackSender sender(*request);
  const auto verdict = parse(*request, [&](const char* uri) { sender.add(uri); });
  if (!knowsFileTypes()) return Worn;
  sender.end(verdict);
  return Done;
}

}  // namespace

int servePlaylists(ServeList parse, bool carefully) {
  if (!libraryConnection::exists()) {
    std::cerr << "orvel-playlist-reader is started by Orvel itself and of no use by hand.\n";
    return NotStartedByLibrary;
  }
  // Out of memory, end at once: a fresh worker starts with all of it.
  std::set_new_handler([] { _exit(OutOfMemory); });
  prepareParser();
  if (!libraryConnection::send(encodeGreeting(confineProcess(kNeeds, carefully))))
    return NoConnection;
  while (auto request = libraryConnection::receive()) {
    if (const ExitStatus status = serve(std::move(*request), parse); status != Done) return status;
  }
  return Done;
}

}  // namespace orvel
