#include "hotplug/Phones.h"

#include <orvel/MtpDevice.h>

#include <algorithm>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

namespace orvel::hotplug {

namespace {

constexpr unsigned kPauseMs = 2000;
/// A phone that was just plugged in may refuse at first; each further try may disturb one that
/// another program uses.
constexpr unsigned kMostRetries = 5;

bool hasFailed(const AttachedDevice& phone) {
  return !phone.error.empty();
}

bool isLocked(const AttachedDevice& phone) {
  return phone.storages.empty() && !hasFailed(phone);
}

/// The facts that hosts act upon. The free space of a storage changes with each look.
bool isSame(const AttachedDevice& one, const AttachedDevice& other) {
  return one.error == other.error && one.storages.size() == other.storages.size();
}

/// The phone in `listing` with this handle and this id.
const AttachedDevice* find(const std::map<t_handle, AttachedDevice>& listing,
                           const AttachedDevice& phone) {
  const auto found = listing.find(phone.handle);
  return found != listing.end() && found->second.deviceId == phone.deviceId ? &found->second
                                                                            : nullptr;
}

}  // namespace

/// The result of one look: the phones, or why there could be no look.
struct Phones::Finding {
  Listing listing;
  std::string error;
};

Phones::Phones(Events receivers)
    : events(std::move(receivers)),
      monitor([this] {
        retries = 0;
        look();
      }),
      self(std::make_shared<Phones*>(this)) {
  look();
}

Phones::~Phones() {
  *self = nullptr;
}

/// A look may wait more than a minute for a phone that hangs, so each has a thread that nobody
/// waits for.
void Phones::look() {
  report(known);
  mustLookAgain = isLooking;
  if (isLooking) return;
  nextLook.reset();
  const std::shared_ptr<GMainContext> context(g_main_context_ref_thread_default(),
                                              g_main_context_unref);
  try {
    std::thread([context, owner = self] {
      post(context.get(), [owner, finding = list()] {
        if (*owner != nullptr) (*owner)->receive(finding);
      });
    }).detach();
    isLooking = true;
  } catch (const std::system_error& error) {
    g_warning("Phones cannot be looked for (%s). The next try follows.", error.what());
    nextLook = callLater(kPauseMs, [this] { look(); });
  }
}

Phones::Finding Phones::list() {
  Finding finding;
  try {
    for (AttachedDevice& phone : attachedDevices()) {
      finding.listing.emplace(phone.handle, std::move(phone));
    }
  } catch (const std::exception& error) {
    finding.error = error.what();
  }
  return finding;
}

void Phones::receive(const Finding& finding) {
  isLooking = false;
  if (finding.error.empty()) {
    report(finding.listing);
  } else if (finding.error != toldError) {
    g_warning("Phones cannot be looked for: %s", finding.error.c_str());
  }
  toldError = finding.error;
  if (mustLookAgain) {
    look();
  } else if (isAny(isLocked) || (isAny(hasFailed) && retries++ < kMostRetries)) {
    nextLook = callLater(kPauseMs, [this] { look(); });
  }
}

bool Phones::isAny(bool (*is)(const AttachedDevice&)) const {
  return std::any_of(known.begin(), known.end(),
                     [is](const auto& entry) { return is(entry.second); });
}

/// Leaves out phones that have gone: a look may have begun before, or wait for another phone.
void Phones::report(Listing listing) {
  std::erase_if(listing, [](const auto& entry) { return !isAttached(entry.first); });
  const Listing before = std::exchange(known, std::move(listing));
  for (const auto& [handle, phone] : before) {
    const AttachedDevice* const now = find(known, phone);
    if (now == nullptr && known.count(handle) == 0) MtpDevice::instance().disconnectDevice(handle);
    if (now == nullptr) events.removed(phone);
  }
  for (const auto& entry : known) {
    const AttachedDevice* const earlier = find(before, entry.second);
    if (earlier == nullptr) {
      events.attached(entry.second);
    } else if (!isSame(*earlier, entry.second)) {
      events.changed(entry.second);
    }
  }
}

}  // namespace orvel::hotplug
