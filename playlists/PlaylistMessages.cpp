#include "playlists/PlaylistMessages.h"

#include <algorithm>
#include <utility>

#include "isolation/MessageParser.h"
#include "isolation/MessageWriter.h"

namespace orvel::playlistMessages {

namespace {

constexpr char kPaths = 'P';
constexpr char kEnd = 'E';

std::optional<End> parseEnd(MessageParser& parser) {
  const auto verdict = parser.number<std::uint8_t>();
  const bool isCut = parser.number<std::uint8_t>() != 0;
  if (verdict > static_cast<std::uint8_t>(PlaylistVerdict::Other)) return std::nullopt;
  return End{static_cast<PlaylistVerdict>(verdict), isCut};
}

std::vector<std::string_view> parsePaths(MessageParser& parser, std::size_t messageBytes) {
  const std::size_t count = parser.number<std::uint32_t>();
  if (count > messageBytes / sizeof(std::uint32_t)) return {};
  std::vector<std::string_view> paths(count);
  for (std::string_view& path : paths) path = parser.bytes();
  return paths;
}

bool areSound(const std::vector<std::string_view>& paths) {
  return !paths.empty() && std::all_of(paths.begin(), paths.end(), [](std::string_view path) {
    return path.size() <= kMostPathBytes;
  });
}

}  // namespace

std::string encodeRequest(const Request& request) {
  MessageWriter writer;
  writer.number(request.id);
  writer.number(request.mostEntries);
  writer.bytes(request.path);
  return std::move(writer.message);
}

std::optional<Request> decodeRequest(std::string_view message) {
  MessageParser parser(message);
  Request request;
  request.id = parser.number<std::uint32_t>();
  request.mostEntries = parser.number<std::uint32_t>();
  request.path = std::string(parser.bytes());
  if (!parser.isDone()) return std::nullopt;
  return request;
}

std::string encodePaths(std::uint32_t id, const std::vector<std::string>& paths) {
  MessageWriter writer;
  writer.number(id);
  writer.number(kPaths);
  writer.number(static_cast<std::uint32_t>(paths.size()));
  for (const std::string& path : paths) writer.bytes(path);
  return std::move(writer.message);
}

std::string encodeEnd(std::uint32_t id, End end) {
  MessageWriter writer;
  writer.number(id);
  writer.number(kEnd);
  writer.number(static_cast<std::uint8_t>(end.verdict));
  writer.number(end.isCut);
  return std::move(writer.message);
}

std::optional<Piece> decodePiece(std::string_view message) {
  MessageParser parser(message);
  Piece piece;
  piece.id = parser.number<std::uint32_t>();
  const char kind = parser.number<char>();
  if (kind == kPaths) piece.paths = parsePaths(parser, message.size());
  if (kind == kEnd) piece.end = parseEnd(parser);
  if (!parser.isDone() || areSound(piece.paths) == piece.end.has_value()) return std::nullopt;
  return piece;
}

}  // namespace orvel::playlistMessages
