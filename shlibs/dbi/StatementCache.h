#ifndef DBI_STATEMENTCACHE_H
#define DBI_STATEMENTCACHE_H

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <tuple>
#include <utility>

#include <boost/shared_ptr.hpp>
#include <sqlite3.h>

namespace dbi {

// Prepared statements of one connection, keyed by their SQL text, at most
// `capacity` of them; the least recently used one is finalized to make room.
// The cache keeps its connection alive: a connection with unfinalized
// statements cannot be closed, so the cache finalizes them all (clear() or
// its destructor) before it lets go of the connection.
class StatementCache {
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

public:
    // A prepared statement, finalized with its entry.
    class Statement {
    public:
        explicit Statement(sqlite3_stmt* compiled) : compiled(compiled) {}
        sqlite3_stmt* get() const { return compiled.get(); }

    private:
        std::unique_ptr<sqlite3_stmt, Finalizer> compiled;
    };

    explicit StatementCache(std::size_t capacity) : capacity(capacity) {}
    ~StatementCache() { clear(); }
    StatementCache(const StatementCache&) = delete;
    StatementCache& operator=(const StatementCache&) = delete;

    // Returned by prepare() for a text holding more than one statement: a
    // prepared statement would run the first and silently drop the rest.
    static constexpr int kSeveralStatements = -1;
    // Returned by prepare() for a text holding a NUL byte, which SQLite would
    // read only up to it. Checked when a text is first compiled: a text found
    // in the cache holds none.
    static constexpr int kEmbeddedNul = -2;

    // The prepared statement for `sql` on `connection`, compiled on first use.
    // Statements of another connection are finalized first. Returns the result
    // code of sqlite3_prepare_v2 on failure, kSeveralStatements or kEmbeddedNul, leaving
    // `statement` null; so does a text without a statement.
    int prepare(const boost::shared_ptr<sqlite3>& connection, const std::string& sql, Statement*& statement);

    // Finalizes every statement and lets go of the connection.
    void clear();

    std::size_t size() const { return entries.size(); }

private:
    using Entry = std::pair<std::string, Statement>;

    // Whether `text`, the rest after a statement, holds more than blanks and comments.
    bool holdsAStatement(const char* text) const;

    std::size_t capacity;
    boost::shared_ptr<sqlite3> connection;
    std::list<Entry> entries;  // most recently used first
    std::unordered_map<std::string, std::list<Entry>::iterator> index;
};

}  // namespace dbi

#endif
