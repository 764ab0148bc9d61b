// dbictl restore: puts a backup in place of a database that no process has
// open, in one rename.
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

#include "Commands.h"
#include "RecordClasses.h"

namespace dbictl {
namespace {

// Where SQLite's POSIX locking puts its locks. In the database file: the
// pending byte at 1 GiB, the reserved byte after it, then the shared range.
// In the -shm file of WAL mode: the write, checkpoint and recovery locks,
// five read marks, then the byte every connection with the file mapped
// holds shared.
constexpr off_t kPendingByte = 0x40000000;
constexpr off_t kSharedRangeSize = 510;
constexpr off_t kShmWriterLocks = 120;
constexpr off_t kShmReadMarks = 123;
constexpr off_t kShmConnectedMark = 128;

// One lock a reader or writer of the database would conflict with.
struct LockCheck {
    const char* file;  // suffix of the database's path
    off_t start;
    off_t length;
    const char* holder;  // what a conflict means
};

// From the most telling to the most general; a WAL connection also holds a
// shared lock on the database file for as long as it is open.
const LockCheck kInUseChecks[] = {
    {"-shm", kShmWriterLocks, 3, "a writer or checkpoint is at work (write lock in the -shm file)"},
    {"-shm", kShmReadMarks, 5, "a reader is in a transaction (read lock in the -shm file)"},
    {"-shm", kShmConnectedMark, 1, "a process has it open in WAL mode (the -shm file is in use)"},
    {"", kPendingByte, 2 + kSharedRangeSize, "a process holds a lock on the database file"},
};

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd(fd) {}
    ~FileDescriptor() {
        if (fd >= 0) ::close(fd);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd; }

private:
    int fd;
};

// Exclusive locks on every byte SQLite's readers and writers lock, held until
// destroyed, so no process can start using the database meanwhile. They are
// open-file-description locks: SQLite's own locks in other processes
// conflict with them, and no close elsewhere in this process drops them.
class InUseGuard {
public:
    explicit InUseGuard(const std::string& database) {
        for (const LockCheck& check : kInUseChecks) take(database, check);
    }

private:
    void take(const std::string& database, const LockCheck& check) {
        const std::string path = database + check.file;
        auto file = std::make_unique<FileDescriptor>(::open(path.c_str(), O_RDWR | O_CLOEXEC));
        if (file->get() < 0) {
            if (errno == ENOENT) return;
            throw std::runtime_error("cannot open " + path + " to check it is unused: " + std::strerror(errno));
        }
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        lock.l_start = check.start;
        lock.l_len = check.length;
        if (::fcntl(file->get(), F_OFD_SETLK, &lock) != 0) {
            if (errno != EAGAIN && errno != EACCES)
                throw std::runtime_error("cannot lock " + path + ": " + std::strerror(errno));
            throw std::runtime_error("refused: " + database + " is in use: " + check.holder + "; nothing changed");
        }
        held.push_back(std::move(file));
    }

