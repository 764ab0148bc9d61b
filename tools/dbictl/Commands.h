#ifndef DBI_TOOLS_DBICTL_COMMANDS_H
#define DBI_TOOLS_DBICTL_COMMANDS_H

#include <string>

#include "Arguments.h"

namespace dbictl {

// Makes a path the process's database; `create` allows a new file.
using DatabaseOpener = void (*)(const std::string& path, bool create);

// The operator's read-only subcommands. Both check their options before
// opening the database with `open`.
int show(const Arguments& args, DatabaseOpener open);
int check(const Arguments& args, DatabaseOpener open);

// Copies DB online to FILE (the operand), showing the progress.
int backup(const Arguments& args, DatabaseOpener open);
// Puts the backup FILE (the first word) in place of DB (the operand), unless
// a process has DB open. Never opens DB with SQLite.
int restore(const Arguments& args);

}  // namespace dbictl

#endif
