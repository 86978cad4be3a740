#include "hotplug/Udisks.h"

#include <string_view>
#include <utility>

namespace orvel::hotplug {

namespace {

constexpr char kName[] = "org.freedesktop.UDisks2";
constexpr char kBlock[] = "org.freedesktop.UDisks2.Block";
constexpr char kFilesystem[] = "org.freedesktop.UDisks2.Filesystem";

struct FreeObjects {
  void operator()(GList* objects) const { g_list_free_full(objects, g_object_unref); }
};
using Objects = std::unique_ptr<GList, FreeObjects>;

using Proxy = GlibObject<GDBusProxy>;

Proxy interfaceOf(GDBusObject* object, const char* name) {
  return Proxy(reinterpret_cast<GDBusProxy*>(g_dbus_object_get_interface(object, name)));
}

/// A property of the type `type`; nothing when the peer has none of this name and type.
GlibVariant property(const Proxy& proxy, const char* name, const GVariantType* type) {
  GlibVariant value(g_dbus_proxy_get_cached_property(proxy.get(), name));
  return value && g_variant_is_of_type(value.get(), type) ? std::move(value) : nullptr;
}

bool flag(const Proxy& proxy, const char* name) {
  const GlibVariant value = property(proxy, name, G_VARIANT_TYPE_BOOLEAN);
  return value && g_variant_get_boolean(value.get()) == TRUE;
}

bool isMedium(const Proxy& block) {
  return flag(block, "HintAuto") && !flag(block, "HintIgnore");
}

bool isDevice(const Proxy& block, dev_t number) {
  const GlibVariant value = property(block, "DeviceNumber", G_VARIANT_TYPE_UINT64);
  return value && g_variant_get_uint64(value.get()) == number;
}

/// A path in udisks' properties is an array of bytes that ends with NUL.
std::string nodeOf(const Proxy& block) {
  const GlibVariant value = property(block, "Device", G_VARIANT_TYPE_BYTESTRING);
  return value ? g_variant_get_bytestring(value.get()) : "A medium";
}

bool isMounted(const Proxy& fileSystem) {
  const GlibVariant value = property(fileSystem, "MountPoints", G_VARIANT_TYPE("aay"));
  return value && g_variant_n_children(value.get()) != 0;
}

bool isCancelled(const GlibError& error) {
  return g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED) == TRUE;
}

}  // namespace

Udisks::Udisks(bool mountMedia, std::function<void()> whenChanged)
    : mountsMedia(mountMedia), changed(std::move(whenChanged)), cancellable(g_cancellable_new()) {
  g_dbus_object_manager_client_new_for_bus(
      G_BUS_TYPE_SYSTEM, G_DBUS_OBJECT_MANAGER_CLIENT_FLAGS_DO_NOT_AUTO_START, kName,
      "/org/freedesktop/UDisks2", nullptr, nullptr, nullptr, cancellable.get(), onManager, this);
}

Udisks::~Udisks() {
  g_cancellable_cancel(cancellable.get());
  if (manager) g_signal_handlers_disconnect_by_data(manager.get(), this);
}

void Udisks::onManager(GObject* /*source*/, GAsyncResult* result, gpointer self) {
  GError* failure = nullptr;
  GDBusObjectManager* found = g_dbus_object_manager_client_new_for_bus_finish(result, &failure);
  const GlibError error(failure);
  if (found != nullptr) {
    static_cast<Udisks*>(self)->use(found);
  } else if (!isCancelled(error)) {
    g_info("udisks cannot be asked about media (%s). Media that are mounted are found without it.",
           error->message);
  }
}

void Udisks::use(GDBusObjectManager* found) {
  manager.reset(found);
  for (const char* signal : {"object-added", "object-removed", "interface-added",
                             "interface-removed", "interface-proxy-properties-changed"}) {
    g_signal_connect_swapped(found, signal, G_CALLBACK(&Udisks::onChange), this);
  }
  g_signal_connect_swapped(found, "notify::name-owner", G_CALLBACK(&Udisks::onOwner), this);
  onOwner(this);
}

void Udisks::onOwner(Udisks* self) {
  const std::unique_ptr<char, decltype(&g_free)> owner(
      g_dbus_object_manager_client_get_name_owner(
          reinterpret_cast<GDBusObjectManagerClient*>(self->manager.get())),
      g_free);
  g_info("%s", owner ? "udisks tells which disks are media."
                     : "udisks does not run. Media that are mounted are found without it.");
  onChange(self);
}

void Udisks::onChange(Udisks* self) {
  if (self->mountsMedia) self->mountNewMedia();
  self->changed();
}

std::optional<bool> Udisks::isMedium(dev_t number) const {
  if (!manager) return std::nullopt;
  const Objects objects(g_dbus_object_manager_get_objects(manager.get()));
  for (const GList* entry = objects.get(); entry != nullptr; entry = entry->next) {
    const Proxy block = interfaceOf(static_cast<GDBusObject*>(entry->data), kBlock);
    if (block && isDevice(block, number)) return hotplug::isMedium(block);
  }
  return std::nullopt;
}

/// Each file system is mounted once: a user who unmounts it has a reason.
void Udisks::mountNewMedia() {
  const Objects objects(g_dbus_object_manager_get_objects(manager.get()));
  std::set<std::string> present;
  for (const GList* entry = objects.get(); entry != nullptr; entry = entry->next) {
    auto* object = static_cast<GDBusObject*>(entry->data);
    const Proxy block = interfaceOf(object, kBlock);
    const Proxy fileSystem = interfaceOf(object, kFilesystem);
    if (!block || !fileSystem || !hotplug::isMedium(block)) continue;
    const std::string path = g_dbus_object_get_object_path(object);
    present.insert(path);
    if (!offered.insert(path).second || isMounted(fileSystem)) continue;
    g_dbus_proxy_call(fileSystem.get(), "Mount", g_variant_new("(a{sv})", nullptr),
                      G_DBUS_CALL_FLAGS_NONE, -1, cancellable.get(), onMounted,
                      new std::string(nodeOf(block)));
  }
  offered = std::move(present);
}

void Udisks::onMounted(GObject* source, GAsyncResult* result, gpointer node) {
  const std::unique_ptr<const std::string> owned(static_cast<const std::string*>(node));
  GError* failure = nullptr;
  const GlibVariant answer(
      g_dbus_proxy_call_finish(reinterpret_cast<GDBusProxy*>(source), result, &failure));
  const GlibError error(failure);
  if (answer || isCancelled(error)) return;
  const std::unique_ptr<char, decltype(&g_free)> name(g_dbus_error_get_remote_error(error.get()),
                                                      g_free);
  const std::string_view kind = name ? name.get() : "";
  if (kind == "org.freedesktop.UDisks2.Error.AlreadyMounted") return;
  const bool isRefused = kind.find("NotAuthorized") != std::string_view::npos;
  g_dbus_error_strip_remote_error(error.get());
  g_warning("%s cannot be mounted (%s). %s", owned->c_str(), error->message,
            isRefused ? "Allow this service's user the action"
                        " org.freedesktop.udisks2.filesystem-mount by a rule of polkit."
                      : "Check its file system, or mount it by hand.");
}

}  // namespace orvel::hotplug
