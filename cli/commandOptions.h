#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/CommandLine.h"

namespace orvel::cli {

/// The parts of a command line that several commands share. Each function below adds an option
/// whose values are written to the function's last parameter while the command line is parsed; that
/// parameter must outlive the parser.

/// The name of an option and, for the help, of its value: "--wait SECONDS".
struct OptionName {
  OptionName(const std::string& text);
  OptionName(const char* text) : OptionName(std::string(text)) {}

  std::string option;
  std::string value;
};

/// Adds a command: when it is named, `run` is called with `options` after the parsing.
template <class Options>
CLI::App& addCommand(CLI::App& parent, const std::string& name, const std::string& description,
                     const std::shared_ptr<Options>& options, int (*run)(const Options&),
                     Command& command) {
  CLI::App& verb = *parent.add_subcommand(name, description)->group("Commands");
  verb.footer("'man orvel' says more.");
  verb.callback([options, run, &command] { command = [options, run] { return run(*options); }; });
  return verb;
}

/// Adds an option with a text.
CLI::Option* addText(CLI::App& verb, const OptionName& name, const std::string& description,
                     std::optional<std::string>& value);

/// Adds an option with a number of seconds up to 65535.
CLI::Option* addSeconds(CLI::App& verb, const OptionName& name, const std::string& description,
                        std::chrono::seconds& value);

/// Adds the arguments that are no options, in any number.
CLI::Option* addOperands(CLI::App& verb, const std::string& name, const std::string& description,
                         std::vector<std::string>& values);

/// Adds an option or an argument that takes one of the names of `values`.
template <class Value>
CLI::Option* addChoice(CLI::App& verb, const OptionName& name, const std::string& description,
                       const std::map<std::string, Value>& values, Value& chosen) {
  const auto choose = [&values, &chosen](const std::string& text) { chosen = values.at(text); };
  return verb.add_option_function<std::string>(name.option, choose, description)
      ->type_name(name.value)
      ->check(CLI::IsMember(&values).description(""));
}

/// Adds --db-dir, and sets `folder` to its default.
void addDatabaseFolder(CLI::App& verb, std::string& folder);

/// Adds --scripted, which only the help of a build with scripted phones shows.
CLI::Option* addScripted(CLI::App& verb, std::optional<std::string>& file);

}  // namespace orvel::cli
