#include "tools/stick/Playlist.h"

#include <sstream>

namespace orvel::stick {
namespace {

using Entries = std::vector<PlaylistEntry>;

std::string xmlEscaped(std::string_view text) {
  std::string escaped;
  for (const char character : text) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

std::string m3u(const Entries& entries) {
  std::ostringstream text;
  text << "#EXTM3U\n";
  for (const PlaylistEntry& entry : entries)
    text << "#EXTINF:-1," << entry.title << "\n" << entry.target << "\n";
  return text.str();
}

std::string pls(const Entries& entries) {
  std::ostringstream text;
  text << "[playlist]\n";
  int number = 0;
  for (const PlaylistEntry& entry : entries) {
    ++number;
    text << "File" << number << "=" << entry.target << "\n";
    text << "Title" << number << "=" << entry.title << "\n";
  }
  text << "NumberOfEntries=" << number << "\nVersion=2\n";
  return text.str();
}

std::string asx(const std::string& title, const Entries& entries) {
  std::ostringstream text;
  text << "<asx version=\"3.0\">\n  <title>" << xmlEscaped(title) << "</title>\n";
  for (const PlaylistEntry& entry : entries) {
    text << "  <entry><title>" << xmlEscaped(entry.title) << "</title>"
         << "<ref href=\"" << xmlEscaped(entry.target) << "\"/></entry>\n";
  }
  text << "</asx>\n";
  return text.str();
}

std::string wpl(const std::string& title, const Entries& entries) {
  std::ostringstream text;
  text << "<?wpl version=\"1.0\"?>\n<smil>\n"
       << "  <head><title>" << xmlEscaped(title) << "</title></head>\n  <body><seq>\n";
  for (const PlaylistEntry& entry : entries)
    text << "    <media src=\"" << xmlEscaped(entry.target) << "\"/>\n";
  text << "  </seq></body>\n</smil>\n";
  return text.str();
}

}  // namespace

std::string_view extension(PlaylistKind kind) {
  switch (kind) {
    case PlaylistKind::M3u:
      return ".m3u";
    case PlaylistKind::M3u8:
      return ".m3u8";
    case PlaylistKind::Pls:
      return ".pls";
    case PlaylistKind::Asx:
      return ".asx";
    default:
      return ".wpl";
  }
}

std::string playlistText(PlaylistKind kind, const std::string& title, const Entries& entries) {
  switch (kind) {
    case PlaylistKind::M3u:
    case PlaylistKind::M3u8:
      return m3u(entries);
    case PlaylistKind::Pls:
      return pls(entries);
    case PlaylistKind::Asx:
      return asx(title, entries);
    default:
      return wpl(title, entries);
  }
}

std::string withDosLineEnds(const std::string& text) {
  std::string converted;
  for (const char character : text) {
    if (character == '\n') converted += '\r';
    converted += character;
  }
  return converted;
}

}  // namespace orvel::stick
