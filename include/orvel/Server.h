#pragma once

#include <orvel/BaseServer.h>
#include <orvel/Export.h>

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>

namespace orvel {

template <class T>
class Block;
class HostListener;
class RequestProgress;
enum class LeftUndone : unsigned;

/// A stage: takes blocks from its queue one at a time, works on each and sends the result to its
/// sink. Concrete stages supply `doOperation`, which may throw std::exception: the request then
/// goes on with an empty block in place of the result, so that a LAST marker is never lost.
template <class TIN, class TOUT>
class Server : public BaseServer<TIN> {
 public:
  using src_block_type_ptr = boost::shared_ptr<TIN>;
  using sink_block_type_ptr = boost::shared_ptr<TOUT>;

  explicit Server(const char* serverName, std::size_t threadStackBytes = kStageStackBytes);
  ~Server() override;

  /// Without a thread the stage's request is marked failed.
  void launch() override;
  void runLoop() override;

  /// Works on one block on the stage's thread. An empty result sends nothing on.
  virtual sink_block_type_ptr doOperation(src_block_type_ptr block);

  /// Where results go; not owned, null for none. Set before `launch`.
  BaseServer<TOUT>* sink = nullptr;

  /// Counts the stage's work for its request. Shared by the stages of one pipeline and set
  /// before `launch`; never null.
  std::shared_ptr<RequestProgress> progress;

  /// Receives the reports to the host; not owned, set before `launch`, never null.
  HostListener* listener;

 protected:
  /// Records that this stage leaves work of a request undone: the reason for the host, the mark
  /// `skipped` on `result`, the operation of a block in the stage's hands, and, through the run
  /// loop, on the request's LAST block. Call it on the stage's own thread.
  void leaveUndone(Operation& result, LeftUndone reason);

  /// Sends the items of a block so far, so that memory stays flat, and begins another in its place.
  void sendAhead(sink_block_type_ptr& block);

 private:
  void process(const src_block_type_ptr& block);
  void processInto(BaseServer<TOUT>& target, const Operation& request,
                   const src_block_type_ptr& block);
  void forward(BaseServer<TOUT>& target, const sink_block_type_ptr& out);
  void sendFailure(BaseServer<TOUT>& target, const Operation& request, const std::exception& error);
  void noteUndone(int operationId, LeftUndone reason);
  void markLast(Operation& operation) const;

  /// The operation whose LAST block gets the mark `skipped`. The stage's own thread only.
  std::optional<int> undoneOperation;
};

// Pipelines and the controller; hosts call the controller's life cycle across the library's border.
extern template class ORVEL_EXPORT BaseServer<Block<void>>;
extern template class ORVEL_EXPORT Server<Block<void>, Block<void>>;

}  // namespace orvel
