#include "cli/commandOptions.h"

#include <QStandardPaths>

#include "cli/MountPoint.h"
#include "cli/ScriptedPhones.h"

namespace orvel::cli {

namespace {

/// The parser takes fewer, too.
constexpr int kManyOperands = CLI::detail::expected_max_vector_size;

}  // namespace

OptionName::OptionName(const std::string& text)
    : option(text.substr(0, text.find(' '))),
      value(option == text ? "" : text.substr(option.size() + 1)) {}

CLI::Option* addText(CLI::App& verb, const OptionName& name, const std::string& description,
                     std::optional<std::string>& value) {
  const CLI::callback_t take = [&value](const CLI::results_t& texts) {
    value = texts.back();
    return true;
  };
  return verb.add_option(name.option, take, description)->type_name(name.value);
}

CLI::Option* addSeconds(CLI::App& verb, const OptionName& name, const std::string& description,
                        std::chrono::seconds& value) {
  const auto take = [&value](std::uint16_t seconds) { value = std::chrono::seconds(seconds); };
  return verb.add_option_function<std::uint16_t>(name.option, take, description)
      ->type_name(name.value);
}

CLI::Option* addOperands(CLI::App& verb, const std::string& name, const std::string& description,
                         std::vector<std::string>& values) {
  const CLI::callback_t take = [&values](const CLI::results_t& texts) {
    values = texts;
    return true;
  };
  // Not as "extra" arguments, of which "[a,b]" would become a list: a folder may have that name.
  return verb.add_option(name, take, description)
      ->expected(kManyOperands, kManyOperands)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false);
}

void addDatabaseFolder(CLI::App& verb, std::string& folder) {
  folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation).toStdString() +
           "/orvel";
  const auto take = [&folder](const std::string& path) { folder = cleanPath(path); };
  verb.add_option_function<std::string>("--db-dir", take,
                                        "Folder of the databases; default:\n" + folder)
      ->type_name("DIR");
}

CLI::Option* addScripted(CLI::App& verb, std::optional<std::string>& file) {
  return addText(verb, "--scripted FILE", "Attach the devices that a file describes", file)
      ->group(kPhonesAreScripted ? "Options" : "");
}

}  // namespace orvel::cli
