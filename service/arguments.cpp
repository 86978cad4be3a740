#include "service/arguments.h"

#include "base/GlibPointers.h"
#include "service/BusError.h"

namespace orvel::service {

void refuseArgument(const std::string& text) {
  throw BusError(BusError::Kind::InvalidArguments, text);
}

void forEachEntry(GVariant* dictionary,
                  const std::function<void(const std::string& name, GVariant* value)>& use) {
  const gsize count = g_variant_n_children(dictionary);
  for (gsize i = 0; i < count; ++i) {
    const char* name = nullptr;
    GVariant* value = nullptr;
    const GlibVariant entry(g_variant_get_child_value(dictionary, i));
    g_variant_get(entry.get(), "{&sv}", &name, &value);
    const GlibVariant owned(value);
    use(name, value);
  }
}

std::string requireText(const char* role, const std::string& name, GVariant* value) {
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) == FALSE) {
    refuseArgument(std::string("The ") + role + " '" + name + "' must be a text (s).");
  }
  return g_variant_get_string(value, nullptr);
}

}  // namespace orvel::service
