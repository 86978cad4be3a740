#ifdef ORVEL_TCMALLOC
#include <gperftools/malloc_extension.h>
#endif
#include <langinfo.h>

#include <QCoreApplication>
#include <clocale>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "cli/CommandLine.h"
#include "cli/ExitStatus.h"
#include "cli/OwnOutput.h"

namespace {

using namespace orvel::cli;

/// Reads and prints UTF-8 even if the system's locale is not UTF-8.
void useUtf8Locale() {
  std::setlocale(LC_ALL, "");
  if (std::string_view(nl_langinfo(CODESET)) == "UTF-8") return;
  setenv("LC_ALL", "C.UTF-8", 1);
  std::setlocale(LC_ALL, "");
}

/// Limits TCMalloc's per-thread caches, which would otherwise be the larger part of the heap.
void keepHeapSmall() {
#ifdef ORVEL_TCMALLOC
  MallocExtension::instance()->SetNumericProperty("tcmalloc.max_total_thread_cache_bytes",
                                                  512 << 10);
#endif
}

}  // namespace

int main(int argc, char** argv) {
  useUtf8Locale();
  keepHeapSmall();
  const QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName("orvel");
  try {
    return parseCommandLine(argc, argv)();
  } catch (const CommandError& error) {
    printError(error.what());
    return error.status;
  } catch (const std::exception& error) {
    printError(error.what());
    return CouldNotRun;
  }
}
