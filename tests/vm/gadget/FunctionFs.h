#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orvel::test {

/// A file of the kernel's that is read and written in whole messages. Failures throw
/// std::system_error.
class MessageFile {
 public:
  explicit MessageFile(const std::string& path);
  ~MessageFile();
  MessageFile(const MessageFile&) = delete;
  MessageFile& operator=(const MessageFile&) = delete;

  /// One message of at most `longest` bytes.
  [[nodiscard]] std::string read(std::size_t longest) const;
  void write(std::string_view message) const;
  /// Refuses a request that came in: the transfer in the other direction is what stalls the pipe.
  void refuse(bool toHost) const;

 private:
  const std::string path;
  int descriptor;
};

/// The files of a mounted FunctionFS that offers one still-image interface named "MTP".
struct FunctionFs {
  /// Describes the interface to the kernel, which only then shows the endpoints.
  explicit FunctionFs(const std::string& mountPoint);

  MessageFile control;
  MessageFile toHost;
  MessageFile fromHost;
};

}  // namespace orvel::test
