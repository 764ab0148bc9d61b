#ifndef DBI_BACKUP_H
#define DBI_BACKUP_H

#include <string>

#include <boost/function.hpp>

#include "dbi/Export.h"

namespace dbi {

/// Told after each step of a backup how many pages are still to copy and
/// how many the database has. Runs on the thread that called backupDatabase;
/// remainingPages never grows from one call to the next and the last call
/// has 0. An exception it throws abandons the backup and travels up.
using BackupProgress = boost::function<void(int remainingPages, int totalPages)>;

/// Copies the configured database, while other processes keep using it, to
/// `destination`: one consistent snapshot holding every transaction committed
/// before the call and none in part. The copy is written to a temporary file
/// in the destination's directory, synced, checked with integrity_check and
/// only then renamed to `destination` (replacing a file there), so a failed
/// or interrupted backup leaves no file at `destination` and no temporary
/// file. Copies a bounded number of pages per step and pauses between
/// steps; under steady writes it finishes in one step after a few restarts.
/// Uses connections of its own, never the calling thread's.
/// Throws DBIException<11> when the destination's directory refuses access,
/// DBIException<3> for other storage failures (directory missing, disk full,
/// a copy that fails its check), DBIException<16> when the database stays
/// locked, each with SQLite's reason.
DBI_EXPORT void backupDatabase(const std::string& destination, const BackupProgress& progress = BackupProgress());

}  // namespace dbi

#endif
