#include "cli/ProgressLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "base/journal.h"
#include "cli/DisplayText.h"
#include "cli/OwnOutput.h"

namespace orvel::cli {

namespace {

constexpr std::chrono::seconds kPlainInterval{2};
constexpr std::size_t kUsualColumns = 80;

bool canRewriteLines() {
  const char* terminal = std::getenv("TERM");
  return isatty(errorDescriptor()) != 0 && terminal != nullptr &&
         std::string_view(terminal) != "dumb";
}

std::size_t terminalColumns() {
  winsize size{};
  const bool known = ioctl(errorDescriptor(), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : kUsualColumns;
}

void write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(errorDescriptor(), text.data(), text.size());
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

const char* nameOf(RequestPhase phase) {
  switch (phase) {
    case RequestPhase::Waiting:
      return "Waiting";
    case RequestPhase::Crawling:
      return "Searching";
    case RequestPhase::Indexing:
      return "Indexing";
    case RequestPhase::Finished:
      return "Finished";
    case RequestPhase::Failed:
      return "Failed";
  }
  return "";
}

}  // namespace

ProgressLine::ProgressLine(bool visible) : isVisible(visible), isTerminal(canRewriteLines()) {}

ProgressLine::~ProgressLine() {
  erase();
}

void ProgressLine::begin(const std::string& newMountPoint) {
  const std::lock_guard lock(mutex);
  mountPoint = displayText(newMountPoint);
  started = Clock::now();
  phase = RequestPhase::Waiting;
}

void ProgressLine::show(const ProgressSnapshot& snapshot) {
  if (!isVisible) return;
  const std::lock_guard lock(mutex);
  std::string text = describe(snapshot);
  if (!isDue(snapshot, text)) return;
  phase = snapshot.phase;
  shown = Clock::now();
  line = std::move(text);
  draw();
}

bool ProgressLine::isDue(const ProgressSnapshot& snapshot, const std::string& text) const {
  if (text == line) return false;
  return isTerminal || snapshot.phase != phase || Clock::now() - shown >= kPlainInterval;
}

std::string ProgressLine::describe(const ProgressSnapshot& snapshot) const {
  const ProgressSnapshot::Songs& songs = snapshot.songs;
  const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
  const auto rate = static_cast<unsigned>(seconds > 0 ? songs.stored / seconds : 0);
  return std::string(nameOf(snapshot.phase)) + ": " + std::to_string(songs.found) +
         " songs found, " + std::to_string(songs.stored) + " stored, " +
         std::to_string(songs.skipped) + " skipped, " + std::to_string(rate) + " songs/s  " +
         mountPoint;
}

void ProgressLine::print(const std::string& text, LogLevel level) {
  const std::lock_guard lock(mutex);
  erase();
  write(journalPrefix(errorDescriptor(), level) + displayText(text) + "\n");
}

void ProgressLine::draw() {
  if (isTerminal) {
    // Leave one column free: a full line wraps on some terminals.
    write("\r\x1b[K" + elided(line, terminalColumns() - 1));
    isDrawn = true;
  } else {
    write(line + "\n");
  }
}

void ProgressLine::erase() {
  if (isDrawn) write("\r\x1b[K");
  isDrawn = false;
  if (isTerminal) line.clear();
}

}  // namespace orvel::cli
