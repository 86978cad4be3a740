#include "service/ManagerObject.h"

#include <stdexcept>

#include "service/BusError.h"
#include "service/BusText.h"
#include "service/arguments.h"

namespace orvel::service {

namespace {

/// The user_version that the indexer gives its databases.
constexpr guint kSchemaVersion = 1;

ManagerObject& self(gpointer object) {
  return *static_cast<ManagerObject*>(object);
}

IndexCall indexCall(const char* mountPoint, GVariant* options) {
  IndexCall wanted;
  wanted.mountPoint = mountPoint;
  forEachEntry(options, [&](const std::string& name, GVariant* value) {
    if (name != "device-id" && name != "name") {
      refuseArgument("There is no option '" + name + "'. There are: device-id, name.");
    }
    const std::string text = requireText("option", name, value);
    if (text.empty()) refuseArgument("The option '" + name + "' is empty.");
    (name == "name" ? wanted.name : wanted.deviceId) = text;
  });
  return wanted;
}

}  // namespace

ManagerObject::ManagerObject(GDBusConnection* bus, const ManagerFacts& facts, ManagerCalls& calls)
    : owner(calls), manager(orvel_bus_manager_skeleton_new()), pauses(bus, [this] {
        publishPauses();
        owner.setPaused(isPaused());
      }) {
  orvel_bus_manager_set_version(manager.get(), ORVEL_VERSION);
  orvel_bus_manager_set_schema_version(manager.get(), kSchemaVersion);
  orvel_bus_manager_set_database_directory(manager.get(), busText(facts.databaseDirectory).c_str());
  orvel_bus_manager_set_auto_index(manager.get(), facts.autoIndex ? TRUE : FALSE);
  orvel_bus_manager_set_region(manager.get(), facts.region.c_str());
  orvel_bus_manager_set_problems(manager.get(), BusTexts(facts.problems).get());
  setSelected("/");
  publishPauses();
  connect();
  GError* error = nullptr;
  if (g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(manager.get()), bus, kPath,
                                       &error) == FALSE) {
    const GlibError failure(error);
    throw std::runtime_error(std::string("The manager cannot be put on the bus: ") +
                             failure->message);
  }
}

ManagerObject::~ManagerObject() {
  g_dbus_interface_skeleton_unexport(G_DBUS_INTERFACE_SKELETON(manager.get()));
  g_signal_handlers_disconnect_by_data(manager.get(), this);
}

void ManagerObject::connect() {
  using Invocation = GDBusMethodInvocation;
  const auto on = [this](const char* signal, GCallback handler) {
    g_signal_connect(manager.get(), signal, handler, this);
  };
  on("handle-index", G_CALLBACK(+[](OrvelBusManager*, Invocation* call, const char* mountPoint,
                                    GVariant* options, gpointer object) {
       self(object).owner.wasCalled();
       return answer(call, [&] { self(object).owner.index(call, indexCall(mountPoint, options)); });
     }));
  on("handle-forget", G_CALLBACK(+[](OrvelBusManager* skeleton, Invocation* call,
                                     const char* device, gpointer object) {
       self(object).owner.wasCalled();
       return answer(call, [&] {
         self(object).owner.forget(device);
         orvel_bus_manager_complete_forget(skeleton, call);
       });
     }));
  on("handle-prioritize", G_CALLBACK(+[](OrvelBusManager* skeleton, Invocation* call,
                                         const char* device, gpointer object) {
       self(object).owner.wasCalled();
       return answer(call, [&] {
         self(object).owner.prioritize(device);
         orvel_bus_manager_complete_prioritize(skeleton, call);
       });
     }));
  on("handle-pause", G_CALLBACK(+[](OrvelBusManager* skeleton, Invocation* call, const char* reason,
                                    gpointer object) {
       self(object).owner.wasCalled();
       return answer(call, [&] {
         const char* const client = g_dbus_method_invocation_get_sender(call);
         orvel_bus_manager_complete_pause(skeleton, call,
                                          self(object).pauses.begin(client, reason));
       });
     }));
  on("handle-resume",
     G_CALLBACK(+[](OrvelBusManager* skeleton, Invocation* call, guint cookie, gpointer object) {
       self(object).owner.wasCalled();
       return answer(call, [&] {
         self(object).pauses.end(g_dbus_method_invocation_get_sender(call), cookie);
         orvel_bus_manager_complete_resume(skeleton, call);
       });
     }));
}

void ManagerObject::setSelected(const std::string& path) {
  orvel_bus_manager_set_selected(manager.get(), path.c_str());
}

void ManagerObject::publishPauses() {
  orvel_bus_manager_set_paused(manager.get(), isPaused() ? TRUE : FALSE);
  orvel_bus_manager_set_pause_reasons(manager.get(), BusTexts(pauses.reasons()).get());
}

}  // namespace orvel::service
