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

}  // namespace dbictl

#endif
