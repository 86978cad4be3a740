#include <stdexcept>

#include "cli/ScriptedPhones.h"

namespace orvel::cli {

const bool kPhonesAreScripted = false;

void attachScriptedPhones(const std::string& file) {
  throw std::runtime_error("\"" + file +
                           "\" cannot be attached: this program reads real devices. Use"
                           " orvel-scripted.");
}

}  // namespace orvel::cli
