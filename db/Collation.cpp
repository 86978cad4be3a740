#include <orvel/Collation.h>

#include <glib.h>

#include <cstddef>
#include <cstring>

namespace {

/// A NUL-terminated copy of a text, on the stack when the text is short. Repairs ill-formed UTF-8,
/// on which GLib's collation would crash: paths are stored with the bytes of their device.
class TerminatedText {
 public:
  TerminatedText(const void* text, int length)
      : heap(length < kStackBytes ? nullptr
                                  : static_cast<char*>(g_malloc(static_cast<gsize>(length) + 1))) {
    char* copy = heap != nullptr ? heap : stack;
    if (length > 0) std::memcpy(copy, text, static_cast<std::size_t>(length));
    copy[length] = '\0';
    if (g_utf8_validate(copy, -1, nullptr) != 0) return;
    char* repaired = g_utf8_make_valid(copy, -1);
    g_free(heap);
    heap = repaired;
  }
  ~TerminatedText() { g_free(heap); }
  TerminatedText(const TerminatedText&) = delete;
  TerminatedText& operator=(const TerminatedText&) = delete;

  [[nodiscard]] const char* get() const { return heap != nullptr ? heap : stack; }

 private:
  static constexpr int kStackBytes = 8192;
  char stack[kStackBytes];
  char* heap;
};

}  // namespace

int tracker_collation_init(void) {
  g_debug("[GLib collation] Initializing collator");
  return 0;
}

void tracker_collation_shutdown(void) {}

int collation_utf8(void* /*user*/, int lengthA, const void* textA, int lengthB, const void* textB) {
  const TerminatedText a(textA, lengthA);
  const TerminatedText b(textB, lengthB);
  return g_utf8_collate(a.get(), b.get());
}
