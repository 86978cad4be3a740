#include "tools/stick/Playlist.h"

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

std::string m3u(const Entries& entries, const std::string& lineEnd) {
  std::string text = "#EXTM3U" + lineEnd;
  for (const PlaylistEntry& entry : entries)
    text += "#EXTINF:-1," + entry.title + lineEnd + entry.target + lineEnd;
  return text;
}

std::string pls(const Entries& entries, const std::string& lineEnd) {
  std::string text = "[playlist]" + lineEnd;
  int number = 0;
  for (const PlaylistEntry& entry : entries) {
    const std::string suffix = std::to_string(++number) + "=";
    text += "File" + suffix + entry.target + lineEnd;
    text += "Title" + suffix + entry.title + lineEnd;
  }
  return text + "NumberOfEntries=" + std::to_string(number) + lineEnd + "Version=2" + lineEnd;
}

std::string asx(const std::string& title, const Entries& entries, const std::string& lineEnd) {
  std::string text = "<asx version=\"3.0\">" + lineEnd;
  text += "  <title>" + xmlEscaped(title) + "</title>" + lineEnd;
  for (const PlaylistEntry& entry : entries) {
    text += "  <entry><title>" + xmlEscaped(entry.title) + "</title>";
    text += "<ref href=\"" + xmlEscaped(entry.target) + "\"/></entry>" + lineEnd;
  }
  return text + "</asx>" + lineEnd;
}

std::string wpl(const std::string& title, const Entries& entries, const std::string& lineEnd) {
  std::string text = "<?wpl version=\"1.0\"?>" + lineEnd + "<smil>" + lineEnd;
  text += "  <head><title>" + xmlEscaped(title) + "</title></head>" + lineEnd;
  text += "  <body><seq>" + lineEnd;
  for (const PlaylistEntry& entry : entries)
    text += "    <media src=\"" + xmlEscaped(entry.target) + "\"/>" + lineEnd;
  return text + "  </seq></body>" + lineEnd + "</smil>" + lineEnd;
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

std::string playlistText(PlaylistKind kind, const std::string& title, const Entries& entries,
                         const std::string& lineEnd) {
  switch (kind) {
    case PlaylistKind::M3u:
    case PlaylistKind::M3u8:
      return m3u(entries, lineEnd);
    case PlaylistKind::Pls:
      return pls(entries, lineEnd);
    case PlaylistKind::Asx:
      return asx(title, entries, lineEnd);
    default:
      return wpl(title, entries, lineEnd);
  }
}

}  // namespace orvel::stick
