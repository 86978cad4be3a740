#include "phones/scripted/LiveDevice.h"

#include <stdexcept>
#include <utility>

namespace orvel::scripted {

LiveDevice::LiveDevice(std::string path, ScriptedDevice description, ObjectIds objectIds)
    : busPath(std::move(path)), ids(std::move(objectIds)) {
  update(std::move(description));
}

void LiveDevice::update(ScriptedDevice description) {
  const MutexLock lock(mutex);
  current = std::make_shared<MediaIndex>(std::move(description), ids);
  faults.clear();
  for (const Fault& fault : current->device().faults) faults.push_back({fault});
}

std::optional<Fault> LiveDevice::nextFault(const std::string& where,
                                           const std::optional<std::string>& path) {
  std::optional<Fault> happens;
  for (auto& [fault, seen] : faults) {
    const bool isHere = fault.at == where || (!path && fault.at == kAtAnyCall);
    if (!isHere || (path && !fault.path.empty() && fault.path != *path)) continue;
    const unsigned number = ++seen;
    const bool isDue = number >= fault.from && number - fault.from < fault.times;
    if (isDue && !happens) happens = fault;
  }
  return happens;
}

t_status LiveDevice::enterCall(const std::string& name) {
  const MutexLock lock(mutex);
  if (!present) return STATUS_NOT_OK_BAD_HANDLE;
  ++notes.calls;
  ++notes.counts[name];
  const auto fault = nextFault(name, std::nullopt);
  return fault ? suffer(*fault) : STATUS_OK;
}

LiveDevice::Outcome LiveDevice::perform(const std::string& function,
                                        std::optional<t_track_id> object) {
  const MutexLock lock(mutex);
  if (!present) return {STATUS_NOT_OK_BAD_HANDLE, std::nullopt};
  ++notes.counts[function];
  const auto fault = nextFault(function, object ? current->pathOf(*object) : "");
  if (!fault) return {};
  const t_status status = suffer(*fault);
  if (fault->effect != Fault::Effect::Items) return {status, std::nullopt};
  return {status, fault->items};
}

std::optional<std::uint32_t> LiveDevice::itemsOf(const char* where,
                                                 const t_mtp_container& container) {
  const MutexLock lock(mutex);
  const bool isFolder = container.kind == CONTAINER_FOLDER;
  const auto fault = nextFault(where, isFolder ? current->pathOf(container.id) : "");
  if (!fault || fault->effect != Fault::Effect::Items) return std::nullopt;
  return fault->items;
}

t_status LiveDevice::suffer(const Fault& fault) {
  switch (fault.effect) {
    case Fault::Effect::Answer:
      return fault.status;
    case Fault::Effect::Remove:
      leave();
      return STATUS_NOT_OK_BAD_HANDLE;
    case Fault::Effect::Block:
      return block(fault.bound);
    case Fault::Effect::Items:
      break;
  }
  return STATUS_OK;
}

t_status LiveDevice::block(std::chrono::milliseconds bound) {
  const auto deadline = std::chrono::steady_clock::now() + bound;
  const unsigned seen = releases;
  ++waiting;
  while (present && releases == seen) {
    if (changed.wait_until(mutex, deadline) == std::cv_status::timeout) break;
  }
  --waiting;
  return present ? STATUS_OK : STATUS_NOT_OK_BAD_HANDLE;
}

void LiveDevice::leave() {
  present = false;
  changed.notify_all();
}

std::shared_ptr<const MediaIndex> LiveDevice::media() const {
  const MutexLock lock(mutex);
  return current;
}

bool LiveDevice::isPresent() const {
  const MutexLock lock(mutex);
  return present;
}

void LiveDevice::remove() {
  const MutexLock lock(mutex);
  leave();
}

void LiveDevice::release() {
  const MutexLock lock(mutex);
  ++releases;
  changed.notify_all();
}

unsigned LiveDevice::blocked() const {
  const MutexLock lock(mutex);
  return waiting;
}

Journal LiveDevice::journal() const {
  const MutexLock lock(mutex);
  return notes;
}

ObjectIds LiveDevice::objectIds() const {
  const MutexLock lock(mutex);
  return ids;
}

t_track_id LiveDevice::idOf(const std::string& objectPath) const {
  ScriptedDevice description = media()->device();
  const ScriptedObject* const object = description.find(objectPath);
  if (object == nullptr) throw std::out_of_range("the device holds no " + objectPath);
  return objectIds().of(object->storage, objectPath);
}

}  // namespace orvel::scripted
