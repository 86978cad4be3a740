#pragma once

#include <orvel/Export.h>

/// A UTF-8 collation for SQLite that a host registers on its own connections, for example with
/// `sqlite3_create_collation(db, "UTF8", SQLITE_UTF8, nullptr, collation_utf8)`. It follows the
/// process's locale (LC_COLLATE).
extern "C" {

/// Announces the collation in GLib's log; returns 0.
ORVEL_EXPORT int tracker_collation_init(void);

/// Does nothing; the counterpart of `tracker_collation_init`.
ORVEL_EXPORT void tracker_collation_shutdown(void);

/// Compares two texts of the given lengths in bytes; negative, 0 or positive. Any thread.
ORVEL_EXPORT int collation_utf8(void* user, int lengthA, const void* textA, int lengthB,
                                const void* textB);
}
