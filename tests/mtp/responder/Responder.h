#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/mtp/responder/Dataset.h"
#include "tests/mtp/responder/Fault.h"
#include "tests/mtp/responder/Media.h"

namespace orvel::test {

/// What a device says of itself.
struct DeviceIdentity {
  std::string maker = "Orvel";
  std::string model = "Test player";
  std::string serial = "R0001";
  std::string extensions = "microsoft.com: 1.0;";
  std::set<std::uint16_t> operations = {ptp::kGetDeviceInfo,
                                        ptp::kOpenSession,
                                        ptp::kCloseSession,
                                        ptp::kGetStorageIds,
                                        ptp::kGetStorageInfo,
                                        ptp::kGetNumObjects,
                                        ptp::kGetObjectHandles,
                                        ptp::kGetObjectInfo,
                                        ptp::kGetObject,
                                        ptp::kGetPartialObject,
                                        ptp::kGetObjectPropsSupported,
                                        ptp::kGetObjectPropDesc,
                                        ptp::kGetObjectPropValue,
                                        ptp::kGetObjectReferences};
  std::vector<std::uint16_t> formats = {ptp::kUndefined, ptp::kAssociation, ptp::kMp3,
                                        ptp::kWma,       ptp::kOgg,         ptp::kFlac,
                                        ptp::kMp4,       ptp::kPlaylist};
};

/// An MTP device without a transport: takes containers and answers with containers. Answers what
/// its media say, except where a fault was set. Any thread.
class Responder {
 public:
  explicit Responder(Media media, DeviceIdentity identity = {});

  /// The containers that answer one; none to data (no operation here takes data), to what is no
  /// container, and when a fault keeps the device silent.
  std::vector<std::string> answer(std::string_view container);
  /// As after the bus was reset: no session.
  void reset();

  /// Changes the media, as somebody does who handles the device meanwhile.
  template <typename Change>
  void edit(Change change) {
    const std::lock_guard lock(mutex);
    change(media);
  }
  /// Shows no storage, as a phone does whose screen is locked.
  void setLocked(bool locked);
  /// Adds a fault; the first that fits a call counts.
  void add(const Fault& fault);
  void clearFaults();

  /// How often an operation was asked for since the counters were cleared.
  [[nodiscard]] std::size_t calls(ptp::Operation operation) const;
  /// All of them, by operation.
  [[nodiscard]] std::map<std::uint16_t, std::size_t> calls() const;
  /// How often an operation was asked for about an object.
  [[nodiscard]] std::size_t calls(ptp::Operation operation, std::uint32_t subject) const;
  /// Bytes of files that were sent since the counters were cleared.
  [[nodiscard]] std::uint64_t fileBytes() const;
  void clearCounters();

 private:
  struct Answer {
    std::uint16_t code = ptp::kOk;
    std::optional<std::string> dataset = {};
    std::vector<std::uint32_t> parameters = {};
  };
  using Handler = Answer (Responder::*)(const Container& command);

  static const std::map<std::uint16_t, Handler>& handlers();
  static std::uint32_t subjectOf(const Container& command);
  [[nodiscard]] Fault* faultOf(const Container& command);
  Answer execute(const Container& command);

  Answer getDeviceInfo(const Container& command);
  Answer openSession(const Container& command);
  Answer closeSession(const Container& command);
  Answer getStorageIds(const Container& command);
  Answer getStorageInfo(const Container& command);
  Answer getNumObjects(const Container& command);
  Answer getObjectHandles(const Container& command);
  Answer getObjectInfo(const Container& command);
  Answer getObject(const Container& command);
  Answer getPartialObject(const Container& command);
  Answer getPartialObject64(const Container& command);
  Answer getObjectPropsSupported(const Container& command);
  Answer getObjectPropDesc(const Container& command);
  Answer getObjectPropValue(const Container& command);
  Answer getObjPropList(const Container& command);
  Answer getObjectReferences(const Container& command);
  Answer listed(const Container& command, std::vector<std::uint32_t>& handles);
  Answer fileBytesFrom(std::uint32_t handle, std::uint64_t offset, std::uint64_t count);

  mutable std::mutex mutex;
  Media media;
  DeviceIdentity identity;
  bool sessionOpen = false;
  bool locked = false;
  std::vector<Fault> faults;
  std::map<std::uint16_t, std::map<std::uint32_t, std::size_t>> counters;
  std::uint64_t sentFileBytes = 0;
};

}  // namespace orvel::test
