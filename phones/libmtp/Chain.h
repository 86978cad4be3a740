#pragma once

#include <libmtp.h>

#include <utility>

namespace orvel::libmtp {

/// Owns a linked list that libmtp returned, whose elements are freed one by one. May be empty.
template <class T, void (*destroy)(T*)>
class Chain {
 public:
  explicit Chain(T* head) : first(head) {}
  ~Chain() {
    while (first != nullptr) destroy(std::exchange(first, first->next));
  }
  Chain(const Chain&) = delete;
  Chain& operator=(const Chain&) = delete;

  /// Null when the list is empty.
  [[nodiscard]] const T* head() const { return first; }

 private:
  T* first;
};

using Files = Chain<LIBMTP_file_t, LIBMTP_destroy_file_t>;
using Tracks = Chain<LIBMTP_track_t, LIBMTP_destroy_track_t>;
using Playlists = Chain<LIBMTP_playlist_t, LIBMTP_destroy_playlist_t>;

}  // namespace orvel::libmtp
