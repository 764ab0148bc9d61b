#ifndef DBI_DATAVERSION_H
#define DBI_DATAVERSION_H

#include <sqlite3.h>

#include <memory>

#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>

namespace dbi {

// Tells a thread whether any other connection, in any process, committed
// since mark(): SQLite's data version of the thread's own connection changes
// then, and only then (its own commits leave it alone). One statement,
// prepared once per connection, keeps a check at a few microseconds.
// Belongs to one thread, like the connection it reads.
class DataVersion {
public:
    // Remembers the current version.
    void mark();
    // True when the version differs from the mark, or nothing was marked;
    // a changed version becomes the mark, so the next commit shows again.
    // A failed read counts as no change: the caller falls back on polling.
    bool changed();

private:
    boost::optional<long long> read();
    bool prepareOn(boost::shared_ptr<sqlite3> current);

    // Declared before the statement, so the statement is finalized first.
    boost::shared_ptr<sqlite3> connection;
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement{nullptr, sqlite3_finalize};
    boost::optional<long long> marked;
};

}  // namespace dbi

#endif
