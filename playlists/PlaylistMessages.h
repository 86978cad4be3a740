#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "playlists/parsePlaylist.h"

/// The messages between the library and the worker that parses playlists, the process
/// `orvel-playlist-reader`.
///
/// After the greeting the socket carries one request for each list, with the list's descriptor. The
/// pipe carries the list's track paths in pieces, so that memory stays flat on both sides, and then
/// its end.
namespace orvel::playlistMessages {

/// Longest track path that is sent: several times as long as a path can be. Longer ones, which are
/// no song's, are left out.
constexpr std::size_t kMostPathBytes = std::size_t{64} << 10;
/// Largest size of a piece.
constexpr std::size_t kMostPieceBytes = std::size_t{256} << 10;

/// One list to parse. Its descriptor is sent along, unless it cannot be opened.
struct Request {
  std::uint32_t id = 0;  ///< repeated in each piece
  std::uint32_t mostEntries = 0;
  std::string path;  ///< entries are relative to its folder
};

/// The end of a list.
struct End {
  PlaylistVerdict verdict{};
  bool isCut = false;  ///< entries were left out
};

/// Track paths of a list, or its end.
struct Piece {
  std::uint32_t id = 0;
  std::vector<std::string_view> paths;  ///< parts of the decoded message
  std::optional<End> end;
};

std::string encodeRequest(const Request& request);
/// @param paths  at least one
std::string encodePaths(std::uint32_t id, const std::vector<std::string>& paths);
std::string encodeEnd(std::uint32_t id, End end);

// Each decoder returns nothing for a malformed message: a file may have taken the worker over.
std::optional<Request> decodeRequest(std::string_view message);
std::optional<Piece> decodePiece(std::string_view message);

}  // namespace orvel::playlistMessages
