#pragma once

#include <orvel/Settings.h>

#include <string>

namespace orvel {

/// Chooses where tags are parsed for the requests that are made from now on. Any thread.
/// @param reader  absolute path of the program `orvel-tag-reader`; empty: where it was installed
void setTagReading(TagReading reading, const std::string& reader = {});

/// The choice that holds now.
struct ChosenTagReading {
  TagReading reading = TagReading::InProcess;
  std::string reader;  ///< absolute path of `orvel-tag-reader`
};
ChosenTagReading chosenTagReading();

}  // namespace orvel
