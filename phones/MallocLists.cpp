#include "phones/MallocLists.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

namespace orvel {

namespace {

char* mallocText(const std::string& text) {
  return strdup(text.c_str());
}

t_mtp_item itemOf(const DeviceStorage& storage) {
  return {mallocText(storage.description), storage.id, TYPE_STORAGE};
}

t_mtp_item itemOf(const DeviceObject& object) {
  return {mallocText(object.name), object.id, object.isFolder ? TYPE_FOLDER : TYPE_FILE};
}

template <class Named>
t_playlist_item elementOf(const Named& named) {
  return {mallocText(named.name), named.id, 0};
}

/// A list of `List`'s items, one for each element of `all`.
template <class List, class T, class Convert>
List mallocList(const std::vector<T>& all, Convert convert) {
  List list{static_cast<std::uint32_t>(all.size()), nullptr};
  if (all.empty()) return list;
  using Item = std::remove_pointer_t<decltype(list.items)>;
  list.items = static_cast<Item*>(std::calloc(all.size(), sizeof(Item)));
  if (list.items != nullptr) std::transform(all.begin(), all.end(), list.items, convert);
  return list;
}

}  // namespace

t_mtp_item_list mallocItems(const std::vector<DeviceStorage>& storages) {
  return mallocList<t_mtp_item_list>(storages, [](const auto& one) { return itemOf(one); });
}

t_mtp_item_list mallocItems(const std::vector<DeviceObject>& objects) {
  return mallocList<t_mtp_item_list>(objects, [](const auto& one) { return itemOf(one); });
}

t_playlist_items_list mallocElements(const std::vector<DevicePlaylist>& playlists) {
  return mallocList<t_playlist_items_list>(playlists, elementOf<DevicePlaylist>);
}

t_playlist_items_list mallocElements(const std::vector<DeviceObject>& tracks) {
  return mallocList<t_playlist_items_list>(tracks, elementOf<DeviceObject>);
}

}  // namespace orvel