    std::vector<std::unique_ptr<FileDescriptor>> held;
};

// A file path as an SQLite URI, so the file can be opened immutable.
std::string fileUri(const std::string& path) {
    std::string uri = "file:";
    for (const char c : path) {
        if (c == '%' || c == '?' || c == '#') {
            static const char digits[] = "0123456789abcdef";
            uri += '%';
            uri += digits[(c >> 4) & 0xf];
            uri += digits[c & 0xf];
        } else {
            uri += c;
        }
    }
    return uri + "?immutable=1";
}

// The backup as restore copies it: its main file alone, read without locks
// and without creating files beside it.
constexpr int kBackupOpenFlags = SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX;

std::vector<std::string> column(sqlite3* db, const char* sql) {
    std::vector<std::string> values;
    const auto collect = [](void* into, int, char** row, char**) {
        static_cast<std::vector<std::string>*>(into)->push_back(row[0] ? row[0] : "");
        return 0;
    };
    if (sqlite3_exec(db, sql, collect, &values, nullptr) != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(db));
    return values;
}

// Refuses a file that is not a healthy database of this schema.
void checkBackup(const std::string& file) {
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0) throw std::runtime_error("refused: no such backup file: " + file);
    if (::stat((file + "-wal").c_str(), &info) == 0 && info.st_size > 0)
        throw std::runtime_error("refused: " + file + " has a write-ahead log beside it; not a closed backup");
    sqlite3* raw = nullptr;
    const int rc = sqlite3_open_v2(fileUri(file).c_str(), &raw, kBackupOpenFlags, nullptr);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> db(raw, sqlite3_close);
    try {
        if (rc != SQLITE_OK) throw std::runtime_error(raw ? sqlite3_errmsg(raw) : sqlite3_errstr(rc));
        const std::vector<std::string> tables = column(raw, "SELECT name FROM sqlite_master WHERE type = 'table'");
        const std::vector<std::string> integrity = column(raw, "PRAGMA integrity_check");
        if (integrity.empty() || integrity[0] != "ok")
            throw std::runtime_error("integrity_check: " + (integrity.empty() ? "no answer" : integrity[0]));
        const std::set<std::string> present(tables.begin(), tables.end());
        std::string missing;
        for (const std::string& table : knownTables())
            if (!present.count(table)) missing += (missing.empty() ? "" : ", ") + table;
        if (!missing.empty()) throw std::runtime_error("the schema's tables " + missing + " are missing");
    } catch (const std::runtime_error& e) {
        throw std::runtime_error("refused: " + file + " is not a usable backup: " + e.what() + "; nothing changed");
    }
}

std::string directoryOf(const std::string& path) {
    const std::string::size_type slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// The restored copy beside the database until it is renamed over it;
// removed on every other way out.
class StagedCopy {
public:
    explicit StagedCopy(const std::string& database) : path(database + ".restoring") {}
    ~StagedCopy() {
        if (!placed) ::unlink(path.c_str());
    }
    StagedCopy(const StagedCopy&) = delete;
    StagedCopy& operator=(const StagedCopy&) = delete;

    const std::string& name() const { return path; }

    // The old file's permissions and, where allowed, owner.
    void takeOverAccess(const std::string& database) const {
        struct stat old {};
        if (::stat(database.c_str(), &old) != 0) return;
        ::chmod(path.c_str(), old.st_mode & 07777);
        if (::chown(path.c_str(), old.st_uid, old.st_gid) != 0) {
            // Another owner needs privileges; the copy keeps the caller's.
        }
    }

    void renameTo(const std::string& database) {
        if (::rename(path.c_str(), database.c_str()) != 0)
            throw std::runtime_error("cannot rename " + path + " to " + database + ": " + std::strerror(errno));
        placed = true;
    }

private:
    std::string path;
    bool placed = false;
};

// A log or journal of the old file would be replayed over the new one.
void removeCompanions(const std::string& database) {
    for (const char* suffix : {"-wal", "-shm", "-journal"}) {
        const std::string path = database + suffix;
        if (::unlink(path.c_str()) != 0 && errno != ENOENT)
            throw std::runtime_error("cannot remove " + path + ": " + std::strerror(errno));
    }
}

void syncDirectory(const std::string& directory) {
    const int fd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0 || ::fsync(fd) != 0) {
        const int error = errno;
        if (fd >= 0) ::close(fd);
        throw std::runtime_error("cannot sync " + directory + ": " + std::strerror(error));
    }
    ::close(fd);
}

}  // namespace

int restore(const Arguments& args) {
    const std::string& file = args.database();
    const std::string& database = args.operands().at(0);
    checkBackup(file);
    const InUseGuard unused(database);
    StagedCopy staged(database);
    dbi::Configure::setOptions(fileUri(file), kBackupOpenFlags);
    dbi::backupDatabase(staged.name());
    staged.takeOverAccess(database);
    // The old file's log goes before the new file arrives: a crash in
    // between leaves the old database without it, never the new one with it.
    removeCompanions(database);
    staged.renameTo(database);
    syncDirectory(directoryOf(database));
    std::cout << "restored " << database << " from " << file << "\n";
    return 0;
}

}  // namespace dbictl
