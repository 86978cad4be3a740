#include "service/Configuration.h"

#include <glib.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <sstream>
#include <system_error>
#include <utility>

#include "base/GlibPointers.h"
#include "base/GlibText.h"

namespace orvel::service {

namespace {

struct FreeKeyFile {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, FreeKeyFile>;

/// Why a value does not count, and the remedy.
struct WrongValue {
  std::string text;
};

/// The value of one key.
class Value {
 public:
  Value(GKeyFile* keyFile, const std::string& groupName, const std::string& keyName)
      : file(keyFile), group(groupName.c_str()), key(keyName.c_str()) {}

  [[nodiscard]] std::string text() const {
    GError* failure = nullptr;
    const GlibText text(g_key_file_get_string(file, group, key, &failure));
    require(failure);
    return g_strchomp(text.get());
  }

  [[nodiscard]] std::vector<std::string> list() const {
    GError* failure = nullptr;
    const GlibTexts texts(g_key_file_get_string_list(file, group, key, nullptr, &failure));
    require(failure);
    std::vector<std::string> list;
    for (char** text = texts.get(); *text != nullptr; ++text) {
      if (*g_strstrip(*text) != '\0') list.emplace_back(*text);
    }
    return list;
  }

 private:
  static void require(GError* failure) {
    const GlibError error(failure);
    if (error) throw WrongValue{error->message + std::string(".")};
  }

