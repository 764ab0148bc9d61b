#include "StatementCache.h"

namespace dbi {

bool StatementCache::holdsAStatement(const char* text) const {
    sqlite3_stmt* next = nullptr;
    const int rc = sqlite3_prepare_v2(connection.get(), text, -1, &next, nullptr);
    sqlite3_finalize(next);
    return rc != SQLITE_OK || next;  // what does not compile is not a blank either
}

int StatementCache::prepare(const boost::shared_ptr<sqlite3>& owner, const std::string& sql,
                            Statement*& statement) {
    statement = nullptr;
    if (owner != connection) {
        clear();
        connection = owner;
    }
    // A loop runs one text again and again: the most recent one is tried
    // before the text is hashed.
    if (!entries.empty() && entries.front().first == sql) {
        statement = &entries.front().second;
        return SQLITE_OK;
    }
    auto found = index.find(sql);
    if (found != index.end()) {
        entries.splice(entries.begin(), entries, found->second);
        statement = &found->second->second;
        return SQLITE_OK;
    }
    if (sql.find('\0') != std::string::npos) return kEmbeddedNul;
    sqlite3_stmt* compiled = nullptr;
    const char* tail = nullptr;
    const int rc = sqlite3_prepare_v2(connection.get(), sql.c_str(), static_cast<int>(sql.size() + 1), &compiled,
                                      &tail);
    if (rc != SQLITE_OK) {
        sqlite3_finalize(compiled);
        return rc;
    }
    if (!compiled) return SQLITE_OK;  // only blanks or comments: nothing to run
    if (holdsAStatement(tail)) {
        sqlite3_finalize(compiled);
        return kSeveralStatements;
    }
    entries.emplace_front(std::piecewise_construct, std::forward_as_tuple(sql), std::forward_as_tuple(compiled));
    index[sql] = entries.begin();
    if (entries.size() > capacity) {
        index.erase(entries.back().first);
        entries.pop_back();
    }
    statement = &entries.front().second;
    return SQLITE_OK;
}

void StatementCache::clear() {
    index.clear();
    entries.clear();
    connection.reset();
}

}  // namespace dbi
