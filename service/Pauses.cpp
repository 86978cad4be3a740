#include "service/Pauses.h"

#include <algorithm>
#include <utility>

#include "service/BusError.h"
#include "service/arguments.h"

namespace orvel::service {

namespace {

constexpr std::size_t kMostOfClient = 16;
constexpr std::size_t kLongestReason = 256;

}  // namespace

Pauses::Pauses(GDBusConnection* bus, std::function<void()> changedCall)
    : connection(bus), changed(std::move(changedCall)) {}

Pauses::~Pauses() {
  for (const auto& [cookie, pause] : pauses) g_bus_unwatch_name(pause.watch);
}

std::uint32_t Pauses::begin(const std::string& client, const std::string& reason) {
  if (reason.size() > kLongestReason) {
    refuseArgument("The reason is longer than " + std::to_string(kLongestReason) + " bytes.");
  }
  const auto ownPauses = std::count_if(pauses.begin(), pauses.end(), [&](const auto& entry) {
    return entry.second.client == client;
  });
  if (static_cast<std::size_t>(ownPauses) >= kMostOfClient) {
    throw BusError(BusError::Kind::LimitsExceeded,
                   "This client has paused " + std::to_string(ownPauses) +
                       " times already. Call Resume with the cookies first.");
  }
  do {
    ++lastCookie;
  } while (lastCookie == 0 || pauses.contains(lastCookie));
  const guint watch = g_bus_watch_name_on_connection(
      connection, client.c_str(), G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr,
      [](GDBusConnection*, const char* name, gpointer all) {
        static_cast<Pauses*>(all)->clientLeft(name);
      },
      this, nullptr);
  pauses[lastCookie] = {client, reason, watch};
  changed();
  return lastCookie;
}

void Pauses::end(const std::string& client, std::uint32_t cookie) {
  const auto pause = pauses.find(cookie);
  if (pause == pauses.end() || pause->second.client != client) {
    refuseArgument("This client has no pause with the cookie " + std::to_string(cookie) + ".");
  }
  g_bus_unwatch_name(pause->second.watch);
  pauses.erase(pause);
  changed();
}

void Pauses::clientLeft(const std::string& client) {
  std::erase_if(pauses, [&](const auto& entry) {
    if (entry.second.client != client) return false;
    g_bus_unwatch_name(entry.second.watch);
    return true;
  });
  changed();
}

std::vector<std::string> Pauses::reasons() const {
  std::vector<std::string> texts;
  for (const auto& [cookie, pause] : pauses) texts.push_back(pause.reason);
  return texts;
}

}  // namespace orvel::service
