#include "tests/mtp/responder/Fault.h"

#include "tests/mtp/responder/Dataset.h"

namespace orvel::test {
namespace {

Fault rewritten(ptp::Operation operation, std::function<void(std::string&)> rewrite) {
  Fault fault{.operation = operation};
  fault.rewrite = std::move(rewrite);
  return fault;
}

}  // namespace

Fault refuse(ptp::Operation operation, std::uint16_t response, unsigned times) {
  Fault fault{.operation = operation, .times = times};
  fault.refusal = response;
  return fault;
}

Fault truncate(ptp::Operation operation, std::size_t bytes) {
  return rewritten(operation, [bytes](std::string& dataset) {
    if (dataset.size() > bytes) dataset.resize(bytes);
  });
}

Fault replace(ptp::Operation operation, std::string dataset) {
  return rewritten(operation, [other = std::move(dataset)](std::string& data) { data = other; });
}

Fault miscount(ptp::Operation operation, std::uint32_t count) {
  return rewritten(operation, [count](std::string& dataset) {
    dataset.replace(0, sizeof count, Dataset().u32(count).bytes());
  });
}

Fault keepSilent(ptp::Operation operation, unsigned times) {
  Fault fault{.operation = operation, .times = times};
  fault.silent = true;
  return fault;
}

}  // namespace orvel::test
