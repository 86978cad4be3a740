#include "phones/scripted/LiveDevice.h"

#include <utility>

namespace orvel::scripted {

LiveDevice::LiveDevice(std::string path, ScriptedDevice description, ObjectIds objectIds)
    : busPath(std::move(path)),
      ids(std::move(objectIds)),
      current(std::make_shared<MediaIndex>(std::move(description), ids)),
      faults(current->device().faults) {}

t_status LiveDevice::enterCall(const std::string& name) {
  const MutexLock lock(mutex);
  if (!present) return STATUS_NOT_OK_BAD_HANDLE;
  ++notes.calls;
  ++notes.counts[name];
  const Fault* const fault = faults.nextCall(name);
  return fault == nullptr ? STATUS_OK : suffer(*fault);
}

LiveDevice::Outcome LiveDevice::perform(const std::string& function,
                                        std::optional<t_track_id> object) {
  const MutexLock lock(mutex);
  if (!present) return {STATUS_NOT_OK_BAD_HANDLE, std::nullopt};
  const std::string path = object ? current->pathOf(*object) : "";
  ++notes.counts[function];
  notes.operations.push_back(path.empty() ? function : function + " " + path);
  const Fault* const found = faults.next(function, path);
  if (found == nullptr) return {};
  const Fault fault = *found;  // the plan may be replaced while the operation waits
  const t_status status = suffer(fault);
  if (fault.effect != Fault::Effect::Items) return {status, std::nullopt};
  return {status, fault.items};
}

std::optional<std::uint32_t> LiveDevice::itemsOf(const char* where,
                                                 const t_mtp_container& container) {
  const MutexLock lock(mutex);
  const bool isFolder = container.kind == CONTAINER_FOLDER;
  const Fault* const fault = faults.next(where, isFolder ? current->pathOf(container.id) : "");
  if (fault == nullptr || fault->effect != Fault::Effect::Items) return std::nullopt;
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

void LiveDevice::update(ScriptedDevice description) {
  const MutexLock lock(mutex);
  current = std::make_shared<MediaIndex>(std::move(description), ids);
  faults = FaultPlan(current->device().faults);
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

}  // namespace orvel::scripted
