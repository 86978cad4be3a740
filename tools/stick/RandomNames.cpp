#include "tools/stick/RandomNames.h"

namespace orvel::stick {
namespace {

using Syllables = std::vector<std::string>;

const Syllables ascii = {"ba", "lo", "mir", "ten", "sa",  "ru", "vel", "nor", "ki", "dan",
                         "el", "to", "fi",  "ash", "qua", "ze", "wyn", "hu",  "pe", "gar"};
const Syllables accented = {"é",  "ña", "lü", "bør", "ça", "šte",
                            "mo", "ri", "åk", "vel", "ző", "ta"};

const std::vector<Syllables> otherScripts = {
    {"ве", "сна", "ра", "тих", "ый", "до", "мо", "сту", "жек", "лю"},
    {"α", "μά", "λο", "ρι", "θα", "νός", "κύ", "δη"},
    {"は", "る", "か", "ぜ", "星", "海", "ユ", "メ", "雨", "町"},
    {"山", "云", "月", "来", "江", "晚", "竹", "风", "城", "花"},
    {"달", "빛", "나", "무", "하", "늘", "봄", "별"},
    {"نس", "يم", "قم", "ر", "لي", "ال", "بح"},
    {"ש", "מש", "רו", "ח", "ני", "גן", "לב"},
    {"ลม", "ทะ", "เล", "ฟ้า", "ดาว", "ใจ", "น้ำ"},
};

}  // namespace

unsigned int RandomNames::number(unsigned int low, unsigned int high) {
  return low + static_cast<unsigned int>(generator() % (high - low + 1));
}

const std::vector<std::string>& RandomNames::script() {
  if (chance(80)) return chance(70) ? ascii : accented;
  return oneOf(otherScripts);
}

const std::vector<std::string>& RandomNames::asciiScript() {
  return ascii;
}

std::string RandomNames::phrase(const std::vector<std::string>& syllables, unsigned int words) {
  std::string text;
  for (unsigned int word = 0; word < words; ++word) {
    if (word > 0) text += ' ';
    std::string spelled;
    for (unsigned int count = number(2, 4); count > 0; --count) spelled += oneOf(syllables);
    if (spelled[0] >= 'a' && spelled[0] <= 'z') spelled[0] = static_cast<char>(spelled[0] - 32);
    text += spelled;
  }
  return text;
}

}  // namespace orvel::stick
