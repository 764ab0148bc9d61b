#ifndef DBI_DBMANAGER_H
#define DBI_DBMANAGER_H

#include <functional>
#include <string>

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/tss.hpp>
#include <boost/tuple/tuple.hpp>

#include "dbi/BoundValue.h"
#include "dbi/Export.h"
#include "dbi/ParameterBinder.h"
#include "dbi/RowReader.h"

struct sqlite3;

namespace dbi {

/// Result of a statement: the sqlite3_get_table array (a header row of column
/// names, then rows of texts, null for NULL), shared and freed with the last
/// copy; the number of rows without the header; the number of columns.
using ResultTuple = boost::tuples::tuple<boost::shared_ptr<char*>, int, int>;

/// One SQLite connection per thread and the one statement path of the library.
/// A connection never crosses threads; it is closed when its thread ends or
/// when the thread's slot lets go of it (a storage failure, swapConnection).
class DBI_EXPORT DBManager {
public:
    DBManager() = delete;

    /// This thread's connection, opened and initialised (foreign keys on, WAL)
    /// on first use. Throws DBIException<16> when SQLite answers busy or locked
    /// while opening or initialising, DBIException<3> for any other failure,
    /// both with SQLite's reason; nothing is cached then, so the next call
    /// tries again.
    static boost::shared_ptr<sqlite3> getConnection();

    /// Installs `connection` as this thread's connection, unchanged, and
    /// returns the previous one (empty if there was none).
    static boost::shared_ptr<sqlite3> swapConnection(boost::shared_ptr<sqlite3> connection);

    /// Guards the one-time building of the record classes' field maps.
    static boost::mutex& getFieldMapMutex();

    /// Runs `sql` (one or more statements) on this thread's connection.
    /// Busy conditions (opening included) are retried up to five tries with
    /// pauses of 0, 1, 2 and 3 seconds, except a stale WAL snapshot, which
    /// only a new transaction can cure and which is thrown at once. A storage
    /// failure drops the connection and throws DBIException<3> after one try.
    /// When the statement runs inside a savepoint (`inSavepoint` true, or any
    /// savepoint open on the thread) the failure also ends the transaction:
    /// it is rolled back on the failing connection and the thread's savepoint
    /// stack is forgotten, so nothing of it can be committed later. Other
    /// failures throw at once and keep the connection.
    static void execStatement(const std::string& sql, ResultTuple& result, bool inSavepoint);

    /// Runs one statement whose "?" parameters take `values` in order, through
    /// this thread's cache of prepared statements. The result has the same
    /// shape as above; failures and retries are those of the text form.
    static void execStatement(const std::string& sql, const BoundValues& values, ResultTuple& result,
                              bool inSavepoint);

    /// Both forms above, handing each row to `reader` as it is stepped instead
    /// of collecting a result. A retried statement starts over: the reader
    /// hears of each try (RowReader::onTry) and forgets the rows before it.
    static void execStatement(const std::string& sql, RowReader& reader, bool inSavepoint);
    /// The bound form, handing each row to `reader`.
    static void execStatement(const std::string& sql, const BoundValues& values, RowReader& reader,
                              bool inSavepoint);
    /// The bound form with values bound by `parameters` from where the caller
    /// keeps them, which must stay unchanged until this returns.
    static void execStatement(const std::string& sql, const ParameterBinder& parameters, RowReader& reader,
                              bool inSavepoint);

    /// The last inserted row id of this thread's connection, as decimal text.
    static std::string lastRowId();

private:
    /// One try of a statement on the given connection; throws through
    /// throwException on failure.
    using Attempt = std::function<void(const boost::shared_ptr<sqlite3>&)>;

    /// The retry and failure rules of execStatement, for any kind of attempt.
    static void runWithRetries(const Attempt& attempt, bool inSavepoint);
    /// After a storage failure: ends the thread's transaction if it has one
    /// and lets go of the connection and its prepared statements.
    static void abandonConnection(const boost::shared_ptr<sqlite3>& failed, bool inSavepoint);

    /// Puts a new holder of `connection` into this thread's slot.
    static void fillSlot(const boost::shared_ptr<sqlite3>& connection);

    static boost::thread_specific_ptr<boost::shared_ptr<sqlite3>> tsp;
    static boost::mutex m_fieldMapMutex;
};

}  // namespace dbi

#endif
