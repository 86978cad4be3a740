#include "service/Options.h"

#include <array>
#include <memory>

#include "base/GlibPointers.h"
#include "base/GlibText.h"

namespace orvel::service {

namespace {

struct FreeContext {
  void operator()(GOptionContext* context) const { g_option_context_free(context); }
};

std::optional<std::string> absolutePath(char* given) {
  const GlibText owned(given);
  if (given == nullptr) return std::nullopt;
  const GlibText path = ownGlibText(g_canonicalize_filename(given, nullptr));
  return path.get();
}

}  // namespace

Options parseOptions(int argc, char** argv) {
  gboolean system = FALSE;
  gboolean session = FALSE;
  gboolean mount = FALSE;
  gboolean version = FALSE;
  int idleExit = 0;
  char* configuration = nullptr;
  char* folder = nullptr;
  const std::array<GOptionEntry, 8> entries{
      {{"system", 0, 0, G_OPTION_ARG_NONE, &system, "Serve the system bus", nullptr},
       {"session", 0, 0, G_OPTION_ARG_NONE, &session, "Serve the session bus (the default)",
        nullptr},
       {"config", 0, 0, G_OPTION_ARG_FILENAME, &configuration, "Read this configuration file",
        "FILE"},
       {"db-dir", 0, 0, G_OPTION_ARG_FILENAME, &folder, "Keep the databases in this folder", "DIR"},
       {"mount", 0, 0, G_OPTION_ARG_NONE, &mount, "Mount media that nobody mounts, by udisks",
        nullptr},
       {"idle-exit", 0, 0, G_OPTION_ARG_INT, &idleExit,
        "End after this time without work and calls", "SECONDS"},
       {"version", 0, 0, G_OPTION_ARG_NONE, &version, "Print the version", nullptr},
       {}}};
  const std::unique_ptr<GOptionContext, FreeContext> context(g_option_context_new(nullptr));
  g_option_context_set_summary(context.get(),
                               "Indexes sticks and phones as they are plugged in, and serves their"
                               " music on D-Bus.");
  g_option_context_add_main_entries(context.get(), entries.data(), nullptr);
  GError* error = nullptr;
  const bool isParsed = g_option_context_parse(context.get(), &argc, &argv, &error) != FALSE;
  Options options;
  options.configurationFile = absolutePath(configuration);
  options.databaseFolder = absolutePath(folder);
  if (!isParsed) {
    const GlibError failure(error);
    throw UsageError(failure->message + std::string("."));
  }
  if (argc > 1) throw UsageError("'" + std::string(argv[1]) + "' is no option.");
  if (system != FALSE && session != FALSE)
    throw UsageError("Give --system or --session, not both.");
  if (idleExit < 0) throw UsageError("The time for --idle-exit is negative.");
  if (system != FALSE) options.bus = G_BUS_TYPE_SYSTEM;
  options.mountMedia = mount != FALSE;
  options.printVersion = version != FALSE;
  if (idleExit > 0) options.idleExit = std::chrono::seconds(idleExit);
  return options;
}

}  // namespace orvel::service
