#ifndef DBI_TRANSACTION_H
#define DBI_TRANSACTION_H

#include <deque>
#include <string>

#include <boost/noncopyable.hpp>

#include "dbi/DBManager.h"
#include "dbi/Export.h"

namespace dbi {

// Handle of one (possibly nested) savepoint on the calling thread. Create it
// on the stack, run statements through it and call release() on success;
// a handle destroyed while it owns a savepoint rolls it back and never
// throws. Only the outermost release commits. A handle belongs to the thread
// that opened its savepoint.
class DBI_EXPORT Transaction : private boost::noncopyable {
public:
    // With autoBegin, the first execStatement opens the savepoint.
    explicit Transaction(bool autoBegin);
    ~Transaction();

    void begin();
    // Both throw DBIException<14> when this handle's savepoint is not the
    // innermost one open on the thread; the handle keeps its savepoint then.
    void release();
    void rollback();

    // Runs `sql`; a storage failure is retried on a new connection only while
    // this handle holds a savepoint.
    ResultTuple execStatement(const std::string& sql);
    // The same for one statement whose "?" parameters take `values`.
    ResultTuple execStatement(const std::string& sql, const BoundValues& values);
    std::string lastRowId();

    bool isOpen() const { return !savepointName.empty(); }
    const std::string& getSavepointName() const { return savepointName; }

    // The process-wide autocommit handle (never opens a savepoint).
    static Transaction& getDefaultTransaction();

private:
    bool autoBegin;
    std::string savepointName;
};

// Per-thread stack of open savepoint names; issues the savepoint statements
// and refuses to close any savepoint but the innermost.
class DBI_EXPORT TransactionMgr : private boost::noncopyable {
public:
    // This thread's instance, created on first use, deleted at thread end.
    static TransactionMgr* get();

    // Opens a savepoint ("FIRST_SAVEPOINT" at depth 0, else "TIME_<utc>")
    // and returns its name.
    std::string beginTransaction();
    void endTransaction(const std::string& name);
    void rollbackTransaction(const std::string& name);
    void execStatement(const std::string& sql);

    std::size_t depth() const { return savepoints.size(); }

private:
    void requireInnermost(const std::string& name, const char* what) const;

    std::deque<std::string> savepoints;
};

}  // namespace dbi

#endif
