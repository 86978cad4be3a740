#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvel::scripted {

/// The words of one line of a script: a keyword, plain words, and options in the form name=value. A
/// word with blanks is written in double quotes; within them \" and \\ stand for " and \. A "#" at
/// the start of a word begins a comment. The reader of a line takes the words that it knows and
/// closes with `finish`. Everything throws std::invalid_argument with a text for people.
class ScriptLine {
 public:
  explicit ScriptLine(const std::string& text);

  /// The first word; empty when the line says nothing.
  [[nodiscard]] const std::string& keyword() const { return name; }
  /// The next plain word; messages call it `what`.
  std::string word(const std::string& what);
  /// Whether the next plain word is this one; takes it then.
  bool takes(const std::string& expected);
  /// All further plain words.
  std::vector<std::string> words();
  std::optional<std::string> option(const std::string& wanted);
  /// A number up to `most`, decimal or with another base.
  std::optional<std::uint64_t> number(const std::string& wanted, std::uint64_t most, int base = 10);
  /// Refuses words that nobody took.
  void finish() const;

 private:
  std::string name;
  std::vector<std::string> plain;
  std::size_t next = 0;
  std::map<std::string, std::string> options;
  std::vector<std::string> known;  ///< the options that were asked for
};

}  // namespace orvel::scripted
