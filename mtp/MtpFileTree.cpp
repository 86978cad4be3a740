// The walk over a device: its storages, their folders, and each folder page by page.

#include <algorithm>
#include <atomic>
#include <unordered_set>

#include "base/Limits.h"
#include "base/Log.h"
#include "mtp/MtpConnectionImpl.h"
#include "phones/DeviceLimits.h"
#include "phones/MtpUtils.h"

namespace orvel {

namespace {

/// Whether the next short read may be settled by a recount. One recount for each run of short
/// reads, in all folders and threads together.
std::atomic<bool> recountAllowed{true};

void logStorages(const OwnedItems& storages) {
  OV_INFO("Index   -   Name of Storage");
  for (const t_mtp_item& storage : storages) {
    OV_INFO("[%d] - %s of type %d", static_cast<int>(storage.id), storage.name,
            static_cast<int>(storage.type));
  }
}

}  // namespace

struct MtpConnection::Impl::Folder {
  t_handle device;
  t_mtp_container container;
  bool isRoot;  ///< of its storage

  [[nodiscard]] int id() const { return static_cast<int>(container.id); }
  [[nodiscard]] int storageId() const { return static_cast<int>(container.storage); }
};

bool MtpConnection::Impl::crawlMtpDevice() {
  OV_INFO("crawlMtpDevice");
  const t_mtp_container wholeDevice = {CONTAINER_DEVICE, 0, 0};
  std::uint32_t count = 0;
  t_status status = SafeGetNumItems(handle, wholeDevice, TYPE_STORAGE, count);
  OV_INFO("%d elements of TYPE_STORAGE are present in this device", static_cast<int>(count));
  if (status != STATUS_OK || count == 0) return false;
  OwnedItems storages;
  status = SafeGetItems(handle, wholeDevice, TYPE_STORAGE, 0, count, storages.out());
  if (status != STATUS_OK) {
    OV_ERROR("- error while getting MTP partitions");
    return false;
  }
  logStorages(storages);
  for (const t_mtp_item& storage : storages) {
    if (!MTPFileTree(static_cast<int>(handle), static_cast<int>(storage.id), 0, true)) {
      OV_ERROR("MTPFileTree fail");
      return false;
    }
  }
  OwnedItems none;
  status = Access_GetItems(handle, {CONTAINER_WALK_DONE, 0, 0}, TYPE_WALK_DONE, 0, 0, none.out());
  if (status != STATUS_OK) doubt("");  // the device-access library gives no tracks
  return true;
}

bool MtpConnection::Impl::MTPFileTree(int device, const int& storageId, const int& folderId,
                                      bool isRoot) {
  if (isRoot) OV_INFO("Root folder");
  if (isTooDeepOrOpen(folderId)) return true;
  const Folder folder{static_cast<t_handle>(device),
                      {CONTAINER_FOLDER, static_cast<std::uint32_t>(folderId),
                       static_cast<std::uint32_t>(storageId)},
                      isRoot};
  std::uint32_t total = 0;
  const t_status status = SafeGetNumItems(folder.device, folder.container, TYPE_OBJECT, total);
  if (status != STATUS_OK || total == 0) {
    if (status != STATUS_OK) doubt(folder);
    OV_INFO("Emtpy folder or error for Access_GetNumItems");
    if (endsWalk(status)) return false;
    if (total == 0) {
      OV_INFO("Folder %d is reported as empty", folderId);
      return true;
    }
  }
  ancestors.push_back(folderId);
  const bool goesOn = walkPages(folder, PagedListing(total));
  ancestors.pop_back();
  return goesOn;
}

bool MtpConnection::Impl::isTooDeepOrOpen(int folderId) const {
  return ancestors.size() > kMaxFolderDepth ||
         std::find(ancestors.begin(), ancestors.end(), folderId) != ancestors.end();
}

bool MtpConnection::Impl::endsWalk(t_status status) {
  if (status != STATUS_NOT_OK_BAD_HANDLE) return false;
  checkStatus("MTPFileTree", status);
  return true;
}

bool MtpConnection::Impl::walkPages(const Folder& folder, PagedListing listing) {
  while (true) {
    OwnedItems page;
    const t_status status = SafeGetItems(folder.device, folder.container, TYPE_OBJECT,
                                         listing.start(), listing.total(), page.out());
    if (status == STATUS_OK) {
      listing.setPageLength(page.size());
      if (!settleShortRead(folder, listing)) return true;
      if (!visitAll(folder, page)) return false;
    } else {
      OV_INFO("Access_GetItems returns error");
      doubt(folder);
      if (endsWalk(status)) return false;
    }
    if (listing.isAtEnd() || isGone()) return true;
    if (!listing.moveOn(status)) {
      giveUp(folder, listing);
      return true;
    }
  }
}

bool MtpConnection::Impl::settleShortRead(const Folder& folder, PagedListing& listing) {
  if (!listing.isShortRead()) {
    recountAllowed = true;
    return true;
  }
  if (!recountAllowed.exchange(false)) {
    giveUp(folder, listing);
    return false;
  }
  recount(folder, listing);
  return true;
}

void MtpConnection::Impl::recount(const Folder& folder, PagedListing& listing) {
  OV_WARN(
      "Could not fetch more items for container %d of storage %d. Got %d / %d. Checking if number "
      "of elements changed",
      folder.id(), folder.storageId(), static_cast<int>(listing.start()),
      static_cast<int>(listing.total()));
  std::uint32_t total = listing.total();
  SafeGetNumItems(folder.device, folder.container, TYPE_OBJECT, total);
  listing.setTotal(total);
  OV_WARN("New number of elements for container %d of storage %d is %d", folder.id(),
          folder.storageId(), static_cast<int>(total));
}

void MtpConnection::Impl::giveUp(const Folder& folder, const PagedListing& listing) {
  OV_WARN("Could not fetch all items for container %d of storage %d. Got %d / %d", folder.id(),
          folder.storageId(), static_cast<int>(listing.start()), static_cast<int>(listing.total()));
  doubt(folder);
  recountAllowed = true;
}

void MtpConnection::Impl::doubt(const Folder& folder) {
  doubt(folder.container.id == 0
            ? std::string()
            : MtpUtils::getRawPathForMtpObject(folder.device, folder.container.id));
}

bool MtpConnection::Impl::visitAll(const Folder& folder, const OwnedItems& page) {
  return std::all_of(page.begin(), page.end(),
                     [&](const t_mtp_item& item) { return visit(folder, item); });
}

bool MtpConnection::Impl::visit(const Folder& folder, const t_mtp_item& item) {
  if (isGone()) return false;
  if (item.type != TYPE_FOLDER) return true;
  const char* const name = item.name == nullptr ? "" : item.name;
  const int id = static_cast<int>(item.id);
  if (folder.isRoot && isDirectoryBlacklisted(name)) {
    OV_INFO("Ignoring folder:%s - id:%d", name, id);
    return true;
  }
  OV_INFO("Checking folder:%s - id:%d", name, id);
  if (MTPFileTree(static_cast<int>(folder.device), folder.storageId(), id, false)) return true;
  OV_ERROR("MTPFileTree fail");
  return false;
}

void MtpConnection::Impl::MTPCreateDirCache(std::vector<std::string>& dirs,
                                            t_playlist_items_list& tracks) {
  OV_INFO("MTPCreateDirCache");
  if (tracks.count > limits().songs) {
    OV_WARN("Invalid playlist size: %d", static_cast<int>(tracks.count));
    return;
  }
  std::unordered_set<std::string> known(dirs.begin(), dirs.end());
  const std::uint32_t count = tracks.items == nullptr ? 0 : tracks.count;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (isGone()) return doubt("");
    std::string path = MtpUtils::getRawPathForMtpObject(handle, tracks.items[i].id);
    if (path.empty()) {
      OV_WARN("- error while getting track path");
      doubt("");
      return;
    }
    if (isExcludedFile(path)) continue;
    for (auto slash = path.rfind('/'); slash != std::string::npos; slash = path.rfind('/')) {
      path.erase(slash);
      if (!known.insert(path).second) break;
      dirs.push_back(path);
      OV_INFO("- inserting path %s", path.c_str());
    }
  }
}

}  // namespace orvel
