#include "phones/scripted/DeviceScript.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <stdexcept>
#include <string_view>

#include "phones/scripted/ScriptLine.h"

namespace orvel::scripted {

namespace {

constexpr std::uint64_t kMost16 = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint64_t kMost32 = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kMost63 = std::numeric_limits<std::int64_t>::max();

/// Where a fault may happen, see Fault::at; each name between blanks.
constexpr std::string_view kPlaces =
    " any count page open listStorages listFolder readTags readBytes listPlaylists playlistMembers"
    " Access_GetNumItems Access_GetItems Access_GetNumElements Access_GetPlaylistElements"
    " Command_ResetCategory Command_SelectCategory Access_GetTrackTitle Access_GetTrackArtist"
    " Access_GetTrackAlbum Access_GetTrackGenre Access_GetTrackComposer Access_GetTrackFileName"
    " Access_GetTrackDateModified Access_GetTrackAlbumTrackIndex Access_GetTrackFileSize ";

const std::map<std::string, t_status> kAnswers = {{"refused", STATUS_NOT_OK},
                                                  {"unsupported", STATUS_NOT_SUPPORTED},
                                                  {"gone", STATUS_NOT_OK_BAD_HANDLE},
                                                  {"failed", STATUS_NOT_OK_GENERIC_PLUGIN_ERROR},
                                                  {"closed", STATUS_NOT_OK_PLUGIN_NOT_INITIALIZED},
                                                  {"busy", STATUS_BUSY}};

t_status answerOf(const std::string& name) {
  const auto found = kAnswers.find(name);
  if (found != kAnswers.end()) return found->second;
  throw std::invalid_argument("'" + name +
                              "' is no answer. Write refused, unsupported, gone, failed, closed or"
                              " busy.");
}

/// The devices of the lines read so far. Every line but "device" adds to the last one. The readers
/// throw std::invalid_argument for a line that makes no sense.
struct Script {
  std::filesystem::path folder;
  std::vector<ScriptedDevice> devices = {};

