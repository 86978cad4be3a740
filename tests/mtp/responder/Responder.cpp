#include "tests/mtp/responder/Responder.h"

#include <algorithm>

#include "tests/mtp/responder/ObjectProperties.h"

namespace orvel::test {
namespace {

constexpr std::uint32_t kMediaExtension = 6;  // the vendor id that marks MTP
constexpr std::uint64_t kLongestFile = 64ULL << 20;

}  // namespace

Responder::Responder(Media media, DeviceIdentity identity)
    : media(std::move(media)), identity(std::move(identity)) {}

std::vector<std::string> Responder::answer(std::string_view container) {
  const std::lock_guard lock(mutex);
  const std::optional<Container> command = Container::parse(container);
  if (!command || command->type != ptp::kCommand) return {};
  ++counters[command->code][subjectOf(*command)];
  const Fault* fault = faultOf(*command);
  if (fault && fault->silent) return {};
  Answer answer = fault && fault->refusal ? Answer{.code = *fault->refusal} : execute(*command);
  std::vector<std::string> containers;
  if (answer.dataset) {
    if (fault && fault->rewrite) fault->rewrite(*answer.dataset);
    containers.push_back(
        Container{ptp::kData, command->code, command->transaction, *std::move(answer.dataset)}
            .bytes());
  }
  Dataset parameters;
  for (const std::uint32_t parameter : answer.parameters) parameters.u32(parameter);
  containers.push_back(
      Container{ptp::kResponse, answer.code, command->transaction, parameters.bytes()}.bytes());
  return containers;
}

void Responder::reset() {
  const std::lock_guard lock(mutex);
  sessionOpen = false;
}

void Responder::setLocked(bool isLocked) {
  const std::lock_guard lock(mutex);
  locked = isLocked;
}

void Responder::add(const Fault& fault) {
  const std::lock_guard lock(mutex);
  faults.push_back(fault);
}

void Responder::clearFaults() {
  const std::lock_guard lock(mutex);
  faults.clear();
}

std::size_t Responder::calls(ptp::Operation operation) const {
  const std::map<std::uint16_t, std::size_t> all = calls();
  const auto found = all.find(operation);
  return found == all.end() ? 0 : found->second;
}

std::map<std::uint16_t, std::size_t> Responder::calls() const {
  const std::lock_guard lock(mutex);
  std::map<std::uint16_t, std::size_t> sums;
  for (const auto& [operation, subjects] : counters) {
    for (const auto& [subject, count] : subjects) sums[operation] += count;
  }
  return sums;
}

std::size_t Responder::calls(ptp::Operation operation, std::uint32_t subject) const {
  const std::lock_guard lock(mutex);
  const auto subjects = counters.find(operation);
  if (subjects == counters.end()) return 0;
  const auto found = subjects->second.find(subject);
  return found == subjects->second.end() ? 0 : found->second;
}

std::uint64_t Responder::fileBytes() const {
  const std::lock_guard lock(mutex);
  return sentFileBytes;
}

void Responder::clearCounters() {
  const std::lock_guard lock(mutex);
  counters.clear();
  sentFileBytes = 0;
}

const std::map<std::uint16_t, Responder::Handler>& Responder::handlers() {
  static const std::map<std::uint16_t, Handler> table = {
      {ptp::kGetDeviceInfo, &Responder::getDeviceInfo},
      {ptp::kOpenSession, &Responder::openSession},
      {ptp::kCloseSession, &Responder::closeSession},
      {ptp::kGetStorageIds, &Responder::getStorageIds},
      {ptp::kGetStorageInfo, &Responder::getStorageInfo},
      {ptp::kGetNumObjects, &Responder::getNumObjects},
      {ptp::kGetObjectHandles, &Responder::getObjectHandles},
      {ptp::kGetObjectInfo, &Responder::getObjectInfo},
      {ptp::kGetObject, &Responder::getObject},
      {ptp::kGetPartialObject, &Responder::getPartialObject},
      {ptp::kGetPartialObject64, &Responder::getPartialObject64},
      {ptp::kGetObjectPropsSupported, &Responder::getObjectPropsSupported},
      {ptp::kGetObjectPropDesc, &Responder::getObjectPropDesc},
      {ptp::kGetObjectPropValue, &Responder::getObjectPropValue},
      {ptp::kGetObjPropList, &Responder::getObjPropList},
      {ptp::kGetObjectReferences, &Responder::getObjectReferences}};
  return table;
}

std::uint32_t Responder::subjectOf(const Container& command) {
  const bool ofFolder =
      command.code == ptp::kGetObjectHandles || command.code == ptp::kGetNumObjects;
  return command.parameter(ofFolder ? 2 : 0);
}

Fault* Responder::faultOf(const Container& command) {
  const std::uint32_t subject = subjectOf(command);
  for (Fault& fault : faults) {
    const bool isMeant = fault.operation == ptp::kAnyOperation || fault.operation == command.code;
    if (!isMeant || fault.subject.value_or(subject) != subject) continue;
    if (fault.after > 0) {
      --fault.after;
    } else if (fault.times > 0) {
      if (fault.times != Fault::kAlways) --fault.times;
      return &fault;
    }
  }
  return nullptr;
}

Responder::Answer Responder::execute(const Container& command) {
  const auto handler = handlers().find(command.code);
  if (handler == handlers().end() || !identity.operations.contains(command.code))
    return {.code = ptp::kOperationNotSupported};
  if (!sessionOpen && command.code != ptp::kGetDeviceInfo && command.code != ptp::kOpenSession)
    return {.code = ptp::kSessionNotOpen};
  return (this->*handler->second)(command);
}

Responder::Answer Responder::getDeviceInfo(const Container&) {
  const std::vector<std::uint16_t> none;
  return {.dataset = Dataset()
                         .u16(100)  // of the standard's version
                         .u32(kMediaExtension)
                         .u16(100)
                         .text(identity.extensions)
                         .u16(0)
                         .array(std::vector<std::uint16_t>(identity.operations.begin(),
                                                           identity.operations.end()))
                         .array(none)  // events
                         .array(none)  // device properties
                         .array(none)  // formats that it records
                         .array(identity.formats)
                         .text(identity.maker)
                         .text(identity.model)
                         .text("1.0")
                         .text(identity.serial)
                         .bytes()};
}

Responder::Answer Responder::openSession(const Container&) {
  if (sessionOpen) return {.code = ptp::kSessionAlreadyOpen};
  sessionOpen = true;
  return {};
}

Responder::Answer Responder::closeSession(const Container&) {
  sessionOpen = false;
  return {};
}

Responder::Answer Responder::getStorageIds(const Container&) {
  std::vector<std::uint32_t> ids;
  if (!locked) {
    for (const MediaStorage& storage : media.storages()) ids.push_back(storage.id);
  }
  return {.dataset = Dataset().array(ids).bytes()};
}

Responder::Answer Responder::getStorageInfo(const Container& command) {
  const auto storage = std::ranges::find(media.storages(), command.parameter(0), &MediaStorage::id);
  if (locked || storage == media.storages().end()) return {.code = ptp::kInvalidStorageId};
  return {.dataset = Dataset()
                         .u16(3)  // fixed memory
                         .u16(2)  // folders within folders
                         .u16(0)  // may be written
                         .u64(storage->capacity)
                         .u64(storage->freeBytes)
                         .u32(ptp::kAll)
                         .text(storage->description)
                         .text(std::string_view())
                         .bytes()};
}

Responder::Answer Responder::listed(const Container& command, std::vector<std::uint32_t>& handles) {
  const std::uint32_t storage = command.parameter(0);
  const std::uint32_t parent = command.parameter(2);
  const bool known = std::ranges::count(media.storages(), storage, &MediaStorage::id) > 0;
  if (locked || (storage != ptp::kAll && !known)) return {.code = ptp::kInvalidStorageId};
  if (parent != ptp::kRoot && parent != 0 && !media.find(parent))
    return {.code = ptp::kInvalidParentObject};
  const std::uint32_t folder = parent == ptp::kRoot ? 0 : parent;
  for (const MediaStorage& each : media.storages()) {
    if (storage != ptp::kAll && storage != each.id) continue;
    const std::vector<std::uint32_t> children = media.children(each.id, folder);
    handles.insert(handles.end(), children.begin(), children.end());
  }
  return {};
}

Responder::Answer Responder::getNumObjects(const Container& command) {
  std::vector<std::uint32_t> handles;
  Answer answer = listed(command, handles);
  answer.parameters = {static_cast<std::uint32_t>(handles.size())};
  return answer;
}

Responder::Answer Responder::getObjectHandles(const Container& command) {
  std::vector<std::uint32_t> handles;
  Answer answer = listed(command, handles);
  if (answer.code == ptp::kOk) answer.dataset = Dataset().array(handles).bytes();
  return answer;
}

Responder::Answer Responder::getObjectInfo(const Container& command) {
  const MediaObject* object = media.find(command.parameter(0));
  if (!object) return {.code = ptp::kInvalidObjectHandle};
  const bool folder = object->format == ptp::kAssociation;
  const auto size = static_cast<std::uint32_t>(std::min<std::uint64_t>(object->size, 0xFFFFFFFF));
  return {.dataset = Dataset()
                         .u32(object->storage)
                         .u16(object->format)
                         .u16(0)  // not protected
                         .u32(size)
                         .u16(0)  // no thumbnail, and no picture in the six numbers that follow
                         .u32(0)
                         .u32(0)
                         .u32(0)
                         .u32(0)
                         .u32(0)
                         .u32(0)
                         .u32(object->parent)
                         .u16(folder ? 1 : 0)
                         .u32(0)
                         .u32(0)
                         .text(object->name)
                         .text(object->modified)
                         .text(object->modified)
                         .text(std::string_view())  // keywords
                         .bytes()};
}

Responder::Answer Responder::fileBytesFrom(std::uint32_t handle, std::uint64_t offset,
                                           std::uint64_t count) {
  const MediaObject* object = media.find(handle);
  if (!object || object->format == ptp::kAssociation) return {.code = ptp::kInvalidObjectHandle};
  if (offset > object->size) return {.code = ptp::kInvalidParameter};
  count = std::min(count, object->size - offset);
  if (count > kLongestFile) return {.code = ptp::kGeneralError};
  std::string bytes;
  if (object->content && offset < object->content->size())
    bytes = object->content->substr(offset, count);
  bytes.resize(count);
  sentFileBytes += count;
  return {.dataset = std::move(bytes), .parameters = {static_cast<std::uint32_t>(count)}};
}

Responder::Answer Responder::getObject(const Container& command) {
  const MediaObject* object = media.find(command.parameter(0));
  return fileBytesFrom(command.parameter(0), 0, object ? object->size : 0);
}

Responder::Answer Responder::getPartialObject(const Container& command) {
  return fileBytesFrom(command.parameter(0), command.parameter(1), command.parameter(2));
}

Responder::Answer Responder::getPartialObject64(const Container& command) {
  const std::uint64_t high = command.parameter(2);
  return fileBytesFrom(command.parameter(0), high << 32 | command.parameter(1),
                       command.parameter(3));
}

Responder::Answer Responder::getObjectPropsSupported(const Container& command) {
  const auto format = static_cast<std::uint16_t>(command.parameter(0));
  return {.dataset = Dataset().array(objectProperties::supported(format)).bytes()};
}

Responder::Answer Responder::getObjectPropDesc(const Container& command) {
  const auto property = static_cast<std::uint16_t>(command.parameter(0));
  const std::optional<ptp::DataType> type = objectProperties::dataType(property);
  if (!type) return {.code = ptp::kInvalidObjectPropCode};
  return {.dataset = objectProperties::description(property, *type)};
}

Responder::Answer Responder::getObjectPropValue(const Container& command) {
  const MediaObject* object = media.find(command.parameter(0));
  if (!object) return {.code = ptp::kInvalidObjectHandle};
  std::optional<std::string> value =
      objectProperties::value(*object, static_cast<std::uint16_t>(command.parameter(1)));
  if (!value) return {.code = ptp::kInvalidObjectPropCode};
  return {.dataset = std::move(value)};
}

Responder::Answer Responder::getObjPropList(const Container& command) {
  const MediaObject* object = media.find(command.parameter(0));
  if (!object) return {.code = ptp::kInvalidObjectHandle};
  const std::vector<std::uint16_t> properties = objectProperties::supported(object->format);
  std::string list = Dataset().u32(static_cast<std::uint32_t>(properties.size())).bytes();
  for (const std::uint16_t property : properties) {
    list += Dataset()
                .u32(object->handle)
                .u16(property)
                .u16(*objectProperties::dataType(property))
                .bytes();
    list += *objectProperties::value(*object, property);
  }
  return {.dataset = std::move(list)};
}

Responder::Answer Responder::getObjectReferences(const Container& command) {
  const MediaObject* object = media.find(command.parameter(0));
  if (!object) return {.code = ptp::kInvalidObjectHandle};
  return {.dataset = Dataset().array(object->references).bytes()};
}

}  // namespace orvel::test
