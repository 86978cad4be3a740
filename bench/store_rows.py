#!/usr/bin/env python3
"""Copies the rows of a database to another one, row by row, 500 per transaction.

    store_rows.py FROM TO
"""

import sqlite3
import sys

ROWS_PER_TRANSACTION = 500


def store(source, target):
    source.execute("PRAGMA trusted_schema=OFF")
    target.execute("PRAGMA journal_mode=WAL")
    target.execute("PRAGMA synchronous=NORMAL")
    tables = source.execute("SELECT name, sql FROM sqlite_schema WHERE type = 'table'"
                            " AND name NOT LIKE 'sqlite_%'").fetchall()
    for name, sql in tables:
        target.execute(sql)
        rows = source.execute(f"SELECT * FROM {name}")
        places = ", ".join("?" * len(rows.description))
        while block := rows.fetchmany(ROWS_PER_TRANSACTION):
            target.executemany(f"INSERT INTO {name} VALUES ({places})", block)
            target.commit()


if __name__ == "__main__":
    store(sqlite3.connect(f"file:{sys.argv[1]}?mode=ro", uri=True), sqlite3.connect(sys.argv[2]))
