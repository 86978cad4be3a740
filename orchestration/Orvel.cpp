#include <orvel/Orvel.h>

#include "base/Log.h"
#include "framework/Server.h"
#include "orchestration/Requests.h"

namespace orvel {

Orvel::Orvel() : Server("Orvel"), requests(std::make_unique<Requests>(*this)) {}

Orvel::~Orvel() {
  if (!stopping()) Orvel::stop();
  if (!requests->wereJoined()) Orvel::join();
  requests.reset();
}

void Orvel::enqueueNewOperation(OperationType type, const std::string& deviceId, std::size_t handle,
                                const std::string& mountPoint, bool isFirstPartition) {
  requests->accept({Requests::HostCall::Kind::Start, type, deviceId,
                    static_cast<unsigned int>(handle), mountPoint, isFirstPartition});
}

void Orvel::prioritizeOperation(OperationType type, const std::string& deviceId, std::size_t handle,
                                const std::string& mountPoint) {
  requests->accept({Requests::HostCall::Kind::Prioritize, type, deviceId,
                    static_cast<unsigned int>(handle), mountPoint, false});
}

void Orvel::stopOperation(OperationType type, const std::string& deviceId, std::size_t handle,
                          const std::string& mountPoint) {
  requests->accept({Requests::HostCall::Kind::Stop, type, deviceId,
                    static_cast<unsigned int>(handle), mountPoint, false});
}

std::optional<ProgressSnapshot> Orvel::progressOf(const std::string& mountPoint) const {
  return requests->progressOf(mountPoint);
}

std::size_t Orvel::liveRequests() const {
  return requests->live();
}

Orvel::sink_block_type_ptr Orvel::doOperation(src_block_type_ptr result) {
  if (result->operation.id == Requests::kHandedOver) {
    requests->serveHandedOver();
  } else {
    requests->finish(result->operation);
  }
  return {};
}

void Orvel::stop() {
  OV_INFO("Orvel::stop");
  requests->stopAll();
  Server::stop();
}

void Orvel::join() {
  OV_INFO("Orvel::join");
  Server::join();
  requests->joinAll();
}

}  // namespace orvel
