#include "cli/CoverCommand.h"

#include <orvel/Cover.h>
#include <orvel/Settings.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>

#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/JsonText.h"
#include "cli/MountPoint.h"
#include "cli/OwnOutput.h"
#include "cli/commandOptions.h"
#include "host/tagReaderNearby.h"

namespace orvel::cli {

namespace {

struct CoverOptions {
  std::string song;
  std::string output;
  bool json = false;
};

const char* nameOf(PictureType type) {
  switch (type) {
    case PictureType::Jpeg:
      return "JPEG";
    case PictureType::Png:
      return "PNG";
    case PictureType::WebP:
      return "WebP";
    case PictureType::Gif:
      return "GIF";
    case PictureType::Bmp:
      break;
  }
  return "BMP";
}

/// Why there is no picture, with the remedy.
std::string obstacle(Cover::Outcome outcome, const std::string& song) {
  switch (outcome) {
    case Cover::Outcome::NotThere:
      return "There is no song " + song + ". Is its stick mounted?";
    case Cover::Outcome::Refused:
      return "The cover of " + song +
             " is larger than 8 MiB or 4096 pixels a side, or no JPEG, PNG, WebP, GIF or BMP.";
    case Cover::Outcome::Unreadable:
      return "The song " + song + " cannot be read, and no picture lies beside it.";
    case Cover::Outcome::DeviceFailed:
      return "The device does not deliver " + song + ". Plug it in once more.";
    case Cover::Outcome::Failed:
      return "No reader for " + song + " can be started. Is orvel installed completely?";
    default:
      return "The song " + song + " has no cover.";
  }
}

Cover::Result fetch(const std::string& path) {
  Settings settings;
  settings.tagReading = TagReading::Isolated;
  settings.tagReaderProgram = host::tagReaderNearby();
  configure(settings);
  std::promise<Cover::Result> result;
  // The folder stands for the device: nothing in it leads to another file system.
  const Cover cover({std::filesystem::path(path).parent_path(), path},
                    [&](Cover::Result found) { result.set_value(std::move(found)); });
  return result.get_future().get();
}

void write(const std::string& bytes, const std::string& file) {
  std::ofstream output(file, std::ios::binary | std::ios::trunc);
  output << bytes << std::flush;
  if (!output) {
    throw CommandError(
        CouldNotRun, "The file " + displayText(file) + " cannot be written. Name another with -o.");
  }
}

void print(const Cover::Picture& picture) {
  std::cout << nameOf(picture.type) << ", " << picture.width << " x " << picture.height
            << " pixels, " << (picture.isEmbedded ? "from the song" : "from its folder") << "\n";
}

void printJson(const Cover::Picture& picture, const std::string& song, const std::string& output) {
  std::cout << jsonLine({{"path", jsonString(song)},
                         {"output", jsonString(output)},
                         {"type", nameOf(picture.type)},
                         {"bytes", static_cast<qint64>(picture.bytes.size())},
                         {"width", static_cast<qint64>(picture.width)},
                         {"height", static_cast<qint64>(picture.height)},
                         {"embedded", picture.isEmbedded}})
            << "\n";
}

int runCover(const CoverOptions& options) {
  const std::string song = cleanPath(options.song);
  const Cover::Result found = fetch(song);
  if (found.outcome != Cover::Outcome::Found) {
    throw CommandError(CouldNotRun, obstacle(found.outcome, displayText(song)));
  }
  write(found.picture.bytes, options.output);
  if (options.json) {
    printJson(found.picture, song, options.output);
  } else {
    print(found.picture);
  }
  finishOutput();
  return Done;
}

}  // namespace

void addCover(CLI::App& app, Command& command) {
  const auto options = std::make_shared<CoverOptions>();
  CLI::App& verb =
      addCommand(app, "cover", "Write the cover of a song to a file", options, runCover, command);
  verb.add_option("SONG", options->song, "Path of a song on an attached stick")
      ->required()
      ->type_name("");
  verb.add_option("-o,--output", options->output, "Where to write the picture")
      ->required()
      ->type_name("FILE");
  verb.add_flag("--json", options->json, "Print one JSON object about the picture");
}

}  // namespace orvel::cli
