#pragma once

#include <ios>
#include <ostream>
#include <streambuf>
#include <string>

namespace sqlstl {

/// A buffer that accepts and discards every character.
template <class charT, class traits = std::char_traits<charT>>
class basic_nullbuf : public std::basic_streambuf<charT, traits> {
 protected:
  typename traits::int_type overflow(typename traits::int_type c) override {
    return traits::not_eof(c);
  }
};

/// An output stream that discards everything written to it.
template <class charT, class traits = std::char_traits<charT>>
class basic_onullstream : public std::basic_ostream<charT, traits> {
 public:
  basic_onullstream() : std::basic_ostream<charT, traits>(nullptr) { this->init(&buffer); }

 private:
  basic_nullbuf<charT, traits> buffer;
};

/// Replaces a stream's buffer while in scope. The stream and both buffers must outlive it.
class stream_redirector {
 public:
  stream_redirector(std::ios& redirected, std::streambuf* target)
      : stream(redirected), earlier(redirected.rdbuf(target)) {}
  ~stream_redirector() { stream.rdbuf(earlier); }
  stream_redirector(const stream_redirector&) = delete;
  stream_redirector& operator=(const stream_redirector&) = delete;

 private:
  std::ios& stream;
  std::streambuf* earlier;
};

}  // namespace sqlstl