  ScriptedDevice& device() { return devices.back(); }
};

void readDevice(ScriptLine& line, Script& script) {
  ScriptedDevice& added = script.devices.emplace_back();
  added.vendor =
      static_cast<std::uint16_t>(line.number("vendor", kMost16, 16).value_or(added.vendor));
  added.product =
      static_cast<std::uint16_t>(line.number("product", kMost16, 16).value_or(added.product));
  added.serial = line.option("serial").value_or("");
  added.maker = line.option("maker").value_or(added.maker);
  added.model = line.option("model").value_or(added.model);
  added.renumbers = line.takes("renumbers");
}

void readStorage(ScriptLine& line, Script& script) {
  DeviceStorage& storage = script.device().addStorage(line.word("description"));
  storage.capacityBytes = line.number("capacity", kMost63).value_or(storage.capacityBytes);
  storage.freeBytes = line.number("free", kMost63).value_or(storage.capacityBytes / 2);
}

void readFolder(ScriptLine& line, Script& script) {
  ScriptedObject& added = script.device().addFolder(line.word("path"));
  if (line.takes("=")) added.target = line.word("folder behind '='");
}

std::optional<DeviceTags> readTags(ScriptLine& line) {
  bool any = false;
  const auto text = [&](const char* name) {
    const auto value = line.option(name);
    any = any || value.has_value();
    return value.value_or("");
  };
  DeviceTags tags;
  tags.title = text("title");
  tags.artist = text("artist");
  tags.album = text("album");
  tags.genre = text("genre");
  tags.composer = text("composer");
  const auto number = line.number("number", kMost16);
  tags.trackNumber = static_cast<std::uint16_t>(number.value_or(0));
  if (!any && !number) return std::nullopt;
  return tags;
}

void readFileFields(ScriptLine& line, ScriptedObject& object) {
  object.size = line.number("size", kMost63).value_or(0);
  object.modified = static_cast<std::time_t>(line.number("modified", kMost63).value_or(0));
}

void readTrack(ScriptLine& line, Script& script) {
  ScriptedObject& track = script.device().addTrack(line.word("path"));
  track.tags = readTags(line);
  readFileFields(line, track);
  const auto file = line.option("file");
  if (!file) return;
  track.file = (script.folder / *file).string();
  if (!std::ifstream(track.file).good()) {
    throw std::invalid_argument("the file " + track.file +
                                " cannot be read. Name a file relative to the script's folder.");
  }
}

void readFile(ScriptLine& line, Script& script) {
  readFileFields(line, script.device().addFile(line.word("path")));
}

void readPlaylist(ScriptLine& line, Script& script) {
  const std::string path = line.word("path");
  std::vector<std::string> members;
  if (line.takes("=")) members = line.words();
  script.device().addPlaylist(path, std::move(members));
}

void readEffect(ScriptLine& line, Fault& fault) {
  const bool isCall = fault.at == kAtAnyCall || fault.at.find('_') != std::string::npos;
  const bool isList = fault.at == kAtCount || fault.at == kAtPage;
  if (const auto items = line.number("items", kMost32)) {
    fault.effect = Fault::Effect::Items;
    fault.items = static_cast<std::uint32_t>(*items);
    if (!isCall) return;
  } else if (const auto milliseconds = line.number("block", kMost32)) {
    fault.effect = Fault::Effect::Block;
    fault.bound = std::chrono::milliseconds(*milliseconds);
    if (!isCall && !isList) return;
  } else if (const auto answer = line.option("answer")) {
    fault.status = answerOf(*answer);
    if (!isList) return;
  } else if (line.takes("remove")) {
    fault.effect = Fault::Effect::Remove;
    if (!isList) return;
  }
  throw std::invalid_argument(
      "'" + fault.at +
      "' needs another fault. Calls take answer=NAME and remove; functions these,"
      " items=N and block=MILLISECONDS; count and page take items=N.");
}

void readFault(ScriptLine& line, Script& script) {
  const std::string at = line.word("place");
  if (at.find(' ') != std::string::npos || kPlaces.find(" " + at + " ") == std::string_view::npos) {
    throw std::invalid_argument("'" + at +
                                "' is no place for a fault. Name a call such as Access_GetItems, a"
                                " function such as listFolder, or any, count or page.");
  }
  Fault& fault = script.device().addFault({at});
  fault.path = line.option("path").value_or("");
  fault.from = static_cast<unsigned>(line.number("from", kForEver).value_or(1));
  fault.times = static_cast<unsigned>(line.number("times", kForEver).value_or(1));
  if (line.takes("always")) fault.times = kForEver;
  readEffect(line, fault);
}

using Reader = void (*)(ScriptLine& line, Script& script);
const std::map<std::string, Reader> kReaders = {{"device", readDevice}, {"storage", readStorage},
                                                {"folder", readFolder}, {"track", readTrack},
                                                {"file", readFile},     {"playlist", readPlaylist},
                                                {"fault", readFault}};

void readLine(ScriptLine& line, Script& script) {
  if (line.keyword().empty()) return;
  const auto found = kReaders.find(line.keyword());
  if (found == kReaders.end()) {
    throw std::invalid_argument("'" + line.keyword() +
                                "' is no keyword. Begin the line with device, storage, folder,"
                                " track, file, playlist or fault.");
  }
  if (script.devices.empty() && line.keyword() != "device") {
    throw std::invalid_argument("there is no device yet. Put a 'device' line before it.");
  }
  found->second(line, script);
  line.finish();
}

}  // namespace

std::vector<ScriptedDevice> readDeviceScript(const std::string& file) {
  std::ifstream input(file);
  Script script{std::filesystem::path(file).parent_path()};
  unsigned number = 0;
  std::string text;
  while (std::getline(input, text)) {
    ++number;
    try {
      ScriptLine line(text);
      readLine(line, script);
    } catch (const std::invalid_argument& error) {
      throw std::runtime_error(file + ":" + std::to_string(number) + ": " + error.what());
    }
  }
  if (!input.eof()) {
    throw std::runtime_error("Cannot read the script " + file + " (" + std::strerror(errno) +
                             "). Name a text file that describes devices.");
  }
  if (script.devices.empty()) {
    throw std::runtime_error("The script " + file +
                             " describes no device. Begin it with a line such as 'device"
                             " serial=A1 model=Phone'.");
  }
  return std::move(script.devices);
}

}  // namespace orvel::scripted
