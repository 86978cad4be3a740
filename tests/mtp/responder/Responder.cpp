#include "tests/mtp/responder/Responder.h"

#include <algorithm>
#include <numeric>
#include <span>
#include <utility>

#include "tests/mtp/responder/Dataset.h"

namespace orvel::test {
namespace {

/// Some devices do not know the last one.
constexpr std::uint16_t kOperations[] = {
    ptp::kGetDeviceInfo,           ptp::kOpenSession,       ptp::kCloseSession,
    ptp::kGetStorageIds,           ptp::kGetStorageInfo,    ptp::kGetNumObjects,
    ptp::kGetObjectHandles,        ptp::kGetObjectInfo,     ptp::kGetObject,
    ptp::kGetObjectPropsSupported, ptp::kGetObjectPropDesc, ptp::kGetObjectPropValue,
    ptp::kGetObjectReferences,     ptp::kGetPartialObject};

std::uint32_t numberAt(std::string_view bytes, std::size_t position, unsigned size) {
  std::uint32_t value = 0;
  for (unsigned i = 0; i < size && position + i < bytes.size(); ++i)
    value |= std::uint32_t{static_cast<unsigned char>(bytes[position + i])} << 8 * i;
  return value;
}

std::span<const std::uint16_t> operationsOf(const DeviceIdentity& identity) {
  return {kOperations, std::size(kOperations) - (identity.readsParts ? 0 : 1)};
}

/// One message on the bus; all kinds have the same head.
std::string container(ptp::ContainerType type, std::uint16_t code, std::uint32_t transaction,
                      const std::string& payload) {
  constexpr std::size_t kHeadSize = 12;
  return Dataset().u32(kHeadSize + payload.size()).u16(type).u16(code).u32(transaction).bytes() +
         payload;
}

std::string objectInfo(const MediaObject& object) {
  return Dataset()
      .u32(object.storage)
      .u16(object.format)
      .u16(0)  // not protected
      .u32(std::min<std::uint64_t>(object.size, 0xFFFFFFFF))
      .zeros(2 + 6 * 4)  // no thumbnail, and no picture in the six numbers that follow
      .u32(object.parent)
      .u16(object.format == ptp::kAssociation ? 1 : 0)
      .zeros(2 * 4)
      .text(object.name)
      .text(object.modified)
      .text(object.modified)
      .text({})  // keywords
      .bytes();
}

/// Something that the media extension tells of objects.
struct Property {
  enum class Of { All, Named, Tracks };
  enum Type : std::uint16_t {
    kUint16 = 0x0004,
    kUint32 = 0x0006,
    kUint64 = 0x0008,
    kText = 0xFFFF
  };

  std::uint16_t code;
  Type type;
  Of of;
  void (*write)(Dataset& data, const MediaObject& object);

