#pragma once

#include <glib.h>

#include <memory>
#include <new>

namespace orvel {

struct GFree {
  void operator()(char* text) const { g_free(text); }
};

/// A NUL-ended text that GLib allocated.
using GlibText = std::unique_ptr<char, GFree>;

/// Takes ownership of the result of a GLib function. Throws std::bad_alloc when it is null.
inline GlibText ownGlibText(char* text) {
  if (text == nullptr) throw std::bad_alloc();
  return GlibText(text);
}

}  // namespace orvel
