#pragma once

#ifdef ORVEL_WITH_USDT
#define SDT_USE_VARIADIC
#include <sys/sdt.h>
#define ORVEL_PROBE(name, ...) STAP_PROBEV(orvel, name, __VA_ARGS__)
#else
#define ORVEL_PROBE(name, ...) ::orvel::probes::ignore(__VA_ARGS__)
#endif

/// Static trace probes of the provider `orvel`, for bpftrace and perf; docs/tracing.md shows how to
/// use them. A probe costs one instruction until a tracer attaches; without ORVEL_WITH_USDT
/// nothing. Texts are pointers to characters that end with a zero. `request` is the number of the
/// request in the process. Any thread.
namespace orvel::probes {

template <class... Arguments>
constexpr void ignore(const Arguments&... /*arguments*/) {}

/// request__begin(request, mount point): the controller takes a request of the host.
inline void requestBegins(int request, const char* mountPoint) {
  ORVEL_PROBE(request__begin, request, mountPoint);
}

/// request__end(request, status): everything is stored. A request that is stopped has no end.
inline void requestEnds(int request, const char* status) {
  ORVEL_PROBE(request__end, request, status);
}

/// reader__start(program, count): a confined reader is up; a count above 1 means that one before it
/// had ended in the same request.
inline void readerStarts(const char* program, int count) {
  ORVEL_PROBE(reader__start, program, count);
}

/// block__begin(stage, request) and block__end(stage, request), on the stage's thread: the stage
/// works on a block, which includes its wait for room in the queue of the next stage.
struct Block {
  const char* stage;
  int request;

  void begin() const { ORVEL_PROBE(block__begin, stage, request); }
  void end() const { ORVEL_PROBE(block__end, stage, request); }
};

/// song__begin(path) and song__end(path), on the miner's thread: the miner has a song's tags read.
struct Song {
  const char* path;

  void begin() const { ORVEL_PROBE(song__begin, path); }
  void end() const { ORVEL_PROBE(song__end, path); }
};

/// checkpoint__begin(file) and checkpoint__end(file): the write-ahead log of a database is moved
/// into its file.
struct Checkpoint {
  const char* file;

  void begin() const { ORVEL_PROBE(checkpoint__begin, file); }
  void end() const { ORVEL_PROBE(checkpoint__end, file); }
};

/// Marks the time from its construction to its end: `const Span span(Song{path});`.
template <class Work>
class Span {
 public:
  explicit Span(Work marked) : work(marked) { work.begin(); }
  ~Span() { work.end(); }
  Span(const Span&) = delete;
  Span& operator=(const Span&) = delete;

 private:
  const Work work;
};

}  // namespace orvel::probes