  [[nodiscard]] bool isOf(std::uint16_t format) const {
    const bool isTrack = format == ptp::kMp3 || format == ptp::kFlac || format == ptp::kMp4;
    return of == Of::All || isTrack || (of == Of::Named && format == ptp::kPlaylist);
  }
};

using Of = Property::Of;

constexpr Property kProperties[] = {
    {0xDC01, Property::kUint32, Of::All, [](Dataset& data, auto& it) { data.u32(it.storage); }},
    {0xDC02, Property::kUint16, Of::All, [](Dataset& data, auto& it) { data.u16(it.format); }},
    {0xDC04, Property::kUint64, Of::All, [](Dataset& data, auto& it) { data.number(it.size, 8); }},
    {0xDC07, Property::kText, Of::All, [](Dataset& data, auto& it) { data.text(it.name); }},
    {0xDC09, Property::kText, Of::All, [](Dataset& data, auto& it) { data.text(it.modified); }},
    {0xDC0B, Property::kUint32, Of::All, [](Dataset& data, auto& it) { data.u32(it.parent); }},
    {0xDC44, Property::kText, Of::Named, [](Dataset& data, auto& it) { data.text(it.tags.title); }},
    {0xDC46, Property::kText, Of::Tracks,
     [](Dataset& data, auto& it) { data.text(it.tags.artist); }},
    {0xDC89, Property::kUint32, Of::Tracks, [](Dataset& data, auto&) { data.u32(180000); }},
    {0xDC8B, Property::kUint16, Of::Tracks,
     [](Dataset& data, auto& it) { data.u16(it.tags.number); }},
    {0xDC8C, Property::kText, Of::Tracks,
     [](Dataset& data, auto& it) { data.text(it.tags.genre); }},
    {0xDC96, Property::kText, Of::Tracks,
     [](Dataset& data, auto& it) { data.text(it.tags.composer); }},
    {0xDC9A, Property::kText, Of::Tracks,
     [](Dataset& data, auto& it) { data.text(it.tags.album); }},
};

const Property* propertyWith(std::uint32_t code) {
  const auto* const found = std::ranges::find(kProperties, code, &Property::code);
  return found == std::end(kProperties) ? nullptr : found;
}

std::string propertiesOf(std::uint32_t format) {
  std::vector<std::uint16_t> codes;
  for (const Property& property : kProperties) {
    if (property.isOf(static_cast<std::uint16_t>(format))) codes.push_back(property.code);
  }
  return Dataset().array(codes).bytes();
}

std::string propertyDescription(const Property& property) {
  MediaObject none;
  none.modified.clear();
  Dataset data;
  data.u16(property.code).u16(property.type).u8(0);  // cannot be written
  property.write(data, none);
  return data.u32(0).u8(0).bytes();  // no group, no form
}

std::string propertyValue(const Property& property, const MediaObject& object) {
  Dataset data;
  property.write(data, object);
  return data.bytes();
}

}  // namespace

std::uint32_t Responder::Command::subject() const {
  const bool isOfFolder = code == ptp::kGetObjectHandles || code == ptp::kGetNumObjects;
  return parameters[isOfFolder ? 2 : 0];
}

Responder::Responder(Media media, DeviceIdentity identity)
    : media(std::move(media)), identity(std::move(identity)) {}

std::vector<std::string> Responder::answer(std::string_view bytes) {
  const std::lock_guard lock(mutex);
  const Command command{static_cast<std::uint16_t>(numberAt(bytes, 6, 2)),
                        numberAt(bytes, 8, 4),
                        {numberAt(bytes, 12, 4), numberAt(bytes, 16, 4), numberAt(bytes, 20, 4)}};
  ++counters[command.code];
  const Fault* fault = faultOf(command);
  if (fault && fault->silent) return {};
  Answer answer = fault && fault->refusal ? Answer{.code = *fault->refusal} : execute(command);
  std::vector<std::string> containers;
  if (answer.dataset) {
    if (fault && fault->rewrite) fault->rewrite(*answer.dataset);
    containers.push_back(container(ptp::kData, command.code, command.transaction, *answer.dataset));
  }
  containers.push_back(container(ptp::kResponse, answer.code, command.transaction, {}));
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

std::map<std::uint16_t, std::size_t> Responder::calls() const {
  const std::lock_guard lock(mutex);
  return counters;
}

std::size_t Responder::operations() const {
  const auto all = calls();
  return std::accumulate(all.begin(), all.end(), std::size_t{0},
                         [](std::size_t sum, const auto& entry) { return sum + entry.second; });
}

std::size_t Responder::fileBytes() const {
  const std::lock_guard lock(mutex);
  return sentFileBytes;
}

void Responder::clearCounters() {
  const std::lock_guard lock(mutex);
  counters.clear();
  sentFileBytes = 0;
}

Fault* Responder::faultOf(const Command& command) {
  for (Fault& fault : faults) {
    const bool isMeant = fault.operation == ptp::kAnyOperation || fault.operation == command.code;
    if (!isMeant || fault.subject.value_or(command.subject()) != command.subject()) continue;
    if (fault.after > 0) {
      --fault.after;
    } else if (fault.times > 0) {
      if (fault.times != Fault::kAlways) --fault.times;
      return &fault;
    }
  }
  return nullptr;
}

Responder::Answer Responder::execute(const Command& command) {
  if (std::ranges::count(operationsOf(identity), command.code) == 0)
    return {.code = ptp::kOperationNotSupported};
  if (command.code == ptp::kGetDeviceInfo) return {.dataset = deviceInfo()};
  if (command.code == ptp::kOpenSession) {
    const bool wasOpen = std::exchange(sessionOpen, true);
    return {.code = wasOpen ? ptp::kSessionAlreadyOpen : ptp::kOk};
  }
  if (!sessionOpen) return {.code = ptp::kSessionNotOpen};
  return executeInSession(command);
}

Responder::Answer Responder::executeInSession(const Command& command) {
  const auto [first, second, third] = command.parameters;
  const auto found = media.objects.find(first);
  const MediaObject* const object = found == media.objects.end() ? nullptr : &found->second;
  switch (command.code) {
    case ptp::kCloseSession:
      sessionOpen = false;
      return {};
    case ptp::kGetStorageIds: {
      std::vector<std::uint32_t> ids;
      for (std::size_t i = 0; !locked && i < media.storages.size(); ++i)
        ids.push_back(Media::storageId(i));
      return {.dataset = Dataset().array(ids).bytes()};
    }
    case ptp::kGetStorageInfo:
      return storageInfo(first);
    case ptp::kGetNumObjects:
      return {};
    case ptp::kGetObjectHandles:
      return objectHandles(first, third);
    case ptp::kGetObjectPropsSupported:
      return {.dataset = propertiesOf(first)};
    case ptp::kGetObjectPropDesc: {
      const Property* const property = propertyWith(first);
      if (!property) return {.code = ptp::kInvalidObjectPropCode};
      return {.dataset = propertyDescription(*property)};
    }
    default:
      break;
  }
  if (!object) return {.code = ptp::kInvalidObjectHandle};
  switch (command.code) {
    case ptp::kGetObjectInfo:
      return {.dataset = objectInfo(*object)};
    case ptp::kGetObject:
      return fileBytesOf(*object, 0, object->content.size());
    case ptp::kGetPartialObject:
      return fileBytesOf(*object, second, third);
    case ptp::kGetObjectReferences:
      return {.dataset = Dataset().array(object->references).bytes()};
    default:
      break;
  }
  const Property* const property = propertyWith(second);
  if (!property || !property->isOf(object->format)) return {.code = ptp::kInvalidObjectPropCode};
  return {.dataset = propertyValue(*property, *object)};
}

std::string Responder::deviceInfo() const {
  const std::vector<std::uint16_t> none;
  return Dataset()
      .u16(100)  // of the standard's version
      .u32(6)    // the vendor id that marks MTP
      .u16(100)
      .text(identity.extensions)
      .u16(0)
      .array(operationsOf(identity))
      .array(none)  // events
      .array(none)  // device properties
      .array(none)  // formats that it records
      .array(identity.formats)
      .text(u"Orvel")
      .text(u"Test player")
      .text(u"1.0")
      .text(std::u16string(identity.serial.begin(), identity.serial.end()))
      .bytes();
}

Responder::Answer Responder::storageInfo(std::uint32_t id) const {
  const std::size_t index = (id >> 16) - 1;
  if (locked || index >= media.storages.size()) return {.code = ptp::kInvalidStorageId};
  return {.dataset = Dataset()
                         .u16(3)  // fixed memory
                         .u16(2)  // folders within folders
                         .u16(0)  // may be written
                         .number(64ULL << 30, 8)
                         .number(32ULL << 30, 8)
                         .u32(0xFFFFFFFF)  // any number of further objects
                         .text(media.storages[index])
                         .text({})
                         .bytes()};
}

Responder::Answer Responder::objectHandles(std::uint32_t storage, std::uint32_t parent) const {
  if (locked) return {.code = ptp::kInvalidStorageId};
  std::vector<std::uint32_t> handles;
  for (const auto& [handle, object] : media.objects) {
    if (object.storage == storage && object.parent == (parent == ptp::kRoot ? 0 : parent))
      handles.push_back(handle);
  }
  return {.dataset = Dataset().array(handles).bytes()};
}

Responder::Answer Responder::fileBytesOf(const MediaObject& file, std::uint32_t offset,
                                         std::size_t count) {
  if (offset > file.content.size()) return {.code = ptp::kInvalidParameter};
  std::string bytes = file.content.substr(offset, count);
  sentFileBytes += bytes.size();
  return {.dataset = std::move(bytes)};
}

}  // namespace orvel::test
