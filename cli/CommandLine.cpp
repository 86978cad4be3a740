#include "cli/CommandLine.h"

#include <QCommandLineParser>
#include <QStandardPaths>
#include <QStringList>
#include <map>

#include "base/Utf8.h"
#include "cli/DisplayText.h"
#include "cli/ExitStatus.h"
#include "cli/MountPoint.h"

namespace orvel::cli {

namespace {

constexpr char kSynopsis[] =
    "Usage: orvel index MOUNT_POINT... [--device-id ID] [--db-dir DIR]\n"
    "                   [--in-process | --require-isolation] [--across-devices]\n"
    "                   [--background] [--json] [--quiet] [-v] [--log WHERE]\n"
    "       orvel index --mtp [SERIAL] [--device-id ID] [--wait SECONDS] [--db-dir DIR]\n"
    "                   [--background] [--json] [--quiet] [-v] [--log WHERE]\n"
    "       orvel mtp list [--json]\n"
    "       orvel list KIND [filters] [--device-id ID | --db FILE] [--db-dir DIR] [--format F]\n"
    "       orvel status [--db-dir DIR]\n"
    "\n"
    "Indexes the music on USB sticks and phones and shows what was found.\n"
    "\n"
    "  index   read the songs, playlists and folders below the mount points or of phones\n"
    "  mtp     'mtp list' prints the attached phones and players\n"
    "  list    print songs, artists, albums, genres, composers, directories or playlists\n"
    "  status  print what is known about every indexed device\n"
    "\n"
    "'orvel COMMAND --help' shows the options of a command, 'man orvel' the rest.\n";

const std::map<std::string, ListOptions::Format> kFormats = {{"table", ListOptions::Format::Table},
                                                             {"tsv", ListOptions::Format::Tsv},
                                                             {"json", ListOptions::Format::Json}};

const std::map<std::string, IndexOptions::Log> kLogs = {
    {"stderr", IndexOptions::Log::StandardError}, {"dlt", IndexOptions::Log::Dlt}};

/// Parses the options and operands of one verb.
class VerbParser {
 public:
  explicit VerbParser(const QString& verb, const QString& purpose) {
    parser.setApplicationDescription(purpose);
    parser.addPositionalArgument(verb, "The command.", verb);
    parser.addOption({{"h", "help"}, "Print this help."});
    parser.addOption(
        {"db-dir", "Folder of the databases; default: " + defaultFolder() + ".", "DIR"});
  }

  QCommandLineParser& get() { return parser; }

  /// Returns false when help is wanted instead.
  bool parse(const QStringList& arguments) {
    if (!parser.parse(arguments)) fail(parser.errorText().toStdString());
    return !parser.isSet("help");
  }

  /// The arguments after the verb that are no options.
  [[nodiscard]] std::vector<std::string> operands() const {
    std::vector<std::string> result;
    for (const QString& text : parser.positionalArguments().mid(1)) {
      result.push_back(text.toStdString());
    }
    return result;
  }

  [[nodiscard]] bool isSet(const char* option) const { return parser.isSet(option); }

  [[nodiscard]] std::optional<std::string> value(const char* option) const {
    if (!parser.isSet(option)) return std::nullopt;
    return parser.value(option).toStdString();
  }

  [[nodiscard]] std::string databaseFolder() const {
    return cleanPath(value("db-dir").value_or(defaultFolder().toStdString()));
  }

  [[nodiscard]] PrintedText help() const { return {parser.helpText().toStdString()}; }

  [[noreturn]] void fail(const std::string& reason) const {
    throw CommandError(WrongUsage, reason + " 'orvel --help' shows how the command is used.");
  }

 private:
  static QString defaultFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/orvel";
  }

