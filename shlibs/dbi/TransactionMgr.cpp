#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/thread/tss.hpp>

#include "dbi/DBIException.h"
#include "dbi/Transaction.h"

namespace dbi {

namespace {

const char kFirstSavepoint[] = "FIRST_SAVEPOINT";

// "TIME_" + compact ISO UTC time with microseconds, its "." removed.
std::string nestedSavepointName() {
    std::string name = "TIME_" + boost::posix_time::to_iso_string(boost::posix_time::microsec_clock::universal_time());
    const std::string::size_type dot = name.find('.');
    if (dot != std::string::npos) name.erase(dot, 1);
    return name;
}

// The thread's instance as a plain pointer: a look-up in the thread-specific
// slot searches the thread's data, and every statement asks for the manager.
// The slot's clean-up clears it when the thread ends.
thread_local TransactionMgr* thisThreadsManager = nullptr;

void deleteManager(TransactionMgr* manager) {
    if (thisThreadsManager == manager) thisThreadsManager = nullptr;
    delete manager;
}

}  // namespace

TransactionMgr* TransactionMgr::get() {
    if (thisThreadsManager) return thisThreadsManager;
    static boost::thread_specific_ptr<TransactionMgr> perThread(deleteManager);
    TransactionMgr* manager = perThread.get();
    if (!manager) {
        manager = new TransactionMgr;
        perThread.reset(manager);
    }
    thisThreadsManager = manager;
    return manager;
}

std::string TransactionMgr::beginTransaction() {
    const std::string name = savepoints.empty() ? kFirstSavepoint : nestedSavepointName();
    execStatement("SAVEPOINT " + name);
    savepoints.push_back(name);
    return name;
}

void TransactionMgr::endTransaction(const std::string& name) {
    requireInnermost(name, "release");
    execStatement("RELEASE SAVEPOINT " + name);
    savepoints.pop_back();
}

void TransactionMgr::rollbackTransaction(const std::string& name) {
    requireInnermost(name, "rollback");
    if (name == kFirstSavepoint) {
        execStatement("ROLLBACK");
    } else {
        // ROLLBACK TO undoes the changes but leaves the savepoint open.
        execStatement("ROLLBACK TO " + name);
        execStatement("RELEASE SAVEPOINT " + name);
    }
    savepoints.pop_back();
}

void TransactionMgr::forgetSavepoints() {
    savepoints.clear();
    ++stackGeneration;
}

void TransactionMgr::execStatement(const std::string& sql) {
    ResultTuple ignored;
    DBManager::execStatement(sql, ignored, false);
}

void TransactionMgr::requireInnermost(const std::string& name, const char* what) const {
    const std::string top = savepoints.empty() ? std::string() : savepoints.back();
    if (name != top)
        throw DBIException<dbiresult::DBI_MISUSE>(std::string("Out of order savepoint ") + what + ", expected: [" +
                                                  top + "] got : [" + name + "]");
}

}  // namespace dbi
