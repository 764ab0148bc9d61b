#ifndef DBI_DBMANAGER_H
#define DBI_DBMANAGER_H

#include <string>

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/tss.hpp>
#include <boost/tuple/tuple.hpp>

#include "dbi/Export.h"

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
    /// on first use. Throws DBIException<3> when opening or initialising fails;
    /// nothing is cached then, so the next call tries again.
    static boost::shared_ptr<sqlite3> getConnection();

    /// Installs `connection` as this thread's connection, unchanged, and
    /// returns the previous one (empty if there was none).
    static boost::shared_ptr<sqlite3> swapConnection(boost::shared_ptr<sqlite3> connection);

    /// Guards the one-time building of the record classes' field maps.
    static boost::mutex& getFieldMapMutex();

    /// Runs `sql` (one or more statements) on this thread's connection.
    /// Busy conditions are retried up to five tries with pauses of 0, 1, 2 and
    /// 3 seconds; a storage failure drops the connection and, when `reconnect`
    /// is true, is retried on a fresh one. Other failures throw at once.
    static void execStatement(const std::string& sql, ResultTuple& result, bool reconnect);

    /// The last inserted row id of this thread's connection, as decimal text.
    static std::string lastRowId();

private:
    static boost::thread_specific_ptr<boost::shared_ptr<sqlite3>> tsp;
    static boost::mutex m_fieldMapMutex;
};

}  // namespace dbi

#endif
