#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tags/PooledTagReader.h"

namespace orvel {

/// Readers that parse at the same time. Announced files are dealt to them in turn, in chunks; the
/// results come in the order of the files. A file that ends its reader costs the others nothing.
///
/// The first reader alone decides whether isolation can be had. The others begin when there are
/// enough files for them; one that cannot is done without.
class TagReaderPool : public TagReader {
 public:
  using Readers = std::vector<std::unique_ptr<PooledTagReader>>;

  /// @param members  at least one; they share a `TagReaderPatience`
  explicit TagReaderPool(Readers members) : readers(std::move(members)) {}

  void expect(std::string mountPoint, std::vector<std::string> paths) override;
  TagResult next(const std::string& path) override;
  TagResult read(TagStream& stream) override { return readers.front()->read(stream); }
  [[nodiscard]] bool isolationFailed() const override { return readers.front()->isolationFailed(); }
  /// That of the reader which has read last.
  [[nodiscard]] std::optional<Confinement> confinement() const override {
    return readers[current()]->confinement();
  }

 private:
  void deal(const std::string& mountPoint, const std::vector<std::string>& paths);
  bool startDealt();
  [[nodiscard]] std::size_t readerOf(std::size_t file) const;
  [[nodiscard]] std::size_t current() const { return finished == 0 ? 0 : readerOf(finished - 1); }

  Readers readers;
  std::size_t dealt = 1;     ///< readers that have a part of the files
  std::size_t finished = 0;  ///< files
};

}  // namespace orvel
