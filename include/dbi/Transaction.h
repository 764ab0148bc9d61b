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

    /// Opens a savepoint on the calling thread and holds it; nothing when the
    /// handle holds one already. Failures of the SAVEPOINT statement pass on
    /// (see DBManager::execStatement) and leave the handle without one.
    void begin();
    /// Closes the savepoint; only the outermost commits. Nothing when the
    /// handle holds none. release() and rollback() throw DBIException<14> when
    /// this handle's savepoint is not the innermost one open on the thread; the
    /// handle keeps its savepoint then, as it does when the statement fails.
    /// release() of a lost handle throws DBIException<3> and keeps it lost.
    void release();
    /// Undoes everything since begin() and closes the savepoint; the outermost
    /// ends the whole transaction. Nothing when the handle holds none; a lost
    /// handle only lets go of its savepoint.
    void rollback();

    /// Runs `sql`, inside this handle's savepoint when it holds one.
    ResultTuple execStatement(const std::string& sql);
    /// The same for one statement whose "?" parameters take `values`.
    ResultTuple execStatement(const std::string& sql, const BoundValues& values);
    /// Both forms, handing each row to `reader` (DBManager::execStatement).
    void execStatement(const std::string& sql, RowReader& reader);
    /// The bound form, handing each row to `reader`.
    void execStatement(const std::string& sql, const BoundValues& values, RowReader& reader);
    /// The bound form with values bound by `parameters` where the caller keeps them.
    void execStatement(const std::string& sql, const ParameterBinder& parameters, RowReader& reader);
    /// The row id of the last insert on this thread's connection, as decimal
    /// text, whichever handle ran it (DBManager::lastRowId()).
    std::string lastRowId();

    /// True while the handle holds a savepoint, lost or not.
    bool isOpen() const { return !savepointName.empty(); }
    /// The held savepoint's name; empty when none.
    const std::string& getSavepointName() const { return savepointName; }
    /// True when the savepoint this handle holds went with a failed connection.
    bool isLost() const;

    /// The process-wide autocommit handle (never opens a savepoint).
    static Transaction& getDefaultTransaction();

private:
    [[noreturn]] void throwLost() const;
    /// Opens the savepoint when due; refuses statements of a lost transaction,
    /// which would otherwise run on their own. True when inside a savepoint.
    bool prepareToRun();

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
    /// Releases savepoint `name`, which commits when it is the outermost.
    /// Throws DBIException<14> unless `name` is the innermost open savepoint.
    /// On any failure `name` stays open, unless a storage failure made the
    /// stack forget every savepoint.
    void endTransaction(const std::string& name);
    /// Undoes and closes savepoint `name`; the outermost ends with a ROLLBACK
    /// of the whole transaction. Checks and failures as for endTransaction().
    void rollbackTransaction(const std::string& name);
    /// Runs `sql` on this thread's connection and discards any rows; failures
    /// as DBManager::execStatement.
    void execStatement(const std::string& sql);

    /// The number of savepoints open on this thread.
    std::size_t depth() const { return savepoints.size(); }

    /// Drops every open savepoint name without running a statement, after
    /// the connection that held them failed; handles opened before can tell
    /// by the changed generation.
    void forgetSavepoints();
    /// Counts forgetSavepoints() calls: a handle that began under another
    /// generation is lost.
    std::uint64_t generation() const { return stackGeneration; }

private:
    void requireInnermost(const std::string& name, const char* what) const;

    std::deque<std::string> savepoints;
    std::uint64_t stackGeneration = 0;
};

}  // namespace dbi

#endif
