#ifdef ORVEL_TCMALLOC
#include <gperftools/malloc_extension.h>
#endif
#include <langinfo.h>

#include <QCoreApplication>
#include <clocale>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string_view>

#include "cli/CommandLine.h"
#include "cli/ExitStatus.h"
#include "cli/IndexCommand.h"
#include "cli/ListCommand.h"
#include "cli/MtpListCommand.h"
#include "cli/OwnOutput.h"
#include "cli/StatusCommand.h"

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

int printText(const PrintedText& printed) {
  std::cout << printed.text << std::flush;
  return Done;
}

struct RunCommand {
  int operator()(const IndexOptions& options) const { return runIndex(options); }
  int operator()(const MtpListOptions& options) const { return runMtpList(options); }
  int operator()(const ListOptions& options) const { return runList(options); }
  int operator()(const StatusOptions& options) const { return runStatus(options); }
  int operator()(const PrintedText& printed) const { return printText(printed); }
};

}  // namespace

int main(int argc, char** argv) {
  useUtf8Locale();
  keepHeapSmall();
  const QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName("orvel");
  try {
    return std::visit(RunCommand{}, parseCommandLine(argc, argv));
  } catch (const CommandError& error) {
    printError(error.what());
    return error.status;
  } catch (const std::exception& error) {
    printError(error.what());
    return CouldNotRun;
  }
}