  QCommandLineParser parser;
};

template <class Value>
Value named(const VerbParser& verb, const std::map<std::string, Value>& values,
            const std::string& name) {
  const auto found = values.find(name);
  if (found != values.end()) return found->second;
  std::string names;
  for (const auto& [known, value] : values) names += (names.empty() ? "" : ", ") + known;
  verb.fail("'" + name + "' is none of " + names + ".");
}

QCommandLineOption scriptedOption() {
  return {"scripted", "Attach the devices that this file describes, in builds that can.", "FILE"};
}

void parseWait(const VerbParser& verb, IndexOptions& options) {
  const auto text = verb.value("wait");
  if (!text) return;
  bool isNumber = false;
  options.storageWait = std::chrono::seconds(QString::fromStdString(*text).toUShort(&isNumber));
  if (!isNumber) verb.fail("'" + *text + "' is no number of seconds up to 65535.");
}

/// Sorts the operands of `index` into mount points or a serial number.
void parseOperands(const VerbParser& verb, IndexOptions& options) {
  options.isPhone = verb.isSet("mtp");
  if (!options.isPhone) {
    for (const char* option : {"wait", "scripted"}) {
      if (verb.isSet(option)) verb.fail(std::string("--") + option + " goes with --mtp.");
    }
    options.mountPoints = verb.operands();
    if (options.mountPoints.empty()) verb.fail("No mount point was named.");
    return;
  }
  const std::vector<std::string> operands = verb.operands();
  if (operands.size() > 1) verb.fail("Give one serial number, or none for all attached devices.");
  if (!operands.empty()) options.serial = operands.front();
}

Command parseIndex(const QStringList& arguments) {
  VerbParser verb("index", "Reads the songs, playlists and folders of a stick or of phones.");
  verb.get().addPositionalArgument("MOUNT_POINT",
                                   "Where its partitions are mounted; with --mtp the"
                                   " serial number of a phone.",
                                   "MOUNT_POINT... | --mtp [SERIAL]");
  verb.get().addOptions(
      {{"mtp", "Index the attached phone with this serial number, or all attached phones."},
       {"wait", "Seconds to wait for a locked phone; default: 60.", "SECONDS"},
       scriptedOption(),
       {"device-id",
        "Name of the device; default: the UUID of the file system or the path; for a phone its"
        " vendor, product and serial number.",
        "ID"},
       {"in-process",
        "Read a stick's tags in this process, where a broken file can end the run, instead of in a"
        " separate one."},
       {"across-devices",
        "Follow links and mounts to other file systems. For your own folders, not for a stranger's"
        " stick."},
       {"require-isolation",
        "Leave songs undone where their tags cannot be read in a separate process with all the"
        " isolation that the kernel offers."},
       {"background", "Use only processor time and device time that nobody else needs."},
       {"json", "Print one JSON object at the end and nothing else on standard output."},
       {{"q", "quiet"}, "Print errors only."},
       {"v", "Print what the indexer does; -vv and -vvv print more."},
       {"log",
        "Where warnings and what -v adds go: stderr or dlt (Diagnostic Log and Trace); default:"
        " stderr.",
        "WHERE"}});
  if (!verb.parse(arguments)) return verb.help();
  IndexOptions options;
  parseOperands(verb, options);
  parseWait(verb, options);
  options.scriptedFile = verb.value("scripted");
  options.deviceId = verb.value("device-id");
  options.databaseFolder = verb.databaseFolder();
  options.inProcess = verb.isSet("in-process");
  options.acrossDevices = verb.isSet("across-devices");
  options.requireIsolation = verb.isSet("require-isolation");
  if (options.inProcess && options.requireIsolation) {
    verb.fail("Give --in-process or --require-isolation, not both.");
  }
  options.background = verb.isSet("background");
  options.json = verb.isSet("json");
  options.quiet = verb.isSet("quiet");
  options.verbosity = static_cast<int>(verb.get().optionNames().count("v"));
  options.log = named(verb, kLogs, verb.value("log").value_or("stderr"));
  return options;
}

Command parseList(const QStringList& arguments) {
  VerbParser verb("list", "Prints what a database holds.");
  verb.get().addPositionalArgument(
      "KIND", "songs, artists, albums, genres, composers, directories or playlists.");
  verb.get().addOptions(
      {{"artist", "Only what belongs to this artist.", "A"},
       {"album", "Only what belongs to this album.", "B"},
       {"genre", "Only what belongs to this genre.", "G"},
       {"playlist", "Only what is in the playlist of this name or path; songs in its order.", "P"},
       {"directory", "Only what is in the directory of this path or name.", "D"},
       {"device-id", "The device whose database is read.", "ID"},
       {"db", "The database file.", "FILE"},
       {"format", "table, tsv or json; default: table.", "F"}});
  if (!verb.parse(arguments)) return verb.help();
  const std::vector<std::string> operands = verb.operands();
  if (operands.size() != 1) verb.fail("Name one kind of thing to list.");
  ListOptions options;
  options.query = {named(verb, browse::listKinds(), operands.front()),
                   verb.value("artist"),
                   verb.value("album"),
                   verb.value("genre"),
                   verb.value("playlist"),
                   verb.value("directory")};
  options.deviceId = verb.value("device-id");
  options.databaseFile = verb.value("db");
  if (options.deviceId && options.databaseFile) verb.fail("Give --device-id or --db, not both.");
  options.databaseFolder = verb.databaseFolder();
  options.format = named(verb, kFormats, verb.value("format").value_or("table"));
  return options;
}

Command parseMtp(const QStringList& arguments) {
  VerbParser verb("mtp list", "Prints the attached phones and players.");
  verb.get().addOptions(
      {{"json", "Print one JSON array with an object for each."}, scriptedOption()});
  if (!verb.parse(arguments)) return verb.help();
  if (verb.operands() != std::vector<std::string>{"list"}) verb.fail("Say 'orvel mtp list'.");
  return MtpListOptions{verb.isSet("json"), verb.value("scripted")};
}

Command parseStatus(const QStringList& arguments) {
  VerbParser verb("status", "Prints what is known about every indexed device.");
  if (!verb.parse(arguments)) return verb.help();
  if (!verb.operands().empty()) verb.fail("'status' takes options only.");
  return StatusOptions{verb.databaseFolder()};
}

}  // namespace

Command parseCommandLine(int argumentCount, const char* const* arguments) {
  QStringList texts;
  for (int i = 0; i < argumentCount; ++i) {
    if (!utf8::isValid(arguments[i])) {
      throw CommandError(WrongUsage,
                         std::string("The argument '") + arguments[i] +
                             "' is not valid UTF-8. Mount the device under another name.");
    }
    texts.append(QString::fromUtf8(arguments[i]));
  }
  const QString verb = texts.value(1);
  if (verb == "index") return parseIndex(texts);
  if (verb == "mtp") return parseMtp(texts);
  if (verb == "list") return parseList(texts);
  if (verb == "status") return parseStatus(texts);
  if (verb == "--help" || verb == "-h" || verb == "help") return PrintedText{kSynopsis};
  if (verb == "--version") return PrintedText{"orvel " ORVEL_VERSION "\n"};
  throw CommandError(
      WrongUsage, (verb.isEmpty() ? std::string("No command was given.")
                                  : "'" + verb.toStdString() + "' is no command.") +
                      " The commands are index, mtp, list and status; 'orvel --help' shows more.");
}

}  // namespace orvel::cli
