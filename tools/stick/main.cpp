#include <getopt.h>

#include <charconv>
#include <cstdint>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "tools/stick/BenchStick.h"
#include "tools/stick/SampleStick.h"
#include "tools/stick/TaggedFiles.h"

namespace {

const char usage[] =
    "Usage: orvel-make-stick sample DIR\n"
    "       orvel-make-stick bench DIR --songs N [--seed S]\n"
    "       orvel-make-stick tags DIR --songs N --manifest FILE.tsv\n"
    "Writes folders of real songs: to try out, to measure with, or with random tags and a table "
    "of\n"
    "them. DIR must be new, empty or made by this program, which then empties it.\n";

struct UsageError : std::exception {};

struct Arguments {
  std::string mode;
  std::string folder;
  int songs = 0;
  std::uint64_t seed = 1;
  std::string manifest;
};

template <typename Number>
Number number(const std::string& text) {
  Number value{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) throw UsageError();
  return value;
}

Arguments parsed(int count, char** texts) {
  const option options[] = {{"songs", required_argument, nullptr, 'n'},
                            {"seed", required_argument, nullptr, 's'},
                            {"manifest", required_argument, nullptr, 'm'},
                            {nullptr, 0, nullptr, 0}};
  Arguments arguments;
  for (int found; (found = getopt_long(count, texts, "", options, nullptr)) != -1;) {
    if (found == 'n')
      arguments.songs = number<int>(optarg);
    else if (found == 's')
      arguments.seed = number<std::uint64_t>(optarg);
    else if (found == 'm')
      arguments.manifest = optarg;
    else
      throw UsageError();
  }
  if (count - optind != 2) throw UsageError();
  arguments.mode = texts[optind];
  arguments.folder = texts[optind + 1];
  return arguments;
}

void make(const Arguments& arguments) {
  int songs = arguments.songs;
  if (arguments.mode == "sample")
    songs = orvel::stick::makeSampleStick(arguments.folder);
  else if (arguments.mode == "bench" && songs > 0)
    orvel::stick::makeBenchStick(arguments.folder, songs, arguments.seed);
  else if (arguments.mode == "tags" && songs > 0 && !arguments.manifest.empty())
    orvel::stick::makeTaggedFiles(arguments.folder, songs, arguments.manifest);
  else
    throw UsageError();
  std::cout << "Wrote " << songs << " song files to " << arguments.folder
            << (arguments.mode == "sample" ? ", hidden and deleted ones among them\n" : "\n");
}

}  // namespace

int main(int count, char** texts) {
  try {
    make(parsed(count, texts));
    return 0;
  } catch (const UsageError&) {
    std::cerr << usage;
    return 2;
  } catch (const std::exception& error) {
    std::cerr << "orvel-make-stick: " << error.what() << "\n";
    return 1;
  }
}
