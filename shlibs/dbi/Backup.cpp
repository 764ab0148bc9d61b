#include "dbi/Backup.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <random>

#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>

#include "dbi/Configure.h"
#include "dbi/DBIException.h"

namespace dbi {
namespace {

// Small steps keep each read short; the pause lets other processes' writers
// and checkpoints in between.
constexpr int kPagesPerStep = 128;
constexpr int kPauseMilliseconds = 5;
// Each commit by another process restarts a stepped copy; after this many
// restarts the rest is copied in one step, which in WAL mode blocks no writer.
constexpr int kRestartsBeforeOneStep = 3;
constexpr int kLockWaitMilliseconds = 5000;

using Connection = boost::shared_ptr<sqlite3>;

std::string directoryOf(const std::string& path) {
    const std::string::size_type slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string uniqueSuffix() {
    std::random_device random;
    return std::to_string(::getpid()) + "-" + std::to_string(random());
}

// The copy until it is renamed into place. On every other way out it is
// removed, with any journal SQLite left beside it.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& destination) : path(destination + ".tmp-" + uniqueSuffix()) {}
    ~TemporaryFile() {
        if (kept) return;
        for (const char* companion : {"", "-journal", "-wal", "-shm"}) ::unlink((path + companion).c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& name() const { return path; }

    void sync(const std::string& what) const {
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const bool synced = fd >= 0 && ::fsync(fd) == 0;
        const int error = errno;
        if (fd >= 0) ::close(fd);
        if (!synced) throw StorageError(what + " sync failed: " + std::strerror(error));
    }

    void renameTo(const std::string& destination, const std::string& what) {
        if (::rename(path.c_str(), destination.c_str()) != 0)
            throw StorageError(what + " rename failed: " + std::strerror(errno));
        kept = true;
    }

private:
    std::string path;
    bool kept = false;
};

// Makes a rename in `directory` survive a power loss. Best effort: the file
// is already in place and complete.
void syncDirectory(const std::string& directory) {
    const int fd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

bool isAccessRefused(int systemError) { return systemError == EACCES || systemError == EPERM || systemError == EROFS; }

Connection openFile(const std::string& path, int flags, const std::string& what) {
    sqlite3* db = nullptr;
    const int rc = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
    Connection connection(db, sqlite3_close);
    if (rc != SQLITE_OK) {
        int systemError = db ? sqlite3_system_errno(db) : 0;
        // SQLite retries a refused create read-only, which hides the reason;
        // the directory tells it.
        if ((flags & SQLITE_OPEN_CREATE) && ::access(directoryOf(path).c_str(), W_OK) != 0) systemError = errno;
        const std::string reason = what + " " + (db ? sqlite3_errmsg(db) : sqlite3_errstr(rc)) +
                                   (systemError ? std::string(" (") + std::strerror(systemError) + ")" : "");
        if (isAccessRefused(systemError)) throw PermissionDenied(reason);
        if ((rc & 0xff) == SQLITE_CANTOPEN) throw StorageError(reason);
        throwException(rc & 0xff, connection, what);
    }
    sqlite3_busy_timeout(db, kLockWaitMilliseconds);
    return connection;
}

struct BackupFinisher {
    void operator()(sqlite3_backup* backup) const { sqlite3_backup_finish(backup); }
};
using BackupHandle = std::unique_ptr<sqlite3_backup, BackupFinisher>;

// Passes on progress only when fewer pages remain than last told, so a
// restarted copy never appears to go backwards.
class ProgressReport {
public:
    explicit ProgressReport(const BackupProgress& progress) : progress(progress) {}
    void tell(int remaining, int total) {
        if (remaining >= lastTold) return;
        lastTold = remaining;
        if (progress) progress(remaining, total);
    }

private:
    const BackupProgress& progress;
    int lastTold = INT_MAX;
};

[[noreturn]] void failStep(BackupHandle& backup, int rc, const Connection& target, const std::string& what) {
    const int primary = rc & 0xff;
    // Busy and locked are not kept by the backup object; the rest are handed
    // to the target connection, with SQLite's text, when it is finished.
    if (primary == SQLITE_BUSY || primary == SQLITE_LOCKED) throw BusyError(what + " " + sqlite3_errstr(rc));
    sqlite3_backup_finish(backup.release());
    throwException(primary, target, what);
}

void copyPages(const Connection& source, const Connection& target, const std::string& what,
               const BackupProgress& progress) {
    BackupHandle backup(sqlite3_backup_init(target.get(), "main", source.get(), "main"));
    if (!backup) throwException(sqlite3_errcode(target.get()) & 0xff, target, what);
    ProgressReport report(progress);
    int restarts = 0;
    int previousRemaining = INT_MAX;
    for (;;) {
        const int rc = sqlite3_backup_step(backup.get(), restarts < kRestartsBeforeOneStep ? kPagesPerStep : -1);
        if (rc != SQLITE_OK && rc != SQLITE_DONE) failStep(backup, rc, target, what);
        const int remaining = rc == SQLITE_DONE ? 0 : sqlite3_backup_remaining(backup.get());
        report.tell(remaining, sqlite3_backup_pagecount(backup.get()));
        if (rc == SQLITE_DONE) break;
        if (remaining >= previousRemaining) ++restarts;
        previousRemaining = remaining;
        boost::this_thread::sleep_for(boost::chrono::milliseconds(kPauseMilliseconds));
    }
    const int rc = sqlite3_backup_finish(backup.release());
    if (rc != SQLITE_OK) throwException(rc & 0xff, target, what);
}

int collectFirst(void* first, int, char** values, char**) {
    std::string& text = *static_cast<std::string*>(first);
    if (text.empty() && values[0]) text = values[0];
    return 0;
}

// A damaged copy is a storage failure of the backup, not a reason to stop
// the process as a damaged live database would be.
void checkIntegrity(const Connection& copy, const std::string& what) {
    std::string first;
    const int rc = sqlite3_exec(copy.get(), "PRAGMA integrity_check", collectFirst, &first, nullptr);
    if (rc != SQLITE_OK) first = sqlite3_errmsg(copy.get());
    if (first != "ok") throw StorageError(what + " copy fails integrity_check: " + first);
}

}  // namespace

void backupDatabase(const std::string& destination, const BackupProgress& progress) {
    const std::string what = "backup of " + Configure::getDatabaseName() + " to " + destination + ":";
    TemporaryFile temporary(destination);
    {
        const Connection target =
            openFile(temporary.name(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, what);
        const Connection source =
            openFile(Configure::getDatabaseName(), Configure::getDatabaseMode() & ~SQLITE_OPEN_CREATE, what);
        copyPages(source, target, what, progress);
        checkIntegrity(target, what);
    }
    temporary.sync(what);
    temporary.renameTo(destination, what);
    syncDirectory(directoryOf(destination));
}

}  // namespace dbi
