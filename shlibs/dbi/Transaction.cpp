#include "dbi/Transaction.h"

#include "dbi/DBIException.h"

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
    TransactionMgr* manager = TransactionMgr::get();
    savepointName = manager->beginTransaction();
    generation = manager->generation();
}

void Transaction::release() {
    if (!isOpen()) return;
    if (isLost()) throwLost();
    TransactionMgr::get()->endTransaction(savepointName);
    savepointName.clear();
}

void Transaction::rollback() {
    if (!isOpen()) return;
    // A lost savepoint was rolled back with its connection already.
    if (!isLost()) TransactionMgr::get()->rollbackTransaction(savepointName);
    savepointName.clear();
}

bool Transaction::isLost() const {
    return isOpen() && TransactionMgr::get()->generation() != generation;
}

void Transaction::throwLost() const {
    throw DBIException<dbiresult::DBI_STORAGE_ERROR>("Transaction " + savepointName +
                                                     " was lost with its connection; nothing of it was committed");
}

ResultTuple Transaction::execStatement(const std::string& sql) {
    ResultTuple result;
    if (autoBegin) begin();
    // A statement of a lost transaction would otherwise run on its own.
    if (isLost()) throwLost();
    DBManager::execStatement(sql, result, isOpen());
    return result;
}

ResultTuple Transaction::execStatement(const std::string& sql, const BoundValues& values) {
    ResultTuple result;
    if (autoBegin) begin();
    if (isLost()) throwLost();
    DBManager::execStatement(sql, values, result, isOpen());
    return result;
}

std::string Transaction::lastRowId() { return DBManager::lastRowId(); }

Transaction& Transaction::getDefaultTransaction() {
    static Transaction defaultTransaction(false);
    return defaultTransaction;
}

}  // namespace dbi
