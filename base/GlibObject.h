#pragma once

#include <glib-object.h>

#include <memory>

namespace orvel {

struct UnrefObject {
  void operator()(gpointer object) const { g_object_unref(object); }
};

/// Owns one reference to an object of GLib's type system.
template <class T>
using GlibObject = std::unique_ptr<T, UnrefObject>;

}  // namespace orvel
