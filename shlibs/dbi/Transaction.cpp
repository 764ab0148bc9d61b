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

bool Transaction::prepareToRun() {
    if (autoBegin) begin();
    if (isLost()) throwLost();
    return isOpen();
}

ResultTuple Transaction::execStatement(const std::string& sql) {
    ResultTuple result;
    DBManager::execStatement(sql, result, prepareToRun());
    return result;
}

ResultTuple Transaction::execStatement(const std::string& sql, const BoundValues& values) {
    ResultTuple result;
    DBManager::execStatement(sql, values, result, prepareToRun());
    return result;
}

void Transaction::execStatement(const std::string& sql, RowReader& reader) {
    DBManager::execStatement(sql, reader, prepareToRun());
}

void Transaction::execStatement(const std::string& sql, const BoundValues& values, RowReader& reader) {
    DBManager::execStatement(sql, values, reader, prepareToRun());
}

void Transaction::execStatement(const std::string& sql, const ParameterBinder& parameters, RowReader& reader) {
    DBManager::execStatement(sql, parameters, reader, prepareToRun());
}

std::string Transaction::lastRowId() { return DBManager::lastRowId(); }

Transaction& Transaction::getDefaultTransaction() {
    static Transaction defaultTransaction(false);
    return defaultTransaction;
}

}  // namespace dbi
