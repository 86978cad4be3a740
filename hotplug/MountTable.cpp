#include "hotplug/MountTable.h"

#include <libmount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace orvel::hotplug {

namespace {

struct UnrefTable {
  void operator()(libmnt_table* table) const { mnt_unref_table(table); }
};

struct FreeIterator {
  void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
};

std::string textOf(const char* text) {
  return text == nullptr ? "" : text;
}

/// Some file systems, such as btrfs, have a number of their own in place of the device's: then the
/// source counts. Any user may choose the source of a FUSE mount, so there it proves nothing.
dev_t blockDeviceOf(dev_t number, std::string_view type, const std::string& source) {
  if (major(number) != 0) return number;
  if (type.substr(0, 4) == "fuse" || source.rfind("/dev/", 0) != 0) return 0;
  struct stat status {};
  return stat(source.c_str(), &status) == 0 && S_ISBLK(status.st_mode) ? status.st_rdev : 0;
}

Mount mountFrom(libmnt_fs* entry) {
  Mount mount;
  mount.mountPoint = textOf(mnt_fs_get_target(entry));
  mount.root = textOf(mnt_fs_get_root(entry));
  mount.source = textOf(mnt_fs_get_source(entry));
  mount.type = textOf(mnt_fs_get_fstype(entry));
  mount.device = blockDeviceOf(mnt_fs_get_devno(entry), mount.type, mount.source);
  return mount;
}

}  // namespace

std::vector<Mount> readMountTable(const std::string& file) {
  errno = 0;
  const std::unique_ptr<libmnt_table, UnrefTable> table(mnt_new_table_from_file(file.c_str()));
  const std::unique_ptr<libmnt_iter, FreeIterator> entries(mnt_new_iter(MNT_ITER_FORWARD));
  if (!table || !entries) {
    throw std::runtime_error("The mounts cannot be read from " + file + " (" +
                             std::strerror(errno) + "). Check that /proc is mounted.");
  }
  std::vector<Mount> mounts;
  libmnt_fs* entry = nullptr;
  while (mnt_table_next_fs(table.get(), entries.get(), &entry) == 0) {
    mounts.push_back(mountFrom(entry));
  }
  return mounts;
}

}  // namespace orvel::hotplug
