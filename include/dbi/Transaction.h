#ifndef DBI_TRANSACTION_H
#define DBI_TRANSACTION_H

#include <deque>
#include <string>

#include <boost/noncopyable.hpp>

#include "dbi/DBManager.h"
#include "dbi/Export.h"

namespace dbi {

/// Handle of one (possibly nested) savepoint on the calling thread. Create it
/// on the stack, run statements through it and call release() on success;
/// a handle destroyed while it owns a savepoint rolls it back and never
/// throws. Only the outermost release commits. A handle belongs to the thread
/// that opened its savepoint.
class DBI_EXPORT Transaction : private boost::noncopyable {
public:
    /// With autoBegin, the first execStatement opens the savepoint.
    explicit Transaction(bool autoBegin);
    ~Transaction();

    /// Opens this handle's savepoint on the calling thread's connection. Throws
    /// the failure's DBIException.
    void begin();
    /// Closes the savepoint, keeping its changes; the outermost release
    /// commits. Throws DBIException<14> when this handle's savepoint is not
    /// the innermost one open on the thread (the handle keeps it then), and
    /// the commit's own failure otherwise.
    void release();
    /// Undoes everything since begin() and closes the savepoint. Throws
    /// DBIException<14> as release() does.
    void rollback();

    /// Runs `sql`; a storage failure is retried on a new connection only while
    /// this handle holds a savepoint.
    ResultTuple execStatement(const std::string& sql);
    /// The rowid of the last row the calling thread's connection inserted, as text.
    std::string lastRowId();

    /// True while this handle owns an open savepoint.
    bool isOpen() const { return !savepointName.empty(); }
    /// The savepoint's name; empty when none is open.
    const std::string& getSavepointName() const { return savepointName; }

    /// The process-wide autocommit handle (never opens a savepoint).
    static Transaction& getDefaultTransaction();

private:
    bool autoBegin;
    std::string savepointName;
};

/// Per-thread stack of open savepoint names; issues the savepoint statements
/// and refuses to close any savepoint but the innermost.
class DBI_EXPORT TransactionMgr : private boost::noncopyable {
public:
    /// This thread's instance, created on first use, deleted at thread end.
    static TransactionMgr* get();

    /// Opens a savepoint ("FIRST_SAVEPOINT" at depth 0, else "TIME_<utc>")
    /// and returns its name.
    std::string beginTransaction();
    /// Releases the innermost savepoint, which must be `name`.
    void endTransaction(const std::string& name);
    /// Rolls back and releases the innermost savepoint, which must be `name`.
    void rollbackTransaction(const std::string& name);
    /// Runs `sql` on this thread's connection, without retrying.
    void execStatement(const std::string& sql);

    /// The number of open savepoints.
    std::size_t depth() const { return savepoints.size(); }

private:
    void requireInnermost(const std::string& name, const char* what) const;

    std::deque<std::string> savepoints;
};

}  // namespace dbi

#endif
