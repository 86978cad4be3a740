#pragma once

#include <string>

/// A VFS of SQLite above the ordinary one that fails on demand. It is the process's default once
/// it was installed. Counts operations while it is armed.
namespace orvel::test::failingVfs {

enum class Fault {
  NoSpace,   ///< a file cannot grow
  IoError,   ///< any operation fails
  ReadOnly,  ///< nothing can be written
  Corrupt,   ///< what is read is not what was written
  Hang,      ///< any operation of another thread waits for `release`
};

/// Makes this VFS the default.
void install();

/// Lets the n-th operation that `fault` applies to fail, counted from now; the later ones, too,
/// when `persistent`. An `n` of 0 only counts.
void arm(Fault fault, long n, bool persistent);

/// True while an operation hangs.
bool isHanging();
/// Lets a hanging operation go on.
void release();

/// Fails nothing any more; returns how many operations were counted.
long disarm();

}  // namespace orvel::test::failingVfs
