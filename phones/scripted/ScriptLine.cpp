#include "phones/scripted/ScriptLine.h"

#include <boost/algorithm/string/join.hpp>
#include <charconv>
#include <string_view>

namespace orvel::scripted {

namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

struct Word {
  std::string text;
  /// Where the "=" of an option is: the first that is not quoted.
  std::size_t sign = std::string::npos;

  /// Paths and a lone "=" are plain words.
  [[nodiscard]] bool isOption() const {
    return sign != std::string::npos && sign > 0 && text.front() != '/';
  }
};

/// Takes the words off a line one by one.
class WordReader {
 public:
  explicit WordReader(std::string_view line) : rest(line) {}

  std::optional<Word> next() {
    while (!rest.empty() && isBlank(rest.front())) rest.remove_prefix(1);
    if (rest.empty() || rest.front() == '#') return std::nullopt;
    Word word;
    while (!rest.empty() && !isBlank(rest.front())) {
      const char c = take();
      if (c == '"') {
        takeQuoted(word.text);
        continue;
      }
      if (c == '=' && word.sign == std::string::npos) word.sign = word.text.size();
      word.text += c;
    }
    return word;
  }

 private:
  char take() {
    const char c = rest.front();
    rest.remove_prefix(1);
    return c;
  }

  void takeQuoted(std::string& word) {
    while (!rest.empty()) {
      const char c = take();
      if (c == '"') return;
      const bool isEscape =
          c == '\\' && !rest.empty() && (rest.front() == '"' || rest.front() == '\\');
      word += isEscape ? take() : c;
    }
    throw std::invalid_argument("a quote is not closed. End the text with \".");
  }

  std::string_view rest;
};

}  // namespace

ScriptLine::ScriptLine(const std::string& text) {
  WordReader reader(text);
  name = reader.next().value_or(Word()).text;
  while (const auto word = reader.next()) {
    if (!word->isOption()) {
      plain.push_back(word->text);
      continue;
    }
    const std::string option = word->text.substr(0, word->sign);
    if (!options.emplace(option, word->text.substr(word->sign + 1)).second) {
      throw std::invalid_argument("'" + option + "' is given twice. Remove one.");
    }
  }
}

std::string ScriptLine::word(const std::string& what) {
  if (next < plain.size()) return plain[next++];
  throw std::invalid_argument("'" + name + "' names no " + what + ". Write it behind '" + name +
                              "'.");
}

bool ScriptLine::takes(const std::string& expected) {
  if (next == plain.size() || plain[next] != expected) return false;
  ++next;
  return true;
}

std::vector<std::string> ScriptLine::words() {
  std::vector<std::string> all(plain.begin() + static_cast<std::ptrdiff_t>(next), plain.end());
  next = plain.size();
  return all;
}

std::optional<std::string> ScriptLine::option(const std::string& wanted) {
  known.push_back(wanted);
  const auto found = options.find(wanted);
  if (found == options.end()) return std::nullopt;
  std::string value = std::move(found->second);
  options.erase(found);
  return value;
}

std::optional<std::uint64_t> ScriptLine::number(const std::string& wanted, std::uint64_t most,
                                                int base) {
  const auto text = option(wanted);
  if (!text) return std::nullopt;
  std::uint64_t value = 0;
  const char* const end = text->data() + text->size();
  const auto [read, error] = std::from_chars(text->data(), end, value, base);
  if (error != std::errc() || read != end || value > most) {
    throw std::invalid_argument("'" + wanted + "=" + *text + "' is no number up to " +
                                std::to_string(most) +
                                (base == 16 ? " in hexadecimal digits." : "."));
  }
  return value;
}

void ScriptLine::finish() const {
  if (next < plain.size()) {
    throw std::invalid_argument("'" + plain[next] + "' makes no sense behind '" + name +
                                "'. Remove it, or put a text with blanks in double quotes.");
  }
  if (options.empty()) return;
  throw std::invalid_argument("'" + name + "' knows no '" + options.begin()->first +
                              "'. It knows: " + boost::algorithm::join(known, ", ") + ".");
}

}  // namespace orvel::scripted
