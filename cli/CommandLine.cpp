#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <string>

#include "base/Utf8.h"
#include "cli/CoverCommand.h"
#include "cli/DevicesCommand.h"
#include "cli/ExitStatus.h"
#include "cli/ForgetCommand.h"
#include "cli/IndexCommand.h"
#include "cli/ListCommand.h"
#include "cli/MtpListCommand.h"
#include "cli/SearchCommand.h"
#include "cli/StatusCommand.h"

namespace orvel::cli {

namespace {

constexpr std::size_t kOptionColumn = 26;

/// Describes an option by its names and that of its value.
class HelpFormat : public CLI::Formatter {
 public:
  HelpFormat() {
    label("SUBCOMMAND", "COMMAND");
    label("Positionals", "Arguments");
    column_width(kOptionColumn);
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string value = option->get_type_name();
    return value.empty() ? value : " " + value;
  }
};

Command printed(const std::string& text) {
  return [text] {
    std::cout << text << std::flush;
    return Done;
  };
}

/// Throws unless the first argument is one of the commands or an option.
void requireCommand(const CLI::App& app, const std::string& first) {
  std::string names;
  for (const CLI::App* verb : app.get_subcommands({})) {
    if (verb->get_name() == first) return;
    names += (names.empty() ? "" : ", ") + verb->get_name();
  }
  if (!first.empty() && first.front() == '-') return;
  throw CommandError(WrongUsage,
                     (first.empty() ? "No command was given." : "'" + first + "' is no command.") +
                         " The commands are " + names + "; 'orvel --help' shows more.");
}

void addCommands(CLI::App& app, Command& command) {
  addIndex(app, command);
  addList(app, command);
  addSearch(app, command);
  addDevices(app, command);
  addStatus(app, command);
  addCover(app, command);
  addForget(app, command);
  addMtp(app, command);
}

}  // namespace

Command parseCommandLine(int argumentCount, const char* const* arguments) {
  for (int i = 0; i < argumentCount; ++i) {
    if (utf8::isValid(arguments[i])) continue;
    throw CommandError(WrongUsage,
                       std::string("The argument '") + arguments[i] +
                           "' is not valid UTF-8. Mount the device under another name.");
  }
  Command command;
  CLI::App app("Indexes the music on USB sticks and phones, and lists and searches it.", "orvel");
  app.set_help_flag("-h,--help", "Print this help");
  app.set_version_flag("--version", "orvel " ORVEL_VERSION, "Print the version");
  app.footer("'orvel COMMAND --help' shows the options of a command, 'man orvel' the rest.");
  app.formatter(std::make_shared<HelpFormat>());
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.require_subcommand(1);
  addCommands(app, command);
  const std::string first = argumentCount > 1 ? arguments[1] : "";
  if (first == "help") return printed(app.help());
  requireCommand(app, first);
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::CallForHelp&) {
    return printed(app.help());
  } catch (const CLI::CallForVersion& version) {
    return printed(version.what() + std::string("\n"));
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what() + std::string("."));
  }
  return command;
}

}  // namespace orvel::cli
