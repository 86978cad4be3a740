#pragma once

#include <orvel/Settings.h>

#include <string>

namespace orvel {

/// Chooses where tags are parsed for the requests that are made from now on. Any thread.
/// @param reader   absolute path of the program `orvel-tag-reader`; empty: where it was installed
/// @param readers  how many of them parse for one request; 0: as many as the processor's cores suit
void setTagReading(TagReading reading, const std::string& reader = {}, unsigned readers = 0);

/// The choice that holds now.
struct ChosenTagReading {
  TagReading reading = TagReading::InProcess;
  std::string reader;  ///< absolute path of `orvel-tag-reader`
};
ChosenTagReading chosenTagReading();

}  // namespace orvel
