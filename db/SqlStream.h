#pragma once

#include <sqlite3.h>

#include <ios>
#include <iterator>
#include <streambuf>
#include <string>

#include "db/BusyHandler.h"
#include "db/sqlite/Connection.h"
#include "db/sqlite/Statement.h"

/// Streams over SQLite: a statement is prepared with `query`, its parameters are written with `<<`,
/// it runs with `step`, and rows are read with `>>`. Errors are logged and turn the stream bad or
/// failed, the ordinary stream states; nothing here throws. A stream belongs to one thread.
namespace sqlstl {

/// What both streams share: the connection, the current statement and the position in it.
///
/// The wait for another connection's lock ends early when the stage that carries the opening thread
/// is stopped.
template <class charT, class traits = std::char_traits<charT>>
class basic_sqlstream : virtual public std::basic_ios<charT, traits> {
 public:
  /// Holds no characters: the streams carry values, not text.
  class sqlstreambuf : public std::basic_streambuf<charT, traits> {};

  basic_sqlstream(const basic_sqlstream&) = delete;
  basic_sqlstream& operator=(const basic_sqlstream&) = delete;
  ~basic_sqlstream() override;

  /// Opens `path`, closing an open connection first. `busyTimeoutMs` bounds each wait for another
  /// connection's lock. On failure the stream is bad and holds no connection.
  void open(const char* path, int busyTimeoutMs);

  /// Finalizes the statement and closes the connection; the handle is forgotten in every case.
  void close();

  /// Gives up the current statement, so that none stays open beside a transaction of the same
  /// stage. The state of the stream stays.
  void finalize();

  /// SQLite's handle of the connection, null when closed or when opening failed.
  [[nodiscard]] sqlite3* handle() const { return connection.get(); }
  /// The connection itself, for transactions and schema checks on it.
  [[nodiscard]] orvel::sqlite::Connection& database() { return connection; }

 protected:
  basic_sqlstream();

  /// Clears the state and prepares `sql`; false, logged and bad on failure.
  bool prepare(const char* sql);
  /// Logs the failure `code` of the current statement or text and turns the stream bad.
  void reportFailure(int code, const char* message);
  /// The same with SQLite's own message.
  void reportFailure(int code);

  orvel::sqlite::Connection connection;
  /// The next parameter to bind, counted from 1, or the next column to read, counted from 0.
  int position = 0;
  orvel::sqlite::Statement statement;

 private:
  sqlstreambuf buffer;
  BusyHandler busyHandler;
};

/// Reads rows. After `query` the first row is current or the state shows end of data.
template <class charT, class traits = std::char_traits<charT>>
class basic_sqlistream : public basic_sqlstream<charT, traits> {
 public:
  /// Prepares `sql` and steps to its first row.
  void query(const char* sql);
  /// Fetches the next row; end of data when there is none.
  void step();

  /// Each reads the next column of the current row. An SQL NULL leaves the text and fails.
  basic_sqlistream& operator>>(std::string& text);
  basic_sqlistream& operator>>(int& value);
  basic_sqlistream& operator>>(double& value);
};

/// Binds and executes.
template <class charT, class traits = std::char_traits<charT>>
class basic_sqlostream : public basic_sqlstream<charT, traits> {
 public:
  void query(const char* sql);
  /// Runs a whole SQL text, possibly of several statements.
  void exec(const char* sql);

  /// Each binds the next parameter. A text is not copied: it must live until the step. A null
  /// pointer binds the empty text, since one NULL identifier would end every clean-up.
  basic_sqlostream& operator<<(const char* text);
  basic_sqlostream& operator<<(const std::string& text);
  basic_sqlostream& operator<<(int value);
  basic_sqlostream& operator<<(long value);
  basic_sqlostream& operator<<(basic_sqlostream& (*manipulator)(basic_sqlostream&)) {
    return manipulator(*this);
  }

  /// Runs the bound statement and makes it ready to be bound again; see `sqlstl::step`.
  void step();

 private:
  void advance(int bindResult);
};

/// Manipulator: `out << a << b << sqlstl::step` writes one row.
template <class charT, class traits>
basic_sqlostream<charT, traits>& step(basic_sqlostream<charT, traits>& out) {
  out.step();
  return out;
}

/// Output iterator that writes each value with `<<` and steps: copying a range of records into it
/// inserts one row per record. The stream must outlive it.
template <class T, class charT = char, class traits = std::char_traits<charT>>
class sqlostream_iterator {
 public:
  using iterator_category = std::output_iterator_tag;
  using value_type = void;
  using difference_type = std::ptrdiff_t;
  using pointer = void;
  using reference = void;

  explicit sqlostream_iterator(basic_sqlostream<charT, traits>& target) : stream(&target) {}

  sqlostream_iterator& operator=(const T& value) {
    *stream << value;
    stream->step();
    return *this;
  }
  sqlostream_iterator& operator*() { return *this; }
  sqlostream_iterator& operator++() { return *this; }
  sqlostream_iterator operator++(int) { return *this; }

 private:
  basic_sqlostream<charT, traits>* stream;
};

extern template class basic_sqlstream<char>;
extern template class basic_sqlistream<char>;
extern template class basic_sqlostream<char>;

}  // namespace sqlstl
