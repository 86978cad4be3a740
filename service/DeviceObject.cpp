#include "service/DeviceObject.h"

#include <utility>

#include "base/GlibText.h"
#include "service/BusError.h"
#include "service/BusText.h"

namespace orvel::service {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kBetweenNotices = 1s;

DeviceObject& self(gpointer object) {
  return *static_cast<DeviceObject*>(object);
}

}  // namespace

std::string DeviceObject::pathOf(const std::string& deviceId) {
  const GlibText digest = ownGlibText(g_compute_checksum_for_data(
      G_CHECKSUM_SHA1, reinterpret_cast<const guchar*>(deviceId.data()), deviceId.size()));
  return std::string("/org/orvel/Indexer1/devices/") + digest.get();
}

DeviceObject::DeviceObject(GDBusObjectManagerServer* server, DeviceFacts initial,
                           DeviceCalls& calls)
    : facts(std::move(initial)),
      objectPath(pathOf(facts.id)),
      objects(server),
      owner(calls),
      device(orvel_bus_device_skeleton_new()),
      browser(orvel_bus_browser_skeleton_new()),
      laterNotice([this] { notify(); }) {
  connect();
  setProperties();
  g_object_freeze_notify(G_OBJECT(device.get()));
  const GlibObject<OrvelBusObjectSkeleton> object(
      orvel_bus_object_skeleton_new(objectPath.c_str()));
  orvel_bus_object_skeleton_set_device(object.get(), device.get());
  orvel_bus_object_skeleton_set_browser(object.get(), browser.get());
  g_dbus_object_manager_server_export(objects, G_DBUS_OBJECT_SKELETON(object.get()));
}

DeviceObject::~DeviceObject() {
  g_dbus_object_manager_server_unexport(objects, objectPath.c_str());
  // A call that is being answered may keep the skeletons alive.
  g_signal_handlers_disconnect_by_data(device.get(), this);
  g_signal_handlers_disconnect_by_data(browser.get(), this);
}

void DeviceObject::connect() {
  using Invocation = GDBusMethodInvocation;
  const auto on = [this](gpointer skeleton, const char* signal, GCallback handler) {
    g_signal_connect(skeleton, signal, handler, this);
  };
  on(device.get(), "handle-rescan",
     G_CALLBACK(+[](OrvelBusDevice* skeleton, Invocation* call, gpointer object) {
       self(object).owner.wasCalled();
       return answer(call, [&] {
         self(object).owner.rescan(self(object));
         orvel_bus_device_complete_rescan(skeleton, call);
       });
     }));
  on(device.get(), "handle-stop",
     G_CALLBACK(+[](OrvelBusDevice* skeleton, Invocation* call, gpointer object) {
       self(object).owner.wasCalled();
       return answer(call, [&] {
         self(object).owner.stop(self(object));
         orvel_bus_device_complete_stop(skeleton, call);
       });
     }));
  on(browser.get(), "handle-list",
     G_CALLBACK(+[](OrvelBusBrowser*, Invocation* call, const char* kind, GVariant* filter,
                    const char* sort, guint offset, guint count, gpointer object) {
       self(object).owner.wasCalled();
       return answer(call, [&] {
         self(object).owner.list(call, self(object), kind, filter, {sort, offset, count});
       });
     }));
  on(browser.get(), "handle-search",
     G_CALLBACK(+[](OrvelBusBrowser*, Invocation* call, const char* text, const char* const* kinds,
                    guint offset, guint count, gpointer object) {
       self(object).owner.wasCalled();
       return answer(call, [&] {
         self(object).owner.search(call, self(object), text, kinds, {"", offset, count});
       });
     }));
}

void DeviceObject::publish() {
  setProperties();
  if (laterNotice.isRunning()) return;
  const auto since = std::chrono::steady_clock::now() - lastNotice;
  if (since >= kBetweenNotices) {
    notify();
  } else {
    laterNotice.run(std::chrono::ceil<std::chrono::milliseconds>(kBetweenNotices - since));
  }
}

void DeviceObject::publishAtOnce() {
  setProperties();
  notify();
}

/// The skeleton collects changes while its notices are frozen, and emits them when they thaw.
void DeviceObject::notify() {
  laterNotice.stop();
  lastNotice = std::chrono::steady_clock::now();
  g_object_thaw_notify(G_OBJECT(device.get()));
  g_object_freeze_notify(G_OBJECT(device.get()));
  if (!std::exchange(hasFinished, false)) return;
  g_dbus_interface_skeleton_flush(G_DBUS_INTERFACE_SKELETON(device.get()));
  orvel_bus_device_emit_finished(device.get(), facts.status.c_str());
}

void DeviceObject::setProperties() {
  OrvelBusDevice* const shown = device.get();
  orvel_bus_device_set_id(shown, busText(facts.id).c_str());
  orvel_bus_device_set_kind(shown, facts.kind.c_str());
  orvel_bus_device_set_name(shown, busText(facts.name).c_str());
  orvel_bus_device_set_attached(shown, facts.isAttached ? TRUE : FALSE);
  orvel_bus_device_set_locked(shown, facts.isLocked ? TRUE : FALSE);
  orvel_bus_device_set_partitions(shown, BusTexts(facts.mountPoints).get());
  orvel_bus_device_set_state(shown, facts.state.c_str());
  orvel_bus_device_set_status(shown, busText(facts.status).c_str());
  orvel_bus_device_set_problem(shown, busText(facts.problem).c_str());
  orvel_bus_device_set_database_path(shown, busText(facts.databasePath).c_str());
  orvel_bus_device_set_generation(shown, facts.generation);
  const auto count = [](std::int64_t rows) { return static_cast<guint>(rows); };
  orvel_bus_device_set_songs(shown, count(facts.totals.songs));
  orvel_bus_device_set_artists(shown, count(facts.totals.artists));
  orvel_bus_device_set_albums(shown, count(facts.totals.albums));
  orvel_bus_device_set_genres(shown, count(facts.totals.genres));
  orvel_bus_device_set_composers(shown, count(facts.totals.composers));
  orvel_bus_device_set_directories(shown, count(facts.totals.directories));
  orvel_bus_device_set_playlists(shown, count(facts.totals.playlists));
  orvel_bus_device_set_songs_found(shown, facts.songsFound);
  orvel_bus_device_set_songs_to_read(shown, facts.songsToRead);
  orvel_bus_device_set_songs_read(shown, facts.songsRead);
  orvel_bus_device_set_limit_reached(shown, facts.isLimitReached ? TRUE : FALSE);
  orvel_bus_device_set_isolated(shown, facts.isIsolated ? TRUE : FALSE);
  orvel_bus_device_set_confinement(shown, facts.confinement.c_str());
  orvel_bus_device_set_left_undone(shown, BusTexts(facts.leftUndone).get());
}

void DeviceObject::emitListReady() {
  orvel_bus_device_emit_list_ready(device.get());
}

void DeviceObject::emitFoldersComplete() {
  orvel_bus_device_emit_folders_complete(device.get());
}

void DeviceObject::emitFinished() {
  hasFinished = true;
  publish();
}

}  // namespace orvel::service
