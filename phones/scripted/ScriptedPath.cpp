#include "phones/scripted/ScriptedPath.h"

#include <boost/algorithm/string/replace.hpp>
#include <stdexcept>

namespace orvel::scripted {

namespace {

/// Where the last "/" is that separates names.
std::size_t lastSeparator(const std::string& path) {
  std::size_t last = 0;
  for (std::size_t i = 1; i < path.size(); ++i) {
    if (path[i] != '/') continue;
    if (i + 1 < path.size() && path[i + 1] == '/') {
      ++i;
    } else {
      last = i;
    }
  }
  return last;
}

}  // namespace

ScriptedPath::ScriptedPath(const std::string& path) {
  if (path.empty() || path.front() != '/') {
    throw std::invalid_argument("the path '" + path + "' does not begin with '/'.");
  }
  const std::size_t separator = lastSeparator(path);
  parent = path.substr(0, separator);
  name = boost::algorithm::replace_all_copy(path.substr(separator + 1), "//", "/");
  if (name.empty())
    throw std::invalid_argument("the path '" + path + "' does not end with a name.");
}

}  // namespace orvel::scripted
