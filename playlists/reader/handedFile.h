#pragma once

#include <string>

#include "base/Descriptor.h"

/// The one file that the parser of this process can read. The parser knows files by their names
/// only; here a name leads to the descriptor that the library has opened.
namespace orvel::handedFile {

/// Makes GIO read local files here from now on, and never open one.
void install();

/// Makes `file` the one with this name. An empty descriptor means that there is no such file.
void hand(const std::string& path, Descriptor file);

}  // namespace orvel::handedFile
