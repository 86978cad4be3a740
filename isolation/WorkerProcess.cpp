#include "isolation/WorkerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

namespace orvel {

namespace {

constexpr char kNonsense[] = "sent what is no result";
constexpr char kTooLate[] = "gave no answer in time";

void require(bool isDone, const char* call) {
  if (!isDone) throw std::system_error(errno, std::generic_category(), call);
}

}  // namespace

WorkerProcess::Channels::Channels() {
  std::array<int, 2> ends{};
  require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0, "socketpair");
  control = Descriptor(ends[0]);
  workersControl = Descriptor(ends[1]);
  require(pipe2(ends.data(), O_CLOEXEC) == 0, "pipe2");
  results = Descriptor(ends[0]);
  workersResults = Descriptor(ends[1]);
  require(fcntl(results.get(), F_SETFL, O_NONBLOCK) == 0, "fcntl");
}

WorkerProcess::WorkerProcess(std::stop_token token, const std::string& program, bool carefully,
                             std::size_t mostResultBytes)
    : WorkerProcess(std::move(token), program, carefully, mostResultBytes, Channels()) {}

/// The worker's ends close here when `channels` goes out of scope.
WorkerProcess::WorkerProcess(std::stop_token token, const std::string& program, bool carefully,
                             std::size_t mostResultBytes, Channels channels)
    : control(std::move(channels.control)),
      results(std::move(channels.results), mostResultBytes),
      process(program, {channels.workersControl.get(), channels.workersResults.get()},
              carefully ? std::vector<std::string>{workerProtocol::kCarefully}
                        : std::vector<std::string>{}),
      stopped(std::move(token)),
      onStop(stopped, Shutdown{control.get()}) {}

std::optional<workerProtocol::Confinement> WorkerProcess::receiveGreeting(WaitBudget budget) {
  pollfd watched{control.get(), POLLIN, 0};
  while (watched.revents == 0 && !budget.isSpent()) budget.wait(&watched, 1);
  const auto message = control.receive();
  if (!message) fault = kTooLate;
  if (!message || message->empty()) return std::nullopt;
  const auto confinement = workerProtocol::decodeGreeting(*message);
  if (!confinement) fault = "comes from another build";
  return confinement;
}

std::string WorkerProcess::end() {
  const std::string ending = process.end();
  return fault.empty() ? ending : fault;
}

void WorkerProcess::giveUp() {
  fault = kTooLate;
  isStalled = process.waitsIn(SYS_pread64);
}

void WorkerProcess::rejectResult() {
  fault = kNonsense;
}

}  // namespace orvel
