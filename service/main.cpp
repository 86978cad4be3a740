#include <gio/gio.h>
#include <glib-unix.h>
#include <malloc.h>
#include <orvel/DatabaseMgr.h>
#include <orvel/Settings.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "base/GlibText.h"
#include "host/tagReaderNearby.h"
#include "service/Configuration.h"
#include "service/Options.h"
#include "service/Service.h"

namespace {

using namespace orvel;
using namespace orvel::service;

constexpr char kBusName[] = "org.orvel.Indexer1";
/// Freed memory goes back to the system from few heaps sooner than from one for each thread.
constexpr int kHeaps = 2;
enum ExitStatus { Done = 0, CouldNotRun = 1, WrongUsage = 2 };

struct UnrefLoop {
  void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
};

/// The service from its name on the bus to its end.
struct Run {
  Run(GDBusConnection* bus, ConfigurationReading reading)
      : loop(g_main_loop_new(nullptr, FALSE)),
        service(bus, std::move(reading), [this] { end(Done); }) {}

  void end(ExitStatus wanted) {
    status = wanted;
    g_main_loop_quit(loop.get());
  }

  std::unique_ptr<GMainLoop, UnrefLoop> loop;
  ExitStatus status = Done;
  Service service;
};

Run& self(gpointer run) {
  return *static_cast<Run*>(run);
}

ConfigurationReading configurationFor(const Options& options) {
  std::string file = ORVEL_CONFIGURATION_FILE;
  if (options.bus == G_BUS_TYPE_SESSION) {
    file = std::string(g_get_user_config_dir()) + "/orvel/orveld.conf";
  }
  std::error_code ignored;
  ConfigurationReading reading;
  if (options.configurationFile || std::filesystem::exists(file, ignored)) {
    reading = readConfiguration(options.configurationFile.value_or(file));
  }
  Configuration& chosen = reading.configuration;
  if (options.bus == G_BUS_TYPE_SESSION && chosen.settings.databaseDirectory.empty()) {
    chosen.settings.databaseDirectory = std::string(g_get_user_data_dir()) + "/orvel";
  }
  if (options.databaseFolder) chosen.settings.databaseDirectory = *options.databaseFolder;
  if (options.mountMedia) chosen.media.mountMedia = true;
  if (options.idleExit) chosen.idleExit = options.idleExit;
  chosen.settings.tagReaderProgram = host::tagReaderNearby();
  for (const std::string& problem : reading.problems) g_warning("%s", problem.c_str());
  return reading;
}

/// Applies the settings; the log of a library without Diagnostic Log and Trace goes to the standard
/// error stream.
void configureLibrary(ConfigurationReading& reading) {
  Settings& settings = reading.configuration.settings;
  try {
    configure(settings);
  } catch (const std::runtime_error& error) {
    g_warning("log-to: %s", error.what());
    reading.problems.push_back(std::string("log-to: ") + error.what());
    settings.dltApplicationId.clear();
    configure(settings);
  }
}

/// Throws std::runtime_error when databases cannot be written.
void requireDatabaseFolder() {
  DatabaseMgr& databases = DatabaseMgr::instance();
  databases.createDirectory();
  const std::string folder = databases.directory();
  if (access((folder + "/").c_str(), W_OK | X_OK) == 0) return;
  throw std::runtime_error("The database folder " + folder + " cannot be written (" +
                           std::strerror(errno) +
                           "). Change its permissions or name another with --db-dir.");
}

GlibObject<GDBusConnection> connectTo(GBusType bus) {
  GError* error = nullptr;
  GDBusConnection* const connection = g_bus_get_sync(bus, nullptr, &error);
  if (connection != nullptr) {
    g_dbus_connection_set_exit_on_close(connection, FALSE);
    return GlibObject<GDBusConnection>(connection);
  }
  const GlibError failure(error);
  const bool isSystem = bus == G_BUS_TYPE_SYSTEM;
  throw std::runtime_error(std::string("The ") + (isSystem ? "system" : "session") +
                           " bus cannot be reached (" + failure->message +
                           "). Start dbus-daemon, or name it in " +
                           (isSystem ? "DBUS_SYSTEM_BUS_ADDRESS." : "DBUS_SESSION_BUS_ADDRESS."));
}

guint ownName(GDBusConnection* bus, Run& run) {
  return g_bus_own_name_on_connection(
      bus, kBusName, G_BUS_NAME_OWNER_FLAGS_DO_NOT_QUEUE,
      [](GDBusConnection*, const char*, gpointer data) { self(data).service.watchDevices(); },
      [](GDBusConnection* connection, const char* name, gpointer data) {
        if (connection == nullptr || g_dbus_connection_is_closed(connection) != FALSE) {
          g_critical("The bus is gone. Start the service again once it is back.");
        } else {
          g_critical(
              "The bus does not give out the name %s. Is another orveld running, or does"
              " the bus's policy refuse it?",
              name);
        }
        self(data).end(CouldNotRun);
      },
      &run, nullptr);
}

int serve(const Options& options) {
  mallopt(M_ARENA_MAX, kHeaps);
  ConfigurationReading reading = configurationFor(options);
  configureLibrary(reading);
  requireDatabaseFolder();
  const GlibObject<GDBusConnection> bus = connectTo(options.bus);
  Run run(bus.get(), std::move(reading));
  const GSourceFunc endInOrder = [](gpointer data) -> gboolean {
    self(data).end(Done);
    return G_SOURCE_CONTINUE;
  };
  g_unix_signal_add(SIGINT, endInOrder, &run);
  g_unix_signal_add(SIGTERM, endInOrder, &run);
  const guint name = ownName(bus.get(), run);
  g_main_loop_run(run.loop.get());
  g_bus_unown_name(name);
  return run.status;
}

}  // namespace

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "");
  try {
    const Options options = parseOptions(argc, argv);
    if (options.printVersion) {
      std::cout << "orveld " ORVEL_VERSION << std::endl;
      return Done;
    }
    return serve(options);
  } catch (const UsageError& error) {
    std::cerr << "orveld: " << error.what() << " 'orveld --help' shows the options." << std::endl;
    return WrongUsage;
  } catch (const std::exception& error) {
    std::cerr << "orveld: " << error.what() << std::endl;
    return CouldNotRun;
  }
}
