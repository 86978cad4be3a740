#pragma once

#include <sys/socket.h>

#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "base/Descriptor.h"
#include "tags/TagStream.h"
#include "tags/isolation/ChildProcess.h"
#include "tags/isolation/Patience.h"
#include "tags/TagMessages.h"

namespace orvel {

/// One process of the tag reader and the way to it. Trusts nothing that comes from there. Used by
/// one thread; a raised token ends every wait.
class ReaderConnection {
 public:
  /// Starts the process, which dies with the connection and with the calling thread. Throws
  /// std::system_error.
  ReaderConnection(std::stop_token token, const std::string& program);

  enum class Sent { Yes, Later, Never };

  /// Hands over at most `kMostFiles` files; they are read in this order. Does not wait: while the
  /// reader has enough to do they can only be sent later.
  /// @param descriptors  one for each file, but for those that are asked for
  [[nodiscard]] Sent send(const std::vector<tagMessages::FileRequest>& files,
                          const std::vector<Descriptor>& descriptors) const;

  /// Waits for the greeting; nothing when the process is not, or not the right, tag reader.
  std::optional<tagMessages::Confinement> receiveGreeting(Patience patience);

  /// Waits for the next result; nothing when the reader has ended, has sent what is no result, or
  /// patience is over.
  /// @param source  answers what the reader asks meanwhile; null for no file that is asked for
  std::optional<tagMessages::Result> receive(Patience& patience, TagStream* source = nullptr);

  /// True when it has read no file to the end yet.
  [[nodiscard]] bool isFresh() const { return answers == 0; }

  /// True when time ran out while the reader waited for a file's device.
  [[nodiscard]] bool hasStalled() const { return isStalled; }

  /// Ends the process and tells in words for people what was wrong with it.
  std::string end();

 private:
  /// The library's ends and the reader's ends.
  struct Channels {
    Channels();
    Descriptor control;
    Descriptor results;
    Descriptor readersControl;
    Descriptor readersResults;
  };
  struct Shutdown {
    int socket;
    void operator()() const noexcept { shutdown(socket, SHUT_RDWR); }
  };
  ReaderConnection(std::stop_token token, const std::string& program, Channels channels);

  std::optional<std::string_view> takeResult();
  bool readMore();
  bool wait(Patience& patience, TagStream* source);
  void hear(Patience& patience, TagStream* source);
  void answer(const tagMessages::ByteRange& range, TagStream& source);
  [[nodiscard]] bool tell(std::string text, const std::vector<Descriptor>& descriptors) const;

  Descriptor control;
  Descriptor results;
  ChildProcess process;
  std::stop_token stopped;
  std::stop_callback<Shutdown> onStop;
  std::size_t answers = 0;
  std::string fault;      ///< what was wrong with the reader while it was still there
  std::string received;   ///< what has come through the pipe
  std::size_t taken = 0;  ///< how much of it is done with
  bool isStalled = false;
  bool isOpen = true;        ///< more may come through the pipe
  bool isAnnouncing = true;  ///< messages tell of what has come
};

}  // namespace orvel
