#pragma once

/// Memory that runs out on demand. A program that links this has its `operator new` replaced.
namespace orvel::test::failingMemory {

/// Lets the n-th `operator new` fail, counted from now over all threads but the calling one; the
/// later ones, too, when `persistent`. An `n` of 0 only counts. TagLib's own allocations are left
/// alone: its shared lists lose count of their owners when one fails.
void armNew(long n, bool persistent = false);

/// Puts SQLite's allocator under control. To be called before SQLite is used.
void installInSqlite();

/// Lets SQLite's n-th allocation fail, counted from now over all threads; the later ones, too, when
/// `persistent`. An `n` of 0 only counts.
void armSqlite(long n, bool persistent = false);

/// Fails nothing any more; returns how many allocations were counted.
long disarm();

}  // namespace orvel::test::failingMemory
