#ifndef DBI_TRANSACTION_H
#define DBI_TRANSACTION_H

#include <cstdint>
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
///
/// A storage failure inside a transaction loses the whole transaction with its
/// connection (nothing of it is committed). Every handle of it is then lost:
/// execStatement() and release() throw DBIException<3>, rollback() and the
/// destructor do nothing, and the thread's next transaction starts afresh.
class DBI_EXPORT Transaction : private boost::noncopyable {
public:
    /// With autoBegin, the first execStatement opens the savepoint.
    explicit Transaction(bool autoBegin);
    ~Transaction();

    void begin();
    /// Both throw DBIException<14> when this handle's savepoint is not the
    /// innermost one open on the thread; the handle keeps its savepoint then.
    /// release() of a lost handle throws DBIException<3> and keeps it lost.
    void release();
    void rollback();

    /// Runs `sql`, inside this handle's savepoint when it holds one.
    ResultTuple execStatement(const std::string& sql);
    /// The same for one statement whose "?" parameters take `values`.
    ResultTuple execStatement(const std::string& sql, const BoundValues& values);
    std::string lastRowId();

    bool isOpen() const { return !savepointName.empty(); }
    const std::string& getSavepointName() const { return savepointName; }
    /// True when the savepoint this handle holds went with a failed connection.
    bool isLost() const;

    /// The process-wide autocommit handle (never opens a savepoint).
    static Transaction& getDefaultTransaction();

private:
    [[noreturn]] void throwLost() const;

    bool autoBegin;
    std::string savepointName;
    std::uint64_t generation = 0;  // of the thread's savepoint stack at begin()
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
    void endTransaction(const std::string& name);
    void rollbackTransaction(const std::string& name);
    void execStatement(const std::string& sql);

    std::size_t depth() const { return savepoints.size(); }

    /// Drops every open savepoint name without running a statement, after
    /// the connection that held them failed; handles opened before can tell
    /// by the changed generation.
    void forgetSavepoints();
    std::uint64_t generation() const { return stackGeneration; }

private:
    void requireInnermost(const std::string& name, const char* what) const;

    std::deque<std::string> savepoints;
    std::uint64_t stackGeneration = 0;
};

}  // namespace dbi

#endif
