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

struct FreeError {
  void operator()(GError* error) const { g_error_free(error); }
};

/// Owns an error, or is empty.
using GlibError = std::unique_ptr<GError, FreeError>;

struct UnrefVariant {
  void operator()(GVariant* value) const { g_variant_unref(value); }
};

/// Owns one reference to a value.
using GlibVariant = std::unique_ptr<GVariant, UnrefVariant>;

struct FreeTexts {
  void operator()(char** texts) const { g_strfreev(texts); }
};

/// Owns texts that a null pointer ends.
using GlibTexts = std::unique_ptr<char*, FreeTexts>;

}  // namespace orvel
