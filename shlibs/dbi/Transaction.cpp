#include "dbi/Transaction.h"

namespace dbi {

Transaction::Transaction(bool autoBegin) : autoBegin(autoBegin) {}

Transaction::~Transaction() {
    try {
        rollback();
    } catch (...) {
        // A destructor never throws; the savepoint stays open on the thread
        // and goes with its connection.
    }
}

void Transaction::begin() {
    if (isOpen()) return;
    savepointName = TransactionMgr::get()->beginTransaction();
}

void Transaction::release() {
    if (!isOpen()) return;
    TransactionMgr::get()->endTransaction(savepointName);
    savepointName.clear();
}

void Transaction::rollback() {
    if (!isOpen()) return;
    TransactionMgr::get()->rollbackTransaction(savepointName);
    savepointName.clear();
}

ResultTuple Transaction::execStatement(const std::string& sql) {
    ResultTuple result;
    if (autoBegin) begin();
    DBManager::execStatement(sql, result, isOpen());
    return result;
}

ResultTuple Transaction::execStatement(const std::string& sql, const BoundValues& values) {
    ResultTuple result;
    if (autoBegin) begin();
    DBManager::execStatement(sql, values, result, isOpen());
    return result;
}

std::string Transaction::lastRowId() { return DBManager::lastRowId(); }

Transaction& Transaction::getDefaultTransaction() {
    static Transaction defaultTransaction(false);
    return defaultTransaction;
}

}  // namespace dbi
