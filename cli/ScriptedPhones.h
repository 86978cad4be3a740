#pragma once

#include <string>

namespace orvel::cli {

/// True in the program that reaches described phones and no real ones.
extern const bool kPhonesAreScripted;

/// Attaches the phones that a text file describes (docs/mtp.md). Throws std::runtime_error with a
/// text for people: the faulty line, or that this program reaches real phones only.
void attachScriptedPhones(const std::string& file);

}  // namespace orvel::cli
