#pragma once

#include <gio/gio.h>
#include <sys/types.h>

#include <functional>
#include <optional>
#include <set>
#include <string>

#include "base/GlibPointers.h"

namespace orvel::hotplug {

/// The disk manager udisks, where it runs; it may come and go meanwhile. Belongs to the thread that
/// made it.
class Udisks {
 public:
  /// Has udisks mount the media that nobody has mounted if `mountMedia` is set. Calls `changed` on
  /// the main context of this thread when udisks says something new about a disk.
  Udisks(bool mountMedia, std::function<void()> changed);
  ~Udisks();
  Udisks(const Udisks&) = delete;
  Udisks& operator=(const Udisks&) = delete;

  /// Whether udisks calls this block device a medium to be used without a question. Nothing when
  /// udisks is absent or does not know the device.
  [[nodiscard]] std::optional<bool> isMedium(dev_t number) const;

 private:
  static void onManager(GObject* source, GAsyncResult* result, gpointer self);
  static void onMounted(GObject* source, GAsyncResult* result, gpointer node);
  static void onChange(Udisks* self);
  static void onOwner(Udisks* self);

  void use(GDBusObjectManager* found);
  void tellPresence();
  void mountNewMedia();

  const bool mountsMedia;
  std::function<void()> changed;
  GlibObject<GCancellable> cancellable;
  GlibObject<GDBusObjectManager> manager;
  std::set<std::string> offered;  ///< objects that were mounted, or that somebody else had mounted
};

}  // namespace orvel::hotplug
