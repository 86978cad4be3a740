#include "isolation/ResultPipe.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "isolation/WorkerProtocol.h"

namespace orvel {

std::optional<std::string_view> ResultPipe::take() {
  workerProtocol::ResultLength length = 0;
  const std::string_view rest = std::string_view(received).substr(taken);
  if (rest.size() < sizeof length) return std::nullopt;
  std::memcpy(&length, rest.data(), sizeof length);
  broken = broken || length > mostBytes;
  if (broken || rest.size() - sizeof length < length) return std::nullopt;
  taken += sizeof length + length;
  return rest.substr(sizeof length, length);
}

bool ResultPipe::readMore() {
  constexpr std::size_t kReadBytes = 16384;
  received.erase(0, std::exchange(taken, 0));
  std::array<char, kReadBytes> bytes;
  ssize_t got = -1;
  do {
    got = read(end.get(), bytes.data(), bytes.size());
  } while (got < 0 && errno == EINTR);
  open = got > 0 || (got < 0 && errno == EAGAIN);
  if (got > 0) received.append(bytes.data(), static_cast<std::size_t>(got));
  return got > 0;
}

}  // namespace orvel
