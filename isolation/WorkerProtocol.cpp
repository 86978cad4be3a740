#include "isolation/WorkerProtocol.h"

#include <utility>

#include "isolation/MessageParser.h"
#include "isolation/MessageWriter.h"

namespace orvel::workerProtocol {

std::string encodeGreeting(Confinement confinement) {
  MessageWriter writer;
  writer.number(kVersion);
  writer.number(confinement.filterError);
  writer.number(confinement.landlockError);
  return std::move(writer.message);
}

std::optional<Confinement> decodeGreeting(std::string_view message) {
  MessageParser parser(message);
  const bool isVersion = parser.number<std::uint32_t>() == kVersion;
  Confinement confinement;
  confinement.filterError = parser.number<std::int32_t>();
  confinement.landlockError = parser.number<std::int32_t>();
  if (!isVersion || !parser.isDone()) return std::nullopt;
  return confinement;
}

std::string withLength(std::string_view result) {
  MessageWriter writer;
  writer.bytes(result);
  return std::move(writer.message);
}

}  // namespace orvel::workerProtocol
