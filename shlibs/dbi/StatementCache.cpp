#include "StatementCache.h"

namespace dbi {

int StatementCache::prepare(const boost::shared_ptr<sqlite3>& owner, const std::string& sql,
                            sqlite3_stmt*& statement) {
    statement = nullptr;
    if (owner != connection) {
        clear();
        connection = owner;
    }
    auto found = index.find(sql);
    if (found != index.end()) {
        entries.splice(entries.begin(), entries, found->second);
        statement = found->second->second.get();
        return SQLITE_OK;
    }
    sqlite3_stmt* compiled = nullptr;
    const int rc = sqlite3_prepare_v2(connection.get(), sql.c_str(), static_cast<int>(sql.size() + 1), &compiled,
                                      nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(compiled);
        return rc;
    }
    if (!compiled) return SQLITE_OK;  // only blanks or comments: nothing to run
    entries.emplace_front(sql, std::unique_ptr<sqlite3_stmt, Finalizer>(compiled));
    index[sql] = entries.begin();
    if (entries.size() > capacity) {
        index.erase(entries.back().first);
        entries.pop_back();
    }
    statement = compiled;
    return SQLITE_OK;
}

void StatementCache::clear() {
    index.clear();
    entries.clear();
    connection.reset();
}

}  // namespace dbi