  GKeyFile* file;
  const char* group;
  const char* key;
};

template <class Meaning>
using Words = std::map<std::string, Meaning>;

const Words<bool> kAnswers{{"yes", true}, {"no", false}};
const Words<TagReading> kIsolations{{"required", TagReading::IsolationRequired},
                                    {"preferred", TagReading::Isolated},
                                    {"off", TagReading::InProcess}};
const Words<WorkPriority> kBackground{{"yes", WorkPriority::Background},
                                      {"no", WorkPriority::Normal}};
const Words<LogLevel> kLogLevels{{"error", LogLevel::Error},
                                 {"warning", LogLevel::Warning},
                                 {"info", LogLevel::Info},
                                 {"debug", LogLevel::Debug},
                                 {"verbose", LogLevel::Verbose}};
/// By the application's id in Diagnostic Log and Trace.
const Words<std::string> kLogs{{"stderr", ""}, {"dlt", "ORVD"}};
const Words<TextRegion> kRegions{
    {"neutral", TextRegion::Neutral}, {"central-europe", TextRegion::CentralEurope},
    {"turkey", TextRegion::Turkey},   {"baltic", TextRegion::Baltic},
    {"vietnam", TextRegion::Vietnam}, {"eastern-europe", TextRegion::EasternEurope},
    {"greece", TextRegion::Greece},   {"arabia", TextRegion::Arabia},
    {"israel", TextRegion::Israel},   {"thailand", TextRegion::Thailand},
    {"china", TextRegion::China},     {"taiwan", TextRegion::Taiwan},
    {"japan", TextRegion::Japan},     {"korea", TextRegion::Korea}};

template <class Map>
std::string namesIn(const Map& map) {
  std::string names;
  for (const auto& entry : map) names += (names.empty() ? "" : ", ") + entry.first;
  return names;
}

template <class Meaning>
Meaning word(const Value& value, const Words<Meaning>& words) {
  const std::string text = value.text();
  const auto found = words.find(text);
  if (found != words.end()) return found->second;
  throw WrongValue{"'" + text + "' is none of " + namesIn(words) + "."};
}

template <class Number>
Number number(const Value& value) {
  const std::string text = value.text();
  constexpr Number kMost = std::numeric_limits<Number>::max();
  Number result{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
  if (error == std::errc() && end == text.data() + text.size() && result > 0) return result;
  throw WrongValue{"'" + text + "' is no number from 1 to " + std::to_string(kMost) + "."};
}

std::string absolutePath(std::string path) {
  if (path.empty() || path[0] != '/') {
    throw WrongValue{"'" + path + "' is no absolute path. Begin it with '/'."};
  }
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::vector<std::string> folders(const Value& value) {
  std::vector<std::string> paths = value.list();
  std::transform(paths.begin(), paths.end(), paths.begin(), absolutePath);
  if (std::find(paths.begin(), paths.end(), "/") != paths.end()) {
    throw WrongValue{"'/' holds the system. Name the folders below which media are mounted."};
  }
  return paths;
}

using Read = std::function<void(Configuration&, const Value&)>;
using Keys = std::map<std::string, Read>;

const std::map<std::string, Keys> kGroups{
    {"devices",
     {{"auto-index", [](auto& c, const Value& v) { c.autoIndex = word(v, kAnswers); }},
      {"phones", [](auto& c, const Value& v) { c.phones = word(v, kAnswers); }},
      {"mount", [](auto& c, const Value& v) { c.media.mountMedia = word(v, kAnswers); }},
      {"internal-disks",
       [](auto& c, const Value& v) { c.media.internalDisks = word(v, kAnswers); }},
      {"roots", [](auto& c, const Value& v) { c.media.roots = folders(v); }},
      {"types", [](auto& c, const Value& v) { c.media.types = v.list(); }},
      {"exclude", [](auto& c, const Value& v) { c.media.exclude = v.list(); }}}},
    {"indexing",
     {{"region", [](auto& c, const Value& v) { c.settings.textRegion = word(v, kRegions); }},
      {"isolation", [](auto& c, const Value& v) { c.settings.tagReading = word(v, kIsolations); }},
      {"background",
       [](auto& c, const Value& v) { c.settings.workPriority = word(v, kBackground); }},
      {"songs",
       [](auto& c, const Value& v) { c.settings.limits.songs = number<std::uint32_t>(v); }},
      {"folders",
       [](auto& c, const Value& v) { c.settings.limits.folders = number<std::uint32_t>(v); }},
      {"database-bytes",
       [](auto& c, const Value& v) { c.settings.limits.databaseBytes = number<long>(v); }}}},
    {"service",
     {{"database-directory",
       [](auto& c, const Value& v) { c.settings.databaseDirectory = absolutePath(v.text()); }},
      {"log", [](auto& c, const Value& v) { c.settings.logThreshold = word(v, kLogLevels); }},
      {"log-to", [](auto& c, const Value& v) { c.settings.dltApplicationId = word(v, kLogs); }},
      {"idle-exit-seconds", [](auto& c, const Value& v) {
         c.idleExit = std::chrono::seconds(number<std::int32_t>(v));
       }}}}};

std::vector<std::string> linesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// Parses; returns why that is impossible.
GlibError parse(GKeyFile* keyFile, const std::string& text) {
  GError* failure = nullptr;
  g_key_file_load_from_data(keyFile, text.c_str(), text.size(), G_KEY_FILE_NONE, &failure);
  return GlibError(failure);
}

/// The number of the first line with which the text cannot be parsed.
std::size_t faultyLine(const std::string& text) {
  std::string begin;
  std::size_t number = 0;
  for (const std::string& line : linesOf(text)) {
    ++number;
    begin += line + "\n";
    const KeyFile scratch(g_key_file_new());
    if (parse(scratch.get(), begin)) break;
  }
  return number;
}

/// Looks up lines, because the parser does not number them.
class LineNumbers {
 public:
  explicit LineNumbers(const std::string& text) {
    std::string group;
    std::size_t number = 0;
    for (std::string line : linesOf(text)) {
      ++number;
      line.erase(0, line.find_first_not_of(" \t\v\f\r"));
      if (line[0] == '[') {
        group = line.substr(1, line.rfind(']') - 1);
        groups.emplace(group, number);
      } else if (line[0] != '#') {
        std::string key = line.substr(0, line.find('='));
        key.erase(key.find_last_not_of(" \t") + 1);
        keys[{group, key}] = number;
      }
    }
  }

  [[nodiscard]] std::size_t of(const std::string& group) const { return groups.at(group); }
  /// The last line of this key, because it counts.
  [[nodiscard]] std::size_t of(const std::string& group, const std::string& key) const {
    return keys.at({group, key});
  }

 private:
  std::map<std::string, std::size_t> groups;
  std::map<std::pair<std::string, std::string>, std::size_t> keys;
};

std::vector<std::string> listOf(const GlibTexts& texts) {
  std::vector<std::string> list;
  for (char** text = texts.get(); text != nullptr && *text != nullptr; ++text) {
    list.emplace_back(*text);
  }
  return list;
}

/// Reads a file that can be parsed.
class Reader {
 public:
  Reader(std::string filePath, const std::string& text, GKeyFile* keyFile,
         ConfigurationReading& readings)
      : path(std::move(filePath)), lines(text), file(keyFile), reading(readings) {}

  void read() {
    for (const std::string& group : listOf(GlibTexts(g_key_file_get_groups(file, nullptr)))) {
      const auto known = kGroups.find(group);
      if (known != kGroups.end()) {
        readGroup(group, known->second);
      } else {
        tell(lines.of(group),
             "There is no group [" + group + "]. Use one of " + namesIn(kGroups) + ".");
      }
    }
  }

 private:
  void readGroup(const std::string& group, const Keys& keys) {
    const GlibTexts names(g_key_file_get_keys(file, group.c_str(), nullptr, nullptr));
    for (const std::string& key : listOf(names)) readKey(group, key, keys);
  }

  void readKey(const std::string& group, const std::string& key, const Keys& keys) {
    const std::size_t line = lines.of(group, key);
    const auto known = keys.find(key);
    if (known == keys.end()) {
      tell(line,
           "The group [" + group + "] has no key " + key + ". Use one of " + namesIn(keys) + ".");
      return;
    }
    try {
      known->second(reading.configuration, Value(file, group, key));
    } catch (const WrongValue& wrong) {
      tell(line, key + ": " + wrong.text + " The default applies.");
    }
  }

  void tell(std::size_t line, const std::string& text) {
    reading.problems.push_back(path + ":" + std::to_string(line) + ": " + text);
  }

  std::string path;
  LineNumbers lines;
  GKeyFile* file;
  ConfigurationReading& reading;
};

}  // namespace

Configuration::Configuration() {
  settings.tagReading = TagReading::Isolated;
  settings.workPriority = WorkPriority::Background;
}

const char* nameOf(TextRegion region) {
  const auto known = std::find_if(kRegions.begin(), kRegions.end(),
                                  [&](const auto& entry) { return entry.second == region; });
  return known->first.c_str();
}

ConfigurationReading readConfiguration(const std::string& path) {
  ConfigurationReading reading;
  char* content = nullptr;
  std::size_t size = 0;
  GError* failure = nullptr;
  g_file_get_contents(path.c_str(), &content, &size, &failure);
  const GlibText owned(content);
  if (const GlibError error(failure); error) {
    reading.problems.push_back(std::string(error->message) +
                               ". All defaults apply. Name a file that this service may read.");
    return reading;
  }
  const std::string text(content, size);
  const KeyFile file(g_key_file_new());
  if (const GlibError error = parse(file.get(), text)) {
    reading.problems.push_back(path + ":" + std::to_string(faultyLine(text)) + ": " +
                               error->message + ". All defaults apply until this line is mended.");
    return reading;
  }
  Reader(path, text, file.get(), reading).read();
  return reading;
}

}  // namespace orvel::service
