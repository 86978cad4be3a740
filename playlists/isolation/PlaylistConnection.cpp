#include "playlists/isolation/PlaylistConnection.h"

#include <poll.h>

#include <cerrno>
#include <span>
#include <utility>

namespace orvel {

namespace {

using namespace playlistMessages;

/// Charges the pieces of one list against its bounds.
class Allowance {
 public:
  explicit Allowance(const Request& request) : id(request.id), entries(request.mostEntries) {}

  /// Charges a piece; returns false when it is none of this list's or goes too far.
  bool covers(const Piece& piece) {
    if (piece.id != id || piece.paths.size() > entries || bytes > TrackPaths::kMostBytes) {
      return false;
    }
    entries -= piece.paths.size();
    for (const std::string_view path : piece.paths) bytes += path.size();
    return bytes <= TrackPaths::kMostBytes + kMostPathBytes;
  }

 private:
  std::uint32_t id;
  std::size_t entries;
  std::size_t bytes = 0;
};

}  // namespace

PlaylistConnection::PlaylistConnection(std::stop_token token, const std::string& program,
                                       bool carefully)
    : WorkerProcess(std::move(token), program, carefully, kMostPieceBytes) {}

bool PlaylistConnection::send(const Request& request, const Descriptor& file) const {
  const int number = file.get();
  // The next `receive` notices a worker that has just ended.
  return control.send(encodeRequest(request), std::span(&number, file ? 1U : 0U)) ||
         errno == EPIPE || errno == ECONNRESET;
}

std::optional<End> PlaylistConnection::receive(
    const Request& request, WaitBudget& budget,
    const std::function<void(std::string_view path)>& onPath) {
  Allowance allowance(request);
  while (true) {
    while (const auto text = results.take()) {
      const auto piece = decodePiece(*text);
      if (!piece || !allowance.covers(*piece)) {
        rejectResult();
        return std::nullopt;
      }
      for (const std::string_view path : piece->paths) onPath(path);
      answered = answered || piece->end;
      if (piece->end) return piece->end;
    }
    if (results.isBroken()) rejectResult();
    if (!fault.empty() || !results.isOpen() || !wait(budget)) return std::nullopt;
    results.readMore();
  }
}

/// Waits for more bytes; returns false when no more can be expected.
bool PlaylistConnection::wait(WaitBudget& budget) {
  if (stopped.stop_requested()) return false;
  if (budget.isSpent()) {
    giveUp();
    return false;
  }
  pollfd watched{results.get(), POLLIN, 0};
  budget.wait(&watched, 1);
  return true;
}

}  // namespace orvel
