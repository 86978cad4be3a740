#pragma once

#include <sqlite3.h>

#include <ios>
#include <iterator>
#include <streambuf>
#include <string>

#include "db/BusyHandler.h"
#include "db/sqlite/Connection.h"
#include "db/sqlite/Statement.h"

/// Streams over SQLite. `query` prepares a statement, `<<` binds its parameters, `step` runs it and
/// `>>` reads the columns of a row.
///
/// Nothing here throws. Errors are logged and set the ordinary stream states bad or fail; further
/// binds, steps and reads do nothing until the next `query` clears the state. A stream belongs to
/// one thread.
namespace sqlstl {

/// Base of both streams: the connection, the current statement and the position in it.
///
/// Waits for the locks of other connections end early when the stage of the thread is stopped.
template <class charT, class traits = std::char_traits<charT>>
class basic_sqlstream : virtual public std::basic_ios<charT, traits> {
 public:
  /// Holds no characters: the streams carry values, not text.
  class sqlstreambuf : public std::basic_streambuf<charT, traits> {};

  basic_sqlstream(const basic_sqlstream&) = delete;
  basic_sqlstream& operator=(const basic_sqlstream&) = delete;
  ~basic_sqlstream() override;

  /// Opens or creates the database `path`, closing an open connection first. `busyTimeoutMs` bounds
  /// each wait for a lock. On failure the stream is bad and has no connection.
  void open(const char* path, int busyTimeoutMs);

  /// Finalizes the statement and closes the connection. Gives the handle up even when SQLite cannot
  /// close it.
  void close();

  /// Finalizes the current statement and leaves the stream state alone. Without WAL, an unfinished
  /// SELECT would block the commit of the stage's other stream.
  void finalize();

  /// SQLite's handle of the connection, null when closed or when opening failed.
  [[nodiscard]] sqlite3* handle() const { return connection.get(); }
  /// The connection itself, for transactions on it.
  [[nodiscard]] orvel::sqlite::Connection& database() { return connection; }

 protected:
  basic_sqlstream();

  /// Clears the state and prepares `sql`. On failure logs, turns the stream bad and returns false.
  bool prepare(const char* sql);
  /// Logs a failure with SQLite's result code and turns the stream bad.
  void reportFailure(int code, const char* message);
  /// The same with SQLite's message; condemns a database that SQLite calls corrupt.
  void reportFailure(int code);

  orvel::sqlite::Connection connection;
  /// The next parameter to bind, counted from 1, or the next column to read, counted from 0.
  int position = 0;
  orvel::sqlite::Statement statement;

 private:
  sqlstreambuf buffer;
  BusyHandler busyHandler;
};

/// Reads rows. After `query` the first row is current, or the stream is at the end of its data.
template <class charT, class traits = std::char_traits<charT>>
class basic_sqlistream : public basic_sqlstream<charT, traits> {
 public:
  /// Prepares `sql` and steps to its first row.
  void query(const char* sql);
  /// Fetches the next row, or sets the end of data.
  void step();

  /// Each reads the next column of the current row. Reading an SQL NULL into a text leaves the text
  /// as it was and sets the fail state.
  basic_sqlistream& operator>>(std::string& text);
  basic_sqlistream& operator>>(int& value);
  basic_sqlistream& operator>>(double& value);
};

/// Binds parameters and runs statements.
template <class charT, class traits = std::char_traits<charT>>
class basic_sqlostream : public basic_sqlstream<charT, traits> {
 public:
  void query(const char* sql);
  /// Runs every statement of `sql`.
  void exec(const char* sql);

  /// Each binds the next parameter. Texts are not copied and must live until the step. A null
  /// pointer binds the empty text: with one NULL among the identifiers, the NOT IN of the clean-ups
  /// would never be true.
  basic_sqlostream& operator<<(const char* text);
  basic_sqlostream& operator<<(const std::string& text);
  basic_sqlostream& operator<<(int value);
  basic_sqlostream& operator<<(long value);
  basic_sqlostream& operator<<(basic_sqlostream& (*manipulator)(basic_sqlostream&)) {
    return manipulator(*this);
  }

  /// Runs the statement and makes it ready for new parameters. A row counts as an error.
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

/// Output iterator over a prepared insert: each assignment binds one value with `<<` and steps, so
/// copying a range of records inserts one row per record. The stream must outlive it.
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
